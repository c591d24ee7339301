// kzhost: runs Lua scripts that drive the headless host, or a prompt when there is no script.

#include "headless/kzhost/command_line.h"
#include "headless/kzhost/interrupt.h"
#include "headless/kzhost/library_folder.h"
#include "headless/kzhost/process.h"
#include "headless/kzhost/prompt.h"
#include "headless/kzhost/script.h"
#include "headless/kzhost/tracing.h"

#include <algorithm>
#include <exception>
#include <fstream>
#include <iostream>
#include <string>
#include <vector>

namespace {

using KzHost::CommandLine;

int refuse(const std::string& why) {
    std::cerr << "kzhost: " << why << '\n';
    return KzHost::wrongUsage;
}

/// Asked beforehand, because a missing script is a wrong call and not a failed script.
bool canRead(const std::string& script) {
    return script == "-" || std::ifstream(script).is_open();
}

/// The texts, then the script; the first one that fails is the last.
bool runAll(KzHost::Session& session, const CommandLine& line) {
    session.setArguments(line.words, line.script);
    const bool isDone = std::all_of(line.texts.begin(), line.texts.end(),
                                    [&](const std::string& text) { return session.runText(text); });
    return isDone && (!line.hasScript() || session.runFile(line.words[line.script]));
}

/// What can be refused is refused before the session begins, so that nothing was run then. The trace begins
/// before it too, and has all of it.
int run(const CommandLine& line) {
    if (line.hasScript() && !canRead(line.words[line.script])) {
        return refuse("cannot read the script " + line.words[line.script]);
    }
    const bool hasNothingToRun = !line.hasScript() && line.texts.empty();
    if (hasNothingToRun && !line.isInteractive && !KzHost::isInputTyped()) {
        return refuse("a SCRIPT is missing (\"-\" reads it from standard input)");
    }
    KzHost::Setup setup;
    setup.program = KzHost::libraryFolder(KzHost::programFolder());
    setup.modulePath = line.module.value_or(setup.program + "/" + KzHost::defaultModule);
    if (line.trace.has_value() && !KzHost::traceToFile(*line.trace)) {
        return refuse("cannot write the trace " + *line.trace);
    }
    KzHost::nameClientOnCrash();
    KzHost::Session session(setup);
    // A prompt that was asked for comes also after a script that failed, and does not change the status.
    const bool isDone = runAll(session, line);
    if (hasNothingToRun || line.isInteractive) KzHost::prompt(session, setup, !line.hasNoHistory);
    return isDone ? KzHost::done : KzHost::scriptFailed;
}

} // namespace

int main(int count, char** values) {
    try {
        CommandLine line;
        const std::vector<std::string> words(values, values + count);
        if (const std::optional<int> status = KzHost::readCommandLine(words, line)) return *status;
        return run(line);
    } catch (const std::exception& error) {
        std::cerr << "kzhost: " << error.what() << '\n';
        return KzHost::scriptFailed;
    }
}
