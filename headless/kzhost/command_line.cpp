#include "headless/kzhost/command_line.h"

#include "headless/kzhost/documentation.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <functional>
#include <iostream>
#include <memory>

namespace KzHost {

namespace {

/// The script and its arguments are not for the library to read, so it does not know them either.
class HelpFormatter final : public CLI::Formatter {
public:
    [[nodiscard]] std::string make_usage(const CLI::App* /*app*/, std::string name) const override {
        return "Usage: " + name + " [OPTIONS] [SCRIPT [ARG ...]]\n";
    }
    [[nodiscard]] std::string make_positionals(const CLI::App* /*app*/) const override {
        return "Positionals:\n"
               "  SCRIPT                      A Lua file, - for standard input; on a terminal, none for a "
               "prompt\n"
               "  ARG ...                     What the script finds in the table arg\n";
    }
};

/// A flag that prints something instead of running anything.
void addPrintingFlag(CLI::App& app, const char* name, const char* description,
                     const std::function<std::string()>& text) {
    const auto print = [text] {
        std::cout << text();
        // This is how the library is told that nothing is left to do; `readCommandLine` catches it.
        throw CLI::Success();
    };
    app.add_flag_callback(name, print, description);
}

void addOptions(CLI::App& app, CommandLine& line) {
    app.formatter(std::make_shared<HelpFormatter>());
    app.allow_windows_style_options(false); // a script may lie at the root
    app.prefix_command();                   // from the script on the words are the script's, dashes and all
    app.add_option("--module", line.module, "What host.load() loads when it is given no path")
        ->type_name("PATH");
    app.add_option("--trace", line.trace,
                   "Everything that happens, as a file of trace events; - for text on standard error")
        ->type_name("FILE");
    app.add_option("-e", line.texts, "Runs this text, before SCRIPT; may be given several times")
        ->type_name("LUA")
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
        ->allow_extra_args(false);
    app.add_flag("-i", line.isInteractive, "Goes on with the prompt after -e and SCRIPT");
    app.add_flag("--no-history", line.hasNoHistory, "Neither reads nor writes the history of the prompt");
    addPrintingFlag(app, "--reference", "Prints the reference page, docs/kzhost.md",
                    [&app] { return referencePage(app.help()); });
    addPrintingFlag(app, "--declarations", "Prints declarations for the Lua language server",
                    luaDeclarations);
    app.set_version_flag("--version", "kzhost " KZHOST_VERSION);
}

/// For what the library does not notice, in the words that it uses itself.
int refuse(const std::string& why) {
    std::cerr << "kzhost: " << why << "\nRun with --help for more information.\n";
    return wrongUsage;
}

} // namespace

std::optional<int> readCommandLine(const std::vector<std::string>& words, CommandLine& line) {
    line.words = words;
    CLI::App app("Runs Lua scripts that drive drawings and extension modules in a host without windows.",
                 "kzhost");
    addOptions(app, line);
    try {
        app.parse(
            std::vector<std::string>(words.rbegin(), words.rend() - 1)); // the library reads from the back
    } catch (const CLI::ParseError& error) {
        // The help, the version and the printing flags come this way too: then the status is 0.
        return app.exit(error) == 0 ? done : wrongUsage;
    }
    // What is left begins with the script, with "--" before one whose name looks like an option, or with a
    // word that only looks like one.
    const std::vector<std::string> rest = app.remaining();
    if (rest.empty()) return std::nullopt;
    const bool isMarked = rest.front() == "--";
    if (!isMarked && rest.front().size() > 1 && rest.front()[0] == '-') {
        return refuse("there is no option " + rest.front());
    }
    // The rest is the end of the words, so its length says where it begins among them.
    const std::size_t script = words.size() - rest.size() + (isMarked ? 1 : 0);
    if (script == words.size()) return std::nullopt;
    line.script = script;
    return std::nullopt;
}

} // namespace KzHost
