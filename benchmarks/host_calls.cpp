#include "benchmarks/host_calls.h"

#include "benchmarks/comparison.h"
#include "blocks/block_graph.h"
#include "blocks/block_node.h"

#include <algorithm>

namespace Bench {

namespace {

using KzDb::OpenMode;

/// Null when it does not open.
template <class T>
T* opened(KzDbObjectId id, OpenMode mode, const KzRxClass* expected, bool openErased) {
    KzDbObject* object = nullptr;
    kzdbOpenKzDbObject(object, id, mode, expected, openErased);
    return static_cast<T*>(object);
}

/// What has no id would have to be deleted instead, so everybody has to ask.
void close(KzDbObject* object) {
    require(!object->objectId().isNull(), "what was opened is in the drawing");
    object->close();
}

void readReference(KzDbObjectId id, const KzRxClass* expected) {
    auto* const reference = opened<KzDbBlockReference>(id, OpenMode::forRead, expected, true);
    static_cast<void>(reference->ownerId());
    close(reference);
}

} // namespace

BareReading::BareReading(const KzDbDatabase& drawing, const KzDxBlocks& graph) : drawing_(drawing) {
    for (const auto& [id, node] : graph.blockMap()) {
        Block block{.record = id, .containers = {}};
        for (const KzDxContainers::Entry& entry : node->containers()) {
            block.containers.push_back(entry.container);
        }
        blocks_.push_back(std::move(block));
    }
}

void BareReading::run() {
    walkTable();
    for (const Block& block : blocks_) readBlock(block);
}

void BareReading::walkTable() const {
    auto* const table =
        opened<KzDbBlockTable>(drawing_.blockTableId(), OpenMode::forRead, KzDbBlockTable::desc(), false);
    KzDbBlockTableIterator* made = nullptr;
    table->newIterator(made, true, true);
    const std::unique_ptr<KzDbBlockTableIterator> records(made);
    const KzRxClass* const expected = KzDbBlockTableRecord::desc();
    for (records->start(true, true); !records->done(); records->step(true, true)) {
        KzDbObjectId id;
        records->getRecordId(id);
        auto* const record = opened<KzDbBlockTableRecord>(id, OpenMode::forRead, expected, false);
        static_cast<void>(record->isLayout());
        static_cast<void>(record->isAnonymous());
        close(record);
    }
    close(table);
}

void BareReading::readBlock(const Block& block) {
    static_cast<void>(block.record.isErased());
    auto* const record =
        opened<KzDbBlockTableRecord>(block.record, OpenMode::forRead, KzDbBlockTableRecord::desc(), false);
    references_.clear();
    record->getBlockReferenceIds(references_, true, true);
    record->getErasedBlockReferenceIds(references_);
    close(record);
    for (const KzDbObjectId container : block.containers) {
        static_cast<void>(container.isValid());
        static_cast<void>(container.database());
    }
    const KzRxClass* const expected = KzDbBlockReference::desc();
    for (const KzDbObjectId reference : references_) readReference(reference, expected);
}

void BareReading::readBlock(KzDbObjectId record) {
    for (const Block& block : blocks_) {
        if (block.record == record) return readBlock(block);
    }
}

BareListing::BareListing(const KzDxBlocks& graph) {
    for (const auto& [id, node] : graph.blockMap()) records_.push_back(id);
    refresh();
}

void BareListing::list() {
    references_.clear();
    const KzRxClass* const expected = KzDbBlockTableRecord::desc();
    for (const KzDbObjectId id : records_) {
        auto* const record = opened<KzDbBlockTableRecord>(id, OpenMode::forRead, expected, false);
        record->getBlockReferenceIds(references_, true, true);
        record->getErasedBlockReferenceIds(references_);
        close(record);
    }
}

void BareListing::refresh() {
    list();
    copy_.assign(references_.begin(), references_.end());
}

void BareListing::run() {
    list();
    require(std::ranges::equal(references_, copy_), "nothing has come or gone");
}

BareRegistering::BareRegistering(const KzDbDatabase& drawing, const KzDxBlocks& graph, bool asksOwners)
    : table_(drawing.blockTableId()), asksOwners_(asksOwners) {
    for (const auto& [id, node] : graph.blockMap()) {
        Block block{.record = id, .references = {}, .reactor = std::make_unique<KzDbObjectReactor>()};
        node->containers().forEachPlaced(
            [&](KzDbObjectId reference) { block.references.push_back(reference); });
        blocks_.push_back(std::move(block));
    }
}

void BareRegistering::run() {
    auto* const table = opened<KzDbBlockTable>(table_, OpenMode::forNotify, KzDbBlockTable::desc(), false);
    table->addReactor(&tableReactor_);
    for (const Block& block : blocks_) {
        for (const KzDbObjectId id : block.references) watchReference(id, block.reactor.get());
        watchRecord(block.record, block.reactor.get());
    }
    close(table);
}

void BareRegistering::watchReference(KzDbObjectId id, KzDbObjectReactor* reactor) const {
    auto* const reference = opened<KzDbBlockReference>(id, OpenMode::forNotify, referenceClass_, true);
    if (asksOwners_) static_cast<void>(reference->ownerId());
    reference->addReactor(reactor);
    const std::unique_ptr<KzDbObjectIterator> attributes(reference->attributeIterator());
    for (; attributes != nullptr && !attributes->done(); attributes->step(false, true)) {
        const KzDbObjectId attributeId = attributes->objectId();
        if (!attributeId.isValid() || attributeId.isErased() || attributeId.isEffectivelyErased()) continue;
        auto* const attribute =
            opened<KzDbAttribute>(attributeId, OpenMode::forNotify, attributeClass_, true);
        attribute->addReactor(reactor);
        close(attribute);
    }
    close(reference);
}

void BareRegistering::watchRecord(KzDbObjectId id, KzDbObjectReactor* reactor) {
    if (!id.isValid() || id.isErased() || id.isEffectivelyErased()) return;
    auto* const record =
        opened<KzDbBlockTableRecord>(id, OpenMode::forNotify, KzDbBlockTableRecord::desc(), false);
    record->addReactor(reactor);
    close(record);
}

namespace {

void leave(KzDbObjectId id, KzDbObjectReactor* reactor) {
    auto* const object = opened<KzDbObject>(id, OpenMode::forNotify, KzDbObject::desc(), true);
    object->removeReactor(reactor);
    close(object);
}

void leaveAttributes(KzDbObjectId id, KzDbObjectReactor* reactor) {
    auto* const reference =
        opened<KzDbBlockReference>(id, OpenMode::forRead, KzDbBlockReference::desc(), true);
    const std::unique_ptr<KzDbObjectIterator> attributes(reference->attributeIterator());
    for (; attributes != nullptr && !attributes->done(); attributes->step(false, true)) {
        leave(attributes->objectId(), reactor);
    }
    close(reference);
}

} // namespace

void BareRegistering::undo() {
    leave(table_, &tableReactor_);
    for (const Block& block : blocks_) {
        for (const KzDbObjectId id : block.references) {
            leave(id, block.reactor.get());
            leaveAttributes(id, block.reactor.get());
        }
        leave(block.record, block.reactor.get());
    }
}

} // namespace Bench
