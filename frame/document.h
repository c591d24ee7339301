#pragma once

#include "frame/call_set.h"
#include "frame/enable_base.h"
#include "zelvane/zelvane.h"

#include <cstdint>

class KzApDocument;
class KzDbDatabase;
class KzDxBlocks;
class KzDxExternalClientTimerReactor;
class KzDxTimer;

/// What the module keeps for one open document: its block graph and the timer of outside clients, each made
/// on first demand and owned, and the timers that the document's idle checks examine.
///
/// The virtual operations are called by slot: their order is fixed.
///
/// Switched on from construction to destruction. May be destroyed from inside anything that it calls.
class KzDxDocument : public KzDxEnableBase {
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
    [[nodiscard]] virtual KzDbDatabase* database() const;

    /// The document as it was given at construction; null once it has been forgotten.
    [[nodiscard]] KzApDocument* document() const { return document_; }

    /// To be called when the document is gone: from now on the record does not touch it.
    void forgetDocument() { document_ = nullptr; }

    /// The document's timers that are switched on, not owned. Timers put themselves in and take themselves
    /// out.
    [[nodiscard]] KzDxCallSet<KzDxTimer*>& runningTimers() { return runningTimers_; }

private:
    void makeClientTimer(std::uint32_t interval);
    void dropClientTimer();

    KzApDocument* document_;
    KzDxBlocks* blocks_ = nullptr;
    KzDxTimer* timer_ = nullptr;
    KzDxExternalClientTimerReactor* clientReactor_ = nullptr;
    KzDxCallSet<KzDxTimer*> runningTimers_;
};
