#include "headless/edit.h"

namespace Headless {

namespace {

TraceEvent eventOf(const char* name, std::initializer_list<Object*> objects) {
    std::string subject;
    for (const Object* const each : objects) {
        if (each != nullptr) subject += (subject.empty() ? "" : ", ") + describeObject(each->id());
    }
    return {TraceCategory::edit, std::string("edit ") + name, subject};
}

} // namespace

Edit::Edit(const char* name, std::initializer_list<Object*> objects)
    : trace_([&] { return eventOf(name, objects); }), editing_((*objects.begin())->drawing()) {
    for (Object* const each : objects) {
        if (each == nullptr) continue;
        each->beginWriting();
        objects_[count_++] = each;
    }
}

void Edit::tellBefore() {
    for (std::size_t at = 0; at < count_; ++at) objects_[at]->tellAboutToChange();
}

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
