#pragma once

#include "headless/export.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <variant>
#include <vector>

/// Traces the events of the host, in order and nested: edits, notifications, messages, calls into modules
/// and calls of clients.
namespace Headless {

/// A named number or text.
struct TraceDetail {
    std::string name;
    std::variant<std::int64_t, std::string> value;
};

enum class TraceCategory : std::uint8_t { edit, notification, message, moduleCall, clientCall };

/// An event that begins. Events that begin before it ends are nested in it.
struct TraceEvent {
    TraceCategory category;
    std::string name;                      ///< for example "modified"
    std::string subject;                   ///< the object, for example `record 12 "Door"`; may be empty
    std::vector<TraceDetail> details = {}; ///< additional values
};

/// Receives all events while it exists. Must not cause events. If the listener has received no event that
/// is still active, an end or a result belongs to an event that began before the listener was created.
class HEADLESS_API TraceListener {
public:
    TraceListener();
    TraceListener(const TraceListener&) = delete;
    TraceListener& operator=(const TraceListener&) = delete;
    virtual ~TraceListener();

    virtual void begins(const TraceEvent& event) = 0;
    /// Called when the innermost active event has a result.
    virtual void gives(const TraceDetail& result) = 0;
    /// Called when the innermost active event ends.
    virtual void ends() = 0;
};

/// Scope guard: begins an event and ends it. Costs one comparison if there is no listener.
class HEADLESS_API TraceScope {
public:
    /// `describe()` returns the event; only called if there is a listener.
    template <class Describe>
    explicit TraceScope(Describe describe) {
        if (listenerCount != 0) begin(describe());
    }
    TraceScope(const TraceScope&) = delete;
    TraceScope& operator=(const TraceScope&) = delete;
    ~TraceScope() {
        if (listenerCount != 0) end();
    }

    /// Reports a result. `describe()` returns the result; only called if there is a listener.
    template <class Describe>
    void gives(Describe describe) {
        if (listenerCount != 0) give(describe());
    }

private:
    friend class TraceListener;

    static void begin(const TraceEvent& event);
    static void give(const TraceDetail& result);
    static void end();

    static std::size_t listenerCount;
};

} // namespace Headless
