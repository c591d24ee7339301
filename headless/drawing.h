#pragma once

#include "headless/block_table.h"
#include "headless/record.h"

#include <string_view>
#include <vector>

namespace Headless {

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
        const std::uint64_t end = objectTable.lastId().value();
        for (std::uint64_t at = tableId_.value(); at <= end; ++at) {
            Object* const object = objectTable.find(KzDbObjectId(at));
            if (object != nullptr && &object->drawing() == this) call(*object);
        }
    }

    /// Lets every object say goodbye and leave memory, in order of creation. Then the records of other
    /// drawings that stand for this one do so no longer.
    void takeLeave();

    /// Stands around an edit: the drawing cannot be closed from inside one.
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
    std::vector<KzDbObjectId> standIns_; // records of other drawings that stand for this one, or did
    int edits_ = 0;
};

} // namespace Headless
