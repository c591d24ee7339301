#include "benchmarks/drawings.h"
#include "benchmarks/lines.h"
#include "headless/edits.h"
#include "headless/session.h"
#include "headless/trace.h"
#include "host/editor.h"
#include "timers/idle_check.h"
#include "timers/timer.h"

#include <bit>
#include <memory>
#include <vector>

namespace Bench {

namespace {

using Filter = int (*)(const KzPlatform::Message*) noexcept;

int takesNothing(const KzPlatform::Message*) noexcept {
    return 0;
}

// Volatile, so that both sides are called through a pointer.
volatile Filter moduleFilter = kzdxIdleCheckFilter;
volatile Filter emptyFilter = takesNothing;

/// The message number of idle checks.
std::uint32_t idleCheckNumber() {
    return KzPlatform::registerWindowMessage(u"WM_KZDX_IDLE_CHECK");
}

/// How long one round takes, on average.
double secondsPerRound(int rounds, const auto& round) {
    const double seconds = secondsOf([&] {
        for (int done = 0; done < rounds; ++done) round();
    });
    return seconds / rounds;
}

double secondsToFilter(const volatile Filter& filter, const KzPlatform::Message& foreign) {
    constexpr int calls = 1'000'000;
    int taken = 0;
    const double seconds = secondsPerRound(calls, [&] { taken += filter(&foreign); });
    require(taken == 0, "a foreign message is left alone");
    return seconds;
}

/// A message that is not an idle check; almost all are not.
Comparison filterOverCall(std::size_t /*size*/) {
    const auto document = std::make_shared<OpenDocument>(); // idle checks are posted for a document only
    Headless::idle(); // idle checks have a number only from the first one on
    KzPlatform::Message foreign;
    foreign.number = idleCheckNumber() + 1;
    return {
        .measured = [document, foreign] { return secondsToFilter(moduleFilter, foreign); },
        .baseline = [foreign] { return secondsToFilter(emptyFilter, foreign); },
    };
}

struct DocumentWithTimers {
    OpenDocument document;
    std::vector<std::unique_ptr<KzDxTimer>> timers;
};

/// An idle check of a document whose timers run and are not due.
Comparison idleCheckOverTicks(std::size_t timers) {
    constexpr int rounds = 2'000;
    constexpr std::uint32_t anHour = 3'600'000;
    const auto data = std::make_shared<DocumentWithTimers>();
    for (std::size_t made = 0; made < timers; ++made) {
        data->timers.push_back(std::make_unique<KzDxTimer>(&data->document.data().runningTimers(), anHour));
        require(data->timers.back()->setEnabled(true) == Orvo::ok, "the timer runs");
    }
    Headless::idle();
    KzPlatform::Message message;
    message.number = idleCheckNumber();
    message.first = std::bit_cast<std::uintptr_t>(data->document.get());
    const auto check = [data, message] {
        require(kzdxIdleCheckFilter(&message) == 1, "the idle check is processed");
    };
    const auto askForTime = [timers] {
        for (std::size_t at = 0; at < timers; ++at) static_cast<void>(KzPlatform::tickCount());
    };
    return {
        .measured = [=] { return secondsPerRound(rounds, check); },
        .baseline = [=] { return secondsPerRound(rounds, askForTime); },
    };
}

/// Counts the events of an edit.
class EventCount final : public Headless::TraceListener {
public:
    void begins(const Headless::TraceEvent& /*event*/) override { ++events; }
    void gives(const Headless::TraceDetail& /*result*/) override {}
    void ends() override {}

    int events = 0;
};

/// What the trace points of an edit cost while nothing listens, over the whole edit: an attribute that is
/// set, of an object without reactors. The trace points run in a loop of their own, without other work
/// between.
Comparison untracedOverEdit(std::size_t /*size*/) {
    constexpr int edits = 200'000;
    const auto document = std::make_shared<OpenDocument>();
    const KzDbObjectId block = Headless::makeBlock(document->get(), u"Block");
    const KzDbObjectId reference = Headless::insert(document->modelSpace(), block, {{u"TAG", u"text"}});
    const auto edit = [document, reference] {
        require(static_cast<bool>(Headless::setAttribute(reference, u"TAG", u"text")), "the text is set");
    };
    const int events = [&edit] {
        EventCount count;
        edit();
        return count.events;
    }();
    require(events != 0, "an edit is traced");
    const auto passTracePoint = [] {
        const Headless::TraceScope scope([]() -> Headless::TraceEvent { return {}; });
    };
    return {
        .measured = [=] { return events * secondsPerRound(edits, passTracePoint); },
        .baseline = [=] { return secondsPerRound(edits, edit); },
    };
}

} // namespace

std::vector<Line> overheadLines() {
    return {
        {"filter/call", {}, 2, filterOverCall},
        {"idle/timers", {100}, 4, idleCheckOverTicks},
        {"tracing/off", {}, 0.25, untracedOverEdit},
    };
}

} // namespace Bench
