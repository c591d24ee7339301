#pragma once

#include "headless/kzhost/libraries.h"

#include <string>
#include <vector>

namespace KzHost {

/// A Lua state in which scripts drive the host. At its end the host is reset: objects that are held open are
/// released, modules unloaded, documents closed.
class Session {
public:
    /// `setup` must outlive the session.
    explicit Session(const Setup& setup);
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;
    ~Session();

    [[nodiscard]] lua_State* state() const { return state_; }

    /// Fills the table `arg` as the program `lua` does: the script at 0, its arguments from 1 on, the words
    /// before it, the program first, below 0. Without a script (0) the program is at 0.
    void setArguments(const std::vector<std::string>& words, std::size_t script);

    /// Runs a script ("-" is standard input) with arguments, or a text. False if that failed: the message and
    /// a traceback are on standard error.
    [[nodiscard]] bool runFile(const std::string& script, const std::vector<std::string>& arguments);
    [[nodiscard]] bool runText(const std::string& text);

    /// Calls the function below its `argumentCount` arguments on the stack. Leaves all results, or the
    /// message alone and false.
    [[nodiscard]] bool call(int argumentCount);

    /// Runs one of the embedded Lua files, with the `argumentCount` values on top of the stack as arguments.
    /// Leaves its `resultCount` results.
    void runEmbedded(const char* lua, int argumentCount, int resultCount);

private:
    static int keepTraceback(lua_State* state);
    bool runLoaded(int loadStatus, const std::vector<std::string>& arguments);
    void addHelp();

    lua_State* state_;
    std::string traceback_; // of the last error that ended a call, through all clients
};

/// Ends the traces and writes all output. False if that failed: a message is on standard error.
[[nodiscard]] bool finishOutput();

} // namespace KzHost
