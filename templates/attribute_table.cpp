#include "templates/attribute_table.h"

#include <algorithm>
#include <utility>

// Names of one block are much alike, so the first tells what the others will take.
static constexpr std::size_t longestExpected = 32;

bool KzDxAttributeTable::add(std::u16string_view name, std::int32_t flag) {
    const KzDxHashedName key(name);
    if (!index_.add(key, rows_.size(), nameAt())) return false;
    if (names_.empty()) names_.reserve(std::min(name.size(), longestExpected) * rows_.capacity());
    names_ += name;
    rows_.push_back({{nullptr, flag}, key.hash, names_.size()});
    return true;
}

std::size_t KzDxAttributeTable::find(std::u16string_view name) const {
    return index_.find(KzDxHashedName(name), nameAt());
}

std::u16string_view KzDxAttributeTable::name(std::size_t position) const {
    const auto begin = position == 0 ? 0 : rows_[position - 1].nameEnd;
    return std::u16string_view(names_).substr(begin, rows_[position].nameEnd - begin);
}

KzDxHashedName KzDxAttributeTable::hashedName(std::size_t position) const {
    return {name(position), rows_[position].hash};
}

void KzDxAttributeTable::removeUnselected() {
    const auto isSelected = [](const Row& row) { return row.entry.flag != 0; };
    const auto count = static_cast<std::size_t>(std::ranges::count_if(rows_, isSelected));
    if (count == size()) return;

    KzDxAttributeTable selected;
    selected.reserve(count);
    for (std::size_t i = 0; i < size(); ++i) {
        if (!isSelected(rows_[i])) continue;
        selected.add(name(i), 0);
        selected.rows_.back().entry = std::move(entry(i));
    }
    *this = std::move(selected);
}

void KzDxAttributeTable::reserve(std::size_t count) {
    rows_.reserve(count);
    index_.reserve(count);
}
