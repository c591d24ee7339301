#pragma once

#include "headless/export.h"

#include <cstddef>
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

/// Is notified of all events while it exists. Must not cause events itself. An end or a result may belong to
/// an event that began before the listener did: then no event that it knows is active.
class HEADLESS_API TraceListener {
public:
    TraceListener();
    TraceListener(const TraceListener&) = delete;
    TraceListener& operator=(const TraceListener&) = delete;
    virtual ~TraceListener();

    virtual void begins(const TraceEvent& event) = 0;
    /// The innermost active event has this result.
    virtual void gives(const TraceDetail& result) = 0;
    /// The innermost active event ends.
    virtual void ends() = 0;
};

/// Scope guard around an event. Costs a comparison without a listener.
class HEADLESS_API TraceScope {
public:
    /// `describe()` returns the event. It is called only if there is a listener.
    template <class Describe>
    explicit TraceScope(Describe describe) {
        if (listenerCount != 0) begin(describe());
    }
    TraceScope(const TraceScope&) = delete;
    TraceScope& operator=(const TraceScope&) = delete;
    ~TraceScope() {
        if (listenerCount != 0) end();
    }

    /// `describe()` returns a result, under the same condition.
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
