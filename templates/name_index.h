#pragma once

#include "templates/limits.h"
#include "templates/name_hash.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

/// A name with what it hashes to, so that one computation serves several tables. The name is borrowed.
struct KzDxHashedName {
    std::u16string_view name;
    std::uint32_t hash = 0;

    KzDxHashedName(std::u16string_view given, std::uint32_t known) : name(given), hash(known) {}
    explicit KzDxHashedName(std::u16string_view given) : KzDxHashedName(given, kzdxNameHash(given)) {}
};

/// Hash table that finds names in a sequence which its owner keeps, by exact comparison. A look-up takes
/// constant time on average, whatever the names are: see kzdxNameHash().
///
/// Only positions are kept: a row of slots with open addressing, so that a million names are one allocation
/// and the owner's sequence keeps its order. `nameAt(position)` must give the name at a position that was
/// added.
class KzDxNameIndex {
public:
    static constexpr std::size_t none = static_cast<std::size_t>(-1);

    /// The position of the name, or none.
    [[nodiscard]] std::size_t find(const KzDxHashedName& key, const auto& nameAt) const {
        if (slots_.empty()) return none;
        const Slot& slot = slots_[slotOf(key, nameAt)];
        return slot.isFree() ? none : slot.position;
    }

    /// Adds the name under the position and gives true; gives false and changes nothing when the name is
    /// there.
    bool add(const KzDxHashedName& key, std::size_t position, const auto& nameAt) {
        // Fourfold: with a million names, moving them to a larger row takes longer than anything else here.
        if (isFull()) resize(std::max(KzDxTemplateLimits::smallestIndex, slots_.size() * 4));
        Slot& slot = slots_[slotOf(key, nameAt)];
        if (!slot.isFree()) return false;
        slot = {key.hash, static_cast<std::uint32_t>(position)};
        ++count_;
        return true;
    }

    /// Makes room for that many names.
    void reserve(std::size_t count) {
        auto size = KzDxTemplateLimits::smallestIndex;
        while (size * 4 < count * 5) size *= 2;
        if (size > slots_.size()) resize(size);
    }

private:
    struct Slot {
        std::uint32_t hash = 0;
        std::uint32_t position = 0xFFFFFFFF;

        [[nodiscard]] bool isFree() const { return position == 0xFFFFFFFF; }
    };

    [[nodiscard]] static bool same(std::u16string_view a, std::u16string_view b) {
        return std::equal(a.begin(), a.end(), b.begin(), b.end());
    }

    [[nodiscard]] bool isFull() const { return (count_ + 1) * 5 > slots_.size() * 4; }

    // The slot that holds the name, or the free one where it belongs.
    [[nodiscard]] std::size_t slotOf(const KzDxHashedName& key, const auto& nameAt) const {
        const auto isIt = [&](const Slot& slot) {
            return slot.hash == key.hash && same(nameAt(slot.position), key.name);
        };
        auto at = key.hash & (slots_.size() - 1);
        while (!slots_[at].isFree() && !isIt(slots_[at])) at = (at + 1) & (slots_.size() - 1);
        return at;
    }

    void resize(std::size_t size) {
        std::vector<Slot> old(size);
        old.swap(slots_);
        for (const Slot& slot : old) {
            if (slot.isFree()) continue;
            auto at = slot.hash & (size - 1);
            while (!slots_[at].isFree()) at = (at + 1) & (size - 1);
            slots_[at] = slot;
        }
    }

    std::vector<Slot> slots_; // a power of two of them, at most four fifths taken
    std::size_t count_ = 0;
};
