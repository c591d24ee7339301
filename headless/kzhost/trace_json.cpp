#include "headless/kzhost/trace_json.h"

#include <nlohmann/json.hpp>

#include <cstring>

namespace KzHost {

using nlohmann::json;

namespace {

/// Written behind each event, and written over by the next one.
constexpr const char* listEnd = "\n]}\n";

/// The category by which a viewer can filter.
const char* nameOf(Headless::TraceCategory category) {
    using Headless::TraceCategory;
    switch (category) {
    case TraceCategory::edit:
        return "edit";
    case TraceCategory::notification:
        return "notification";
    case TraceCategory::message:
        return "message";
    case TraceCategory::moduleCall:
        return "module";
    case TraceCategory::clientCall:
        return "client";
    }
    return "";
}

/// Numbers stay numbers.
void enter(json& args, const Headless::TraceDetail& detail) {
    std::visit([&](const auto& value) { args[detail.name] = value; }, detail.value);
}

} // namespace

std::unique_ptr<TraceJson> TraceJson::create(const std::string& file) {
    // Binary, because going back counts bytes.
    std::FILE* const opened = std::fopen(file.c_str(), "wb");
    return std::unique_ptr<TraceJson>(opened != nullptr ? new TraceJson(opened) : nullptr);
}

TraceJson::TraceJson(std::FILE* file) : file_(file), canGoBack_(std::fseek(file, 0, SEEK_SET) == 0) {
    std::fputs(R"({"displayTimeUnit": "ms", "traceEvents": [
{"name": "process_name", "ph": "M", "pid": 1, "tid": 1, "args": {"name": "kzhost"}})",
               file_);
    if (canGoBack_) putEnd();
}

/// Events under way are ended, as a viewer wants each beginning to have its end.
TraceJson::~TraceJson() {
    while (!ends_.empty()) ends();
    if (!canGoBack_) putEnd();
    std::fclose(file_);
}

/// The end is prepared with the beginning: it repeats its name, and gathers the results until it is written.
void TraceJson::begins(const Headless::TraceEvent& event) {
    json args = json::object();
    if (!event.subject.empty()) args["object"] = event.subject;
    for (const Headless::TraceDetail& each : event.details) enter(args, each);
    json entry = {
        {"name", event.name}, {"cat", nameOf(event.category)}, {"ph", "B"}, {"args", std::move(args)}};
    put(entry);
    entry["ph"] = "E";
    entry["args"] = json::object();
    ends_.push_back(std::move(entry));
}

void TraceJson::gives(const Headless::TraceDetail& result) {
    if (!ends_.empty()) enter(ends_.back()["args"], result);
}

void TraceJson::ends() {
    if (ends_.empty()) return; // it began before the trace did
    put(ends_.back());
    ends_.pop_back();
}

void TraceJson::put(json& event) {
    const std::chrono::duration<double, std::micro> now = std::chrono::steady_clock::now() - start_;
    event["ts"] = now.count();
    // One process and one thread: viewers nest events by them.
    event["pid"] = 1;
    event["tid"] = 1;
    // Paths may be no UTF-8.
    const std::string text = event.dump(-1, ' ', false, json::error_handler_t::replace);
    if (canGoBack_) std::fseek(file_, -static_cast<long>(std::strlen(listEnd)), SEEK_CUR);
    std::fputs((",\n" + text).c_str(), file_);
    if (canGoBack_) putEnd();
}

void TraceJson::putEnd() {
    std::fputs(listEnd, file_);
    std::fflush(file_);
}

} // namespace KzHost
