#pragma once

#include "headless/export.h"

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

/// Tells what happens in the host to whoever wants to know, in order and by who is inside of whom: edits,
/// notifications, messages, calls into modules and out of them. While nobody listens it costs a null check.
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

/// Hears of all events. What it does itself must not lead to events.
class TraceListener {
public:
    TraceListener() = default;
    TraceListener(const TraceListener&) = delete;
    TraceListener& operator=(const TraceListener&) = delete;
    virtual ~TraceListener() = default;

    virtual void begins(const TraceEvent& event) = 0;
    /// The innermost event that has begun has this result.
    virtual void gives(const TraceDetail& result) = 0;
    /// The innermost event ends.
    virtual void ends() = 0;
};

/// Makes a listener the one that hears of events; null for none. Borrowed. Events under way are told it no
/// more.
HEADLESS_API void traceTo(TraceListener* listener);

/// Scope guard around something that happens.
class HEADLESS_API TraceScope {
public:
    /// `describe()` gives the event, and is called only when somebody listens.
    template <class Describe>
    explicit TraceScope(Describe describe) {
        if (current != nullptr) begin(describe());
    }
    TraceScope(const TraceScope&) = delete;
    TraceScope& operator=(const TraceScope&) = delete;
    ~TraceScope() {
        if (listener_ != nullptr) end();
    }

    /// `describe()` gives the result, under the same condition.
    template <class Describe>
    void gives(Describe describe) {
        if (listener_ != nullptr) tell(describe());
    }

private:
    friend void traceTo(TraceListener* listener);

    void begin(const TraceEvent& event);
    void tell(const TraceDetail& result);
    void end();

    static TraceListener* current;

    TraceListener* listener_ = nullptr; // who heard that it began
};

} // namespace Headless
