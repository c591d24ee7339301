#include "blocks/watched_attributes.h"

#include <algorithm>

/// Sorts in what was added, and closes the gaps that removals have left. Gaps alone wait until they are the
/// greater part, so that removing all pairs one after the other stays linear.
void KzDxWatchedAttributes::sort() {
    const bool mostlyRemoved = 2 * removed_ > pairs_.size();
    if (sorted_ == pairs_.size() && !mostlyRemoved) return;
    if (removed_ != 0) {
        const auto isRemoved = [](const Pair& pair) { return pair.attribute.isNull(); };
        const auto firstAdded = pairs_.begin() + static_cast<std::ptrdiff_t>(sorted_);
        const auto firstFree = std::remove_if(pairs_.begin(), firstAdded, isRemoved);
        sorted_ = static_cast<std::size_t>(firstFree - pairs_.begin());
        pairs_.erase(firstFree, firstAdded);
        removed_ = 0;
    }
    const auto firstAdded = pairs_.begin() + static_cast<std::ptrdiff_t>(sorted_);
    std::sort(firstAdded, pairs_.end());
    std::inplace_merge(pairs_.begin(), firstAdded, pairs_.end());
    pairs_.erase(std::unique(pairs_.begin(), pairs_.end()), pairs_.end());
    sorted_ = pairs_.size();
}
