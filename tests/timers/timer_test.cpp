// Guards what no client can see from outside: one-shot timers, receivers that destroy their timer, and the
// hook that comes with the first timer and goes with the last.

#include "frame/application.h"
#include "tests/support/module_test.h"
#include "timers/external_client_timer_reactor.h"
#include "timers/idle_check.h"
#include "timers/timer.h"

#include <functional>
#include <memory>
#include <optional>
#include <random>
#include <stdexcept>

namespace {

class Receiver final : public KzDxTimerReactor {
public:
    void timerElapsed() override {
        ++count;
        if (action) action();
    }
    int count = 0;
    std::function<void()> action;
};

class Timer : public ModuleTest {
protected:
    Timer() : document(Headless::openDocument(u"document")) {
        record = KzDxApplication::instance()->docData(document, true);
        timer = std::make_unique<KzDxTimer>(&record->runningTimers(), 0);
        for (Receiver& receiver : receivers) timer->attach(&receiver);
    }
    /// How often each receiver was called, in order of address.
    [[nodiscard]] std::vector<int> counts() const {
        return {receivers[0].count, receivers[1].count, receivers[2].count};
    }

    KzApDocument* document;
    KzDxDocument* record = nullptr;
    std::array<Receiver, 3> receivers;
    std::unique_ptr<KzDxTimer> timer;
};

TEST_F(Timer, OneShotFiresOnce) {
    timer->setRepeating(false);
    timer->setEnabled(true);
    Headless::idle();
    Headless::idle();
    timer->checkElapsed();
    EXPECT_THAT(counts(), testing::ElementsAre(1, 1, 1));
    EXPECT_FALSE(timer->isEnabled());
    EXPECT_TRUE(record->runningTimers().isEmpty());
}

// A timer that is switched on by one before it runs from the next check on, whether or not another follows.
TEST_F(Timer, TurnsByAddressWithoutJoiners) {
    std::array<std::optional<KzDxTimer>, 4> timers;
    std::array<Receiver, 4> ofTimers;
    std::vector<std::size_t> turns;
    for (std::size_t at = 0; at < timers.size(); ++at) {
        timers[at].emplace(&record->runningTimers(), 0);
        timers[at]->attach(&ofTimers[at]);
        ofTimers[at].action = [&turns, &timers, at] {
            turns.push_back(at);
            if (at + 1 < timers.size()) timers[at + 1]->setEnabled(true);
        };
    }
    for (const std::size_t at : {2U, 0U}) timers[at]->setEnabled(true);
    Headless::idle();
    EXPECT_THAT(turns, testing::ElementsAre(0, 2));
    turns.clear();
    Headless::idle();
    EXPECT_THAT(turns, testing::ElementsAre(0, 1, 2, 3));
}

// One that throws, against the rules, does not keep the others from being called.
TEST_F(Timer, ThrowingClientDoesNotStopOthers) {
    const KzDbObjectId block = Headless::makeBlock(document, u"A");
    for (const std::size_t number : {0U, 1U}) {
        ASSERT_EQ(kzdxDocTimerAttach(document, TestClients::client(number), 0, 1), 1);
        ASSERT_EQ(watch(document, {block}, TestClients::client(number)), 1);
        clients.onCall.at(number) = [] { throw std::runtime_error("from a client"); };
    }
    ASSERT_TRUE(Headless::insert(Headless::modelSpace(document), block));
    Headless::idle();
    EXPECT_THAT(clients.takeCalls(), testing::ElementsAre(0, 1, 0, 1)) << "as timer and as monitor clients";
}

TEST_F(Timer, ReceiverMayDestroyItsTimer) {
    KzDxTimer other(&record->runningTimers(), 0);
    Receiver ofOther;
    other.attach(&ofOther);
    other.setEnabled(true);
    timer->setEnabled(true);
    receivers[1].action = [this] { timer.reset(); };
    Headless::idle();
    EXPECT_THAT(counts(), testing::ElementsAre(1, 1, 0)) << "those after it are not called";
    EXPECT_EQ(ofOther.count, 1);
    Headless::idle();
    EXPECT_THAT(counts(), testing::ElementsAre(1, 1, 0));
    EXPECT_EQ(ofOther.count, 2);
}

TEST_F(Timer, ReceiverAttachedAheadWaits) {
    timer->detach(&receivers[1]);
    receivers[0].action = [this] { timer->attach(&receivers[1]); };
    timer->fire();
    EXPECT_THAT(counts(), testing::ElementsAre(1, 0, 1));
    timer->fire();
    EXPECT_THAT(counts(), testing::ElementsAre(2, 1, 2));
}

TEST_F(Timer, RunsWhileItHasClients) {
    for (const int attach : {1, 0}) {
        EXPECT_EQ(kzdxDocTimerAttach(document, TestClients::client(0), 0, attach), 1);
        EXPECT_EQ(record->runningTimers().isEmpty(), attach == 0);
    }
    for (const bool enable : {false, true}) record->setEnabled(enable);
    EXPECT_FALSE(record->runningTimers().isEmpty()) << "it is switched on with its document, clients or not";
    EXPECT_EQ(kzdxDocTimerAttach(document, TestClients::client(0), 0, 0), 1);
    EXPECT_TRUE(record->runningTimers().isEmpty());
    KzDxExternalClientTimerReactor withTimer(timer.get());
    EXPECT_EQ(withTimer.attach(nullptr), Orvo::missingCollaborator);
    EXPECT_FALSE(withTimer.isEnabled());
    KzDxExternalClientTimerReactor withoutTimer(nullptr);
    EXPECT_EQ(withoutTimer.attach(TestClients::client(0)), Orvo::missingCollaborator);
}

TEST_F(Timer, SwitchingNeedsAnOwner) {
    KzDxTimer ownerless(nullptr, 0);
    EXPECT_EQ(ownerless.setEnabled(true), Orvo::missingCollaborator);
    EXPECT_FALSE(ownerless.isEnabled());
    EXPECT_EQ(ownerless.setEnabled(false), Orvo::ok) << "it is off already";
    EXPECT_EQ(timer->attach(nullptr), Orvo::missingCollaborator);
}

TEST_F(Timer, HookFollowsTheTimers) {
    Headless::failHostCall(Headless::HostCall::removeFilter, 1, Headless::FaultSpan::fromThenOn);
    timer.reset();
    EXPECT_EQ(Headless::endFaults(), 0U) << "without a filter there is none to remove";
    timer = std::make_unique<KzDxTimer>(&record->runningTimers(), 0);
    Headless::refuse(Headless::HostCall::addFilter, true);
    EXPECT_EQ(timer->setEnabled(true), Orvo::ok) << "a refused filter does not affect the timer";
    EXPECT_EQ(Headless::filterCount(), 0U);
    Headless::refuse(Headless::HostCall::addFilter, false);
    timer->setEnabled(true);
    EXPECT_EQ(Headless::filterCount(), 1U) << "also when the timer runs already";
    timer->setEnabled(false);
    EXPECT_EQ(Headless::filterCount(), 1U) << "switching off keeps the filter";
    timer.reset();
    EXPECT_EQ(Headless::filterCount(), 0U);
    timer = std::make_unique<KzDxTimer>(&record->runningTimers(), 0);
    timer->setEnabled(true);
    Headless::refuse(Headless::HostCall::removeFilter, true);
    timer.reset();
    unload();
    kzdxPostIdleCheck(document);
    EXPECT_EQ(Headless::pump().taken, 1U) << "the filter is still registered; there are no timers";
    Headless::refuse(Headless::HostCall::removeFilter, false);
}

/// Timers of two documents beside what is expected of them by a clock that does not wrap around.
class TimersOnAClock {
public:
    TimersOnAClock(KzApDocument* first, KzApDocument* second) : documents_{first, second} {
        Headless::setTicks(static_cast<std::uint32_t>(now_));
        for (const std::uint32_t interval : {0U, 1U, 999U, 1U << 16, 1U << 24, 1U << 30, 1U << 31}) {
            for (KzApDocument* const document : documents_) add(document, interval);
        }
    }

    /// Lets one of the timers come to its end, or to the tick before, or any stretch of time pass; then
    /// checks the documents by turns, so that no timer waits for a whole round of the tick count. Switching a
    /// timer off and on does not restart its interval.
    void step() {
        Expected& one = *timers_[random_() % timers_.size()];
        const std::uint64_t left = one.start + one.interval - now_;
        const std::uint64_t stretch = random_() >> (4 + random_() % 28);
        pass(left - 1 < stretch ? left - random_() % 2 : stretch);
        for (const bool enable : {false, true}) one.timer.setEnabled(enable);
        std::swap(documents_[0], documents_[1]);
        Headless::makeCurrent(documents_[0]);
        Headless::idle();
        for (const auto& each : timers_) expectInTime(*each);
    }

    [[nodiscard]] std::uint64_t wraps() const { return now_ >> 32; }

private:
    struct Expected {
        Expected(KzApDocument* its, std::uint32_t itsInterval, std::uint64_t now)
            : document(its),
              interval(itsInterval),
              start(now),
              timer(&KzDxApplication::instance()->docData(its, true)->runningTimers(), itsInterval) {}

        KzApDocument* document;
        std::uint32_t interval;
        std::uint64_t start;
        int firings = 0;
        KzDxTimer timer;
        Receiver receiver;
    };

    void add(KzApDocument* document, std::uint32_t interval) {
        timers_.push_back(std::make_unique<Expected>(document, interval, now_));
        timers_.back()->timer.attach(&timers_.back()->receiver);
        timers_.back()->timer.setEnabled(true);
    }
    void pass(std::uint64_t milliseconds) {
        now_ += milliseconds;
        Headless::advance(static_cast<std::uint32_t>(milliseconds));
    }
    void expectInTime(Expected& each) const {
        if (each.document == documents_[0] && now_ - each.start >= each.interval) {
            ++each.firings;
            each.start = now_;
        }
        EXPECT_EQ(each.receiver.count, each.firings) << "interval " << each.interval << " at " << now_;
    }

    std::array<KzApDocument*, 2> documents_;
    std::vector<std::unique_ptr<Expected>> timers_;
    std::uint64_t now_ = 0xFFFF'0000;
    std::mt19937 random_{1};
};

TEST_F(Timer, TickCountMayWrapAround) {
    TimersOnAClock timers(document, Headless::openDocument(u"other"));
    while (timers.wraps() < 20 && !HasFailure()) timers.step();
}

} // namespace
