#include "templates/attribute_table.h"

#include "templates/limits.h"

#include <algorithm>
#include <cassert>
#include <utility>

bool KzDxAttributeTable::add(std::u16string_view name, std::int32_t flag) {
    const KzDxHashedName key(name);
    auto& [names, rows, index] = contents();
    if (!index.add(key, rows.size(), nameAt())) return false;
    if (names.empty()) {
        names.reserve(std::min(name.size(), KzDxTemplateLimits::reservedNameLength) * rows.capacity());
    }
    names += name;
    rows.push_back({{nullptr, flag}, key.hash, names.size()});
    return true;
}

std::size_t KzDxAttributeTable::find(std::u16string_view name) const {
    return contents_ ? contents_->index.find(KzDxHashedName(name), nameAt()) : none;
}

std::u16string_view KzDxAttributeTable::name(std::size_t position) const {
    assert(position < size());
    const auto& rows = contents_->rows;
    const auto begin = position == 0 ? 0 : rows[position - 1].nameEnd;
    return std::u16string_view(contents_->names).substr(begin, rows[position].nameEnd - begin);
}

KzDxHashedName KzDxAttributeTable::hashedName(std::size_t position) const {
    return {name(position), contents_->rows[position].hash};
}

void KzDxAttributeTable::removeUnselected() {
    if (!contents_) return;
    auto& rows = contents_->rows;
    const auto isSelected = [](const Row& row) { return row.entry.flag != 0; };
    const auto count = static_cast<std::size_t>(std::ranges::count_if(rows, isSelected));
    if (count == size()) return;

    KzDxAttributeTable selected;
    selected.reserve(count);
    for (std::size_t i = 0; i < size(); ++i) {
        if (!isSelected(rows[i])) continue;
        selected.add(name(i), 0);
        selected.entry(selected.size() - 1) = std::move(entry(i));
    }
    *this = std::move(selected);
}

void KzDxAttributeTable::reserve(std::size_t count) {
    if (count == 0) return;
    contents().rows.reserve(count);
    contents().index.reserve(count);
}

KzDxAttributeTable::Contents& KzDxAttributeTable::contents() {
    if (!contents_) contents_ = std::make_unique<Contents>();
    return *contents_;
}
