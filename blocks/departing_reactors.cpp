#include "blocks/departing_reactors.h"

#include "frame/opened.h"

#include <utility>

bool kzdxLeaveObject(KzDbObjectId id, KzDbObjectReactor* reactor) {
    if (!id.isValid()) return true;
    const KzDxOpened<KzDbObject> object(id, KzDb::OpenMode::forNotify, true);
    if (!object) return false;
    object->removeReactor(reactor);
    return true;
}

KzDxDepartingReactors& KzDxDepartingReactors::instance() {
    static KzDxDepartingReactors departing;
    return departing;
}

void KzDxDepartingReactors::adopt(KzDbObjectReactor* reactor, std::vector<KzDbObjectId> registered) {
    Departing departing{reactor, std::move(registered)};
    if (!hasLeft(departing)) waiting_.push_back(std::move(departing));
}

void KzDxDepartingReactors::retry() {
    std::erase_if(waiting_, hasLeft);
}

bool KzDxDepartingReactors::hasLeft(Departing& departing) {
    std::erase_if(departing.registered,
                  [&](KzDbObjectId id) { return kzdxLeaveObject(id, departing.reactor); });
    if (!departing.registered.empty()) return false;
    delete departing.reactor;
    return true;
}
