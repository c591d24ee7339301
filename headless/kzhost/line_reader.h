#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace KzHost {

/// Reads the lines of the prompt: from a terminal with editing, completion and a history that is kept between
/// sessions, from anything else as they come. One at a time.
class LineReader {
public:
    using Completer = std::function<std::vector<std::string>(const std::string& word)>;

    /// What ended a reading.
    enum class End : std::uint8_t {
        line,        ///< a line is there
        interrupted, ///< Ctrl-C: what was typed is forgotten
        input        ///< there is nothing more
    };
    struct Line {
        End end = End::input;
        std::string text = {};
    };

    /// A history that cannot be read or written is no error: there is none then.
    LineReader(Completer completion, bool hasHistory);
    LineReader(const LineReader&) = delete;
    LineReader& operator=(const LineReader&) = delete;
    ~LineReader();

    /// `sign` is shown before the line when a person types it.
    [[nodiscard]] Line read(const char* sign);

    /// Enters a statement into the history.
    void remember(const std::string& statement);

private:
    std::string historyFile_; // empty when there is none
    std::string last_;
};

} // namespace KzHost
