#pragma once

#include "headless/kzhost/libraries.h"

#include <string>
#include <vector>

namespace KzHost {

/// A Lua state in which scripts drive the host. The destructor resets the host: it closes objects that are
/// held open, unloads modules and closes documents.
class Session {
public:
    /// `setup` must outlive the session.
    explicit Session(const Setup& setup);
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;
    ~Session();

    [[nodiscard]] lua_State* state() const { return state_; }

    /// Fills the table `arg` as the program `lua` does: the script is at 0, its arguments from 1 on; the
    /// words before it, which begin with the program, are below 0. `script` is the position of the script
    /// in `words`; without a script (0), the program is at 0.
    void setArguments(const std::vector<std::string>& words, std::size_t script);

    /// Runs a script ("-" is standard input) with arguments, or a text. If it fails, prints the message and
    /// a traceback to standard error and returns false.
    [[nodiscard]] bool runFile(const std::string& script, const std::vector<std::string>& arguments);
    [[nodiscard]] bool runText(const std::string& text);

    /// Calls the function below its `argumentCount` arguments on the stack. Leaves all results on the
    /// stack; if the call fails, leaves the message and returns false.
    [[nodiscard]] bool call(int argumentCount);

    /// Runs an embedded Lua file with the `argumentCount` values on top of the stack as arguments. Leaves
    /// `resultCount` results on the stack.
    void runEmbedded(const char* lua, int argumentCount, int resultCount);

private:
    static int keepTraceback(lua_State* state);
    bool runLoaded(int loadStatus, const std::vector<std::string>& arguments);
    void addHelp();

    lua_State* state_;
    std::string traceback_; // of the last error, including its path through clients
};

/// Ends the traces and writes all output. If this fails, prints a message to standard error and returns
/// false.
[[nodiscard]] bool finishOutput();

} // namespace KzHost
