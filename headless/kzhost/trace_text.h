#pragma once

#include "headless/trace.h"

#include <functional>
#include <string>
#include <vector>

namespace KzHost {

/// A trace as lines of text, indented by who is inside of whom.
class TraceText final : public Headless::TraceListener {
public:
    /// `line` takes each line, without an end of line.
    explicit TraceText(std::function<void(const std::string&)> line) : line_(std::move(line)) {}

    void begins(const Headless::TraceEvent& event) override;
    void gives(const Headless::TraceDetail& result) override;
    void ends() override;

private:
    void put(const std::string& text);

    std::function<void(const std::string&)> line_;
    std::vector<std::string> ends_; // what is said at the end of each event under way; empty: nothing
};

} // namespace KzHost
