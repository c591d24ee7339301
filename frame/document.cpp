#include "frame/document.h"

#include "blocks/block_graph.h"
#include "frame/boundary.h"
#include "frame/rollback.h"
#include "host/documents.h"
#include "timers/external_client_timer_reactor.h"
#include "timers/timer.h"

#include <utility>

KzDxDocument::KzDxDocument(KzApDocument* document) : document_(document) {
    storeEnabled(true);
}

KzDxDocument::~KzDxDocument() {
    kzdxAtBoundary([this] { KzDxDocument::setEnabled(false); });
    KzDxBlocks::dispose(std::exchange(blocks_, nullptr));
    dropClientTimer();
}

Orvo::ErrorStatus KzDxDocument::setEnabled(bool enable) {
    if (blocks_ != nullptr) blocks_->setEnabled(enable);
    if (timer_ != nullptr) timer_->setEnabled(enable);
    if (clientReactor_ != nullptr) clientReactor_->setEnabled(enable);
    storeEnabled(enable);
    return Orvo::ok;
}

KzDxBlocks* KzDxDocument::blocks() {
    if (blocks_ == nullptr) KzDxBlocks::create(blocks_, this);
    return blocks_;
}

Orvo::ErrorStatus KzDxDocument::timerAttach(KzDxClientCallback callback, std::uint32_t interval,
                                            bool attach) {
    if (callback == nullptr) return Orvo::missingCollaborator;
    const bool isFirst = clientReactor_ == nullptr;
    KzDxRollback undo([&] {
        if (isFirst) dropClientTimer();
    });
    if (isFirst) makeClientTimer(interval);
    if (attach) {
        const Orvo::ErrorStatus status = clientReactor_->attach(callback);
        if (status != Orvo::ok) return status;
    } else {
        clientReactor_->detach(callback);
    }
    if (!isFirst) timer_->setInterval(static_cast<std::int32_t>(interval));
    undo.keep();
    return Orvo::ok;
}

void KzDxDocument::makeClientTimer(std::uint32_t interval) {
    timer_ = new KzDxTimer(this, interval);
    clientReactor_ = new KzDxExternalClientTimerReactor(timer_);
}

void KzDxDocument::dropClientTimer() {
    delete std::exchange(clientReactor_, nullptr);
    delete std::exchange(timer_, nullptr);
}

KzDbDatabase* KzDxDocument::database() const {
    return document_ == nullptr ? nullptr : document_->database();
}
