#include "tests/reliability/allocation_gate.h"

#include "headless/faults.h"

#include <dlfcn.h>
#include <malloc.h>

#include <cstdlib>
#include <new>

namespace {

constinit Headless::FaultCountdown countdown;
constinit std::size_t live = 0;

void* allocate(std::size_t size) noexcept {
    void* const memory = countdown.shouldFail() ? nullptr : std::malloc(size != 0 ? size : 1);
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

void AllocationGate::refuse(std::size_t number, Headless::FaultSpan span) {
    countdown.begin(number, span);
}

std::size_t AllocationGate::end() {
    return countdown.end();
}

std::size_t AllocationGate::liveBytes() {
    return live;
}

// The host's arrays grow by it.
// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name): the system's names are reserved
extern "C" void* realloc(void* memory, std::size_t size) noexcept {
    using Realloc = void* (*)(void*, std::size_t);
    static const auto next = reinterpret_cast<Realloc>(dlsym(RTLD_NEXT, "realloc"));
    return countdown.shouldFail() ? nullptr : next(memory, size);
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
