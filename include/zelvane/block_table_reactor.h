#pragma once

/// @file
/// Detection of new blocks in a drawing.

#include "host/block_table.h"
#include "host/object_reactor.h"
#include "zelvane/opened.h"
#include "zelvane/own_state.h"

#include <cstdint>
#include <memory>
#include <utility>

namespace Zelvane { // NOLINT(modernize-concat-nested-namespaces): only one of them has the attribute
namespace Kit ZELVANE_OWN {

/// Counts the edits of one block table, as its reactor.
///
/// The host may still call a reactor that could not be removed, because the table was held open. Deferred
/// deletion: such a reactor is kept and removed later, at the latest when the library is unloaded.
class BlockTableReactor final : public KzDbObjectReactor {
public:
    /// A number that changes with each edit of the table; while the table cannot be observed, with each
    /// call.
    [[nodiscard]] std::uint64_t changes(const KzDbDatabase& drawing) {
        if (table_.isNull()) {
            ++changes_;
            add(drawing.blockTableId());
        }
        return changes_;
    }

    void aboutToChange(const KzDbObject* /*table*/) override { ++changes_; }
    void goodbye(const KzDbObject* /*table*/) override { table_ = KzDbObjectId(); }

    /// Removes and deletes a reactor, now or later.
    static void remove(BlockTableReactor* reactor) noexcept {
        if (reactor->tryRemove()) {
            delete reactor;
        } else {
            reactor->next_ = std::exchange(stranded, reactor);
        }
    }
    [[nodiscard]] static bool isAnyStranded() noexcept { return stranded != nullptr; }
    static void removeStranded() noexcept {
        for (BlockTableReactor* each = std::exchange(stranded, nullptr); each != nullptr;) {
            remove(std::exchange(each, each->next_));
        }
    }

private:
    void add(KzDbObjectId table) {
        const Opened<KzDbBlockTable> opened(table, KzDb::OpenMode::forNotify);
        if (!opened) return;
        opened->addReactor(this);
        table_ = table;
    }

    [[nodiscard]] bool tryRemove() noexcept {
        if (!table_.isValid()) return true;
        const Opened<KzDbBlockTable> opened(table_, KzDb::OpenMode::forNotify, true);
        if (opened) opened->removeReactor(this);
        return static_cast<bool>(opened);
    }

    static inline constinit BlockTableReactor* stranded = nullptr;

    KzDbObjectId table_; ///< null while the reactor is not registered
    std::uint64_t changes_ = 0;
    BlockTableReactor* next_ = nullptr; ///< in the list of reactors that could not be removed
};

struct RemoveBlockTableReactor {
    void operator()(BlockTableReactor* reactor) const noexcept { BlockTableReactor::remove(reactor); }
};
using BlockTableReactorOwner = std::unique_ptr<BlockTableReactor, RemoveBlockTableReactor>;

} // namespace ZELVANE_OWN
} // namespace Zelvane
