// kzhost: runs Lua scripts that drive the headless host, or a prompt if there is no script.

#include "headless/kzhost/platform.h"
#include "headless/kzhost/prompt.h"
#include "text/paths.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <optional>

namespace KzHost {

namespace {

// The exit statuses.
constexpr int done = 0;
constexpr int scriptFailed = 1;
constexpr int wrongUsage = 2;

struct CommandLine {
    std::optional<std::string> module;
    std::optional<std::string> trace;
    std::vector<std::string> texts; ///< Lua to run before the script, in order
    bool isInteractive = false;
    bool hasNoHistory = false;

    std::vector<std::string> words; ///< all words, beginning with the program
    std::size_t script = 0;         ///< the position of the script in `words`; 0: none
};

// ---- reading the command line

/// Adds the script and its arguments to the help, because the library does not parse them.
class HelpFormatter final : public CLI::Formatter {
public:
    [[nodiscard]] std::string make_usage(const CLI::App* /*app*/, std::string name) const override {
        return "Usage: " + name + " [OPTIONS] [SCRIPT [ARG ...]]\n";
    }
    [[nodiscard]] std::string make_positionals(const CLI::App* /*app*/) const override {
        return "Positionals:\n"
               "  SCRIPT                      A Lua file, - for standard input; none on a terminal: a "
               "prompt\n"
               "  ARG ...                     Arguments of the script, in the table arg\n";
    }
};

void addOptions(CLI::App& app, CommandLine& line) {
    app.formatter(std::make_shared<HelpFormatter>());
    app.allow_windows_style_options(false); // the path of a script may begin with a slash
    app.prefix_command();                   // all words from the script on belong to the script
    app.add_option("--module", line.module, "Default module for host.load()")->type_name("PATH");
    app.add_option("--trace", line.trace, "Write a trace of all events to FILE; - for text on standard error")
        ->type_name("FILE");
    app.add_option("-e", line.texts, "Run LUA before SCRIPT (repeatable)")
        ->type_name("LUA")
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
        ->allow_extra_args(false);
    if constexpr (hasPrompt) {
        app.add_flag("-i", line.isInteractive, "Start the prompt after -e and SCRIPT");
        app.add_flag("--no-history", line.hasNoHistory, "Do not read or write the history of the prompt");
    }
    const auto printDeclarations = [] {
        std::cout << apiLua;
        throw CLI::Success(); // ends parsing: nothing is left to do
    };
    app.add_flag_callback("--declarations", printDeclarations,
                          "Print declarations for the Lua language server");
    app.set_version_flag("--version", "kzhost " KZHOST_VERSION);
}

int usageError(const std::string& problem) {
    std::cerr << "kzhost: " << problem << '\n';
    return wrongUsage;
}

/// Returns the exit status if nothing is left to do: help was printed, or the usage is wrong.
std::optional<int> readCommandLine(CommandLine& line) {
    CLI::App app("Runs Lua scripts that drive drawings and extension modules in a host without windows.",
                 "kzhost");
    addOptions(app, line);
    try {
        // The library expects the words in reverse order.
        app.parse(std::vector<std::string>(line.words.rbegin(), line.words.rend() - 1));
    } catch (const CLI::Success& success) {
        return app.exit(success);
    } catch (const CLI::ParseError& error) {
        return usageError(std::string(error.what()) + " (see --help)");
    }
    // The remaining words begin with the script, with "--" before a script that looks like an option, or
    // with an unknown option.
    const std::vector<std::string> rest = app.remaining();
    if (rest.empty()) return std::nullopt;
    const bool isMarked = rest.front() == "--";
    if (!isMarked && rest.front().size() > 1 && rest.front()[0] == '-') {
        return usageError("unknown option: " + rest.front() + " (see --help)");
    }
    const std::size_t script = line.words.size() - rest.size() + (isMarked ? 1 : 0);
    if (script < line.words.size()) line.script = script;
    return std::nullopt;
}

// ---- running

/// The folder of modules and of the libraries that they load. The program's own folder comes first, so that
/// a build tree does not load installed modules.
std::string libraryFolder() {
    constexpr const char* module = "Zelvane.hmx";
    const auto own = Text::toPath(programFolder());
    const auto installed = (own / KZHOST_MODULES).lexically_normal();
    std::error_code unreadable; // counts as missing
    const bool isInstalled = !std::filesystem::exists(own / module, unreadable) &&
                             std::filesystem::exists(installed / module, unreadable);
    return Text::fromPath(isInstalled ? installed : own);
}

/// Stops at the first text or script that fails.
bool runAll(Session& session, const CommandLine& line) {
    session.setArguments(line.words, line.script);
    const bool isDone = std::all_of(line.texts.begin(), line.texts.end(),
                                    [&](const std::string& text) { return session.runText(text); });
    if (!isDone || line.script == 0) return isDone;
    const auto script = line.words.begin() + static_cast<std::ptrdiff_t>(line.script);
    return session.runFile(*script, {script + 1, line.words.end()});
}

/// Why the script cannot be run; empty if it can be run.
std::string describeUnreadable(const CommandLine& line) {
    const std::string& script = line.words[line.script];
    std::error_code error; // ignored: the trace file may not exist yet
    if (line.script == 0 || script == "-") return {};
    if (std::filesystem::is_directory(script, error)) return "is a folder";
    if (!std::ifstream(script).is_open()) return std::strerror(errno);
    return std::filesystem::equivalent(script, line.trace.value_or(""), error) ? "is the trace file" : "";
}

/// Reports wrong usage before anything runs. The trace begins before the session, so that it contains all
/// events of the session.
int run(const CommandLine& line) {
    const bool hasNothingToRun = line.script == 0 && line.texts.empty();
    if (const std::string why = describeUnreadable(line); !why.empty()) {
        return usageError(line.words[line.script] + ": " + why);
    }
    if (hasNothingToRun && !line.isInteractive && !isInputTyped()) {
        return usageError("missing SCRIPT (- for standard input)");
    }
    Setup setup;
    setup.resources = libraryFolder();
    setup.modulePath = line.module.value_or(setup.resources + "/Zelvane.hmx");
    if (line.trace.has_value() && !traceRun(*line.trace)) {
        return usageError(*line.trace + ": " + std::strerror(errno));
    }
    const bool isPrompting = hasNothingToRun || line.isInteractive;
    bool isDone = false;
    {
        Session session(setup);
        if constexpr (hasPrompt) {
            if (isPrompting) preparePrompt(session);
        }
        isDone = runAll(session, line);
        // The prompt also starts after a script that failed; it does not change the exit status.
        if constexpr (hasPrompt) {
            if (isPrompting) prompt(session, setup, !line.hasNoHistory);
        }
    }
    return finishOutput() && isDone ? done : scriptFailed;
}

} // namespace

} // namespace KzHost

int main(int count, char** values) {
    using namespace KzHost;
    try {
        CommandLine line;
        line.words.assign(values, values + count);
        handleSignals();
        const std::optional<int> status = readCommandLine(line);
        if (!status.has_value()) return run(line);
        std::cout.flush();
        return finishOutput() ? *status : scriptFailed;
    } catch (const std::exception& error) {
        std::cerr << "kzhost: " << error.what() << '\n';
        return scriptFailed;
    }
}
