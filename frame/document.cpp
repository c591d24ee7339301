#include "frame/document.h"

#include "blocks/block_graph.h"
#include "host/documents.h"
#include "timers/external_client_timer_reactor.h"
#include "timers/timer.h"

#include <new>
#include <utility>

KzDxDocument::KzDxDocument(KzApDocument* document) : document_(document) {
    storeEnabled(true);
}

KzDxDocument::~KzDxDocument() {
    KzDxDocument::setEnabled(false);
    KzDxBlocks::dispose(std::exchange(blocks_, nullptr));
    delete std::exchange(clientReactor_, nullptr);
    delete std::exchange(timer_, nullptr);
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
    if (timer_ == nullptr) {
        timer_ = new (std::nothrow) KzDxTimer(this, interval);
        if (timer_ == nullptr) return Orvo::missingCollaborator;
    } else {
        timer_->setInterval(static_cast<std::int32_t>(interval));
    }
    if (clientReactor_ == nullptr) {
        clientReactor_ = new (std::nothrow) KzDxExternalClientTimerReactor(timer_);
        if (clientReactor_ == nullptr) return Orvo::missingCollaborator;
    }
    if (attach) return clientReactor_->attach(callback);
    clientReactor_->detach(callback);
    return Orvo::ok;
}

KzDbDatabase* KzDxDocument::database() const {
    return document_ == nullptr ? nullptr : document_->database();
}
