// Guards what a callee may do to the set that it is called from. Every test runs under checked iterators and
// the address sanitizer, with both ways of choosing the next member.

#include "core/call_set.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <set>
#include <vector>

using testing::ElementsAre;
using Set = KzDxCallSet<int*>;

namespace {

class CallSetWalk : public testing::TestWithParam<Set::Next> {
protected:
    CallSetWalk() {
        for (const int number : {1, 3, 5, 7, 9}) set->insert(member(number));
    }

    /// The members called, by number, when `action` runs inside the call of member `at`.
    std::vector<int> calledWhen(int at, const std::function<void()>& action) {
        std::vector<int> called;
        survived = set->callEach(GetParam(), [&](const int* member) {
            called.push_back(static_cast<int>(member - members.data()));
            if (called.back() == at && action && !std::exchange(done, true)) action();
        });
        return called;
    }
    int* member(int number) { return &members[static_cast<std::size_t>(number)]; }

    std::array<int, 12> members{};
    std::unique_ptr<Set> set = std::make_unique<Set>();
    bool survived = false;
    bool done = false;
};

constexpr Set::Next before = Set::Next::chosenBeforeCall;
constexpr Set::Next after = Set::Next::chosenAfterCall;

TEST_P(CallSetWalk, DestroyingTheSetEndsAllWalks) {
    std::vector<int> inner;
    const auto walkAndDestroy = [&] {
        EXPECT_FALSE(set->callEach(GetParam(), [&](const int* called) {
            inner.push_back(static_cast<int>(called - members.data()));
            if (inner.size() == 2) set.reset();
        }));
    };
    EXPECT_THAT(calledWhen(3, walkAndDestroy), ElementsAre(1, 3));
    EXPECT_THAT(inner, ElementsAre(1, 3));
    EXPECT_FALSE(survived);
}

TEST_P(CallSetWalk, FalseEndsTheWalk) {
    int calls = 0;
    EXPECT_TRUE(set->callEach(GetParam(), [&](int*) { return ++calls < 2; }));
    EXPECT_EQ(calls, 2);
}

INSTANTIATE_TEST_SUITE_P(BothWays, CallSetWalk, testing::Values(before, after),
                         [](const auto& way) { return way.param == before ? "Before" : "After"; });

/// What the two ways say, spelled out on an ordinary set.
std::vector<int> referenceWalk(std::set<int> set, Set::Next next,
                               const std::function<void(std::set<int>&, int)>& call) {
    std::vector<int> called;
    for (auto at = set.begin(); at != set.end();) {
        const int member = *at;
        const auto successor = std::next(at);
        const bool isLast = successor == set.end();
        const int successorKey = isLast ? 0 : *successor;
        called.push_back(member);
        call(set, member);
        if (next == before && isLast) break;
        at = next == before ? set.lower_bound(successorKey) : set.upper_bound(member);
    }
    return called;
}

// Any changes from inside any calls: the walk is the one that the definition gives.
TEST_P(CallSetWalk, EqualsItsDefinitionUnderRandomChanges) {
    std::array<int, 40> pool{};
    for (unsigned seed = 0; seed < 2000; ++seed) {
        // Each call toggles two members that depend on the member and the seed alone.
        const auto toggles = [seed](int at) {
            const unsigned mixed = (static_cast<unsigned>(at) + 1) * 2654435761U ^ seed * 40503U;
            return std::array<int, 2>{static_cast<int>(mixed % 40), static_cast<int>((mixed >> 8) % 40)};
        };
        std::set<int> start;
        Set tested;
        for (int at = 0; at < 40; at += 1 + static_cast<int>(seed % 5)) {
            start.insert(at);
            tested.insert(&pool[static_cast<std::size_t>(at)]);
        }
        const auto expected = referenceWalk(start, GetParam(), [&](std::set<int>& reference, int at) {
            for (const int toggled : toggles(at)) {
                if (reference.erase(toggled) == 0) reference.insert(toggled);
            }
        });
        std::vector<int> called;
        tested.callEach(GetParam(), [&](const int* member) {
            called.push_back(static_cast<int>(member - pool.data()));
            for (const int toggled : toggles(called.back())) {
                int* const toggledMember = &pool[static_cast<std::size_t>(toggled)];
                if (!tested.erase(toggledMember)) tested.insert(toggledMember);
            }
        });
        ASSERT_EQ(called, expected) << "seed " << seed;
    }
}

} // namespace
