#pragma once

#include "headless/record.h"

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace Headless {

inline constexpr std::u16string_view modelSpaceName = u"*Model_Space";

/// The block table of one drawing: its records in order of creation, with an index by name. The name of an
/// erased record stays taken, because the record can be unerased.
class BlockTable final : public ObjectOf<KzDbBlockTable> {
public:
    static constexpr Kind ownKind = Kind::table;

    explicit BlockTable(Drawing& drawing) : ObjectOf(ownKind, drawing, KzDbObjectId()) {}

    [[nodiscard]] const std::vector<KzDbObjectId>& records() const { return records_; }
    /// The record of that name, erased or not; null if there is none.
    [[nodiscard]] KzDbObjectId named(std::u16string_view name) const;
    [[nodiscard]] KzDbObjectId modelSpace() const { return modelSpace_; }
    /// The first of the names "*U1", "*U2" and so on that is free and was not returned before.
    [[nodiscard]] std::u16string nextAnonymousName();

    void add(const Record& record);
    void rename(Record& record, std::u16string_view name);

    // The interface for modules.
    Orvo::ErrorStatus getAt(const char16_t* name, KzDbObjectId& id, bool) const override;
    Orvo::ErrorStatus newIterator(KzDbBlockTableIterator*& iterator, bool, bool) const override;

private:
    void updateModelSpace();

    std::vector<KzDbObjectId> records_;
    std::unordered_map<std::u16string, KzDbObjectId> byName_;
    KzDbObjectId modelSpace_; // the record of that name; cached, because modules query it for every reference
    unsigned anonymousNames_ = 0;
};

/// A drawing. Owns its objects, which are found through `objectTable`.
class Drawing final : public KzDbDatabase {
public:
    Drawing();
    ~Drawing() override;

    [[nodiscard]] KzDbObjectId blockTableId() const override { return tableId_; }
    /// Null after `destroyObjects` has destroyed the block table.
    [[nodiscard]] BlockTable* table() const { return findAs<BlockTable>(tableId_); }

    /// Adds a record at the end of the table, without notifications.
    Record& addRecord(std::u16string_view name, const Record::Origin& origin);

    /// Calls `call(object)` for each object in order of creation. `call` may remove objects from memory.
    template <class Call>
    void forEachObject(Call call) const {
        objectTable.forEach(tableId_, [this, &call](Object& object) {
            if (&object.drawing() == this) call(object);
        });
    }

    /// Notifies the reactors of every object by `goodbye` and removes the object from memory, in order of
    /// creation. Then disconnects the records of other drawings to which this drawing is attached.
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
    std::vector<KzDbObjectId> xrefRecords_; // records that represent this drawing elsewhere
    int edits_ = 0;
};

} // namespace Headless
