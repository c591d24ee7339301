#include "timers/idle_check.h"

#include "core/boundary.h"
#include "frame/application.h"
#include "host/documents.h"
#include "host/editor.h"
#include "timers/timer.h"

#include <bit>

namespace {

/// The number of the idle-check message; 0 until the first one is posted.
std::uint32_t idleCheckNumber = 0;

/// Whether the host is idle: it only waits for the user.
bool isDocumentIdle(const KzDxDocument& data) {
    const KzApDocument* const document = data.document();
    if (document == nullptr || !document->isReady()) return false;
    const KzAp::DocLockMode mode = document->lockMode(false);
    if (mode != KzAp::DocLockMode{2} && mode != KzAp::DocLockMode{0}) return false;
    if (kzedCommandActive() != 0) return false;
    const KzApDocManager* const manager = kzDocManagerPtr();
    if (manager == nullptr || manager->busy(document) != 0) return false;
    return !KzPlatform::inputIsWaiting();
}

/// The data of the document that a message carries, if they are switched on. The parameter may be any
/// number, so it is compared with the address of the current document and not dereferenced.
KzDxDocument* dataOfCurrent(std::uintptr_t parameter) {
    KzDxApplication* const application = KzDxApplication::instance();
    if (application == nullptr || parameter == 0) return nullptr;
    const KzApDocManager* const manager = kzDocManagerPtr();
    KzApDocument* const current = manager == nullptr ? nullptr : manager->currentDocument();
    if (std::bit_cast<std::uintptr_t>(current) != parameter) return nullptr;
    if (!current->isReady()) return nullptr;
    KzDxDocument* const data = application->docData(current, false);
    return data != nullptr && data->isEnabled() ? data : nullptr;
}

void runTimers(KzDxDocument& data) {
    data.runningTimers().callEach(KzDxCallSet<KzDxTimer*>::Next::chosenBeforeCall,
                                  [](KzDxTimer* timer) { timer->checkElapsed(); });
}

} // namespace

void kzdxPostIdleCheck(KzApDocument* document) {
    // A message, not a call: the host dispatches it after all earlier messages.
    const KzPlatform::Window window = KzPlatform::mainWindow();
    if (window == nullptr) return;
    if (idleCheckNumber == 0) idleCheckNumber = KzPlatform::registerWindowMessage(u"WM_KZDX_IDLE_CHECK");
    KzPlatform::postMessage(window, idleCheckNumber, std::bit_cast<std::uintptr_t>(document), 0);
}

// Called for every message of the host, so the first comparison usually decides. Takes an idle check even
// if its document is not idle, because no other filter knows the message.
int kzdxIdleCheckFilter(const KzPlatform::Message* message) noexcept {
    if (message->number != idleCheckNumber) return 0;
    if (idleCheckNumber == 0) return 0; // no idle check was posted yet: 0 is another message
    kzdxAtBoundary([&] {
        KzDxDocument* const data = dataOfCurrent(message->first);
        if (data != nullptr && isDocumentIdle(*data)) runTimers(*data);
    });
    return 1;
}
