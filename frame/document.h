#pragma once

#include "core/document_context.h"
#include "core/enable_base.h"
#include "zelvane/zelvane.h"

#include <cstdint>
#include <memory>

class KzDxBlocks;

/// The document data: what the module keeps for one open document.
///
/// That is its block graph and the timer of outside clients, each made on first demand and owned, and the set
/// of the document's running timers. Switched on from construction to destruction. May be destroyed from
/// inside anything that it calls.
///
/// The virtual operations are called by slot: their order is fixed.
class KzDxDocument : public KzDxEnableBase, public KzDxDocumentContext {
public:
    explicit KzDxDocument(KzApDocument* document);

    /// Switches everything off, then destroys the graph, the clients' reactor and their timer, in this order.
    ~KzDxDocument() override;

    /// Passes the switch on to the graph, the timer and the clients' reactor, as far as they exist.
    Orvo::ErrorStatus setEnabled(bool enable) override;

    /// The document's block graph, built on the first call; null when that fails, and the next call tries
    /// again.
    [[nodiscard]] virtual KzDxBlocks* blocks();

    /// Attaches a client's callback to the document's idle time, or detaches it. The interval, in
    /// milliseconds, counts for all callbacks from now on. `missingCollaborator` for a null callback.
    virtual Orvo::ErrorStatus timerAttach(KzDxClientCallback callback, std::uint32_t interval, bool attach);

    /// The document's drawing; null when it has none.
    [[nodiscard]] virtual KzDbDatabase* database() const { return drawing(); }

    /// The same; a graph that is built by this call follows the drawing from the start if it can.
    [[nodiscard]] KzDxBlocks* followingBlocks();

    /// Whether the block graph exists already.
    [[nodiscard]] bool hasBlocks() const { return blocks_ != nullptr; }

private:
    struct ClientTimer;

    /// Deferred deletion of the graph. Not `KzDxDeferredDeleter`, because this header does not know the
    /// class.
    struct BlocksDeleter {
        void operator()(KzDxBlocks* graph) const noexcept;
    };

    using MakeBlocks = Orvo::ErrorStatus (*)(KzDxBlocks*& graph, KzDxDocument* document);

    [[nodiscard]] KzDxBlocks* blocksMadeBy(MakeBlocks make);

    // Destroyed from the last to the first.
    std::unique_ptr<ClientTimer> clientTimer_;
    std::unique_ptr<KzDxBlocks, BlocksDeleter> blocks_;
};
