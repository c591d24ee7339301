#include "blocks/containers.h"

#include <cassert>

KzDxContainers::KzDxContainers(std::span<const KzDbObjectId> references,
                               std::span<const std::uint32_t> numbers,
                               std::span<const KzDbObjectId> containers)
    : references_(references.begin(), references.end()), numbers_(numbers.begin(), numbers.end()) {
    assert(references.size() == numbers.size() && std::ranges::is_sorted(references));
    std::vector<std::uint32_t> counts(containers.size());
    for (const std::uint32_t number : numbers_) {
        if (number == noContainer) {
            hasUnplaced_ = true;
        } else {
            ++counts[number];
        }
    }
    // Stored containers are in ascending order and not empty, so the numbers of the reading are replaced by
    // indexes of the stored containers.
    entries_.reserve(containers.size());
    for (std::size_t at = 0; at < containers.size(); ++at) {
        if (counts[at] != 0) entries_.push_back({containers[at], counts[at]});
    }
    std::ranges::sort(entries_, {}, &Entry::container);
    // From here on `counts` maps the numbers of the reading to the stored ones.
    for (std::size_t at = 0; at < containers.size(); ++at) {
        if (counts[at] != 0) counts[at] = static_cast<std::uint32_t>(find(containers[at]) - entries_.data());
    }
    for (std::uint32_t& number : numbers_) {
        if (number != noContainer) number = counts[number];
    }
}
