#include "benchmarks/comparisons.h"
#include "benchmarks/drawings.h"
#include "blocks/block_graph.h"
#include "blocks/block_node.h"
#include "headless/edits.h"
#include "headless/inspection.h"

#include <cstdint>
#include <unordered_map>
#include <vector>

namespace Bench {

namespace {

/// Has every block changed, and finds what lies inside changed ones.
class PropagatePerEntry : public TimedComparison {
public:
    explicit PropagatePerEntry(std::size_t references)
        : large_(references), small_(smallSizeFor(references)) {}

protected:
    double ours() override { return secondsPerEntry(large_.graph()); }
    double other() override { return secondsPerEntry(small_.graph()); }
    [[nodiscard]] double unitsOfWork() const override { return containerEntries(large_.graph()); }

private:
    static double containerEntries(const KzDxBlocks& graph) {
        std::size_t entries = 0;
        for (const auto& [id, node] : graph.blockMap()) entries += node->containers().size();
        return static_cast<double>(entries);
    }

    static double secondsPerEntry(KzDxBlocks& graph) {
        for (const auto& [id, node] : graph.blockMap()) node->setHasChanges(true);
        const double seconds = secondsOf([&] { graph.propagateChanges(); });
        graph.setHasChanges(false);
        return seconds / containerEntries(graph);
    }

    StandardDrawing large_;
    StandardDrawing small_;
};

/// Which blocks lie directly in which, as two arrays, and the usual search on them.
class FlatSearch {
public:
    explicit FlatSearch(const KzDxBlocks& graph) {
        std::vector<std::vector<std::uint32_t>> contents(graph.blockMap().size());
        for (const auto& [id, node] : graph.blockMap()) {
            numbers_.emplace(id, static_cast<std::uint32_t>(numbers_.size()));
        }
        for (const auto& [id, node] : graph.blockMap()) {
            for (const KzDxContainers::Entry& entry : node->containers()) {
                contents[numbers_.at(entry.container)].push_back(numbers_.at(id));
            }
        }
        for (const std::vector<std::uint32_t>& each : contents) {
            begins_.push_back(static_cast<std::uint32_t>(contents_.size()));
            contents_.insert(contents_.end(), each.begin(), each.end());
        }
        begins_.push_back(static_cast<std::uint32_t>(contents_.size()));
    }

    /// How many blocks lie in `start`, at any depth.
    std::size_t run(KzDbObjectId start) {
        isFound_.assign(begins_.size(), false);
        found_.clear();
        enter(numbers_.at(start));
        std::size_t searched = 0;
        while (searched < found_.size()) enter(found_[searched++]);
        return found_.size();
    }

private:
    void enter(std::uint32_t container) {
        for (std::uint32_t at = begins_[container]; at < begins_[container + 1]; ++at) {
            const std::uint32_t inside = contents_[at];
            if (isFound_[inside] || inside == container) continue;
            isFound_[inside] = true;
            found_.push_back(inside);
        }
    }

    std::unordered_map<KzDbObjectId, std::uint32_t> numbers_;
    std::vector<std::uint32_t> begins_;
    std::vector<std::uint32_t> contents_;
    std::vector<std::uint8_t> isFound_;
    std::vector<std::uint32_t> found_;
};

std::size_t nestedIn(KzDxBlocks& graph, KzDbObjectId block) {
    KzDxIdSet found;
    graph.getNestedBlocks(block, true, found);
    return found.size();
}

class NestedOverSearch : public TimedComparison {
public:
    explicit NestedOverSearch(std::size_t references) : drawing_(references) {
        const KzDbObjectId modelSpace = drawing_.modelSpace();
        require(nestedIn(drawing_.graph(), modelSpace) == search_.run(modelSpace),
                "both sides find the same number of blocks");
    }

protected:
    double ours() override {
        return secondsOf([this] { nestedIn(drawing_.graph(), drawing_.modelSpace()); });
    }
    double other() override {
        return secondsOf([this] { search_.run(drawing_.modelSpace()); });
    }

private:
    StandardDrawing drawing_;
    FlatSearch search_{drawing_.graph()};
};

/// The first question after an edit that moved a block: what lies where has changed.
class NestedAfterEdit : public TimedComparison {
public:
    explicit NestedAfterEdit(std::size_t references) : drawing_(references) {
        require(nestedIn(drawing_.graph(), drawing_.modelSpace()) > 0, "blocks lie inside");
    }

protected:
    double ours() override {
        move();
        return secondsOf([this] { nestedIn(drawing_.graph(), drawing_.modelSpace()); });
    }
    double other() override {
        return secondsOf([this] { search_.run(drawing_.modelSpace()); });
    }

private:
    /// Moves a reference of one block, by turns into a block that held none and back, and has it read.
    void move() {
        const std::vector<KzDbObjectId>& blocks = drawing_.blocks();
        const KzDbObjectId target = isMoved_ ? drawing_.modelSpace() : blocks[blocks.size() / 3];
        isMoved_ = !isMoved_;
        require(static_cast<bool>(Headless::move(Headless::references(blocks.back()).front(), target)),
                "the reference is moved");
        drawing_.graph().node(blocks.back())->refresh();
    }

    StandardDrawing drawing_;
    FlatSearch search_{drawing_.graph()};
    bool isMoved_ = false;
};

} // namespace

Made propagatePerEntry(std::size_t references) {
    return std::make_unique<PropagatePerEntry>(references);
}
Made nestedOverSearch(std::size_t references) {
    return std::make_unique<NestedOverSearch>(references);
}
Made nestedAfterEdit(std::size_t references) {
    return std::make_unique<NestedAfterEdit>(references);
}

} // namespace Bench
