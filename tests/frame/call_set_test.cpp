// Guards what a callee may do to the set that it is called from, with both ways of choosing the next member.

#include "core/call_set.h"

#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <memory>
#include <set>
#include <vector>

using Set = KzDxCallSet<int*>;

namespace {

class CallSetWalk : public testing::TestWithParam<Set::Next> {};

constexpr Set::Next before = Set::Next::chosenBeforeCall;
constexpr Set::Next after = Set::Next::chosenAfterCall;
INSTANTIATE_TEST_SUITE_P(BothWays, CallSetWalk, testing::Values(before, after),
                         [](const auto& way) { return way.param == before ? "Before" : "After"; });

TEST_P(CallSetWalk, EndsWhenTheSetIsDestroyed) {
    std::array<int, 5> members{};
    auto set = std::make_unique<Set>();
    for (int& member : members) set->insert(&member);
    int inner = 0;
    int outer = 0;
    EXPECT_FALSE(set->callEach(GetParam(), [&](int*) {
        if (++outer < 2) return;
        EXPECT_FALSE(set->callEach(GetParam(), [&](int*) {
            if (++inner == 2) set.reset();
        }));
    }));
    EXPECT_EQ(outer, 2);
    EXPECT_EQ(inner, 2);
}

TEST_P(CallSetWalk, EndsWhenACallReturnsFalse) {
    std::array<int, 3> members{};
    Set set;
    for (int& member : members) set.insert(&member);
    int calls = 0;
    EXPECT_TRUE(set.callEach(GetParam(), [&](int*) { return ++calls < 2; }));
    EXPECT_EQ(calls, 2);
}

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
