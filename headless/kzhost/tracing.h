#pragma once

#include <string>

namespace KzHost {

/// Traces the whole run to a file of trace events, or as text to standard error if the file is "-". False if
/// the file cannot be written.
[[nodiscard]] bool traceRun(const std::string& file);

/// Ends all tracing and closes the files.
void endTracing();

} // namespace KzHost
