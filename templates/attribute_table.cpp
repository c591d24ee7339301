#include "templates/attribute_table.h"

#include "templates/unique_names.h"

#include <cassert>
#include <utility>

void KzDxAttributeTable::append(std::u16string_view name, std::int32_t flag) {
    auto& [names, rows] = contents();
    names += name;
    rows.push_back({{nullptr, flag}, names.size()});
}

// A row stores where its name ends; the name begins where the previous one ends.
std::u16string_view KzDxAttributeTable::name(std::size_t position) const {
    assert(position < size());
    const auto& rows = contents_->rows;
    const auto begin = position == 0 ? 0 : rows[position - 1].nameEnd;
    return std::u16string_view(contents_->names).substr(begin, rows[position].nameEnd - begin);
}

std::vector<std::size_t> KzDxAttributeTable::repeated() const {
    return kzdxRepeatedNames(size(), [this](std::size_t position) { return name(position); });
}

std::optional<std::size_t> KzDxAttributeTable::firstRepeated() const {
    const std::vector<std::size_t> positions = repeated();
    return positions.empty() ? std::nullopt : std::optional(positions.front());
}

void KzDxAttributeTable::removeRepeated() {
    const std::vector<std::size_t> positions = repeated();
    if (positions.empty()) return;
    removeIf([next = positions.begin(), end = positions.end()](std::size_t position) mutable {
        const bool isRepeated = next != end && *next == position;
        if (isRepeated) ++next;
        return isRepeated;
    });
}

void KzDxAttributeTable::removeUnselected() {
    removeIf([this](std::size_t position) { return entry(position).flag == 0; });
}

// Calls the predicate for each position once, in order, before the row of that position is moved.
void KzDxAttributeTable::removeIf(auto isRemoved) {
    if (!contents_) return;
    auto& [names, rows] = *contents_;
    std::u16string keptNames;
    keptNames.reserve(names.size());
    std::size_t kept = 0;
    std::size_t begin = 0; // of the name at `position`
    for (std::size_t position = 0; position < rows.size(); ++position) {
        const std::size_t end = rows[position].nameEnd;
        if (!isRemoved(position)) {
            keptNames.append(names, begin, end - begin);
            rows[kept++] = {std::move(rows[position].entry), keptNames.size()};
        }
        begin = end;
    }
    names = std::move(keptNames);
    rows.erase(rows.begin() + static_cast<std::ptrdiff_t>(kept), rows.end());
}

// Created when the first attribute is added.
KzDxAttributeTable::Contents& KzDxAttributeTable::contents() {
    if (!contents_) contents_ = std::make_unique<Contents>();
    return *contents_;
}
