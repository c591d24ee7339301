#include "headless/kzhost/trace_text.h"

namespace KzHost {

namespace {

/// The name of a detail, then its value.
std::string inWords(const Headless::TraceDetail& detail) {
    const auto* const number = std::get_if<std::int64_t>(&detail.value);
    return detail.name + " " +
           (number != nullptr ? std::to_string(*number) : std::get<std::string>(detail.value));
}

std::string titleOf(const Headless::TraceEvent& event) {
    return event.name + (event.subject.empty() ? "" : ": " + event.subject);
}

} // namespace

void TraceText::begins(const Headless::TraceEvent& event) {
    std::string text = titleOf(event);
    const char* separator = event.subject.empty() ? ": " : ", ";
    for (const Headless::TraceDetail& each : event.details) {
        text += separator + inWords(each);
        separator = ", ";
    }
    put(text);
    // Of an edit one wants to see where it ends; of all else the indentation says enough.
    ends_.push_back(event.category == Headless::TraceCategory::edit ? "end of " + titleOf(event) : "");
}

void TraceText::gives(const Headless::TraceDetail& result) {
    if (!ends_.empty()) put("-> " + inWords(result));
}

void TraceText::ends() {
    if (ends_.empty()) return; // it began before the trace did
    const std::string text = std::move(ends_.back());
    // Before it is put: the end stands as far left as the beginning.
    ends_.pop_back();
    if (!text.empty()) put(text);
}

/// The events under way say how deep a line lies.
void TraceText::put(const std::string& text) {
    line_(std::string(2 * ends_.size(), ' ') + text);
}

} // namespace KzHost
