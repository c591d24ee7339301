#include "headless/modules.h"

#include "headless/dictionary.h"
#include "headless/document_manager.h"
#include "headless/faults.h"
#include "headless/inspection.h"
#include "headless/message_loop.h"
#include "headless/session.h"
#include "headless/shared_library.h"
#include "headless/trace.h"
#include "host/module_interface.h"
#include "text/paths.h"

#include <algorithm>
#include <cassert>
#include <cstdio>
#include <filesystem>
#include <utility>
#include <vector>

namespace Headless {

namespace {

/// A loaded module: one opening of a library. Two modules may share a library, because the system counts
/// the openings.
struct Module {
    ModuleId id = ModuleId::none;
    std::string path;
    LibraryHandle library = nullptr;
    KzRx::EntryPoint entry = nullptr;
};

/// The state of loading. Never destroyed: modules may call until the process ends.
struct Loader {
    std::vector<Module> modules;               // in the order of loading
    std::vector<LibraryHandle> waitingToClose; // libraries that calls may still need
    std::uint32_t lastId = 0;
    const void* packet = nullptr; // of the innermost active message
};

Loader& loader = *new Loader;
std::vector<std::string>& noted = *new std::vector<std::string>; // usage errors of modules

Module* find(ModuleId id) {
    const auto found = std::ranges::find(loader.modules, id, &Module::id);
    return found != loader.modules.end() ? &*found : nullptr;
}

/// Removes all filters and reactors whose code is in a library that is about to be closed. `inside` is any
/// address in the library, which must still be open, because the system determines which addresses belong
/// to it.
void dropWhatCallsInto(const void* inside) {
    const auto isInside = [library = libraryContaining(inside)](const void* address) {
        return libraryContaining(address) == library;
    };
    const auto isCodeInside = [&](const KzRxObject* reactor) { return isInside(reactorCodes.at(reactor)); };
    messageFilters.removeIf(
        [&](KzEdMessageFilter filter) { return isInside(reinterpret_cast<const void*>(filter)); });
    documentManager.reactors.removeIf(isCodeInside);
    objectTable.forEach(KzDbObjectId(), [&](Object& object) { object.dropReactors(isCodeInside); });
    std::erase_if(reactorCodes,
                  [&](const auto& entry) { return isInside(entry.second); }); // last: used above
}

/// Whether another opening keeps the library in the process: that of a loaded module, or one that is also
/// waiting to be closed.
bool isInUse(LibraryHandle library) {
    const auto& waiting = loader.waitingToClose;
    return std::ranges::find(loader.modules, library, &Module::library) != loader.modules.end() ||
           std::ranges::find(waiting, library) != waiting.end();
}

/// The opening must already be removed from both lists, because `isInUse` would find it.
void closeNow(LibraryHandle library) {
    if (!isInUse(library)) dropWhatCallsInto(librarySymbol(library, "kzrxEntryPoint"));
    closeLibrary(library);
}

/// Waits for the calls into all modules, because it is unknown whose code is on the stack. Without an
/// active call, the guard closes the library immediately.
void closeWhenCallsHaveReturned(LibraryHandle library) {
    loader.waitingToClose.push_back(library);
    const ModuleCall guard;
}

/// Why a file could not be opened as a library.
std::string describeUnopened(const std::string& path, const std::string& failure) {
    std::error_code unreadable; // then the system's message describes the problem
    const bool isMissing = !std::filesystem::exists(Text::toPath(path), unreadable) && !unreadable;
    return isMissing ? "no such file" : "cannot be opened as a library: " + failure;
}

/// Finds the two functions that every module exports and checks the version. Returns the problem; empty if
/// there is none.
std::string readInterface(LibraryHandle library, KzRx::EntryPoint& entry) {
    constexpr const char* missing = "not a module of this host: it does not export ";
    entry = reinterpret_cast<KzRx::EntryPoint>(librarySymbol(library, "kzrxEntryPoint"));
    if (entry == nullptr) return std::string(missing) + "kzrxEntryPoint";
    const auto version = reinterpret_cast<KzRx::ApiVersionQuery>(librarySymbol(library, "kzrxGetApiVersion"));
    if (version == nullptr) return std::string(missing) + "kzrxGetApiVersion";
    const ModuleCall guard;
    // Checked before the entry point is called, because messages may have another meaning in another
    // version.
    const std::uint32_t number = version();
    if (number == KzRx::apiVersion) return {};
    char text[100];
    std::snprintf(text, sizeof text, "built for version 0x%x of the interface (expected: 0x%x)", number,
                  KzRx::apiVersion);
    return text;
}

/// Why a module whose entry point was called was not loaded.
std::string describeFailedLoad(LibraryHandle library, std::int32_t answer) {
    std::string text = "kzrxEntryPoint returned " + std::to_string(answer);
    if (isInUse(library)) text += " (already loaded)";
    const char* separator = " (library not found: ";
    for (const std::string& each : librariesNotFound) {
        text += separator + each;
        separator = ", ";
    }
    return librariesNotFound.empty() ? text : text + ")";
}

} // namespace

int ModuleCall::depth = 0;

/// A loop, because closing a library runs its destructors, which may defer the closing of another one.
void ModuleCall::closeWaitingLibraries() {
    while (!loader.waitingToClose.empty()) {
        const LibraryHandle library = loader.waitingToClose.back();
        loader.waitingToClose.pop_back();
        closeNow(library);
    }
}

std::int32_t sendMessage(KzRx::EntryPoint entry, KzRx::Message message) {
    const ModuleCall guard;
    char packet = 0; // only its address matters
    // Messages nest: a module may load another one while it is being loaded.
    const void* const outer = std::exchange(loader.packet, &packet);
    const std::int32_t answer = entry(message, &packet);
    loader.packet = outer;
    return answer;
}

namespace {

/// Sends a message to a loaded module, with a trace.
std::int32_t send(const Module& module, KzRx::Message message) {
    TraceScope trace([&]() -> TraceEvent {
        return {TraceCategory::moduleCall,
                "kzrxEntryPoint",
                module.path.substr(module.path.rfind('/') + 1),
                {{"message", std::int64_t{message}}}};
    });
    const std::int32_t answer = sendMessage(module.entry, message);
    trace.gives([&] { return TraceDetail{"answer", std::int64_t{answer}}; });
    return answer;
}

} // namespace

const void* currentPacket() {
    return loader.packet;
}

/// The module is added to the list after its load message, so that it cannot be unloaded during the
/// message, and is not in the list if it fails.
LoadResult loadModule(const std::string& path, const std::string& resources) {
    // The folder applies to all modules until the next load.
    resourceFolder = resources;
    librariesNotFound.clear();
    const OpenedLibrary opened = openLibraryFile(path);
    LibraryHandle const library = opened.handle;
    if (library == nullptr) return {.failure = describeUnopened(path, opened.failure)};
    KzRx::EntryPoint entry = nullptr;
    if (std::string missing = readInterface(library, entry); !missing.empty()) {
        closeLibrary(library);
        return {.failure = missing};
    }
    const Module module{.id = ModuleId(++loader.lastId), .path = path, .library = library, .entry = entry};
    const std::int32_t answer = send(module, KzRx::loadMessage);
    if (answer != KzRx::done) {
        const std::string failure = describeFailedLoad(library, answer); // before the library is closed
        closeWhenCallsHaveReturned(library);
        return {.answer = answer, .failure = failure};
    }
    loader.modules.push_back(module);
    return {.module = module.id};
}

std::optional<std::int32_t> unloadModule(ModuleId id) {
    // A module cannot open an object that is held open, and so could not unregister its reactors.
    if (heldOpenCount() != 0) return std::nullopt;
    const Module* const found = find(id);
    if (found == nullptr) return 0;
    // A copy, because the entry is erased.
    const Module module = *found;
    // Removed from the list first, because the module may cause another unloading during its message.
    std::erase_if(loader.modules, [id](const Module& each) { return each.id == id; });
    const ModuleCall guard;
    const std::int32_t answer = send(module, KzRx::unloadMessage);
    closeWhenCallsHaveReturned(module.library);
    return answer;
}

ModuleId lastModule() {
    return loader.modules.empty() ? ModuleId::none : loader.modules.back().id;
}

bool isLoaded(ModuleId module) {
    return find(module) != nullptr;
}

void* moduleExport(ModuleId module, const char* name) {
    const Module* const found = find(module);
    return found != nullptr ? librarySymbol(found->library, name) : nullptr;
}

const std::vector<std::string>& usageErrors() {
    return noted;
}

void clearUsageErrors() {
    noted.clear();
}

void reportUsageError(const char* call) {
    noted.emplace_back(call);
}

/// The order matters: faults end first, so that modules can unregister. Modules are unloaded while their
/// documents are open, the last loaded first, because a module may use one that was loaded before.
/// Documents are closed before the reactors of the document manager are removed, so that these are
/// notified.
void reset() {
    resetFaults();
    clearUsageErrors(); // errors during unloading are kept
    if (heldOpenCount() != 0) {
        objectTable.forEach(KzDbObjectId(), [](Object& object) {
            if (object.isHeld()) object.releaseHold();
        });
    }
    assert(heldOpenCount() == 0); // otherwise no module is unloaded, and the loop below does not end
    while (lastModule() != ModuleId::none) static_cast<void>(unloadModule(lastModule()));
    while (!documentManager.open.empty()) {
        if (!closeDocument(documentManager.open.back())) break; // `reset` was called during an edit
    }
    documentManager.reactors.removeIf([](KzApDocManagerReactor*) { return true; });
    resetMessageLoop();
    resetRegistry();
}

} // namespace Headless
