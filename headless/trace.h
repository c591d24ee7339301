#pragma once

#include "headless/export.h"

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

/// Traces what happens in the host, in order and nested: edits, notifications, messages, calls into modules
/// and out of them.
namespace Headless {

/// A number or words, under a name.
struct TraceDetail {
    std::string name;
    std::variant<std::int64_t, std::string> value;
};

enum class TraceCategory : std::uint8_t { edit, notification, message, moduleCall, clientCall };

/// Something that begins. What happens until it ends is inside of it.
struct TraceEvent {
    TraceCategory category;
    std::string name;                      ///< what happens, for example "modified"
    std::string subject;                   ///< to what, for example `record 12 "Door"`; may be empty
    std::vector<TraceDetail> details = {}; ///< what else is known
};

/// Is notified of all events. Must not cause events itself. An end or a result may belong to an event that
/// began before the trace: then no event that it knows is active.
class TraceListener {
public:
    TraceListener() = default;
    TraceListener(const TraceListener&) = delete;
    TraceListener& operator=(const TraceListener&) = delete;
    virtual ~TraceListener() = default;

    virtual void begins(const TraceEvent& event) = 0;
    /// The innermost active event has this result.
    virtual void gives(const TraceDetail& result) = 0;
    /// The innermost active event ends.
    virtual void ends() = 0;
};

/// Makes a listener the one that is notified; null for none. Borrowed.
HEADLESS_API void traceTo(TraceListener* listener);

/// Scope guard around an event. Costs a null check without a listener.
class HEADLESS_API TraceScope {
public:
    /// `describe()` returns the event. It is called only if there is a listener.
    template <class Describe>
    explicit TraceScope(Describe describe) {
        if (listener != nullptr) listener->begins(describe());
    }
    TraceScope(const TraceScope&) = delete;
    TraceScope& operator=(const TraceScope&) = delete;
    ~TraceScope() {
        if (listener != nullptr) listener->ends();
    }

    /// `describe()` returns a result, under the same condition.
    template <class Describe>
    void gives(Describe describe) {
        if (listener != nullptr) listener->gives(describe());
    }

private:
    friend void traceTo(TraceListener* listener);

    static TraceListener* listener;
};

} // namespace Headless
