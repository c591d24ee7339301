#include "headless/kzhost/tracing.h"

#include "headless/kzhost/libraries.h"
#include "headless/kzhost/trace_json.h"
#include "headless/kzhost/trace_text.h"

#include <cstdio>
#include <deque>
#include <memory>

namespace KzHost {

namespace {

/// A function of the script, and the lines that it has yet to get. It may edit drawings, end the tracing and
/// close what an event is about, so it is not called from inside of events.
class ScriptLines {
public:
    /// Takes the function on top of the stack.
    explicit ScriptLines(lua_State* state) : state_(state), function_(luaL_ref(state, LUA_REGISTRYINDEX)) {}
    ScriptLines(const ScriptLines&) = delete;
    ScriptLines& operator=(const ScriptLines&) = delete;
    ~ScriptLines() { luaL_unref(state_, LUA_REGISTRYINDEX, function_); }

    void add(const std::string& line) { lines_.push_back(line); }
    [[nodiscard]] bool isEmpty() const { return lines_.empty(); }
    void deliverNext() {
        const std::string line = std::move(lines_.front());
        lines_.pop_front();
        ScriptCall::callWithLine(function_, line);
    }

private:
    lua_State* state_;
    int function_;
    std::deque<std::string> lines_;
};

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

    void setFile(std::unique_ptr<TraceListener> listener) {
        file_ = std::move(listener);
        listenIfNeeded();
    }
    void setScript(std::unique_ptr<TraceListener> listener) {
        script_ = std::move(listener);
        lines_ = nullptr;
        listenIfNeeded();
    }
    void setScript(std::shared_ptr<ScriptLines> lines) {
        setScript(
            std::make_unique<TraceText>([to = lines.get()](const std::string& line) { to->add(line); }));
        lines_ = std::move(lines);
    }

    /// What the function does meanwhile, it is not told. It may end the tracing, or have another one begun.
    void deliver() {
        const std::shared_ptr<ScriptLines> lines = lines_;
        if (lines == nullptr || isDelivering_) return;
        isDelivering_ = true;
        while (lines_ == lines && !lines->isEmpty()) lines->deliverNext();
        isDelivering_ = false;
    }

private:
    /// Nobody is told of events while neither place is taken, so that they cost next to nothing.
    void listenIfNeeded() { Headless::traceTo(file_ != nullptr || script_ != nullptr ? this : nullptr); }

    template <class Tell>
    void tellEach(Tell tell) {
        if (file_ != nullptr) tell(*file_);
        if (script_ != nullptr && !isDelivering_) tell(*script_);
    }

    std::unique_ptr<TraceListener> file_;
    std::unique_ptr<TraceListener> script_;
    std::shared_ptr<ScriptLines> lines_; ///< what `script_` writes to, when it is for a function
    bool isDelivering_ = false;
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
        tracing().setScript(std::make_shared<ScriptLines>(main));
    } else if (!call.has(1) || call.boolean(1, "true, false or a function")) {
        tracing().setScript(std::make_unique<TraceText>(putOnStandardError));
    } else {
        tracing().setScript(std::unique_ptr<Headless::TraceListener>());
    }
    return 0;
}

constexpr Function functions[] = {
    {"host.trace", trace, R"(
        Tells in lines of text what happens from now on, indented by who is inside of whom: edits and their
        ends, notifications and how many reactors hear them, lock-mode changes, messages, calls into modules
        and out of them. A function gets its lines when it may do anything: before a client is called, and at
        the end of the host's function that the script has called. What it does itself is not told.
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
        tracing().setFile(std::make_unique<TraceText>(putOnStandardError));
        return true;
    }
    std::unique_ptr<TraceJson> json = TraceJson::create(file);
    const bool isOpen = json != nullptr;
    tracing().setFile(std::move(json));
    return isOpen;
}

void deliverTrace() {
    tracing().deliver();
}

void endTracing() {
    tracing().setScript(std::unique_ptr<Headless::TraceListener>());
    tracing().setFile(nullptr);
}

} // namespace KzHost
