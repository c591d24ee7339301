#include "benchmarks/host_calls.h"

#include "benchmarks/measuring.h"
#include "headless/inspection.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace Bench {

namespace {

using KzDb::OpenMode;

/// Null when it cannot be opened.
template <class T>
T* opened(KzDbObjectId id, OpenMode mode, bool openErased) {
    KzDbObject* object = nullptr;
    kzdbOpenKzDbObject(object, id, mode, T::desc(), openErased);
    return static_cast<T*>(object);
}

/// An object without an id would have to be deleted instead, so each client has to ask.
void close(KzDbObject* object) {
    require(!object->objectId().isNull(), "an opened object is in the drawing");
    object->close();
}

void forEachRecord(KzDbObjectId tableId, auto visit) {
    auto* const table = opened<KzDbBlockTable>(tableId, OpenMode::forRead, false);
    KzDbBlockTableIterator* made = nullptr;
    table->newIterator(made, true, true);
    const std::unique_ptr<KzDbBlockTableIterator> records(made);
    for (records->start(true, true); !records->done(); records->step(true, true)) {
        KzDbObjectId id;
        records->getRecordId(id);
        visit(id);
    }
    close(table);
}

void readReference(KzDbObjectId id) {
    auto* const reference = opened<KzDbBlockReference>(id, OpenMode::forRead, true);
    static_cast<void>(reference->ownerId());
    close(reference);
}

bool isUsable(KzDbObjectId id) {
    return id.isValid() && !id.isErased() && !id.isEffectivelyErased();
}

template <class T>
void registerReactor(KzDbObjectId id, KzDbObjectReactor* reactor) {
    if (!isUsable(id)) return;
    auto* const object = opened<T>(id, OpenMode::forNotify, true);
    object->addReactor(reactor);
    close(object);
}

void unregisterReactor(KzDbObjectId id, KzDbObjectReactor* reactor) {
    auto* const object = opened<KzDbObject>(id, OpenMode::forNotify, true);
    object->removeReactor(reactor);
    close(object);
}

void forEachAttribute(const KzDbBlockReference& reference, auto visit) {
    const std::unique_ptr<KzDbObjectIterator> attributes(reference.attributeIterator());
    for (; attributes != nullptr && !attributes->done(); attributes->step(false, true)) {
        visit(attributes->objectId());
    }
}

void registerWithReference(KzDbObjectId id, KzDbObjectReactor* reactor, bool asksOwner) {
    auto* const reference = opened<KzDbBlockReference>(id, OpenMode::forNotify, true);
    if (asksOwner) static_cast<void>(reference->ownerId());
    reference->addReactor(reactor);
    forEachAttribute(*reference, [&](KzDbObjectId it) { registerReactor<KzDbAttribute>(it, reactor); });
    close(reference);
}

void unregisterFromReference(KzDbObjectId id, KzDbObjectReactor* reactor) {
    unregisterReactor(id, reactor);
    auto* const reference = opened<KzDbBlockReference>(id, OpenMode::forRead, true);
    forEachAttribute(*reference, [&](KzDbObjectId it) { unregisterReactor(it, reactor); });
    close(reference);
}

} // namespace

HostCalls::HostCalls(std::shared_ptr<const OpenDocument> document)
    : document_(std::move(document)), table_(document_->drawing().blockTableId()) {
    std::vector<KzDbObjectId> records = Headless::records(document_->get());
    std::ranges::sort(records);
    for (const KzDbObjectId record : records) {
        Block block{.record = record,
                    .references = Headless::references(record),
                    .containers = {},
                    .reactor = std::make_unique<KzDbObjectReactor>()};
        std::ranges::sort(block.references);
        std::ranges::transform(block.references, std::back_inserter(block.containers), Headless::ownerOf);
        std::ranges::sort(block.containers);
        block.containers.erase(std::unique(block.containers.begin(), block.containers.end()),
                               block.containers.end());
        block.containers.shrink_to_fit();
        blocks_.push_back(std::move(block));
    }
}

void HostCalls::readDrawing() {
    readTable();
    for (const Block& block : blocks_) readBlock(block);
}

void HostCalls::readBlock(KzDbObjectId record) {
    readBlock(*std::ranges::lower_bound(blocks_, record, {}, &Block::record));
}

void HostCalls::readTable() const {
    forEachRecord(table_, [](KzDbObjectId id) {
        auto* const record = opened<KzDbBlockTableRecord>(id, OpenMode::forRead, false);
        static_cast<void>(record->isLayout());
        static_cast<void>(record->isAnonymous());
        close(record);
    });
}

void HostCalls::walkTable() const {
    forEachRecord(table_, [](KzDbObjectId) {});
}

void HostCalls::askForReferences(KzDbObjectId id) {
    auto* const record = opened<KzDbBlockTableRecord>(id, OpenMode::forRead, false);
    record->getBlockReferenceIds(references_, true, true);
    record->getErasedBlockReferenceIds(references_);
    close(record);
}

void HostCalls::readBlock(const Block& block) {
    static_cast<void>(block.record.isErased());
    references_.clear();
    askForReferences(block.record);
    for (const KzDbObjectId container : block.containers) {
        static_cast<void>(container.isValid());
        static_cast<void>(container.database());
    }
    for (const KzDbObjectId reference : references_) readReference(reference);
}

void HostCalls::rememberReferences() {
    references_.clear();
    for (const Block& block : blocks_) askForReferences(block.record);
    copy_.assign(references_.begin(), references_.end());
}

void HostCalls::listReferences() {
    references_.clear();
    for (const Block& block : blocks_) askForReferences(block.record);
    require(std::ranges::equal(references_, copy_), "the lists of references are as before");
}

void HostCalls::registerReactors(bool asksOwners) {
    auto* const table = opened<KzDbBlockTable>(table_, OpenMode::forNotify, false);
    table->addReactor(&tableReactor_);
    for (const Block& block : blocks_) {
        for (const KzDbObjectId reference : block.references) {
            registerWithReference(reference, block.reactor.get(), asksOwners);
        }
        registerReactor<KzDbBlockTableRecord>(block.record, block.reactor.get());
    }
    close(table);
}

void HostCalls::unregisterReactors() {
    unregisterReactor(table_, &tableReactor_);
    for (const Block& block : blocks_) {
        for (const KzDbObjectId reference : block.references) {
            unregisterFromReference(reference, block.reactor.get());
        }
        unregisterReactor(block.record, block.reactor.get());
    }
}

std::size_t HostCalls::placements() const {
    std::size_t result = 0;
    for (const Block& block : blocks_) result += block.containers.size();
    return result;
}

} // namespace Bench
