#pragma once

#include "core/document_context.h"
#include "core/enable_base.h"
#include "zelvane/zelvane.h"

#include <cstdint>
#include <memory>

class KzDxBlocks;

/// The document data: the data of the module for one open document.
///
/// Owns the block graph and the timer of outside clients, which are created on demand, and the set of the
/// document's running timers. Switched on from construction to destruction. Any call that it makes may
/// destroy it.
///
/// The virtual operations are called by slot: their order is fixed.
class KzDxDocument : public KzDxEnableBase, public KzDxDocumentContext {
public:
    explicit KzDxDocument(KzApDocument* document);

    /// Switches all parts off, then destroys the graph, the clients' reactor and their timer, in this
    /// order.
    ~KzDxDocument() override;

    /// Switches the graph, the timer and the clients' reactor, if they exist.
    Orvo::ErrorStatus setEnabled(bool enable) override;

    /// The document's block graph, built by the first call. Null if that fails; then the next call retries.
    [[nodiscard]] virtual KzDxBlocks* blocks();

    /// Attaches a client's callback to the document's idle time, or detaches it. The interval, in
    /// milliseconds, applies to all callbacks from then on. `missingCollaborator` for a null callback.
    virtual Orvo::ErrorStatus timerAttach(KzDxClientCallback callback, std::uint32_t interval, bool attach);

    /// The document's drawing; null if it has none.
    [[nodiscard]] virtual KzDbDatabase* database() const { return drawing(); }

    /// The same. A graph that this call builds is switched on if possible.
    [[nodiscard]] KzDxBlocks* enabledBlocks();

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
