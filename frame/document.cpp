#include "frame/document.h"

#include "blocks/block_graph.h"
#include "core/boundary.h"
#include "core/scope_guard.h"
#include "timers/external_client_timer_reactor.h"
#include "timers/timer.h"

KzDxDocument::KzDxDocument(KzApDocument* document) : KzDxDocumentContext(document) {
    storeEnabled(true);
}

KzDxDocument::~KzDxDocument() {
    kzdxAtBoundary([this] { static_cast<void>(KzDxDocument::setEnabled(false)); }); // always `ok`
}

void KzDxDocument::BlocksDeleter::operator()(KzDxBlocks* graph) const noexcept {
    KzDxDeferredDeletion::begin(graph);
}

Orvo::ErrorStatus KzDxDocument::setEnabled(bool enable) {
    // Each part is switched whatever becomes of the others, and the data count as switched in any case.
    if (blocks_ != nullptr) static_cast<void>(blocks_->setEnabled(enable));
    if (timer_ != nullptr) static_cast<void>(timer_->setEnabled(enable));
    if (clientReactor_ != nullptr) static_cast<void>(clientReactor_->setEnabled(enable));
    storeEnabled(enable);
    return Orvo::ok;
}

KzDxBlocks* KzDxDocument::blocks() {
    return blocksMadeBy(KzDxBlocks::create);
}

KzDxBlocks* KzDxDocument::followingBlocks() {
    return blocksMadeBy(KzDxBlocks::createFollowing);
}

/// The graph is made when it is first wanted: most documents are never watched. Without one now, the next
/// call tries again.
KzDxBlocks* KzDxDocument::blocksMadeBy(MakeBlocks make) {
    if (blocks_ != nullptr) return blocks_.get();
    KzDxBlocks* made = nullptr;
    if (make(made, this) == Orvo::ok) blocks_.reset(made);
    return blocks_.get();
}

Orvo::ErrorStatus KzDxDocument::timerAttach(KzDxClientCallback callback, std::uint32_t interval,
                                            bool attach) {
    if (callback == nullptr) return Orvo::missingCollaborator;
    // Detaching makes the timer too, with the interval that it is given: the interval of a document is the
    // last one named, by whichever call.
    const bool isFirst = clientReactor_ == nullptr;
    KzDxScopeGuard undo([&] {
        if (isFirst) dropClientTimer();
    });
    if (isFirst) makeClientTimer(interval);
    if (attach) {
        static_cast<void>(clientReactor_->attach(callback)); // refuses null only: it has a timer
    } else {
        clientReactor_->detach(callback);
    }
    if (!isFirst) timer_->setInterval(static_cast<std::int32_t>(interval));
    undo.dismiss();
    return Orvo::ok;
}

void KzDxDocument::makeClientTimer(std::uint32_t interval) {
    timer_ = std::make_unique<KzDxTimer>(&runningTimers(), interval);
    clientReactor_ = std::make_unique<KzDxExternalClientTimerReactor>(timer_.get());
}

void KzDxDocument::dropClientTimer() {
    clientReactor_.reset();
    timer_.reset();
}
