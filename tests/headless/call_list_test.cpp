// What a member of a call list may do to the list while it is being called.

#include "headless/call_list.h"

#include <gmock/gmock.h>

#include <array>
#include <functional>
#include <utility>
#include <vector>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

struct Member {
    int number = 0;
    std::function<void()> whenCalled = [] {};
};

class CallListWalk : public testing::Test {
protected:
    /// Calls the first `count` members; one of them does something.
    std::vector<int> calledWhen(std::size_t count, std::size_t actor, const std::function<void()>& act) {
        for (std::size_t at = 0; at < count; ++at) list.add(&m[at]);
        m[actor].whenCalled = act;
        return calls();
    }
    std::vector<int> calls() {
        std::vector<int> called;
        list.callEach([&called](Member* member) {
            called.push_back(member->number);
            member->whenCalled();
        });
        return called;
    }

    std::array<Member, 6> m{{{0}, {1}, {2}, {3}, {4}, {5}}};
    Headless::CallList<Member*> list;
};

TEST_F(CallListWalk, GoesInOrderOfRegistrationAndKnowsEachOnce) {
    for (const std::size_t at : {3U, 0U, 3U, 2U, 0U}) list.add(&m[at]);
    EXPECT_THAT(calls(), ElementsAre(3, 0, 2));
    EXPECT_EQ(list.size(), 3U);
}

TEST_F(CallListWalk, OneThatRemovesItselfIsNotCalledAgainAndDisturbsNobody) {
    EXPECT_THAT(calledWhen(4, 1, [&] { list.remove(&m[1]); }), ElementsAre(0, 1, 2, 3));
    EXPECT_THAT(calls(), ElementsAre(0, 2, 3));
}

TEST_F(CallListWalk, OneRemovedBeforeItsTurnIsNotCalled) {
    EXPECT_THAT(calledWhen(4, 1, [&] { list.remove(&m[2]); }), ElementsAre(0, 1, 3));
}

TEST_F(CallListWalk, OneAddedIsCalledFromTheNextWalkOn) {
    EXPECT_THAT(calledWhen(1, 0, [&] { list.add(&m[5]); }), ElementsAre(0));
    EXPECT_THAT(calls(), ElementsAre(0, 5));
}

TEST_F(CallListWalk, OneRemovedAndAddedAgainHasLostItsTurn) {
    const auto act = [&] {
        list.remove(&m[2]);
        list.add(&m[2]);
    };
    EXPECT_THAT(calledWhen(3, 0, act), ElementsAre(0, 1));
    m[0].whenCalled = [] {};
    EXPECT_THAT(calls(), ElementsAre(0, 1, 2));
}

TEST_F(CallListWalk, AllCanBeRemovedAtOnce) {
    const auto act = [&] { list.removeIf([](Member*) { return true; }); };
    EXPECT_THAT(calledWhen(4, 1, act), ElementsAre(0, 1));
    EXPECT_EQ(list.size(), 0U);
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(CallListWalk, WalksNestAndRemovalsOfTheInnerOneCountForTheOuterOne) {
    std::vector<int> inner;
    bool isInside = false;
    const auto act = [&] {
        if (std::exchange(isInside, true)) return;
        list.remove(&m[0]);
        list.remove(&m[3]);
        inner = calls();
    };
    EXPECT_THAT(calledWhen(5, 1, act), ElementsAre(0, 1, 2, 4));
    EXPECT_THAT(inner, ElementsAre(1, 2, 4));
    EXPECT_EQ(list.size(), 3U);
}

TEST_F(CallListWalk, TheOnlyMemberCanBeReplacedWhileItIsCalled) {
    const auto act = [&] {
        list.remove(&m[0]);
        list.add(&m[4]);
        list.add(&m[5]);
    };
    EXPECT_THAT(calledWhen(1, 0, act), ElementsAre(0));
    EXPECT_THAT(calls(), ElementsAre(4, 5));
}

} // namespace
