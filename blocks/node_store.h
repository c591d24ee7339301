#pragma once

#include "core/deferred_deletion.h"
#include "host/ids.h"

#include <map>
#include <memory>
#include <vector>

class KzDxBlock;

/// Owns the nodes of a block graph, and finds them by the ids of their records.
///
/// A node has its own record's id as a key, and an enhanced block's node also the ids of the records that
/// represent the block. No key leads to a null node. Nodes are deleted by deferred deletion, all together;
/// none is removed while the graph is in use.
class KzDxNodeStore {
public:
    using Node = std::unique_ptr<KzDxBlock, KzDxDeferredDeleter>;
    using Nodes = std::vector<Node>;
    using Keys = std::map<KzDbObjectId, KzDxBlock*>;

    /// Takes ownership of a node and adds the ids of its records as keys. The own record must not be a key.
    /// If memory runs out, nothing changes.
    void add(Node node);

    /// Adds another key for a node, unless the key exists: if two enhanced blocks have the same
    /// representation, the first one keeps it.
    void addAlias(KzDbObjectId key, KzDxBlock& node) { keys_.try_emplace(key, &node); }

    /// The node with that key; null if there is none.
    [[nodiscard]] KzDxBlock* find(KzDbObjectId key) const {
        const auto at = keys_.find(key);
        return at == keys_.end() ? nullptr : at->second;
    }

    /// Every node once, in the order of creation, and every key, ascending.
    [[nodiscard]] const Nodes& nodes() const { return nodes_; }
    [[nodiscard]] const Keys& keys() const { return keys_; }

    /// Deletes all nodes.
    void clear();

private:
    Nodes nodes_;
    Keys keys_; ///< an index
};
