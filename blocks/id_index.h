#pragma once

#include "host/ids.h"

#include <bit>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <vector>

/// Hash table from ids to 32-bit numbers that is cleared in O(1), because scans use it once per node.
///
/// Open addressing with linear probing in a power-of-two table, at most half full. An entry is valid only
/// in the round in which it was inserted; `clear` begins the next round.
class KzDxIdIndex {
public:
    /// The number of `id`; if there is none, `number` is inserted and returned.
    std::uint32_t findOrInsert(KzDbObjectId id, std::uint32_t number) {
        if (entries_.size() <= 2 * size_) grow();
        Entry& entry = entries_[slotOf(id)];
        if (entry.round != round_) {
            entry = {id, round_, number};
            ++size_;
        }
        return entry.number;
    }

    /// The number of `id`, or `otherwise`.
    [[nodiscard]] std::uint32_t find(KzDbObjectId id, std::uint32_t otherwise) const {
        if (entries_.empty()) return otherwise;
        const Entry& entry = entries_[slotOf(id)];
        return entry.round == round_ ? entry.number : otherwise;
    }

    /// Removes all entries. Keeps the storage.
    void clear() {
        size_ = 0;
        ++round_;
        assert(round_ != 0); // otherwise old entries would be valid again; no reading has so many nodes
    }

private:
    struct Entry {
        KzDbObjectId id;
        std::uint32_t round = 0;
        std::uint32_t number = 0;
    };

    /// The slot of `id`, or the free slot for it.
    [[nodiscard]] std::size_t slotOf(KzDbObjectId id) const {
        const std::size_t mask = entries_.size() - 1;
        const std::uint64_t hash = id.value() * 0x9E3779B97F4A7C15; // 2^64 over the golden ratio
        std::size_t slot =
            hash >> (64 - std::countr_zero(entries_.size())); // the upper bits have the best distribution
        while (entries_[slot].round == round_ && entries_[slot].id != id) slot = (slot + 1) & mask;
        return slot;
    }

    void grow() {
        constexpr std::size_t smallest = 16;
        std::vector<Entry> before(entries_.empty() ? smallest : 2 * entries_.size());
        before.swap(entries_);
        for (const Entry& entry : before) {
            if (entry.round == round_) entries_[slotOf(entry.id)] = entry;
        }
    }

    std::vector<Entry> entries_;
    std::size_t size_ = 0;
    std::uint32_t round_ = 1;
};
