#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace KzHost {

// What the process ends with.
inline constexpr int done = 0;
inline constexpr int scriptFailed = 1;
inline constexpr int wrongUsage = 2;

/// What the command line asks for.
struct CommandLine {
    std::optional<std::string> module; ///< what `host.load()` loads; nothing: the default
    std::optional<std::string> trace;  ///< the file that receives a trace, "-" for standard error
    std::vector<std::string> texts;    ///< Lua to be run before the script, in the given order
    bool isInteractive = false;        ///< the prompt follows what is run
    bool hasNoHistory = false;         ///< the prompt neither reads nor writes its history

    std::vector<std::string> words; ///< all words, the program's own first
    std::size_t script = 0;         ///< where the script stands among them; 0: there is none

    [[nodiscard]] bool hasScript() const { return script != 0; }
};

/// Reads the command line into `line`. Gives what the process ends with when there is nothing to do but what
/// it has printed: the help, the version, or what is wrong.
[[nodiscard]] std::optional<int> readCommandLine(const std::vector<std::string>& words, CommandLine& line);

} // namespace KzHost
