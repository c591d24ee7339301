#include "blocks/id_set.h"

#include <bit>
#include <cstdint>
#include <cstring>
#include <functional>
#include <iterator>
#include <type_traits>

namespace {

constexpr std::uint64_t bitsPerWord = 64;

bool isAscending(std::span<const KzDbObjectId> ids) {
    return std::ranges::adjacent_find(ids, std::greater_equal<>()) == ids.end();
}

/// Marks each id in a bitmap over the span from the lowest to the highest one, and reads the marks back in
/// order.
std::size_t sortByBitmap(std::span<KzDbObjectId> ids, std::uint64_t lowest, std::uint64_t span) {
    std::vector<std::uint64_t> words(span / bitsPerWord + 1);
    for (const KzDbObjectId id : ids) {
        const std::uint64_t offset = id.value() - lowest;
        words[offset / bitsPerWord] |= std::uint64_t{1} << (offset % bitsPerWord);
    }
    std::size_t count = 0;
    for (std::size_t at = 0; at < words.size(); ++at) {
        for (std::uint64_t word = words[at]; word != 0; word &= word - 1) {
            const auto bit = static_cast<std::uint64_t>(std::countr_zero(word));
            ids[count++] = KzDbObjectId(lowest + at * bitsPerWord + bit);
        }
    }
    return count;
}

} // namespace

std::size_t kzdxSortUnique(std::span<KzDbObjectId> ids) {
    if (isAscending(ids)) return ids.size();
    const auto [lowest, highest] = std::ranges::minmax(ids);
    const std::uint64_t span = highest.value() - lowest.value();
    // At most as many words as ids, so that the bitmap never needs more memory than the ids.
    if (span / bitsPerWord < ids.size()) return sortByBitmap(ids, lowest.value(), span);
    std::ranges::sort(ids);
    return static_cast<std::size_t>(std::unique(ids.begin(), ids.end()) - ids.begin());
}

bool kzdxAreSame(std::span<const KzDbObjectId> left, std::span<const KzDbObjectId> right) {
    static_assert(std::has_unique_object_representations_v<KzDbObjectId>);
    return left.size() == right.size() &&
           (left.empty() || std::memcmp(left.data(), right.data(), left.size_bytes()) == 0);
}

void KzDxIdSet::insertAscending(std::span<const KzDbObjectId> ids) {
    std::vector<KzDbObjectId> merged;
    merged.reserve(ids_.size() + ids.size());
    std::set_union(ids_.begin(), ids_.end(), ids.begin(), ids.end(), std::back_inserter(merged));
    ids_.swap(merged);
}
