#pragma once

#include "headless/trace.h"

#include <nlohmann/json_fwd.hpp>

#include <chrono>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace KzHost {

/// A trace as a file of trace events, which trace viewers open. The file is well-formed after each event,
/// whatever becomes of the process; only where one cannot go back in it, as in a pipe, it has its end at the
/// end.
class TraceJson final : public Headless::TraceListener {
public:
    /// Null when the file cannot be written.
    [[nodiscard]] static std::unique_ptr<TraceJson> create(const std::string& file);
    ~TraceJson() override;

    void begins(const Headless::TraceEvent& event) override;
    void gives(const Headless::TraceDetail& result) override;
    void ends() override;

private:
    explicit TraceJson(std::FILE* file);

    void put(nlohmann::json& event);
    void putEnd();

    std::FILE* file_;
    bool canGoBack_;
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
    std::vector<nlohmann::json> ends_; // of each event under way, with its results
};

} // namespace KzHost
