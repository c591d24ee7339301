#pragma once

#include <cstdint>
#include <string_view>

/// A keyed hash of a name: what it gives cannot be foreseen, because the key is drawn anew in every process.
///
/// The names come from files that anybody may have written. Were the hash a fixed one, a file could be made
/// of names that all hash alike, and every look-up would go through all of them. Nothing that is given to a
/// caller may depend on the hash; the order of names in particular does not.
[[nodiscard]] std::uint32_t kzdxNameHash(std::u16string_view name);

/// What makes the hash another one in each process.
struct KzDxNameHashKey {
    std::uint64_t low;
    std::uint64_t high;
};

/// The same under a given key.
[[nodiscard]] std::uint32_t kzdxNameHash(std::u16string_view name, const KzDxNameHashKey& key);
