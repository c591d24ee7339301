#pragma once

#include "headless/kzhost/libraries.h"

#include <memory>
#include <string>
#include <vector>

namespace KzHost {

/// A Lua state in which scripts drive the host. At its end the host is put back: what is held open is let go,
/// modules are unloaded, documents closed.
class Session {
public:
    /// `setup` has to outlive the session.
    explicit Session(const Setup& setup);
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;
    ~Session();

    [[nodiscard]] lua_State* state() const { return state_; }

    /// Makes the table `arg` as the program `lua` does: the script at 0, what follows it from 1, what stands
    /// before it, the program first, below 0. Without a script (0) the program stands at 0.
    void setArguments(const std::vector<std::string>& words, std::size_t script);

    /// Runs a script, "-" being standard input, with the arguments from `arg`; or a text. False when it
    /// failed: the message and a traceback are on standard error.
    [[nodiscard]] bool runFile(const std::string& script);
    [[nodiscard]] bool runText(const std::string& text);

    /// Calls the function below its `argumentCount` arguments on the stack; all results stay there. False
    /// leaves the message instead.
    [[nodiscard]] bool call(int argumentCount);

private:
    bool runLoaded(int loadStatus, int argumentCount);

    lua_State* state_;
};

/// Where the last error that ended a call of a session came from, through all clients; empty when there was
/// none.
[[nodiscard]] std::string lastTraceback(lua_State* state);

} // namespace KzHost
