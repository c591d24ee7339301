#include "headless/kzhost/tracing.h"

#include "headless/kzhost/libraries.h"
#include "headless/kzhost/trace_json.h"
#include "headless/kzhost/trace_text.h"

#include <cstdio>
#include <memory>

namespace KzHost {

namespace {

/// Hands the trace on to the file and to what the script has asked for.
class Tracing final : public Headless::TraceListener {
public:
    void begins(const Headless::TraceEvent& event) override {
        tellEach([&](TraceListener& listener) { listener.begins(event); });
    }
    void gives(const Headless::TraceDetail& result) override {
        tellEach([&](TraceListener& listener) { listener.gives(result); });
    }
    void ends() override {
        tellEach([](TraceListener& listener) { listener.ends(); });
    }

    void setFile(std::shared_ptr<TraceListener> listener) { set(file_, std::move(listener)); }
    void setScript(std::shared_ptr<TraceListener> listener) { set(script_, std::move(listener)); }

private:
    /// Nobody is told of events while neither place is taken, so that they cost next to nothing.
    void set(std::shared_ptr<TraceListener>& place, std::shared_ptr<TraceListener> listener) {
        place = std::move(listener);
        Headless::traceTo(file_ != nullptr || script_ != nullptr ? this : nullptr);
    }

    template <class Tell>
    void tellEach(Tell tell) {
        if (file_ != nullptr) tell(*file_);
        // A function of the script may edit drawings, which it is not told, and end the tracing. So the
        // listener is kept until it returns, and passed over for what happens inside of it.
        const std::shared_ptr<TraceListener> script = script_;
        if (script == nullptr || isTellingScript_) return;
        isTellingScript_ = true;
        tell(*script);
        isTellingScript_ = false;
    }

    std::shared_ptr<TraceListener> file_;
    std::shared_ptr<TraceListener> script_;
    bool isTellingScript_ = false;
};

/// Singleton. `endTracing` has to be called before a Lua state ends that a function of it belongs to.
Tracing& tracing() {
    static Tracing tracing;
    return tracing;
}

/// What the script has printed comes first, to stand where it happened.
void putOnStandardError(const std::string& line) {
    std::fflush(stdout);
    std::fprintf(stderr, "%s\n", line.c_str());
}

/// Keeps a function of Lua as long as somebody may call it.
class LuaLine {
public:
    explicit LuaLine(lua_State* state) : state_(state), function_(luaL_ref(state, LUA_REGISTRYINDEX)) {}
    LuaLine(const LuaLine&) = delete;
    LuaLine& operator=(const LuaLine&) = delete;
    ~LuaLine() { luaL_unref(state_, LUA_REGISTRYINDEX, function_); }

    void put(const std::string& line) const { ScriptCall::callWithLine(function_, line); }

private:
    lua_State* state_;
    int function_;
};

/// The state that lives as long as all its coroutines.
lua_State* mainState(lua_State* state) {
    lua_rawgeti(state, LUA_REGISTRYINDEX, LUA_RIDX_MAINTHREAD);
    lua_State* const result = lua_tothread(state, -1);
    lua_pop(state, 1);
    return result;
}

/// The listener of a script is replaced by each call; that of the command line stays.
int trace(Call& call) {
    lua_State* const state = call.state();
    if (lua_isfunction(state, 1)) {
        lua_State* const main = mainState(state); // a coroutine may be gone by then
        lua_pushvalue(state, 1);
        if (main != state) lua_xmove(state, main, 1);
        const auto line = std::make_shared<LuaLine>(main);
        tracing().setScript(
            std::make_shared<TraceText>([line](const std::string& text) { line->put(text); }));
    } else if (!call.has(1) || call.boolean(1, "true, false or a function")) {
        tracing().setScript(std::make_shared<TraceText>(putOnStandardError));
    } else {
        tracing().setScript(nullptr);
    }
    return 0;
}

constexpr Function functions[] = {
    {"host.trace", trace, R"(
        Tells in lines of text what happens from now on, indented by who is inside of whom: edits and their
        ends, notifications and how many reactors hear them, lock-mode changes, messages, calls into modules
        and out of them. What a function does that gets the lines is not told.
        @param to? boolean|fun(line:string) true: lines on standard error, also when it is left out; a
            function: it gets each line; false ends the tracing
        @example host.trace(true) door:touch() host.trace(false)
        )"},
};

} // namespace

extern const Chapter tracingChapter = {
    "host", "Traces", "The option `--trace` traces a whole run; [tracing.md](tracing.md) reads an example.",
    functions};

bool traceToFile(const std::string& file) {
    if (file == "-") {
        tracing().setFile(std::make_shared<TraceText>(putOnStandardError));
        return true;
    }
    std::shared_ptr<TraceJson> json = TraceJson::create(file);
    const bool isOpen = json != nullptr;
    tracing().setFile(std::move(json));
    return isOpen;
}

void endTracing() {
    tracing().setScript(nullptr);
    tracing().setFile(nullptr);
}

} // namespace KzHost
