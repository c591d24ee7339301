// "BlockWatch.hmx": prints what changes in the document that is current when it is loaded.
//
//     host.load()                   -- Zelvane first: its exports do the watching
//     host.load("BlockWatch.hmx")

#include "host/documents.h"
#include "host/module_interface.h"
#include "snapshot.h"
#include "zelvane/client.h"

#include <iostream>
#include <memory>
#include <new>
#include <utility>

namespace {

class Watch;
std::unique_ptr<Watch> watch; // from the load message to the unload message

void blocksChanged();

/// One document under watch, from construction to destruction.
class Watch {
public:
    explicit Watch(KzApDocument* document)
        : document_(document), last_(Snapshot::of(*document->database())) {}
    Watch(const Watch&) = delete;
    Watch& operator=(const Watch&) = delete;
    /// A document that was closed meanwhile, or a Zelvane that is gone, has forgotten the callback already.
    ~Watch() { zelvane_.kzdxBlockReferenceMonitorDetach(document_, &blocksChanged); }

    [[nodiscard]] bool start() {
        return zelvane_.areFound() &&
               zelvane_.kzdxBlockReferenceMonitorAttach(document_, &last_.blocks(), &blocksChanged) == 1;
    }
    [[nodiscard]] std::size_t size() const { return static_cast<std::size_t>(last_.blocks().length()); }

    /// Called because a block changed, or a block that it lies in. Which one, the drawing must tell.
    void report() {
        Snapshot now = Snapshot::of(*document_->database());
        const auto lines = last_.changesTo(now);
        last_ = std::move(now);
        for (const std::string& line : lines) std::cout << "BlockWatch: " << line << '\n';
        if (lines.empty()) std::cout << "BlockWatch: edited, and all is as it was\n";
        // Blocks that were defined meanwhile are watched from now on; for the others nothing changes.
        zelvane_.kzdxBlockReferenceMonitorAttach(document_, &last_.blocks(), &blocksChanged);
    }

private:
    KzDxExports zelvane_;
    KzApDocument* document_;
    Snapshot last_;
};

/// Zelvane calls this from the host's message loop, which no exception may cross.
void blocksChanged() try {
    if (watch != nullptr) watch->report();
} catch (const std::bad_alloc&) {
    std::cout << "BlockWatch: too little memory to say what changed\n";
}

KzApDocument* currentDrawing() {
    const KzApDocManager* const manager = kzDocManagerPtr();
    KzApDocument* const document = manager != nullptr ? manager->currentDocument() : nullptr;
    return document != nullptr && document->database() != nullptr ? document : nullptr;
}

KzRx::EntryResult refuse(const char* reason) {
    watch.reset();
    std::cout << "BlockWatch: not loaded, " << reason << '\n';
    return KzRx::loadFailed;
}

KzRx::EntryResult load() {
    KzApDocument* const document = currentDrawing();
    if (document == nullptr) return refuse("no drawing is open");
    watch = std::make_unique<Watch>(document);
    if (watch->size() == 0) return refuse("the drawing has no blocks");
    if (!watch->start()) return refuse("Zelvane has to be loaded first");
    std::cout << "BlockWatch: watching " << watch->size() << " blocks\n";
    return KzRx::done;
}

} // namespace

ZELVANE_EXPORT std::int32_t kzrxEntryPoint(std::int32_t message, void* /*packet*/) noexcept try {
    if (message == KzRx::loadMessage) return load();
    if (message == KzRx::unloadMessage) watch.reset();
    return KzRx::done;
} catch (const std::bad_alloc&) {
    return KzRx::loadFailed;
}

ZELVANE_EXPORT std::uint32_t kzrxGetApiVersion() noexcept {
    return KzRx::apiVersion;
}
