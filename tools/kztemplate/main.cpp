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
#include <string>
#include <vector>

namespace {

constexpr int done = 0;
constexpr int failed = 1;
constexpr int wrongUsage = 2;

std::string shown(const std::string& file) {
    return file == "-" ? "standard input" : file;
}

int fail(const std::string& what) {
    std::cerr << "kztemplate: " << what << '\n';
    return failed;
}

int cannotOpen(const std::string& file, const std::error_code& error) {
    const bool isNoFile = error == std::errc::invalid_argument;
    return fail(shown(file) + ": " + (isNoFile ? "not a regular file" : error.message()));
}

// Gives done, or tells what is wrong.
int readFile(const std::string& file, CEattMain& eattMain) {
    std::error_code error;
    const auto source = openInput(file, error);
    if (!source) return cannotOpen(file, error);
    const auto failure = readTemplate(*source, eattMain);
    if (!failure) return done;
    return fail(shown(file) + ": at byte " + std::to_string(failure.offset) + ": " + describe(failure.error));
}

int finishOutput(std::size_t replaced) {
    if (!std::cout.flush()) return fail("standard output cannot be written");
    if (replaced != 0)
        std::cerr << "kztemplate: note: " << replaced << " unpaired surrogates are shown as U+FFFD\n";
    return done;
}

int dump(const std::string& file) {
    CEattMain eattMain;
    if (const int result = readFile(file, eattMain); result != done) return result;
    return finishOutput(templateToJson(eattMain, std::cout));
}

int names(const std::string& file) {
    CEattMain eattMain;
    if (const int result = readFile(file, eattMain); result != done) return result;
    std::vector<std::u16string> blocks;
    std::vector<std::u16string> attributes;
    giveSelectedNames(eattMain, blocks, attributes);
    const auto replaced = writeNames("Blocks", blocks, std::cout);
    return finishOutput(replaced + writeNames("Attributes", attributes, std::cout));
}

int build(const std::string& file, const std::string& output) {
    std::error_code error;
    std::string text;
    const auto source = openInput(file, error);
    if (!source) return cannotOpen(file, error);
    if (error = readAll(*source, text); error) return cannotOpen(file, error);

    CEattMain eattMain;
    if (const auto refusal = templateFromJson(text, eattMain))
        return fail(shown(file) + ": " + refusal->path + ": " + refusal->reason);
    KzDxArchiveWriter writer;
    writeTemplate(eattMain, writer);
    if (error = writeOutput(output, writer.written()); error)
        return output == "-" ? fail("standard output cannot be written") : cannotOpen(output, error);
    return done;
}

// Everything that the command line can ask for. `run` does it once the line is parsed.
struct CommandLine {
    CLI::App app{"Looks into legacy block template files, and makes them.", "kztemplate"};
    CLI::App* dumpCommand = app.add_subcommand("dump", "Prints everything that a template stores, as JSON.");
    CLI::App* buildCommand = app.add_subcommand("build", "Makes a template of the JSON that dump prints.");
    CLI::App* namesCommand = app.add_subcommand(
        "names", "Prints the names of the selected blocks and of the attributes selected in them.");
    std::string file;
    std::string output;

    CommandLine() {
        app.require_subcommand(1);
        app.footer(
            "Exit status: 0 done, 1 the input or output is at fault, 2 wrong usage.\n"
            "Example: kztemplate dump doors.tpl | sed 's/\"TAG\"/\"MARK\"/' | kztemplate build - marks.tpl");
        dumpCommand->add_option("FILE", file, "The template; - is standard input")->required();
        dumpCommand->footer("Example: kztemplate dump doors.tpl > doors.json");
        namesCommand->add_option("FILE", file, "The template; - is standard input")->required();
        namesCommand->footer("A control character in a name is printed as \\u000A.\n"
                             "Example: kztemplate names doors.tpl");
        buildCommand->add_option("FILE.json", file, "The JSON text in UTF-8; - is standard input")
            ->required();
        buildCommand
            ->add_option("OUT", output, "The template to write, whole or not at all; - is standard output")
            ->required();
        buildCommand->footer(
            "The text: {\"header\": 1, \"blocks\": [{\"name\": \"DOOR\", \"flag\": 1,\n"
            "           \"attributes\": [{\"name\": \"NOTE\", \"flag\": 0}, {\"name\": \"TAG\", \"flag\": "
            "1}]}]}\n"
            "A flag other than 0 selects. Attributes are written in the alphabetical order of the locale.\n"
            "Example: kztemplate build doors.json doors.tpl");
    }

    [[nodiscard]] int run() const {
        if (dumpCommand->parsed()) return dump(file);
        if (namesCommand->parsed()) return names(file);
        return build(file, output);
    }
};

} // namespace

int main(int argc, char** argv) try {
    std::setlocale(LC_CTYPE, "");
    std::setlocale(LC_COLLATE, "");
    CommandLine line;
    try {
        line.app.parse(argc, argv);
    } catch (const CLI::ParseError& error) { // also asks for help
        return line.app.exit(error) == 0 ? done : wrongUsage;
    }
    return line.run();
} catch (const std::exception& error) {
    return fail(error.what());
}
