#include "templates/archive_writer.h"
#include "templates/eatt_main.h"
#include "templates/selected_names.h"
#include "tools/kztemplate/files.h"
#include "tools/kztemplate/template_from_json.h"
#include "tools/kztemplate/template_to_json.h"

#include <CLI/CLI.hpp>

#include <clocale>
#include <exception>
#include <iostream>
#include <new>
#include <string>
#include <vector>

namespace {

constexpr int done = 0;
constexpr int failed = 1;
constexpr int wrongUsage = 2;

constexpr const char* standardOutputFailed = "standard output: cannot be written";

// The name of an input in messages.
std::string shown(const std::string& file) {
    return file == "-" ? "standard input" : file;
}

// Prints an error as one line, with the name of the program.
int fail(const std::string& what) {
    std::cerr << "kztemplate: " << what << '\n';
    return failed;
}

// The sources return invalid_argument for a folder, a device or a pipe; this gets a clearer message.
int cannotOpen(const std::string& file, const std::error_code& error) {
    const bool isNoFile = error == std::errc::invalid_argument;
    return fail(shown(file) + ": " + (isNoFile ? "not a regular file" : error.message()));
}

// Returns done, or reports the error.
int readFile(const std::string& file, CEattMain& eattMain) {
    std::error_code error;
    const auto source = openInput(file, error);
    if (!source) return cannotOpen(file, error);
    const auto failure = kzdxReadTemplate(*source, eattMain);
    if (!failure) return done;
    return fail(shown(file) + ": " + kzdxDescribe(failure));
}

// Ends a command that has printed. Flushes, because a full disk is noticed only then. The note goes to
// standard error, because a program may read the output.
int finishOutput(std::size_t replaced) {
    if (!std::cout.flush()) return fail(standardOutputFailed);
    if (replaced != 0)
        std::cerr << "kztemplate: note: " << replaced << " unpaired surrogates are shown as U+FFFD\n";
    return done;
}

int dump(const std::string& file) {
    CEattMain eattMain;
    if (const int result = readFile(file, eattMain); result != done) return result;
    return finishOutput(templateToJson(eattMain, std::cout));
}

int names(const std::string& file, bool isJson) {
    CEattMain eattMain;
    if (const int result = readFile(file, eattMain); result != done) return result;
    std::vector<std::u16string> blocks;
    std::vector<std::u16string> attributes;
    kzdxGiveSelectedNames(eattMain, blocks, attributes);
    if (isJson) return finishOutput(namesToJson(blocks, attributes, std::cout));
    const auto replaced = writeNames("Blocks", blocks, std::cout);
    return finishOutput(replaced + writeNames("Attributes", attributes, std::cout));
}

// The input is read and checked completely before the output is opened.
int build(const std::string& file, const std::string& output) {
    std::error_code error;
    std::string text;
    const auto source = openInput(file, error);
    if (!source) return cannotOpen(file, error);
    if (error = readAll(*source, text); error) return cannotOpen(file, error);

    CEattMain eattMain;
    if (const auto jsonError = templateFromJson(text, eattMain))
        return fail(shown(file) + ": " + jsonError->path + ": " + jsonError->reason);
    KzDxArchiveWriter writer;
    kzdxWriteTemplate(eattMain, writer);
    if (error = writeOutput(output, writer.written()); error)
        return output == "-" ? fail(standardOutputFailed) : cannotOpen(output, error);
    return done;
}

// The command line. `run` executes it after parsing. `app` is the first member, because the commands are
// created in it. The options refer to the members, so the object must not move.
struct CommandLine {
    CLI::App app{
        "Prints and writes legacy block templates: files that select blocks of a drawing, and attributes of "
        "each.",
        "kztemplate"};
    CLI::App* dumpCommand = addCommand("dump", "Prints the content of a template as JSON.");
    CLI::App* namesCommand = addCommand(
        "names",
        "Prints the names of the selected blocks and of the attributes selected in them, each name once.");
    CLI::App* buildCommand = addCommand("build", "Writes a template from JSON as dump prints it.");
    std::string file;
    std::string output;
    bool isJson = false;

    CommandLine() {
        app.require_subcommand(1)->allow_windows_style_options(false);
        app.set_version_flag("--version", "kztemplate " KZTEMPLATE_VERSION, "Print the version and exit");
        app.footer(
            "Names are UTF-8. For details of a command: kztemplate COMMAND --help\n"
            "An error is one line on standard error: the file, the position and the reason.\n"
            "Exit status: 0 success, 1 error in the input or output, 2 wrong usage.\n"
            "Example: kztemplate dump doors.tpl | sed 's/\"TAG\"/\"MARK\"/' | kztemplate build - marks.tpl");
        describeDump();
        describeNames();
        describeBuild();
    }

    [[nodiscard]] int run() const try {
        if (dumpCommand->parsed()) return dump(file);
        if (namesCommand->parsed()) return names(file, isJson);
        return build(file, output);
    } catch (const std::bad_alloc&) {
        return fail(shown(file) + ": out of memory");
    } catch (const std::exception& error) {
        return fail(shown(file) + ": " + error.what());
    }

private:
    CLI::App* addCommand(const char* name, const char* description) {
        // An argument that begins with a slash may be a file on every system.
        return app.add_subcommand(name, description)->allow_windows_style_options(false);
    }

    void describeDump() {
        dumpCommand->add_option("FILE", file, "The template; - is standard input")->required();
        dumpCommand->footer("Null elements are skipped; an object that is listed several times is printed "
                            "each time.\nExample: kztemplate dump doors.tpl > doors.json");
    }

    void describeNames() {
        namesCommand->add_option("FILE", file, "The template; - is standard input")->required();
        namesCommand->add_flag("--json", isJson, "Print one JSON object with the two lists");
        namesCommand->footer("Without --json, a control character in a name is printed as \\u000A.\n"
                             "Example: kztemplate names doors.tpl");
    }

    void describeBuild() {
        buildCommand->add_option("FILE.json", file, "The JSON text in UTF-8; - is standard input")
            ->required();
        buildCommand->add_option("OUT", output, "The template to write (atomically); - is standard output")
            ->required();
        buildCommand->footer(
            "Format: {\"header\": 1, \"blocks\": [{\"name\": \"DOOR\", \"flag\": 1,\n"
            "           \"attributes\": [{\"name\": \"NOTE\", \"flag\": 0}, {\"name\": \"TAG\", \"flag\": "
            "1}]}]}\n"
            "A flag other than 0 means selected. Attributes are written in the order of the locale "
            "(LC_ALL, LC_COLLATE).\n"
            "Example: kztemplate build doors.json doors.tpl");
    }
};

} // namespace

int main(int argc, char** argv) try {
    // Only for the sort order of attributes: numbers keep the format of the C locale.
    std::setlocale(LC_CTYPE, "");
    std::setlocale(LC_COLLATE, "");
    CommandLine line;
    try {
        line.app.parse(argc, argv);
    } catch (const CLI::ParseError& error) { // also thrown for --help
        return line.app.exit(error) == 0 ? done : wrongUsage;
    }
    return line.run();
} catch (const std::exception& error) { // before the arguments are parsed
    return fail(error.what());
}
