#include "headless/kzhost/interrupt.h"
#include "headless/kzhost/line_reader.h"
#include "headless/kzhost/process.h"

#include <editline/readline.h>
#include <fcntl.h>
#include <langinfo.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <clocale>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <string_view>
#include <utility>

namespace KzHost {

namespace {

constexpr int mostRemembered = 1000;

LineReader::Completer completer; // the library's callbacks carry no data

/// Generator, as the library wants it: called again and again, with 0 as `state` at first, until it gives
/// null. The library frees each text.
char* nextCompletion(const char* word, int state) {
    static std::vector<std::string> found;
    if (state == 0) {
        found = completer(word);
        // Given from the back, which costs nothing, in ascending order all the same.
        std::reverse(found.begin(), found.end());
    }
    if (found.empty()) return nullptr;
    char* const result = strdup(found.back().c_str());
    found.pop_back();
    return result;
}

/// Without anything behind a completed name: what follows may be a dot, a colon or a bracket.
char** complete(const char* word, int /*begin*/, int /*end*/) {
    rl_attempted_completion_over = 1; // file names are not meant
    rl_completion_append_character = '\0';
    return rl_completion_matches(word, nextCompletion);
}

/// Strings are UTF-8 here whatever the user's locale is; without one the library drops what is not ASCII.
void typeUtf8() {
    std::setlocale(LC_CTYPE, "");
    if (std::string_view(nl_langinfo(CODESET)) != "UTF-8") std::setlocale(LC_CTYPE, "C.UTF-8");
}

/// The folder for what a user's programs remember; empty when there is none.
std::filesystem::path stateFolder() {
    const char* const chosen = std::getenv("XDG_STATE_HOME");
    if (chosen != nullptr && *chosen == '/') return chosen;
    const char* const home = std::getenv("HOME");
    return home != nullptr && *home == '/' ? std::filesystem::path(home) / ".local/state"
                                           : std::filesystem::path();
}

/// The file of the history, made when it is not there; empty when that cannot be.
std::string openHistory() {
    const std::filesystem::path state = stateFolder();
    if (state.empty()) return {};
    const std::filesystem::path folder = state / "kzhost";
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    std::string file = folder / "history";
    const int opened =
        open(file.c_str(), O_CREAT | O_RDWR | O_CLOEXEC, 0600); // what a user types is nobody's business
    if (opened < 0) return {};
    close(opened);
    return file;
}

/// From a file or a pipe: no sign, no history, no interruption.
LineReader::Line readPlainLine() {
    LineReader::Line line;
    if (std::getline(std::cin, line.text)) line.end = LineReader::End::line;
    return line;
}

} // namespace

/// The library has one state for the process, and so there is one reader at a time.
LineReader::LineReader(Completer completion, bool hasHistory) {
    if (!isInputTyped()) return;
    completer = std::move(completion);
    typeUtf8();
    rl_attempted_completion_function = complete;
    // The library keeps the address. Dots and colons are missing: a chain of names is one word.
    static std::array<char, 16> breaks = {" \t\n\"'=,(){}[]+"};
    rl_completer_word_break_characters = breaks.data();
    using_history();
    stifle_history(mostRemembered);
    if (hasHistory) historyFile_ = openHistory();
    if (!historyFile_.empty()) read_history(historyFile_.c_str());
}

/// It refers to a Lua state that ends soon after.
LineReader::~LineReader() {
    completer = nullptr;
}

LineReader::Line LineReader::read(const char* sign) {
    if (!isInputTyped()) return readPlainLine();
    // One that was pressed before is not meant for this line.
    static_cast<void>(takeInterrupt());
    char* const line = readline(sign);
    // At the end of input and at Ctrl-C alike; the handler knows which it was.
    if (line == nullptr) {
        std::cout << std::endl; // the next one begins a line of its own
        return {takeInterrupt() ? End::interrupted : End::input};
    }
    Line result = {End::line, line};
    std::free(line);
    return result;
}

void LineReader::remember(const std::string& statement) {
    if (!isInputTyped() || statement == last_) return;
    last_ = statement;
    // Written at once, because a script may end the process, and read before that, because another session
    // may have written too. Nobody is told when either fails.
    const bool isKept = !historyFile_.empty() && access(historyFile_.c_str(), R_OK) == 0;
    if (isKept) {
        clear_history();
        read_history(historyFile_.c_str());
    }
    add_history(statement.c_str());
    if (isKept) write_history(historyFile_.c_str());
}

} // namespace KzHost
