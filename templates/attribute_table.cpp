#include "templates/attribute_table.h"

#include "templates/limits.h"

#include <algorithm>
#include <cassert>
#include <utility>

bool KzDxAttributeTable::add(std::u16string_view name, std::int32_t flag) {
    const KzDxHashedName key(name);
    auto& [names, rows, index] = contents();
    // The index first, which knows whether the name is there. It asks for names of rows before this one only.
    // When memory runs out below, it keeps a position without a row, and the table cannot be used any more:
    // whoever reads a template throws all of it away then.
    if (!index.add(key, rows.size(), nameAt())) return false;
    // The first name tells how long the others are likely to be, and the rows how many were announced.
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

// A row knows where its name ends; it begins where the one before ends.
std::u16string_view KzDxAttributeTable::name(std::size_t position) const {
    assert(position < size());
    const auto& rows = contents_->rows;
    const auto begin = position == 0 ? 0 : rows[position - 1].nameEnd;
    return std::u16string_view(contents_->names).substr(begin, rows[position].nameEnd - begin);
}

KzDxHashedName KzDxAttributeTable::hashedName(std::size_t position) const {
    return {name(position), contents_->rows[position].hash};
}

// Builds the table anew, since the positions change and with them the whole index. When all are selected
// nothing is done.
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
        // Always new: no name stands in the table twice.
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

// Made when something first goes in.
KzDxAttributeTable::Contents& KzDxAttributeTable::contents() {
    if (!contents_) contents_ = std::make_unique<Contents>();
    return *contents_;
}
