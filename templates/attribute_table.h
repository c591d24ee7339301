#pragma once

#include "templates/name_index.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

/// What a template records about one attribute of a block.
struct KzDxAttributeEntry {
    /// Two further strings, not stored; null stands for two empty ones, as in every entry that was read.
    std::unique_ptr<std::array<std::u16string, 2>> texts;

    std::int32_t flag = 0; ///< non-zero: the attribute is selected
};

/// The attributes of one block: names that compare exactly (case-sensitive, NULs included), each once, with
/// its entry. Their order is that in which they were added, which for a template that was read is the file's.
///
/// The names stand one behind the other in a single text: a template has a million of them. Names and entries
/// that are given out are borrowed, until the table changes.
class KzDxAttributeTable {
public:
    static constexpr std::size_t none = KzDxNameIndex::none;

    /// Adds an attribute with that flag, and gives true. Gives false and changes nothing when the name is
    /// there.
    bool add(std::u16string_view name, std::int32_t flag);

    /// The position of the name, or none.
    [[nodiscard]] std::size_t find(std::u16string_view name) const;

    [[nodiscard]] std::size_t size() const { return contents_ ? contents_->rows.size() : 0; }

    /// REQUIRES: position < size()
    [[nodiscard]] std::u16string_view name(std::size_t position) const;
    [[nodiscard]] KzDxHashedName hashedName(std::size_t position) const;
    [[nodiscard]] const KzDxAttributeEntry& entry(std::size_t position) const {
        return contents_->rows[position].entry;
    }
    [[nodiscard]] KzDxAttributeEntry& entry(std::size_t position) { return contents_->rows[position].entry; }

    /// Removes every attribute whose flag is 0; the rest keep their order.
    void removeUnselected();

    /// Makes room for that many attributes in all.
    void reserve(std::size_t count);

private:
    struct Row {
        [[no_unique_address]] KzDxAttributeEntry entry; // so that the hash fills its padding
        std::uint32_t hash;
        std::size_t nameEnd; // in names; the name begins where the previous one ends
    };

    struct Contents {
        std::u16string names;
        std::vector<Row> rows;
        KzDxNameIndex index;
    };

    Contents& contents();
    [[nodiscard]] auto nameAt() const {
        return [this](std::size_t position) { return name(position); };
    }

    std::unique_ptr<Contents> contents_; // null while empty, as in the many blocks without attributes
};
