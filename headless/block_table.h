#pragma once

#include "headless/object.h"
#include "host/block_table.h"

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace Headless {

class Record;

inline constexpr std::u16string_view modelSpaceName = u"*Model_Space";

/// The block table of one drawing: its records in the order of their making, and found by name. A name stays
/// taken while its record is erased, because the erasure can be taken back.
class BlockTable final : public ObjectOf<KzDbBlockTable> {
public:
    static constexpr Kind ownKind = Kind::table;

    explicit BlockTable(Drawing& drawing) : ObjectOf(ownKind, drawing, KzDbObjectId()) {}

    [[nodiscard]] const std::vector<KzDbObjectId>& records() const { return records_; }
    /// The record of that name, erased or not; null when there is none.
    [[nodiscard]] KzDbObjectId named(std::u16string_view name) const;
    [[nodiscard]] KzDbObjectId modelSpace() const { return modelSpace_; }
    /// The first of the names "*U1", "*U2" and so on that is free and was not given before.
    [[nodiscard]] std::u16string nextAnonymousName();

    void add(const Record& record);
    void rename(Record& record, std::u16string_view name);

    // What modules see.
    Orvo::ErrorStatus getAt(const char16_t* name, KzDbObjectId& id, bool) const override;
    Orvo::ErrorStatus newIterator(KzDbBlockTableIterator*& iterator, bool, bool) const override;

private:
    void noteModelSpace();

    std::vector<KzDbObjectId> records_;
    std::unordered_map<std::u16string, KzDbObjectId> byName_;
    KzDbObjectId modelSpace_; // by name, kept because it is asked for with every reference
    unsigned anonymousNames_ = 0;
};

} // namespace Headless
