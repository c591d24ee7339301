#pragma once

// Compares the block graph of a document with one built afresh from the drawing as it is.

#include "blocks/block_graph.h"
#include "frame/document.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

struct GraphDisposer {
    void operator()(KzDxBlocks* graph) const {
        if (graph != nullptr) KzDxDeferredDeletion::begin(graph);
    }
};
using OwnedGraph = std::unique_ptr<KzDxBlocks, GraphDisposer>;

/// The graph of an open document, with all that it needs made.
[[nodiscard]] KzDxBlocks& graphOf(KzApDocument* document);

/// Another graph of the document, switched off, which nobody else knows. Null when it cannot be built.
[[nodiscard]] OwnedGraph freshGraph(KzDxDocument& record);

/// The first live block of which two graphs of a document do not know the same places, and those places;
/// empty when there is none. A representation that stands before its block in the table keeps a node of its
/// own, which is no longer read once the block has one; such nodes are left out.
[[nodiscard]] std::string difference(const KzDxBlocks& graph, const KzDxBlocks& fresh);

/// All that can be seen of a graph: layouts, keys, nodes, marks, places, and how many reactors each of
/// `objects` has.
[[nodiscard]] std::vector<std::uint64_t> factsOf(const KzDxBlocks& graph,
                                                 const std::vector<KzDbObjectId>& objects);

/// Updates without force a graph that is marked, and tells whether that has missed nothing: whether all marks
/// for reading are gone, and reading everything finds the same facts.
[[nodiscard]] bool isUpdateComplete(KzDxBlocks& graph, bool notify, const std::vector<KzDbObjectId>& objects);

/// Whether drawings made by `RandomDrawing` use the record to represent an enhanced block.
[[nodiscard]] bool isRepresentation(KzDbObjectId record);
