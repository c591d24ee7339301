#include "tests/support/graph_checks.h"

#include "blocks/block_node.h"
#include "frame/application.h"
#include "headless/inspection.h"
#include "text/unicode.h"

std::string nameOf(KzDbObjectId record) {
    const std::string name = Text::toUtf8(Headless::recordName(record));
    return name.empty() ? std::to_string(record.value()) : name + '(' + std::to_string(record.value()) + ')';
}

namespace {

std::string placesOf(const KzDxContainers& containers) {
    std::string text;
    for (const KzDxContainers::Entry& entry : containers) {
        text += " in " + nameOf(entry.container) + ':' + namesOf(referencesIn(containers, entry.container));
    }
    return text;
}

} // namespace

std::vector<KzDbObjectId> referencesIn(const KzDxContainers& containers, KzDbObjectId container) {
    std::vector<KzDbObjectId> found;
    const KzDxContainers::Entry* const entry = containers.find(container);
    for (std::size_t at = 0; entry != nullptr && at < containers.references().size(); ++at) {
        const bool isInside =
            containers.numbers()[at] == static_cast<std::uint32_t>(entry - &*containers.begin());
        if (isInside) found.push_back(containers.references()[at]);
    }
    return found;
}

KzDxBlocks& graphOf(KzApDocument* document) {
    return *KzDxApplication::instance()->docData(document, true)->blocks();
}

GraphSnapshot snapshotOf(KzDxBlocks& graph) {
    GraphSnapshot snapshot;
    snapshot["layouts"] = namesOf(graph.layoutIds());
    snapshot["marks"] =
        std::string(graph.needsScan() ? "needs scan" : "") + (graph.hasChanges() ? ", changed" : "");
    for (const auto& [key, node] : graph.blockMap()) {
        const std::string name = nameOf(key);
        snapshot[name + " node"] = nameOf(node->id());
        snapshot[name + " records"] = namesOf(node->recordIds());
        snapshot[name + " places"] = placesOf(node->containers());
        snapshot[name + " marks"] =
            std::string(node->needsScan() ? "needs scan" : "") + (node->hasChanges() ? ", changed" : "");
        KzDxIdSet nested;
        static_cast<void>(graph.getNestedBlocks(key, true, nested));
        snapshot[name + " contains"] = namesOf(nested);
    }
    return snapshot;
}

std::string firstDifference(const GraphSnapshot& have, const GraphSnapshot& want) {
    GraphSnapshot all = want;
    for (const auto& entry : have) all.try_emplace(entry.first, " none");
    for (const auto& [what, text] : all) {
        const auto at = have.find(what);
        std::string difference = what;
        difference.append(at == have.end() ? " is missing" : ":" + at->second)
            .append(", expected:")
            .append(text);
        if (at == have.end() || at->second != text) return difference;
    }
    return {};
}

PlainGraph::PlainGraph(KzApDocument* document) : document_(document) {
    if (KzDxBlocks::create(graph_, KzDxApplication::instance()->docData(document, true)) == Orvo::ok)
        followSwitch();
}

PlainGraph::~PlainGraph() {
    if (graph_ != nullptr) KzDxDeferredDeletion::deleteWhenUnregistered(graph_);
}

void PlainGraph::followSwitch() {
    if (graphOf(document_).isEnabled() == graph_->isEnabled()) return;
    if (graph_->isEnabled()) {
        static_cast<void>(graph_->setEnabled(false));
    } else {
        static_cast<void>(graph_->scanAndEnable());
    }
}

std::string PlainGraph::updateBoth(bool force, const std::vector<KzDbObjectId>& objects) {
    KzDxBlocks& graph = graphOf(document_);
    if (graph.needsScan() != graph_->needsScan()) return "one of the graphs was not notified";
    const bool isUpdated = force || (graph.needsScan() && graph.isEnabled());
    graph.update(force, false);
    if (isUpdated) graph_->update(true, false);
    std::string difference = firstDifference(snapshotOf(graph), snapshotOf(*graph_));
    if (difference.empty()) difference = unequalRegistration(objects);
    changed_.clear();
    for (const auto& node : graph_->nodes()) {
        if (node->hasChanges()) changed_.insert(node->id());
    }
    graph_->setHasChanges(false);
    graph.notifyClients();
    return difference;
}

/// Both graphs register with the same objects, and no other reactor is there: their number is even.
std::string PlainGraph::unequalRegistration(const std::vector<KzDbObjectId>& objects) const {
    for (const KzDbObjectId object : objects) {
        const std::size_t count = Headless::reactorCount(object);
        if (count % 2 != 0) return "object " + nameOf(object) + " has " + std::to_string(count) + " reactors";
    }
    return {};
}
