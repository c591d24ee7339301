#pragma once

// The block graph of a document, in words, and a second graph that reads everything at every update.

#include "blocks/block_graph.h"
#include "blocks/containers.h"
#include "frame/document.h"

#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

/// The graph of an open document, with all that it needs created.
[[nodiscard]] KzDxBlocks& graphOf(KzApDocument* document);

/// The references stored under a container, ascending.
[[nodiscard]] std::vector<KzDbObjectId> referencesIn(const KzDxContainers& containers,
                                                     KzDbObjectId container);

/// The blocks of ids by name.
[[nodiscard]] std::string nameOf(KzDbObjectId record);
template <class Ids>
[[nodiscard]] std::string namesOf(const Ids& ids) {
    std::string text;
    for (const KzDbObjectId id : ids) text += ' ' + nameOf(id);
    return text;
}

/// All that can be seen of a graph, as texts by what they tell of: layouts, marks, and for each key its node,
/// records, places, mark and nested blocks.
using GraphSnapshot = std::map<std::string, std::string>;
[[nodiscard]] GraphSnapshot snapshotOf(KzDxBlocks& graph);

/// The first entry that differs, in words; empty if there is none.
[[nodiscard]] std::string firstDifference(const GraphSnapshot& have, const GraphSnapshot& want);

/// Oracle of a document's graph: another graph of the same document, to which the same happens, but which
/// reads everything at every update. Its graph is built and switched on in separate steps.
class PlainGraph {
public:
    explicit PlainGraph(KzApDocument* document);
    ~PlainGraph();
    PlainGraph(const PlainGraph&) = delete;
    PlainGraph& operator=(const PlainGraph&) = delete;

    /// Does the same with both graphs.
    template <class Action>
    void withBoth(Action act) {
        act(graphOf(document_));
        act(*graph_);
    }

    /// Switches this graph as the document's graph is.
    void followSwitch();

    /// Updates both graphs, the document's as a timer would, unless `force`. Returns the first difference
    /// between them, which of the nodes have changed and how often each of `objects` is registered with
    /// included. Then the document's clients are notified.
    [[nodiscard]] std::string updateBoth(bool force, const std::vector<KzDbObjectId>& objects);

    /// Whether the last update has found the node changed that had this id.
    [[nodiscard]] bool hasChanged(KzDbObjectId node) const { return changed_.contains(node); }

private:
    [[nodiscard]] std::string unequalRegistration(const std::vector<KzDbObjectId>& objects) const;

    KzApDocument* document_;
    KzDxBlocks* graph_ = nullptr;
    std::set<KzDbObjectId> changed_;
};
