// kzhost: runs Lua scripts that drive the headless host, or a prompt when there is no script.

#include "headless/kzhost/prompt.h"
#include "headless/kzhost/script.h"

#include <CLI/CLI.hpp>

#include <unistd.h>

#include <climits>
#include <exception>
#include <filesystem>
#include <iostream>
#include <string>
#include <vector>

namespace {

constexpr int done = 0;
constexpr int scriptFailed = 1;
constexpr int wrongUsage = 2;

/// How many arguments are for kzhost itself. From the script on they are the script's, dashes and all.
int countOwnArguments(const std::vector<std::string>& arguments) {
    std::size_t at = 1;
    while (at < arguments.size()) {
        const std::string& each = arguments[at];
        if (each == "-" || each.empty() || each[0] != '-') break;
        at += each == "--module" ? 2U : 1U;
    }
    return static_cast<int>(std::min(at, arguments.size()));
}

std::string programFolder() {
    std::error_code error;
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error);
    return error ? "." : program.parent_path().string();
}

int runScript(KzHost::Session& session, std::vector<std::string> arguments) {
    const std::string script = arguments[1];
    if (script != "-" && access(script.c_str(), R_OK) != 0) {
        std::cerr << "kzhost: cannot read the script " << script << '\n';
        return wrongUsage;
    }
    return session.run(script, arguments) ? done : scriptFailed;
}

int run(const std::vector<std::string>& arguments, const KzHost::Setup& setup, int ownArguments) {
    const auto script = arguments.begin() + ownArguments;
    if (script == arguments.end() && isatty(STDIN_FILENO) == 0) {
        std::cerr << "kzhost: a SCRIPT is missing (\"-\" reads it from standard input)\n";
        return wrongUsage;
    }
    KzHost::Session session(setup);
    if (script == arguments.end()) {
        KzHost::prompt(session);
        return done;
    }
    std::vector<std::string> scriptArguments(script, arguments.end());
    scriptArguments.insert(scriptArguments.begin(), arguments[0]);
    return runScript(session, scriptArguments);
}

} // namespace

int main(int count, char** values) {
    try {
        const std::vector<std::string> arguments(values, values + count);
        KzHost::Setup setup;
        setup.program = programFolder();
        setup.modulePath = setup.program + "/Zelvane.hmx";

        CLI::App app(
            "Runs a Lua script that drives drawings and extension modules in a host without windows.",
            "kzhost");
        std::string script; // shown in the help; what follows the script is not for us to read
        std::vector<std::string> scriptArguments;
        app.add_option("SCRIPT", script,
                       "A Lua file, - for standard input; on a terminal, none for a prompt");
        app.add_option("ARG", scriptArguments, "What the script finds in the table arg");
        app.add_option("--module", setup.modulePath, "What host.load() loads when it is given no path");
        app.set_version_flag("--version", "kzhost " KZHOST_VERSION);
        const int ownArguments = countOwnArguments(arguments);
        try {
            app.parse(ownArguments, values);
        } catch (const CLI::ParseError& error) {
            return app.exit(error) == 0 ? done : wrongUsage;
        }
        return run(arguments, setup, ownArguments);
    } catch (const std::exception& error) {
        std::cerr << "kzhost: " << error.what() << '\n';
        return scriptFailed;
    }
}
