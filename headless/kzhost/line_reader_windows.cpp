// The console edits lines and keeps their history itself; there is no completion.

#include "headless/kzhost/interrupt.h"
#include "headless/kzhost/line_reader.h"
#include "headless/kzhost/process.h"

#include <windows.h>

#include <iostream>

namespace KzHost {

LineReader::LineReader(Completer /*completer*/, bool /*hasHistory*/) {
    if (!isInputTyped()) return;
    SetConsoleCP(CP_UTF8);
    SetConsoleOutputCP(CP_UTF8);
}

LineReader::~LineReader() = default;

LineReader::Line LineReader::read(const char* sign) {
    if (isInputTyped()) std::cout << sign << std::flush;
    static_cast<void>(takeInterrupt());
    Line line;
    if (std::getline(std::cin, line.text)) {
        line.end = End::line;
    } else if (takeInterrupt()) {
        // Ctrl-C ends the reading like the end of input would.
        std::cin.clear();
        line.end = End::interrupted;
    }
    return line;
}

void LineReader::remember(const std::string& /*statement*/) {}

} // namespace KzHost
