// An extension module for tests of the host: it registers with all that a module can register with, and
// leaves it behind on purpose.

#include "host/documents.h"
#include "host/editor.h"
#include "host/module_interface.h"
#include "host/object_reactor.h"
#include "host/platform_export.h"
#include "host/symbol_utilities.h"

#include <cstdint>

#ifndef PROBE_ANSWER
#define PROBE_ANSWER 0
#endif
#ifndef PROBE_VERSION
#define PROBE_VERSION 0x130000
#endif
#define PROBE_EXPORT extern "C" KZ_EXPORT

namespace {

struct ManagerProbe final : KzApDocManagerReactor {
    int heard = 0;
    void documentLockModeChanged(KzApDocument*, KzAp::DocLockMode, KzAp::DocLockMode, KzAp::DocLockMode,
                                 const char16_t*) override {
        ++heard;
    }
};

struct ObjectProbe final : KzDbObjectReactor {
    int heard = 0;
    void modified(const KzDbObject*) override { ++heard; }
};

ManagerProbe managerProbe;
ObjectProbe objectProbe;
void (*whenCalled)() = nullptr;

// A filter that goes on in its own code after the call: the library has to be there still.
int filter(const KzPlatform::Message*) {
    if (whenCalled != nullptr) whenCalled();
    ++managerProbe.heard;
    return 1;
}

void watchModelSpaceOf(KzApDocument* document) {
    const auto* const services = KzDbSymbolUtilities::servicesPtr106();
    const KzDbObjectId space = services->modelSpaceRecordId(document->database());
    KzDbObject* object = nullptr;
    if (kzdbOpenKzDbObject(object, space, KzDb::OpenMode::forNotify, false) != Orvo::ok) return;
    object->addReactor(&objectProbe);
    object->close();
}

} // namespace

#ifdef PROBE_NEEDS
extern "C" void PROBE_NEEDS();
void (*needed)() = PROBE_NEEDS; // found when the library is opened, or not
#endif

PROBE_EXPORT std::int32_t kzrxEntryPoint(std::int32_t message, void* packet) {
    if (message != KzRx::loadMessage) return packet != nullptr ? 5 : 6;
    kzDocManagerPtr()->addReactor(&managerProbe);
    if (kzedRegisterFilterWinMsg(filter) == 0) return 9;
    if (KzApDocument* const document = kzDocManagerPtr()->currentDocument()) watchModelSpaceOf(document);
    return PROBE_ANSWER;
}

PROBE_EXPORT std::uint32_t kzrxGetApiVersion() {
    return PROBE_VERSION;
}

/// What the filter does when it is called.
PROBE_EXPORT void probeSetCall(void (*function)()) {
    whenCalled = function;
}
