// Guards the walk over a call list: whatever members do, it calls those that were there when it began and
// have not been removed since, in the order of registration.

#include "zelvane/call_list.h"

#include <gmock/gmock.h>

#include <array>
#include <random>
#include <set>
#include <vector>

namespace {

class CallListWalk : public testing::Test {
protected:
    using Member = const int*;

    void walk() {
        std::vector<Member> due = members_;
        std::set<Member> removed;
        removedInWalks_.push_back(&removed);
        list_.callEach([&](Member member) {
            std::erase_if(due, [&](Member each) { return removed.contains(each); });
            ASSERT_FALSE(due.empty());
            ASSERT_EQ(member, due.front());
            due.erase(due.begin());
            for (int acts = any(3); acts > 0; --acts) act();
        });
        removedInWalks_.pop_back();
        std::erase_if(due, [&](Member each) { return removed.contains(each); });
        EXPECT_TRUE(due.empty());
        EXPECT_EQ(list_.size(), members_.size());
    }
    void act() {
        const Member member = &pool_[static_cast<std::size_t>(any(6))];
        const int what = any(12);
        if (what == 0 && removedInWalks_.size() < 3) return walk();
        if (what == 1) return remove([](Member) { return true; });
        if (what % 2 == 0) return remove([member](Member each) { return each == member; });
        list_.add(member);
        if (std::ranges::find(members_, member) == members_.end()) members_.push_back(member);
    }

private:
    int any(int count) { return std::uniform_int_distribution<int>(0, count - 1)(random_); }
    void remove(auto isUnwanted) {
        list_.removeIf(isUnwanted);
        for (const Member member : members_) {
            if (!isUnwanted(member)) continue;
            for (std::set<Member>* const removed : removedInWalks_) removed->insert(member);
        }
        std::erase_if(members_, isUnwanted);
    }

    std::array<int, 6> pool_{};
    std::mt19937 random_{1};
    Zelvane::CallList<Member> list_;
    std::vector<Member> members_; ///< in order of registration
    std::vector<std::set<Member>*> removedInWalks_;
};

TEST_F(CallListWalk, EqualsItsDefinition) {
    for (int round = 0; round < 20'000; ++round) {
        for (int acts = 0; acts < 3; ++acts) act();
        walk();
        ASSERT_FALSE(HasFailure()) << "round " << round;
    }
}

} // namespace
