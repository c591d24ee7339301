#include "headless/kzhost/libraries.h"
#include "headless/trace.h"

#include <nlohmann/json.hpp>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <memory>

namespace KzHost {

using Headless::TraceCategory;
using Headless::TraceDetail;
using Headless::TraceEvent;
using Headless::TraceListener;
using nlohmann::json;

namespace {

// ---- as text

/// Lines on standard error, indented by nesting.
class TraceText final : public TraceListener {
public:
    void begins(const TraceEvent& event) override {
        const std::string title = event.name + (event.subject.empty() ? "" : ": " + event.subject);
        std::string line = title;
        const char* separator = event.subject.empty() ? ": " : ", ";
        for (const TraceDetail& each : event.details) {
            line += separator + inWords(each);
            separator = ", ";
        }
        print(line);
        // Only the end of an edit has a line; for other events the indentation is sufficient.
        ends_.push_back(event.category == TraceCategory::edit ? "end of " + title : "");
    }
    void gives(const TraceDetail& result) override {
        if (!ends_.empty()) print("-> " + inWords(result));
    }
    void ends() override {
        if (ends_.empty()) return; // the event began before the trace
        const std::string line = std::move(ends_.back());
        ends_.pop_back(); // first, so that the end is indented like the beginning
        if (!line.empty()) print(line);
    }

private:
    static std::string inWords(const TraceDetail& detail) {
        const auto* const number = std::get_if<std::int64_t>(&detail.value);
        return detail.name + " " +
               (number != nullptr ? std::to_string(*number) : std::get<std::string>(detail.value));
    }
    /// Prints the line after the output of the script.
    void print(const std::string& text) {
        std::fflush(stdout);
        std::fprintf(stderr, "%*s%s\n", static_cast<int>(2 * ends_.size()), "", text.c_str());
    }

    std::vector<std::string> ends_; // the line for the end of each active event; empty: none
};

// ---- as a file of trace events

bool isComplete = true; // false: a file could not be written

/// Written after each event and overwritten by the next one.
constexpr const char* listEnd = "\n]}\n";

/// Trace viewers can open the file. It is well-formed after each event, even if the process crashes. In a
/// pipe, which cannot seek, the end of the list is only written by the destructor.
class TraceJson final : public TraceListener {
public:
    TraceJson(std::string name, std::FILE* file)
        : name_(std::move(name)), file_(file), canGoBack_(std::fseek(file, 0, SEEK_SET) == 0) {
        std::fputs(R"({"displayTimeUnit": "ms", "traceEvents": [
{"name": "process_name", "ph": "M", "pid": 1, "tid": 1, "args": {"name": "kzhost"}})",
                   file_);
        if (canGoBack_) putEnd();
    }
    /// Ends the active events, because viewers expect an end for each beginning.
    ~TraceJson() override {
        while (!ends_.empty()) end();
        if (!canGoBack_) putEnd();
        const bool hasFailed = std::ferror(file_) != 0;
        if (std::fclose(file_) == 0 && !hasFailed) return;
        std::fprintf(stderr, "kzhost: cannot write the trace %s\n", name_.c_str());
        isComplete = false;
    }

    /// Prepares the end of the event, which collects results until it is written.
    void begins(const TraceEvent& event) override {
        json arguments = json::object();
        if (!event.subject.empty()) arguments["object"] = event.subject;
        for (const TraceDetail& each : event.details) add(arguments, each);
        put({{"name", event.name}, {"cat", nameOf(event.category)}, {"ph", "B"}, {"args", arguments}});
        ends_.push_back(
            {{"name", event.name}, {"cat", nameOf(event.category)}, {"ph", "E"}, {"args", json::object()}});
    }
    void gives(const TraceDetail& result) override {
        if (!ends_.empty()) add(ends_.back()["args"], result);
    }
    void ends() override {
        if (!ends_.empty()) end(); // empty: the event began before the trace
    }

private:
    /// The category, by which viewers can filter.
    static const char* nameOf(TraceCategory category) {
        constexpr const char* names[] = {"edit", "notification", "message", "module", "client"};
        return names[static_cast<std::size_t>(category)];
    }
    /// Adds a number or a string.
    static void add(json& arguments, const TraceDetail& detail) {
        std::visit([&](const auto& value) { arguments[detail.name] = value; }, detail.value);
    }
    void end() {
        put(std::move(ends_.back()));
        ends_.pop_back();
    }
    void put(json event) {
        const std::chrono::duration<double, std::micro> now = std::chrono::steady_clock::now() - start_;
        event["ts"] = now.count();
        // Constant: viewers nest events by process and thread.
        event["pid"] = 1;
        event["tid"] = 1;
        // Paths may not be UTF-8.
        const std::string text = event.dump(-1, ' ', false, json::error_handler_t::replace);
        if (canGoBack_) std::fseek(file_, -static_cast<long>(std::strlen(listEnd)), SEEK_CUR);
        std::fputs((",\n" + text).c_str(), file_);
        if (canGoBack_) putEnd();
    }
    void putEnd() {
        std::fputs(listEnd, file_);
        std::fflush(file_);
    }

    std::string name_;
    std::FILE* file_;
    bool canGoBack_;
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
    std::vector<json> ends_; // of each active event, with its results
};

/// Opens a trace as text or a file; null if the file cannot be written. Binary, because `canGoBack_` seeks
/// by bytes.
std::unique_ptr<TraceListener> open(const std::string& file) {
    if (file == "-") return std::make_unique<TraceText>();
    std::FILE* const opened = std::fopen(file.c_str(), "wb");
    return opened != nullptr ? std::make_unique<TraceJson>(file, opened) : nullptr;
}

// The traces of the option `--trace` and of `host.trace`.
std::unique_ptr<TraceListener> traceOfRun;
std::unique_ptr<TraceListener> traceOfScript;

void trace(const Call& call) {
    lua_State* const state = call.state();
    std::unique_ptr<TraceListener> listener;
    if (lua_type(state, 1) == LUA_TSTRING) {
        const auto path = Argument<std::string>::read(call, 1);
        listener = open(path);
        if (listener == nullptr) call.fail("cannot write the trace " + path + ": " + std::strerror(errno));
    } else if (!call.has(1) || Argument<bool>::read(call, 1)) {
        listener = open("-");
    }
    traceOfScript = std::move(listener);
}

constexpr Function functions[] = {{"host.trace", bind<trace>}};

} // namespace

void addTraceLibrary(lua_State* state) {
    addFunctions(state, functions);
}

bool traceRun(const std::string& file) {
    traceOfRun = open(file);
    return traceOfRun != nullptr;
}

bool endTracing() {
    traceOfScript.reset();
    traceOfRun.reset();
    return isComplete;
}

} // namespace KzHost
