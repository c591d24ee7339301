#include "headless/edit.h"

#include <cassert>

namespace Headless {

namespace {

/// Names all objects that the edit opens.
TraceEvent eventOf(const char* name, std::initializer_list<Object*> objects) {
    std::string subject;
    for (const Object* const each : objects) {
        if (each != nullptr) subject += (subject.empty() ? "" : ", ") + describeObject(each->id());
    }
    return {TraceCategory::edit, std::string("edit ") + name, subject};
}

} // namespace

/// An object that is open for write stays in memory, whatever is done in the notifications: it cannot be sent
/// away, and its drawing cannot be closed. So plain pointers do. The first object must not be null: it says
/// which drawing is edited.
Edit::Edit(const char* name, std::initializer_list<Object*> objects)
    : trace_([&] { return eventOf(name, objects); }), editing_((*objects.begin())->drawing()) {
    for (Object* const each : objects) {
        if (each == nullptr) continue;
        each->beginWriting();
        assert(count_ < mostObjects);
        objects_[count_++] = each;
    }
}

void Edit::tellBefore() {
    for (std::size_t at = 0; at < count_; ++at) objects_[at]->tellAboutToChange();
}

/// All reactors hear of the change before the first object is closed. Each object is closed before its
/// reactors hear of that, so that they find it open for write no longer.
void Edit::tellAfter() {
    for (std::size_t at = 0; at < count_; ++at) {
        Object& object = *objects_[at];
        object.tell("modified", [&object](KzDbObjectReactor* reactor) { reactor->modified(object.face()); });
    }
    for (std::size_t at = 0; at < count_; ++at) {
        objects_[at]->endWriting();
        objects_[at]->tellClosed();
    }
}

} // namespace Headless
