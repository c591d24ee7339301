#include "frame/document.h"

#include "blocks/block_graph.h"
#include "core/boundary.h"
#include "timers/external_client_timer_reactor.h"
#include "timers/timer.h"

#include <utility>

/// The timer of outside clients, and the reactor that calls them when it elapses. The reactor is destroyed
/// first, because it detaches from the timer.
struct KzDxDocument::ClientTimer {
    ClientTimer(KzDxCallSet<KzDxTimer*>& running, std::uint32_t interval)
        : timer(&running, interval), reactor(&timer) {}

    KzDxTimer timer;
    KzDxExternalClientTimerReactor reactor;
};

KzDxDocumentContext* kzdxContextOf(KzDxDocument* document) {
    return document;
}

KzDxDocument::KzDxDocument(KzApDocument* document) : KzDxDocumentContext(document) {
    storeEnabled(true);
}

KzDxDocument::~KzDxDocument() {
    kzdxAtBoundary([this] { static_cast<void>(KzDxDocument::setEnabled(false)); }); // always `ok`
}

void KzDxDocument::BlocksDeleter::operator()(KzDxBlocks* graph) const noexcept {
    KzDxDeferredDeletion::deleteWhenUnregistered(graph);
}

Orvo::ErrorStatus KzDxDocument::setEnabled(bool enable) {
    // Switches every part, even if another one fails. The data count as switched in any case.
    if (blocks_ != nullptr) static_cast<void>(blocks_->setEnabled(enable));
    if (clientTimer_ != nullptr) {
        static_cast<void>(clientTimer_->timer.setEnabled(enable));
        static_cast<void>(clientTimer_->reactor.setEnabled(enable));
    }
    storeEnabled(enable);
    return Orvo::ok;
}

KzDxBlocks* KzDxDocument::blocks() {
    return blocksMadeBy(KzDxBlocks::create);
}

KzDxBlocks* KzDxDocument::enabledBlocks() {
    return blocksMadeBy(KzDxBlocks::createEnabled);
}

/// Created on first use, because most documents are never watched. After a failure, the next call retries.
KzDxBlocks* KzDxDocument::blocksMadeBy(MakeBlocks make) {
    if (blocks_ != nullptr) return blocks_.get();
    KzDxBlocks* made = nullptr;
    if (make(made, this) == Orvo::ok) blocks_.reset(made);
    return blocks_.get();
}

Orvo::ErrorStatus KzDxDocument::timerAttach(KzDxClientCallback callback, std::uint32_t interval,
                                            bool attach) {
    if (callback == nullptr) return Orvo::missingCollaborator;
    // Detaching creates the timer too, with its interval: the interval of a document is that of the latest
    // call, attaching or detaching.
    std::unique_ptr<ClientTimer> made;
    if (clientTimer_ == nullptr) made = std::make_unique<ClientTimer>(runningTimers(), interval);
    auto& [timer, reactor] = made != nullptr ? *made : *clientTimer_;
    if (attach) {
        static_cast<void>(reactor.attach(callback)); // fails for null only: it has a timer
    } else {
        reactor.detach(callback);
    }
    // Last, so that a failure has no effect.
    if (made != nullptr) {
        clientTimer_ = std::move(made);
    } else {
        timer.setInterval(static_cast<std::int32_t>(interval));
    }
    return Orvo::ok;
}
