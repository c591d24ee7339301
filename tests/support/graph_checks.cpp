#include "tests/support/graph_checks.h"

#include "blocks/block_node.h"
#include "frame/application.h"
#include "headless/inspection.h"
#include "text/unicode.h"

#include <algorithm>

namespace {

/// The references of a block in a container. Erased ones of a representation are left out: they count
/// only once the graph knows the representation, by a live one.
std::string referencesIn(const KzDxContainers& containers, KzDbObjectId container, KzDbObjectId block) {
    std::string found;
    for (const KzDbObjectId reference : containers.referencesIn(container)) {
        if (!reference.isErased() || Headless::blockOf(reference) == block)
            found += ' ' + std::to_string(reference.value());
    }
    return found;
}

/// Where a block is placed: containers with their references.
std::string placesOf(const KzDxBlocks& graph, KzDbObjectId block) {
    std::string places;
    const KzDxBlock* const node = graph.node(block);
    if (node == nullptr) return places;
    for (const KzDxContainers::Entry& entry : node->containers()) {
        const std::string references = referencesIn(node->containers(), entry.container, block);
        if (!references.empty())
            places += " in " + std::to_string(entry.container.value()) + ':' + references;
    }
    return places;
}

} // namespace

KzDxBlocks& graphOf(KzApDocument* document) {
    return *KzDxApplication::instance()->docData(document, true)->blocks();
}

OwnedGraph freshGraph(KzDxDocument& record) {
    KzDxBlocks* graph = nullptr;
    KzDxBlocks::create(graph, &record);
    return OwnedGraph(graph);
}

std::string difference(const KzDxBlocks& graph, const KzDxBlocks& fresh) {
    for (const auto& [block, node] : fresh.blockMap()) {
        if (block.isErased() || isRepresentation(block)) continue;
        const std::string places = placesOf(graph, block);
        const std::string freshPlaces = placesOf(fresh, block);
        if (places == freshPlaces) continue;
        std::string found = Text::toUtf8(Headless::recordName(block));
        found.append(" is placed").append(places).append("; afresh").append(freshPlaces);
        return found;
    }
    return {};
}

bool isRepresentation(KzDbObjectId record) {
    const std::u16string name = Headless::recordName(record);
    return name.starts_with(u"*E") || name.starts_with(u"*U");
}

std::vector<std::uint64_t> factsOf(const KzDxBlocks& graph, const std::vector<KzDbObjectId>& objects) {
    std::vector<std::uint64_t> facts;
    const auto add = [&facts](KzDbObjectId id) { facts.push_back(id.value()); };
    for (const KzDbObjectId layout : graph.layoutIds()) add(layout);
    for (const auto& [key, node] : graph.blockMap()) {
        add(key);
        add(node->id());
        facts.push_back(node->hasChanges() ? 1 : 0);
        for (const KzDbObjectId record : node->recordIds()) add(record);
        for (const KzDxContainers::Entry& entry : node->containers()) {
            add(entry.container);
            for (const KzDbObjectId reference : node->containers().referencesIn(entry.container))
                add(reference);
        }
    }
    for (const KzDbObjectId object : objects) facts.push_back(Headless::reactorCount(object));
    return facts;
}

bool isUpdateComplete(KzDxBlocks& graph, bool notify, const std::vector<KzDbObjectId>& objects) {
    graph.update(false, notify);
    const std::vector<std::uint64_t> facts = factsOf(graph, objects);
    const auto isMarked = [](const auto& node) { return node->needsScan(); };
    if (graph.needsScan() || std::ranges::any_of(graph.nodes(), isMarked)) return false;
    return graph.scanBlockTable() == Orvo::ok && factsOf(graph, objects) == facts;
}
