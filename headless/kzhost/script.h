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

    /// Runs a script, "-" being standard input. `arguments` start with the program and the script. False when
    /// it failed: the message and a traceback are on standard error.
    [[nodiscard]] bool run(const std::string& script, const std::vector<std::string>& arguments);

    /// Calls the function below its `argumentCount` arguments on the stack; all results stay there. False
    /// leaves the message with a traceback instead.
    [[nodiscard]] bool call(int argumentCount);

private:
    lua_State* state_;
};

} // namespace KzHost
