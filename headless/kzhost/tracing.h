#pragma once

#include <string>

namespace KzHost {

/// From now on a file receives the trace: as trace events, or as text on standard error when it is "-". False
/// when it cannot be written.
[[nodiscard]] bool traceToFile(const std::string& file);

/// Gives a function of the script the lines that it has yet to get. To be called where it may do anything:
/// never while an edit is under way.
void deliverTrace();

/// Ends all tracing, and with it the file.
void endTracing();

} // namespace KzHost
