#include "templates/attribute_table.h"

#include <algorithm>
#include <utility>

bool KzDxAttributeTable::add(std::u16string_view name, std::int32_t flag) {
    if (!index_.add(name, rows_.size(), nameAt())) return false;
    names_ += name;
    rows_.push_back({names_.size(), {flag, nullptr}});
    return true;
}

std::size_t KzDxAttributeTable::find(std::u16string_view name) const {
    return index_.find(name, nameAt());
}

std::u16string_view KzDxAttributeTable::name(std::size_t position) const {
    const auto begin = position == 0 ? 0 : rows_[position - 1].nameEnd;
    return std::u16string_view(names_).substr(begin, rows_[position].nameEnd - begin);
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
