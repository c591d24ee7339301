#include "blocks/watched_attributes.h"

#include <algorithm>
#include <utility>

void KzDxWatchedAttributes::add(KzDbObjectId reference, KzDbObjectId attribute) {
    pairs_.push_back({reference, attribute});
}

std::vector<KzDbObjectId> KzDxWatchedAttributes::take(KzDbObjectId reference) {
    sort();
    const auto first = std::ranges::lower_bound(pairs_, reference, {}, &Pair::reference);
    const auto last = std::ranges::upper_bound(pairs_, reference, {}, &Pair::reference);
    std::vector<KzDbObjectId> attributes;
    attributes.reserve(static_cast<std::size_t>(last - first)); // nothing is lost when memory runs out
    for (auto pair = first; pair != last; ++pair) {
        if (pair->attribute.isNull()) continue;
        attributes.push_back(std::exchange(pair->attribute, KzDbObjectId()));
        ++removed_;
    }
    return attributes;
}

std::vector<KzDbObjectId> KzDxWatchedAttributes::takeAll() {
    sort();
    std::vector<KzDbObjectId> attributes;
    attributes.reserve(pairs_.size());
    for (const Pair& pair : pairs_) {
        if (!pair.attribute.isNull()) attributes.push_back(pair.attribute);
    }
    pairs_ = {};
    sorted_ = removed_ = 0;
    return attributes;
}

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
