#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// The entry of a template for one attribute of a block.
struct KzDxAttributeEntry {
    /// Two further strings, not stored; null means two empty strings, as in every entry that was read.
    std::unique_ptr<std::array<std::u16string, 2>> texts;

    std::int32_t flag = 0; ///< non-zero: the attribute is selected
};

/// The attributes of one block: names, which compare exactly (case-sensitive, NULs included), with their
/// entries, in the order in which they were appended: for a template that was read, the order of the file.
///
/// The names are stored in one string, because a template can have a million of them. References to
/// names and entries are valid until the table changes.
class KzDxAttributeTable {
public:
    /// Appends an attribute with that flag. Its name may repeat an earlier one; `removeRepeated` removes
    /// repeated names, so that each name occurs once, as in every template.
    void append(std::u16string_view name, std::int32_t flag);

    [[nodiscard]] std::size_t size() const { return contents_ ? contents_->rows.size() : 0; }

    /// REQUIRES: position < size()
    [[nodiscard]] std::u16string_view name(std::size_t position) const;
    [[nodiscard]] const KzDxAttributeEntry& entry(std::size_t position) const {
        return contents_->rows[position].entry;
    }
    [[nodiscard]] KzDxAttributeEntry& entry(std::size_t position) { return contents_->rows[position].entry; }

    /// The first attribute whose name repeats an earlier one; none if all names differ.
    [[nodiscard]] std::optional<std::size_t> firstRepeated() const;

    /// Removes every attribute whose name repeats an earlier one. The others keep their order.
    void removeRepeated();

    /// Removes every attribute whose flag is 0. The others keep their order.
    void removeUnselected();

private:
    struct Row {
        KzDxAttributeEntry entry;
        std::size_t nameEnd; // in names; the name begins where the previous one ends
    };

    struct Contents {
        std::u16string names;
        std::vector<Row> rows;
    };

    Contents& contents();
    [[nodiscard]] std::vector<std::size_t> repeated() const;
    void removeIf(auto isRemoved);

    std::unique_ptr<Contents> contents_; // null if empty: many blocks have no attributes
};
