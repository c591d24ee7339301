#include "benchmarks/comparisons.h"
#include "benchmarks/drawings.h"
#include "headless/session.h"
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

// Read anew for each call, so that neither side is called but through a pointer.
volatile Filter ourFilter = kzdxIdleCheckFilter;
volatile Filter emptyFilter = takesNothing;

/// The number of the idle checks.
std::uint32_t idleCheckNumber() {
    return KzPlatform::registerWindowMessage(u"WM_KZDX_IDLE_CHECK");
}

/// A message that is none of ours; almost all of them are.
class FilterOverCall : public TimedComparison {
public:
    FilterOverCall() {
        Headless::idle(); // idle checks have a number only from the first one on
        foreign_.number = idleCheckNumber() + 1;
    }

protected:
    double ours() override { return secondsPerCall(ourFilter); }
    double other() override { return secondsPerCall(emptyFilter); }

private:
    [[nodiscard]] double secondsPerCall(const volatile Filter& filter) const {
        constexpr int calls = 1'000'000;
        int taken = 0;
        const double seconds = secondsOf([&] {
            for (int call = 0; call < calls; ++call) taken += filter(&foreign_);
        });
        require(taken == 0, "a foreign message is left alone");
        return seconds / calls;
    }

    OpenDocument document_; // idle checks are posted for a document only
    KzPlatform::Message foreign_;
};

/// An idle check of a document whose timers run and are not due.
class IdleCheckOverTicks : public TimedComparison {
public:
    explicit IdleCheckOverTicks(std::size_t timers) {
        constexpr std::uint32_t anHour = 3'600'000;
        for (std::size_t made = 0; made < timers; ++made) {
            timers_.push_back(std::make_unique<KzDxTimer>(&document_.data().runningTimers(), anHour));
            require(timers_.back()->setEnabled(true) == Orvo::ok, "the timer runs");
        }
        Headless::idle();
        check_.number = idleCheckNumber();
        check_.first = std::bit_cast<std::uintptr_t>(document_.get());
    }

protected:
    double ours() override {
        return secondsPerRound([this] { require(kzdxIdleCheckFilter(&check_) == 1, "the check is taken"); });
    }
    double other() override {
        return secondsPerRound([this] {
            for (std::size_t at = 0; at < timers_.size(); ++at) static_cast<void>(KzPlatform::tickCount());
        });
    }

private:
    template <class Round>
    static double secondsPerRound(Round round) {
        constexpr int rounds = 2'000;
        return secondsOf([&] {
                   for (int done = 0; done < rounds; ++done) round();
               }) /
               rounds;
    }

    OpenDocument document_;
    std::vector<std::unique_ptr<KzDxTimer>> timers_;
    KzPlatform::Message check_;
};

} // namespace

Made filterOverCall(std::size_t) {
    return std::make_unique<FilterOverCall>();
}
Made idleCheckOverTicks(std::size_t timers) {
    return std::make_unique<IdleCheckOverTicks>(timers);
}

} // namespace Bench
