#pragma once

#include "headless/export.h"
#include "host/module_interface.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// Loading and unloading of extension modules, calls into them, and their usage errors.
namespace Headless {

/// Identifies a loaded module. Values are not reused after unloading.
enum class ModuleId : std::uint32_t { none = 0 };

struct LoadResult {
    ModuleId module = ModuleId::none;
    std::int32_t answer = 0;  ///< what the module returned from its load message; 0 if it was not called
    std::string failure = {}; ///< why the module was not loaded, in one line; empty if it was
};

/// Opens a library, checks its interface version and sends the load message. If the module returns anything
/// but 0, the library is closed again. `resources` is the folder in which libraries loaded by bare name are
/// looked up first; if empty, only the system's search path is used.
HEADLESS_API LoadResult loadModule(const std::string& path, const std::string& resources);

/// Sends the unload message, unregisters the filters and reactors that the module left registered, and
/// closes the library. Returns what the module returned; 0 for a module that is not loaded. Called during a
/// call into a module: the message is sent immediately, and the library is closed when the outermost call
/// has returned. If an object is held open, returns nothing and has no effect.
HEADLESS_API std::optional<std::int32_t> unloadModule(ModuleId module);

/// Sends a message to the entry point of a module that is linked to the program instead of loaded. Returns
/// what the module returned.
HEADLESS_API std::int32_t sendMessage(KzRx::EntryPoint entry, KzRx::Message message);

/// The token that the active entry point was passed with its message. Null if no entry point is active.
[[nodiscard]] HEADLESS_API const void* currentPacket();

/// The module loaded last; `none` if no module is loaded.
[[nodiscard]] HEADLESS_API ModuleId lastModule();
[[nodiscard]] HEADLESS_API bool isLoaded(ModuleId module);
/// The address of an export; null if the module is not loaded or has no such export.
[[nodiscard]] HEADLESS_API void* moduleExport(ModuleId module, const char* name);

/// Scope guard around every call into a module. When the outermost call ends, the libraries of unloaded
/// modules are closed; not before, because their code may be on the stack.
class HEADLESS_API ModuleCall {
public:
    ModuleCall() { ++depth; }
    ModuleCall(const ModuleCall&) = delete;
    ModuleCall& operator=(const ModuleCall&) = delete;
    ~ModuleCall() {
        if (--depth == 0) closeWaitingLibraries();
    }

private:
    static void closeWaitingLibraries();

    static int depth;
};

/// The usage errors of modules, described, in order: calls with other flags, modes, keys, tokens or message
/// parameters than those that "host/" names, changes of reactors of an object that is not open for this, a
/// close without an open. The host call fails. Tests check that there are none; `kzhost` raises an error in
/// the script.
[[nodiscard]] HEADLESS_API const std::vector<std::string>& usageErrors();

HEADLESS_API void clearUsageErrors();

void reportUsageError(const char* call);

/// Reports a usage error if `isValid` is false. Returns `isValid`.
inline bool checkUsage(bool isValid, const char* call) {
    if (!isValid) reportUsageError(call);
    return isValid;
}

} // namespace Headless
