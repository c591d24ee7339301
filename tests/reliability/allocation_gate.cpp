#include "tests/reliability/allocation_gate.h"

#include <dlfcn.h>
#include <malloc.h>

#include <cstdlib>
#include <new>

namespace {

std::size_t left = 0; // until the refused one, which is 1; 0 when none is asked for
std::size_t refused = 0;
std::size_t live = 0;
AllocationGate::Span span = AllocationGate::Span::once;

bool isRefused() {
    if (left == 0) return false;
    if (left > 1) {
        --left;
        return false;
    }
    if (span == AllocationGate::Span::once) left = 0;
    ++refused;
    return true;
}

void* allocate(std::size_t size) noexcept {
    void* const memory = isRefused() ? nullptr : std::malloc(size != 0 ? size : 1);
    if (memory != nullptr) live += malloc_usable_size(memory);
    return memory;
}

void* allocateOrThrow(std::size_t size) {
    void* const memory = allocate(size);
    if (memory == nullptr) throw std::bad_alloc();
    return memory;
}

void release(void* memory) noexcept {
    if (memory == nullptr) return;
    live -= malloc_usable_size(memory);
    std::free(memory);
}

} // namespace

void AllocationGate::refuse(std::size_t number, Span newSpan) {
    refused = 0;
    span = newSpan;
    left = number;
}

std::size_t AllocationGate::end() {
    left = 0;
    return refused;
}

std::size_t AllocationGate::liveBytes() {
    return live;
}

// The host's arrays grow by it.
extern "C" void* realloc(void* memory, std::size_t size) noexcept {
    using Realloc = void* (*)(void*, std::size_t);
    static const auto next = reinterpret_cast<Realloc>(dlsym(RTLD_NEXT, "realloc"));
    return isRefused() ? nullptr : next(memory, size);
}

void* operator new(std::size_t size) {
    return allocateOrThrow(size);
}
void* operator new[](std::size_t size) {
    return allocateOrThrow(size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return allocate(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return allocate(size);
}
void operator delete(void* memory) noexcept {
    release(memory);
}
void operator delete[](void* memory) noexcept {
    release(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    release(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
    release(memory);
}
void operator delete(void* memory, const std::nothrow_t&) noexcept {
    release(memory);
}
void operator delete[](void* memory, const std::nothrow_t&) noexcept {
    release(memory);
}
