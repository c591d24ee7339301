#include "benchmarks/drawings.h"
#include "benchmarks/host_calls.h"
#include "benchmarks/lines.h"
#include "blocks/block_graph.h"
#include "blocks/block_node.h"
#include "headless/edits.h"
#include "headless/inspection.h"

#include <cstdint>
#include <memory>
#include <unordered_map>
#include <vector>

namespace Bench {

namespace {

double secondsToPropagate(const StandardDrawing& drawing) {
    KzDxBlocks& graph = drawing.graph();
    for (const KzDbObjectId block : drawing.blocks()) graph.node(block)->setHasChanges(true);
    const double seconds = secondsOf([&] { graph.propagateChanges(); });
    graph.setHasChanges(false);
    return seconds;
}

/// Every block has changed; finds what is nested in changed ones.
Comparison propagatePerPlacement(std::size_t references) {
    const auto large = std::make_shared<StandardDrawing>(references);
    const auto small = std::make_shared<StandardDrawing>(smallSizeFor(references));
    const auto largePlacements = static_cast<double>(HostCalls(large).placements());
    const auto smallPlacements = static_cast<double>(HostCalls(small).placements());
    return {
        .measured = [=] { return secondsToPropagate(*large) / largePlacements; },
        .baseline = [=] { return secondsToPropagate(*small) / smallPlacements; },
        .unitsOfWork = largePlacements,
    };
}

/// The usual search, on two arrays that say which blocks are placed directly in which.
class FlatSearch {
public:
    explicit FlatSearch(const HostCalls& host) {
        std::vector<std::vector<std::uint32_t>> contents(host.blocks().size());
        for (const HostCalls::Block& block : host.blocks()) {
            numbers_.emplace(block.record, static_cast<std::uint32_t>(numbers_.size()));
        }
        for (const HostCalls::Block& block : host.blocks()) {
            for (const KzDbObjectId container : block.containers) {
                contents[numbers_.at(container)].push_back(numbers_.at(block.record));
            }
        }
        for (const std::vector<std::uint32_t>& each : contents) {
            begins_.push_back(static_cast<std::uint32_t>(contents_.size()));
            contents_.insert(contents_.end(), each.begin(), each.end());
        }
        begins_.push_back(static_cast<std::uint32_t>(contents_.size()));
    }

    /// How many blocks are nested in `start`, at any depth.
    std::size_t run(KzDbObjectId start) {
        isFound_.assign(begins_.size(), false);
        found_.clear();
        visit(numbers_.at(start));
        std::size_t searched = 0;
        while (searched < found_.size()) visit(found_[searched++]);
        return found_.size();
    }

private:
    void visit(std::uint32_t container) {
        for (std::uint32_t at = begins_[container]; at < begins_[container + 1]; ++at) {
            const std::uint32_t nested = contents_[at];
            if (isFound_[nested] || nested == container) continue;
            isFound_[nested] = true;
            found_.push_back(nested);
        }
    }

    std::unordered_map<KzDbObjectId, std::uint32_t> numbers_;
    std::vector<std::uint32_t> begins_;
    std::vector<std::uint32_t> contents_;
    std::vector<std::uint8_t> isFound_;
    std::vector<std::uint32_t> found_;
};

std::size_t nestedInModelSpace(const StandardDrawing& drawing) {
    KzDxIdSet found;
    drawing.graph().getNestedBlocks(drawing.modelSpace(), true, found);
    return found.size();
}

Comparison nestedOverSearch(std::size_t references) {
    const auto drawing = std::make_shared<StandardDrawing>(references);
    const auto search = std::make_shared<FlatSearch>(HostCalls(drawing));
    const KzDbObjectId modelSpace = drawing->modelSpace();
    require(nestedInModelSpace(*drawing) == search->run(modelSpace),
            "both sides find the same number of blocks");
    return {
        .measured = timed([=] { nestedInModelSpace(*drawing); }),
        .baseline = timed([=] { search->run(modelSpace); }),
    };
}

/// The first query after an edit that moved a block: the nesting has changed.
Comparison nestedAfterEdit(std::size_t references) {
    const auto drawing = std::make_shared<StandardDrawing>(references);
    const auto search = std::make_shared<FlatSearch>(HostCalls(drawing));
    const KzDbObjectId modelSpace = drawing->modelSpace();
    const KzDbObjectId block = drawing->blocks().back();
    const KzDbObjectId reference = Headless::references(block).front();
    const KzDbObjectId other = drawing->blocks()[drawing->blocks().size() / 3];
    return {
        .measured =
            [=, isMoved = false]() mutable {
                isMoved = !isMoved;
                require(static_cast<bool>(Headless::move(reference, isMoved ? other : modelSpace)),
                        "the reference is moved");
                drawing->graph().node(block)->refresh();
                return secondsOf([&] { nestedInModelSpace(*drawing); });
            },
        .baseline = timed([=] { search->run(modelSpace); }),
    };
}

} // namespace

std::vector<Line> nestingLines() {
    return {
        {"propagate/linear", {million}, 3, propagatePerPlacement},
        {"nested/bfs", {million}, 4, nestedOverSearch},
        {"nested/dirty", {million}, 10, nestedAfterEdit, inMilliseconds("nested/dirty")},
    };
}

} // namespace Bench
