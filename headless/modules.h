#pragma once

#include "headless/export.h"
#include "host/module_interface.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// Loading and unloading of extension modules, calls into them, and what they do wrong.
namespace Headless {

/// A loaded module. Null stands for none; a value is not used again after the unloading.
enum class ModuleId : std::uint32_t { none = 0 };

struct LoadResult {
    ModuleId module = ModuleId::none;
    std::int32_t answer = 0;  ///< what the module answered to its load message, when it was asked
    std::string failure = {}; ///< why it was not loaded, in one line; empty when it was
};

/// Opens a library, checks its interface version and sends the load message. Any other answer than 0 closes
/// it again at once. `resources` is the folder in which libraries loaded by bare name are looked for first;
/// when empty, only the system's search order counts.
HEADLESS_API LoadResult loadModule(const std::string& path, const std::string& resources);

/// Sends the unload message and closes the library; gives the answer. From inside a call into any module the
/// message is sent at once and the library closed when the last call has returned. Filters and reactors that
/// the module left behind are dropped before. 0 for a module that is not loaded. Nothing when an object is
/// held open: then nothing was done.
HEADLESS_API std::optional<std::int32_t> unloadModule(ModuleId module);

/// Sends one message to the entry point of a module that is linked to the program instead of loaded; gives
/// the answer.
HEADLESS_API std::int32_t sendMessage(KzRx::EntryPoint entry, KzRx::Message message);

/// What the entry point that is being called was passed beside the message: a token for its module. Null
/// while none is being called.
[[nodiscard]] HEADLESS_API const void* currentPacket();

/// The module loaded last; `none` when none is loaded.
[[nodiscard]] HEADLESS_API ModuleId lastModule();
[[nodiscard]] HEADLESS_API bool isLoaded(ModuleId module);
/// The address of an export; null when the module is not loaded or has no such export.
[[nodiscard]] HEADLESS_API void* moduleExport(ModuleId module, const char* name);

/// Scope guard around every call into a module. The libraries of unloaded modules are closed when the
/// outermost call ends: code that is still on the stack must not go away.
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

/// What modules have passed to the host although no module has to, in words and in order: other flags, modes,
/// keys, tokens or message parameters than those that "host/" names, reactors for an object that is not open
/// for them, a close without an opening. The host refuses such a call. Tests look here, and `kzhost` tells
/// the script.
[[nodiscard]] HEADLESS_API const std::vector<std::string>& mistakes();

HEADLESS_API void forgetMistakes();

void reportUsageError(const char* call);

/// Notes a mistake unless a call is as it should be. Gives whether it is.
inline bool checkUsage(bool isAsItShouldBe, const char* call) {
    if (!isAsItShouldBe) reportUsageError(call);
    return isAsItShouldBe;
}

} // namespace Headless
