#pragma once

/// @file
/// A watch while it is attached.

#include "zelvane/attachment.h"
#include "zelvane/containers.h"
#include "zelvane/document_client.h"
#include "zelvane/placements.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <new>
#include <numeric>
#include <span>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

namespace Zelvane {

/// Optional reports of a watch, which cost more.
struct WatchOptions {
    /// Whether `BlockChange::changedAncestors` is filled. If so, the ancestors of the watched blocks are
    /// watched too.
    bool changedAncestors = false;
};

namespace Kit ZELVANE_OWN {

/// The implementation of an attached watch: its blocks, the placements of their references when they were
/// read last, and which of the blocks must be read again.
///
/// After a round, only blocks that may have changed are read: the candidates of the superimposed code, and
/// blocks that could not be read before. The results are stored only after all blocks were read, so that no
/// change is lost if memory runs out.
class BlockReceiver : public WatchReceiver,
                      public detail::Attachment,
                      public std::enable_shared_from_this<BlockReceiver> {
public:
    using Function = std::function<void(const BlockChanges&)>;

    BlockReceiver(std::shared_ptr<DocumentClient> client, const WatchOptions& options)
        : client_(std::move(client)), options_(options) {
        client_->add(*this);
    }
    ~BlockReceiver() override { BlockReceiver::detach(); }

    void setFunction(Function function) { function_ = std::move(function); }

    /// Watches more blocks. May throw std::bad_alloc, without effect.
    [[nodiscard]] Status attach(const KzDbObjectIdArray& blocks, KzDbObjectIdArray& unknown) override {
        unknown.clear();
        if (blocks.isEmpty()) return Status::noBlocks;
        if (client_ == nullptr || !client_->isAlive()) return Status::notAttached;
        if (!blocks_.empty() && !client_->isAttached()) return Status::notLoaded;
        std::vector<KzDbObjectId> found = resolve(blocks, unknown);
        if (found.empty()) return Status::noSuchBlock;
        const Status status = watch(std::move(found), Purpose::report);
        if (status != Status::ok) return status;
        return unknown.isEmpty() ? Status::ok : Status::noSuchBlock;
    }

    /// Watches all blocks of the drawing, including blocks that are defined later. May throw
    /// std::bad_alloc.
    [[nodiscard]] Status attachAll() {
        watchesAll_ = true;
        const Status status = addNewBlocks(Baseline::now);
        return status == Status::ok && blocks_.empty() ? client_->probe() : status;
    }

    void update() noexcept override {
        if (client_ != nullptr && client_->isAlive()) call();
    }

    [[nodiscard]] bool isAttached() const noexcept override {
        return client_ != nullptr && client_->isAttached();
    }
    [[nodiscard]] KzDbObjectIdArray blocks() const override {
        KzDbObjectIdArray ids;
        for (const Block& each : blocks_) {
            if (each.isReported) ids.append(each.id);
        }
        return ids;
    }
    void end() noexcept override { BlockReceiver::detach(); }

    void detach() noexcept override {
        if (client_ == nullptr) return;
        const std::shared_ptr<DocumentClient> client = std::exchange(client_, nullptr);
        client->remove(*this);
    }

    void mark(std::span<const Candidate> candidates) noexcept override {
        const auto numberAt = [this](std::uint32_t position) { return blocks_[position].number; };
        if (candidates.size() <= byNumber_.size()) {
            auto from = byNumber_.begin();
            for (const Candidate& each : candidates) {
                from = std::ranges::lower_bound(from, byNumber_.end(), each.number, {}, numberAt);
                if (from == byNumber_.end()) break;
                if (numberAt(*from) == each.number) mark(*from, each.isCertain);
            }
        } else {
            for (const std::uint32_t position : byNumber_) {
                const auto at =
                    std::ranges::lower_bound(candidates, numberAt(position), {}, &Candidate::number);
                if (at != candidates.end() && at->number == numberAt(position)) mark(position, at->isCertain);
            }
        }
    }

    void markUnread() noexcept override {
        for (const std::uint32_t position : byNumber_) markDue(position);
    }

    /// Calls do not nest. If the function runs the message loop, blocks that are marked during this time
    /// are reported once after it has returned; blocks that are marked during that second call are reported
    /// by the next round.
    void call() noexcept override {
        if (isRunning_ || client_ == nullptr || !(hasDue() || hasNewBlocks())) return;
        const auto keptAlive = shared_from_this();
        isRunning_ = true;
        report();
        if (isMarked_ && client_ != nullptr && client_->isAlive()) report();
        isRunning_ = false;
    }

private:
    /// Which references of a block count as known when it is added.
    enum class Baseline {
        now,   ///< the current ones
        empty, ///< none: the block is new, and so are its references
    };
    enum class Purpose {
        report,  ///< the client watches these blocks
        contain, ///< they contain watched blocks
    };

    struct Block {
        KzDbObjectId id;
        std::uint32_t number = 0; ///< in the document
        bool isReported = false;  ///< watched by the client, not only as an ancestor
        bool isKnown = false;     ///< was read at least once
        bool isDue = false;       ///< must be read again
        bool isCandidate = false; ///< is due because it may have changed
        Placements placements;    ///< when it was read last
    };

    /// The result of reading a block.
    struct Update {
        std::uint32_t position;
        Placements now;
        BlockChange change;
    };

    // ---- attaching

    /// The blocks that ids identify, each once. Representations count as their enhanced block.
    [[nodiscard]] std::vector<KzDbObjectId> resolve(const KzDbObjectIdArray& ids,
                                                    KzDbObjectIdArray& unknown) {
        std::vector<KzDbObjectId> blocks;
        std::unordered_set<KzDbObjectId> isThere;
        RepresentedBlocks representedBlocks(client_->drawing());
        for (const KzDbObjectId id : ids) {
            if (!isBlock(id)) {
                unknown.append(id);
                continue;
            }
            const KzDbObjectId block = representedBlocks.blockOf(id);
            if (isThere.insert(block).second) blocks.push_back(block);
        }
        return blocks;
    }

    [[nodiscard]] bool isBlock(KzDbObjectId id) const {
        if (!id.isValid() || id.isErased() || id.database() != client_->drawing()) return false;
        // An object that is held open cannot be opened as any class, and counts as a block.
        return Opened<KzDbBlockTableRecord>(id) || !Opened<KzDbObject>(id);
    }

    /// Adds blocks, and their ancestors if these are watched too.
    [[nodiscard]] Status watch(std::vector<KzDbObjectId> ids, Purpose purpose,
                               Baseline baseline = Baseline::now) {
        Containers containers(client_->drawing());
        while (!ids.empty()) {
            std::vector<KzDbObjectId> around;
            std::vector<Block> read;
            for (const KzDbObjectId id : ids) {
                const Block* const known = find(id);
                if (known != nullptr && (known->isReported || purpose == Purpose::contain)) continue;
                read.push_back(baseline == Baseline::now ? readBlock(id, purpose) : newBlock(id));
                if (options_.changedAncestors) containers.append(read.back().placements, around);
            }
            const Status status = addAll(std::move(read));
            if (status != Status::ok && purpose == Purpose::report) return status;
            const bool isMissing = status != Status::ok; // of ancestors: retried after the next round
            if (isMissing) around_.insert(around_.end(), ids.begin(), ids.end());
            makeUnique(around);
            ids = std::move(around);
            purpose = Purpose::contain;
            baseline = Baseline::now;
        }
        return Status::ok;
    }

    static void makeUnique(std::vector<KzDbObjectId>& ids) {
        std::ranges::sort(ids);
        ids.erase(std::unique(ids.begin(), ids.end()), ids.end());
    }

    [[nodiscard]] Block readBlock(KzDbObjectId id, Purpose purpose) {
        Block block;
        block.id = id;
        block.isReported = purpose == Purpose::report;
        block.isDue = !reader_.read(id);
        block.isKnown = reader_.isListRead();
        block.placements = std::move(reader_.now());
        return block;
    }

    [[nodiscard]] static Block newBlock(KzDbObjectId id) {
        Block block;
        block.id = id;
        block.isReported = block.isKnown = block.isDue = true;
        return block;
    }

    [[nodiscard]] bool hasDue() const { return !due_.empty(); }
    [[nodiscard]] bool hasNewBlocks() const {
        return watchesAll_ && client_->tableChanges() != tableChanges_;
    }

    /// Reads the block table and watches its new blocks. Reading is retried if it was incomplete.
    [[nodiscard]] Status addNewBlocks(Baseline baseline) {
        const std::uint64_t changes = client_->tableChanges();
        KzDbObjectIdArray all;
        const bool isComplete = detail::appendBlockIds(*client_->drawing(), all);
        KzDbObjectIdArray added;
        for (const KzDbObjectId id : all) {
            const Block* const known = find(id);
            if (known == nullptr || !known->isReported) added.append(id);
        }
        KzDbObjectIdArray unknown;
        const Status status = watch(resolve(added, unknown), Purpose::report, baseline);
        if (status == Status::ok && isComplete) tableChanges_ = changes;
        return status;
    }

    /// Adds blocks that were read. Allocates before anything changes.
    [[nodiscard]] Status addAll(std::vector<Block> added) {
        if (added.empty()) return Status::ok;
        std::vector<KzDbObjectId> ids(added.size());
        std::ranges::transform(added, ids.begin(), &Block::id);
        const std::size_t size = blocks_.size() + added.size();
        // Exact for many blocks at once, and amortized O(1) if blocks are added one by one.
        if (size > blocks_.capacity()) blocks_.reserve(std::max(size, blocks_.size() * 3 / 2));
        byNumber_.reserve(blocks_.capacity());
        due_.reserve(blocks_.capacity());
        std::vector<std::uint32_t> numbers;
        const Status status = client_->attach(ids, numbers);
        if (status != Status::ok) return status;
        const std::size_t known = byNumber_.size();
        for (std::size_t at = 0; at < added.size(); ++at) {
            added[at].number = numbers[at];
            add(std::move(added[at]), known);
        }
        const auto number = [this](std::uint32_t position) { return blocks_[position].number; };
        const auto middle = byNumber_.begin() + static_cast<std::ptrdiff_t>(known);
        std::ranges::sort(middle, byNumber_.end(), {}, number);
        const bool isInOrder =
            known == 0 || middle == byNumber_.end() || number(*(middle - 1)) < number(*middle);
        if (!isInOrder) std::ranges::sort(byNumber_, {}, number);
        return Status::ok;
    }

    /// Adds a block, or replaces it if it was watched as an ancestor. The first `sorted` items of
    /// `byNumber_` are in order.
    void add(Block&& added, std::size_t sorted) noexcept {
        const bool isDue = std::exchange(added.isDue, false);
        const Block* const known = find(added.number, sorted);
        const auto position =
            static_cast<std::uint32_t>(known != nullptr ? known - blocks_.data() : std::ssize(blocks_));
        if (known != nullptr) {
            added.isDue = known->isDue;
            blocks_[position] = std::move(added);
        } else {
            blocks_.push_back(std::move(added));
            byNumber_.push_back(position);
        }
        if (isDue) markDue(position);
    }

    [[nodiscard]] const Block* find(std::uint32_t number, std::size_t sorted) const {
        const auto numberAt = [this](std::uint32_t position) { return blocks_[position].number; };
        const auto end = byNumber_.begin() + static_cast<std::ptrdiff_t>(sorted);
        const auto at = std::ranges::lower_bound(byNumber_.begin(), end, number, {}, numberAt);
        return at != end && numberAt(*at) == number ? &blocks_[*at] : nullptr;
    }
    [[nodiscard]] const Block* find(KzDbObjectId id) const {
        const auto number = client_->numberOf(id);
        return number.has_value() ? find(*number, byNumber_.size()) : nullptr;
    }

    // ---- reporting

    void mark(std::uint32_t position, bool isCertain) noexcept {
        markDue(position);
        blocks_[position].isCandidate = true;
        isMarked_ = true;
        isExact_ = isExact_ && isCertain;
    }
    void markDue(std::uint32_t position) noexcept {
        if (!std::exchange(blocks_[position].isDue, true)) due_.push_back(position); // there is room for all
    }

    /// Ignores an exception of the function, because no exception may leave a callback.
    void report() noexcept try {
        const BlockChanges changes = changesSinceLast();
        const bool isWorthIt = !changes.isEmpty() || !changes.affected().empty() || isOutOfMemory_;
        if (isWorthIt && function_) function_(changes);
    } catch (...) { // NOLINT(bugprone-empty-catch)
    }

    [[nodiscard]] BlockChanges changesSinceLast() noexcept try {
        isOutOfMemory_ = false;
        isMarked_ = false;
        // A failure is retried by the next call.
        if (hasNewBlocks()) static_cast<void>(addNewBlocks(Baseline::empty));
        std::ranges::sort(due_); // in order of attaching
        std::vector<std::uint32_t> unread;
        std::vector<Update> updates = readDue(unread);
        Containers containers(client_->drawing());
        BlockChanges changes = describe(updates, unread, containers);
        if (options_.changedAncestors) {
            for (const Update& each : updates) containers.append(each.now, around_);
        }
        store(updates, unread);
        watchAround();
        return changes;
    } catch (const std::bad_alloc&) {
        isOutOfMemory_ = true;
        return BlockChanges::notRead();
    }

    [[nodiscard]] std::vector<Update> readDue(std::vector<std::uint32_t>& unread) {
        std::vector<Update> updates;
        unread.reserve(due_.size());
        for (const std::uint32_t position : due_) {
            const Block& block = blocks_[position];
            if (!block.isKnown) {
                // The first reading: the references count as placed there from the beginning.
                if (!reader_.read(block.id)) unread.push_back(position);
                if (reader_.isListRead()) updates.push_back({position, std::move(reader_.now()), {}});
                continue;
            }
            const auto result = reader_.compare(block.id, block.placements);
            if (!reader_.isComplete()) unread.push_back(position);
            if (result == PlacementReader::Result::same) continue;
            updates.push_back({position, std::move(reader_.now()), std::move(reader_.change())});
        }
        return updates;
    }

    [[nodiscard]] BlockChanges describe(std::span<const Update> updates,
                                        std::span<const std::uint32_t> unread, Containers& containers) {
        AncestorSearch ancestors = ancestorSearch(updates, containers);
        std::vector<BlockChange> changes;
        std::vector<KzDbObjectId> affected;
        auto next = updates.begin();
        // All blocks, because Zelvane does not call for blocks that are nested in a changed block through a
        // representation.
        for (const std::uint32_t position : ancestors.isNeeded() ? allPositions() : due_) {
            const Block& block = blocks_[position];
            const bool isUpdated = next != updates.end() && next->position == position;
            const BlockChange* const found = isUpdated ? &next++->change : nullptr;
            if (!block.isReported) continue;
            BlockChange change = found != nullptr && found->isChanged() ? *found : unchanged(block);
            change.changedAncestors = ancestors.changedAround(block.id);
            const bool isTold = change.isChanged() || !change.changedAncestors.empty();
            if (block.isCandidate || isTold) affected.push_back(block.id);
            if (isTold) changes.push_back(std::move(change));
        }
        for (BlockChange& each : changes) fillFormerNames(each);
        return BlockChanges(std::move(changes), std::move(affected), reportedIds(unread), isExact_);
    }

    [[nodiscard]] std::vector<std::uint32_t> allPositions() const {
        std::vector<std::uint32_t> positions(blocks_.size());
        std::iota(positions.begin(), positions.end(), 0U);
        return positions;
    }

    [[nodiscard]] static BlockChange unchanged(const Block& block) {
        BlockChange change;
        change.block = block.id;
        change.before = change.after = block.placements.references.size();
        return change;
    }

    static void fillFormerNames(BlockChange& change) {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
        change.came = change.added;
        change.went = change.removed;
        change.insideChanged = change.changedAncestors;
#pragma GCC diagnostic pop
    }

    [[nodiscard]] std::vector<KzDbObjectId> reportedIds(std::span<const std::uint32_t> positions) const {
        std::vector<KzDbObjectId> ids;
        for (const std::uint32_t position : positions) {
            if (blocks_[position].isReported) ids.push_back(blocks_[position].id);
        }
        return ids;
    }

    /// Cannot fail, so that either all changes are stored and reported, or none.
    void store(std::vector<Update>& updates, std::span<const std::uint32_t> unread) noexcept {
        for (const std::uint32_t position : due_) {
            blocks_[position].isDue = false;
            blocks_[position].isCandidate = false;
        }
        due_.assign(unread.begin(), unread.end()); // there is room for all
        for (const std::uint32_t position : due_) blocks_[position].isDue = true;
        for (Update& each : updates) {
            blocks_[each.position].isKnown = true;
            blocks_[each.position].placements = std::move(each.now);
        }
        isExact_ = true;
    }

    // ---- ancestors

    [[nodiscard]] AncestorSearch ancestorSearch(std::span<const Update> updates,
                                                Containers& containers) const {
        std::vector<KzDbObjectId> changed;
        std::unordered_map<KzDbObjectId, const Placements*> now;
        for (const Update& each : updates) {
            if (!options_.changedAncestors) break;
            const KzDbObjectId id = blocks_[each.position].id;
            now.emplace(id, &each.now);
            if (each.change.isChanged()) changed.push_back(id);
        }
        const auto placementsOf = [this, now = std::move(now)](KzDbObjectId id) -> const Placements* {
            if (const auto updated = now.find(id); updated != now.end()) return updated->second;
            const Block* const block = find(id);
            return block != nullptr ? &block->placements : nullptr;
        };
        return AncestorSearch(containers, placementsOf, std::move(changed));
    }

    /// Watches new ancestors.
    void watchAround() {
        if (around_.empty()) return;
        makeUnique(around_);
        static_cast<void>(watch(std::exchange(around_, {}), Purpose::contain));
    }

    std::shared_ptr<DocumentClient> client_; ///< null when detached
    WatchOptions options_;
    bool watchesAll_ = false;
    std::uint64_t tableChanges_ = 0; ///< the edits of the block table when it was read last
    Function function_;
    std::vector<Block> blocks_;           ///< in order of attaching
    std::vector<std::uint32_t> byNumber_; ///< positions in ascending order of the blocks' numbers
    std::vector<std::uint32_t> due_;      ///< positions of blocks to read; reserved for all blocks
    std::vector<KzDbObjectId> around_;    ///< new ancestors that are not watched yet
    PlacementReader reader_;
    bool isRunning_ = false;
    bool isMarked_ = false; ///< candidates since the last report
    bool isExact_ = true;   ///< whether all candidates are certain
    bool isOutOfMemory_ = false;
};

} // namespace ZELVANE_OWN
} // namespace Zelvane
