#include "benchmarks/host_calls.h"

#include "benchmarks/measuring.h"
#include "headless/inspection.h"
#include "zelvane/block_table_walk.h"
#include "zelvane/opened.h"

#include <algorithm>
#include <iterator>
#include <numeric>
#include <utility>

namespace Bench {

namespace {

using KzDb::OpenMode;

template <class T>
void registerReactor(KzDbObjectId id, KzDbObjectReactor* reactor) {
    if (!id.isValid() || id.isErased() || id.isEffectivelyErased()) return;
    Zelvane::Opened<T>(id, OpenMode::forNotify, true)->addReactor(reactor);
}

void unregisterReactor(KzDbObjectId id, KzDbObjectReactor* reactor) {
    Zelvane::Opened<KzDbObject>(id, OpenMode::forNotify, true)->removeReactor(reactor);
}

void forEachAttribute(const KzDbBlockReference& reference, auto visit) {
    const std::unique_ptr<KzDbObjectIterator> attributes(reference.attributeIterator());
    for (; attributes != nullptr && !attributes->done(); attributes->step(false, true)) {
        visit(attributes->objectId());
    }
}

void registerWithReference(KzDbObjectId id, KzDbObjectReactor* reactor, bool asksOwner) {
    const Zelvane::Opened<KzDbBlockReference> reference(id, OpenMode::forNotify, true);
    if (asksOwner) static_cast<void>(reference->ownerId());
    reference->addReactor(reactor);
    forEachAttribute(*reference.get(), [&](KzDbObjectId it) { registerReactor<KzDbAttribute>(it, reactor); });
}

void unregisterFromReference(KzDbObjectId id, KzDbObjectReactor* reactor) {
    const Zelvane::Opened<KzDbBlockReference> reference(id, OpenMode::forNotify, true);
    reference->removeReactor(reactor);
    forEachAttribute(*reference.get(), [&](KzDbObjectId it) { unregisterReactor(it, reactor); });
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
    Zelvane::forEachRecordId(document_->drawing(), [](KzDbObjectId id) {
        const Zelvane::Opened<KzDbBlockTableRecord> record(id);
        static_cast<void>(record->isLayout());
        static_cast<void>(record->isAnonymous());
        return true;
    });
    for (const Block& block : blocks_) readBlock(block);
}

void HostCalls::readBlock(KzDbObjectId record) {
    readBlock(*std::ranges::lower_bound(blocks_, record, {}, &Block::record));
}

void HostCalls::walkTable() const {
    Zelvane::forEachRecordId(document_->drawing(), [](KzDbObjectId) { return true; });
}

void HostCalls::askForReferences(KzDbObjectId id) {
    const Zelvane::Opened<KzDbBlockTableRecord> record(id);
    record->getBlockReferenceIds(references_, true, true);
    record->getErasedBlockReferenceIds(references_);
}

void HostCalls::readBlock(const Block& block) {
    static_cast<void>(block.record.isErased());
    references_.clear();
    askForReferences(block.record);
    for (const KzDbObjectId container : block.containers) {
        static_cast<void>(container.isValid());
        static_cast<void>(container.database());
    }
    for (const KzDbObjectId reference : references_) {
        static_cast<void>(Zelvane::Opened<KzDbBlockReference>(reference, OpenMode::forRead, true)->ownerId());
    }
}

void HostCalls::listReferences(bool remembers) {
    references_.clear();
    for (const Block& block : blocks_) askForReferences(block.record);
    if (remembers) copy_.assign(references_.begin(), references_.end());
    require(std::ranges::equal(references_, copy_), "the lists of references are as before");
}

void HostCalls::registerReactors(bool asksOwners) {
    const Zelvane::Opened<KzDbBlockTable> table(table_, OpenMode::forNotify);
    table->addReactor(&tableReactor_);
    for (const Block& block : blocks_) {
        for (const KzDbObjectId reference : block.references) {
            registerWithReference(reference, block.reactor.get(), asksOwners);
        }
        registerReactor<KzDbBlockTableRecord>(block.record, block.reactor.get());
    }
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
    const auto count = [](std::size_t sum, const Block& block) { return sum + block.containers.size(); };
    return std::accumulate(blocks_.begin(), blocks_.end(), std::size_t{0}, count);
}

} // namespace Bench
