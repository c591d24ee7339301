#include "blocks/watched_attributes.h"

#include <algorithm>

/// Merges additions and removes the null entries of removed pairs. Without additions the null entries stay,
/// so that removing all pairs one by one is linear.
void KzDxWatchedAttributes::sort() {
    if (sorted_ == pairs_.size()) return;
    // Only sorted pairs are removed: additions are merged before.
    sorted_ -= std::erase_if(pairs_, [](const Pair& pair) { return pair.attribute.isNull(); });
    const auto firstAdded = pairs_.begin() + static_cast<std::ptrdiff_t>(sorted_);
    std::sort(firstAdded, pairs_.end());
    std::inplace_merge(pairs_.begin(), firstAdded, pairs_.end());
    pairs_.erase(std::unique(pairs_.begin(), pairs_.end()), pairs_.end());
    sorted_ = pairs_.size();
}
