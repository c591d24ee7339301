#include "blocks/remove_reactor.h"

#include "core/boundary.h"
#include "zelvane/opened.h"

bool kzdxRemoveReactor(KzDbObjectId id, KzDbObjectReactor* reactor) noexcept {
    if (!id.isValid()) return true;
    return kzdxAtBoundary(false, [&] {
        const Zelvane::Opened<KzDbObject> object(id, KzDb::OpenMode::forNotify, true);
        if (!object) return false;
        object->removeReactor(reactor);
        return true;
    });
}
