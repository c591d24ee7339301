#include "blocks/update_check.h"

#ifdef ZELVANE_CHECK_UPDATES

#include "blocks/block_graph.h"
#include "blocks/block_node.h"
#include "host/enhanced_block.h"
#include "host/symbol_utilities.h"
#include "zelvane/opened.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>

namespace {

using Ids = std::vector<KzDbObjectId>;

std::string nameOf(KzDbObjectId id) {
    std::string name = std::to_string(id.value());
    const Zelvane::Opened<KzDbBlockTableRecord> record(id, KzDb::OpenMode::forRead, true);
    const char16_t* text = nullptr;
    if (!record || record->getName(text) != Orvo::ok) return name;
    name += " \"";
    for (const char16_t unit : std::u16string_view(text)) name += static_cast<char>(unit); // tests use ASCII
    return name + '"';
}

std::string listed(const std::map<KzDbObjectId, KzDbObjectId>& references) {
    std::string text;
    for (const auto& [reference, container] : references) {
        text += " " + std::to_string(reference.value()) + " in " + nameOf(container) + ",";
    }
    return text.empty() ? " nothing" : text;
}

/// The block that an anonymous record represents; the record itself if it represents none.
KzDbObjectId keyOf(const KzDbBlockTableRecord& record) {
    const KzDbObjectId own = record.objectId();
    if (!record.isAnonymous()) return own;
    KzDbObjectIdArray references;
    static_cast<void>(record.getBlockReferenceIds(references, true, true));
    for (const KzDbObjectId each : references) {
        const Zelvane::Opened<KzDbBlockReference> reference(each);
        KzRxObject* const found = reference ? reference->queryX(KzDbBlockRepresentation::desc()) : nullptr;
        if (found == nullptr || !found->isA()->isDerivedFrom(KzDbBlockRepresentation::desc())) continue;
        const KzDbObjectId block =
            static_cast<KzDbBlockRepresentation*>(found)->originalBlockTableRecord(reference.get());
        return block.isNull() ? own : block;
    }
    return own;
}

bool isListed(KzDbObjectId record, const KzDxBlock& node) {
    return std::ranges::find(node.recordIds(), record) != node.recordIds().end();
}

[[noreturn]] void fail(KzDbObjectId record, const std::string& what) {
    const std::string subject = record.isNull() ? "the graph" : nameOf(record);
    std::fprintf(stderr, "update check failed: %s %s\n", subject.c_str(), what.c_str());
    std::abort();
}

/// Adds the references that a record reports. Returns whether the record can be read.
bool collect(KzDbObjectId id, KzDbObjectIdArray& references) {
    const Zelvane::Opened<KzDbBlockTableRecord> record(id);
    return record && record->getBlockReferenceIds(references, true, true) == Orvo::ok &&
           record->getErasedBlockReferenceIds(references) == Orvo::ok;
}

/// Whether a node can be created for a record that is open: those that represent it can be read.
bool canHaveNode(KzDbObjectId id) {
    KzRxObject* const found = KzDbBlockReference::desc()->queryX(KzDbBlockRepresentation::desc());
    const auto* const protocol = static_cast<const KzDbBlockRepresentation*>(found);
    KzDbObjectIdArray representations;
    if (found != nullptr) static_cast<void>(protocol->getRepresentations(id, representations));
    KzDbObjectIdArray references;
    return std::ranges::all_of(
        representations, [&](KzDbObjectId each) { return each.isErased() || collect(each, references); });
}

} // namespace

KzDxUpdateCheck::KzDxUpdateCheck(KzDxBlocks& graph)
    : graph_(graph), isActive_(pauses_ == 0 && graph.database() != nullptr) {
    if (!isActive_) return;
    for (const auto& node : graph_.nodes()) {
        before_[node.get()] = {.references = referencesOf(*node),
                               .hasChanges = node->hasChanges(),
                               .isInitial = node->readLevel() == KzDxReadLevel::initial};
    }
    for (const auto& [key, node] : graph_.blockMap()) keysBefore_.insert(key);
}

void KzDxUpdateCheck::compare() {
    if (!isActive_) return;
    if (graph_.needsScan()) fail({}, "needs a scan after a scan");
    walkTable();
    if (!std::ranges::equal(layouts_, graph_.layoutIds())) fail({}, "has other layouts");
    for (const auto& [record, node] : reached_) compareNode(*node);
    for (const auto& node : graph_.nodes()) {
        if (node->needsScan()) fail(node->id(), "needs a scan after a scan");
        const bool isNew = !before_.contains(node.get()) || before_[node.get()].isInitial;
        const bool isReached = isNew || reached_.contains(node->id());
        const bool isSame = isReached || before_[node.get()].references == referencesOf(*node);
        if (!isSame) fail(node->id(), "was read although no record leads to it");
    }
    for (const auto& [key, node] : graph_.blockMap()) {
        if (!isListed(key, *node)) fail(key, "is the key of a node that does not list it");
    }
    compareNesting();
}

KzDxUpdateCheck::References KzDxUpdateCheck::referencesOf(const KzDxBlock& node) {
    References all;
    const KzDxContainers& containers = node.containers();
    const Ids entries = [&] {
        Ids ids;
        for (const KzDxContainers::Entry& entry : containers) ids.push_back(entry.container);
        return ids;
    }();
    for (std::size_t at = 0; at < containers.references().size(); ++at) {
        const std::uint32_t number = containers.numbers()[at];
        if (number != KzDxContainers::noContainer) all[containers.references()[at]] = entries[number];
    }
    return all;
}

void KzDxUpdateCheck::walkTable() {
    const Zelvane::Opened<KzDbBlockTable> table(graph_.database()->blockTableId());
    if (!table) return;
    KzDbBlockTableIterator* made = nullptr;
    if (table->newIterator(made, true, true) != Orvo::ok) return;
    const std::unique_ptr<KzDbBlockTableIterator> each(made);
    for (each->start(true, true); !each->done(); each->step(true, true)) {
        KzDbObjectId id;
        if (each->getRecordId(id) == Orvo::ok) visit(id);
    }
}

void KzDxUpdateCheck::visit(KzDbObjectId id) {
    const Zelvane::Opened<KzDbBlockTableRecord> record(id);
    if (!record) return;
    if (record->isLayout()) layouts_.push_back(id);
    const KzDbObjectId key = keyOf(*record);
    // A record that represents a block without a node keeps its own node, if it has one, but does not lead to
    // it.
    if (!keysBefore_.contains(key) && keysBefore_.contains(id)) return;
    KzDxBlock* const node = graph_.node(keysBefore_.contains(key) ? key : id);
    if (node == nullptr) {
        if (canHaveNode(id)) fail(id, "has no node");
        return;
    }
    if (!isListed(id, *node)) fail(id, "is not listed by the node that it leads to");
    reached_[node->id()] = node;
}

void KzDxUpdateCheck::compareNode(KzDxBlock& node) {
    const Reading now = read(node);
    if (!now.isComplete) return;
    const References stored = referencesOf(node);
    if (stored != now.placed) {
        fail(node.id(), "has stored" + listed(stored) + " but the drawing has" + listed(now.placed));
    }
    compareMark(node, before_[&node], now);
}

/// A node has changed if a reference or a container was added or removed. An unreadable reference is not a
/// change.
void KzDxUpdateCheck::compareMark(const KzDxBlock& node, const State& before, const Reading& now) {
    std::set<KzDbObjectId> containersBefore;
    std::set<KzDbObjectId> containersNow;
    bool isChanged = before.hasChanges;
    for (const auto& [reference, container] : before.references) {
        containersBefore.insert(container);
        isChanged |= !now.reported.contains(reference);
    }
    for (const auto& [reference, container] : now.placed) {
        containersNow.insert(container);
        isChanged |= !before.references.contains(reference);
    }
    isChanged |= containersBefore != containersNow;
    if (node.hasChanges() == isChanged) return;
    fail(node.id(), std::string(isChanged ? "is not marked" : "is marked") +
                        " as changed; before:" + listed(before.references) + " now:" + listed(now.placed));
}

void KzDxUpdateCheck::compareNesting() {
    std::map<KzDbObjectId, std::set<KzDbObjectId>> inside;
    for (const auto& node : graph_.nodes()) {
        for (const KzDxContainers::Entry& entry : node->containers()) {
            if (entry.container != node->id()) inside[entry.container].insert(node->id());
        }
        inside[node->id()];
    }
    for (const auto& [container, nodes] : inside) {
        KzDxIdSet found;
        static_cast<void>(graph_.getNestedBlocks(container, false, found));
        if (!std::ranges::equal(found, nodes)) fail(container, "contains other blocks than the nodes report");
    }
}

KzDxUpdateCheck::Reading KzDxUpdateCheck::read(const KzDxBlock& node) {
    Reading reading;
    KzDbObjectIdArray reported;
    for (const KzDbObjectId id : node.recordIds()) {
        if (!id.isErased() && !collect(id, reported)) reading.isComplete = false;
    }
    reading.reported.insert(reported.begin(), reported.end());
    for (const KzDbObjectId reference : reading.reported) place(reading, reference);
    return reading;
}

void KzDxUpdateCheck::place(Reading& reading, KzDbObjectId reference) {
    const Zelvane::Opened<KzDbBlockReference> opened(reference, KzDb::OpenMode::forRead, true);
    if (!opened) return;
    const KzDbObjectId container = containerOf(opened->ownerId());
    if (container.isValid()) reading.placed[reference] = container;
}

KzDbObjectId KzDxUpdateCheck::containerOf(KzDbObjectId owner) {
    const KzDbDatabase* const drawing = owner.database();
    if (drawing == nullptr || drawing == graph_.database()) return owner;
    const auto [at, isNew] = translated_.try_emplace(owner, owner);
    const bool isModelSpace =
        isNew && KzDbSymbolUtilities::servicesPtr106()->modelSpaceRecordId(drawing) == owner;
    if (isModelSpace) at->second = graph_.xrefBlockOf(owner);
    return at->second;
}

#endif
