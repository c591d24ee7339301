// Guards the flat containers against the ordered ones of the standard library that they stand for.

#include "blocks/id_index.h"
#include "blocks/id_set.h"
#include "blocks/watched_attributes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <random>
#include <set>

namespace {

using Ids = std::vector<KzDbObjectId>;

// Dense ids go through the bitmap, sparse ones through a sort; both at every size, with repetitions.
TEST(SortUnique, EqualsAnOrderedSet) {
    std::mt19937_64 random(1);
    for (const std::uint64_t span :
         {std::uint64_t{1}, std::uint64_t{64}, std::uint64_t{3000}, UINT64_MAX / 2}) {
        for (std::size_t size = 0; size < 300; size += 1 + size / 4) {
            Ids ids;
            for (std::size_t at = 0; at < size; ++at) ids.emplace_back(1 + random() % span);
            const std::set<KzDbObjectId> expected(ids.begin(), ids.end());
            ids.resize(kzdxSortUnique(ids));
            ASSERT_EQ(ids, Ids(expected.begin(), expected.end())) << "span " << span << " size " << size;
        }
    }
}

TEST(IdIndex, KeepsFirstNumberOfEachRound) {
    std::mt19937 random(3);
    KzDxIdIndex index;
    for (int round = 0; round < 50; ++round) {
        std::map<KzDbObjectId, std::uint32_t> expected;
        for (std::uint32_t step = 0; step < 200; ++step) {
            const KzDbObjectId id(random() % 100 << (random() % 3 * 20));
            ASSERT_EQ(index.findOrInsert(id, step), expected.try_emplace(id, step).first->second);
            ASSERT_EQ(index.find(KzDbObjectId(101), 7), 7U) << "the search for an id that is not there ends";
        }
        index.clear();
    }
}

// An attribute that cannot be unregistered from stays, and is asked about again.
TEST(WatchedAttributes, EqualsAMapOfSets) {
    std::mt19937 random(4);
    KzDxWatchedAttributes watched;
    std::map<KzDbObjectId, std::set<KzDbObjectId>> expected;
    Ids asked;
    const auto hasLeft = [&](KzDbObjectId attribute) {
        asked.push_back(attribute);
        return attribute.value() % 7 != 0 || random() % 2 == 0;
    };
    const auto removeAsked = [&](std::set<KzDbObjectId>& attributes, bool areAllGone, std::mt19937 again) {
        ASSERT_EQ(std::exchange(asked, {}), Ids(attributes.begin(), attributes.end()));
        std::erase_if(attributes, [&](KzDbObjectId id) { return id.value() % 7 != 0 || again() % 2 == 0; });
        ASSERT_EQ(attributes.empty(), areAllGone);
    };
    for (int step = 0; step < 5000; ++step) {
        const KzDbObjectId reference(1 + random() % 20);
        if (random() % 3 != 0) {
            const KzDbObjectId attribute(100 + random() % 50);
            watched.add(reference, attribute);
            expected[reference].insert(attribute);
        } else {
            const std::mt19937 before = random;
            removeAsked(expected[reference], watched.removeOf(reference, hasLeft), before);
        }
    }
    Ids all;
    for (const auto& [reference, attributes] : expected)
        all.insert(all.end(), attributes.begin(), attributes.end());
    EXPECT_TRUE(watched.removeAll([&](KzDbObjectId attribute) {
        asked.push_back(attribute);
        return true;
    }));
    EXPECT_EQ(asked, all);
    EXPECT_TRUE(watched.removeAll([](KzDbObjectId) { return false; })) << "nothing is left to ask about";
}

} // namespace
