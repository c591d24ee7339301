#pragma once

#include "headless/record.h"

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace Headless {

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

/// A drawing: the owner of its objects, which are found through the table of all objects.
class Drawing final : public KzDbDatabase {
public:
    Drawing();
    ~Drawing() override;

    [[nodiscard]] KzDbObjectId blockTableId() const override { return tableId_; }
    /// Null while the drawing takes its leave.
    [[nodiscard]] BlockTable* table() const { return findAs<BlockTable>(tableId_); }

    /// Makes a record at the end of the table, without telling anybody.
    Record& addRecord(std::u16string_view name, const Record::Origin& origin);

    /// Calls `call(object)` for each object in order of creation. `call` may let objects leave memory.
    template <class Call>
    void forEachObject(Call call) const {
        objectTable.forEach(tableId_, [this, &call](Object& object) {
            if (&object.drawing() == this) call(object);
        });
    }

    /// Lets every object say goodbye and leave memory, in order of creation. Then the records of other
    /// drawings that stand for this one do so no longer.
    void destroyObjects();

    /// Scope of an edit: the drawing cannot be closed during an edit.
    class Editing {
    public:
        explicit Editing(Drawing& drawing) : drawing_(drawing) { ++drawing_.edits_; }
        Editing(const Editing&) = delete;
        Editing& operator=(const Editing&) = delete;
        ~Editing() { --drawing_.edits_; }

    private:
        Drawing& drawing_;
    };
    [[nodiscard]] bool isBeingEdited() const { return edits_ != 0; }

private:
    KzDbObjectId tableId_;
    std::vector<KzDbObjectId> xrefRecords_; // records of other drawings that stand for this one, or did
    int edits_ = 0;
};

} // namespace Headless
