#include "headless/edit.h"

namespace Headless {

Edit::Edit(std::initializer_list<Object*> objects) : editing_((*objects.begin())->drawing()) {
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
        object.tell([&object](KzDbObjectReactor* reactor) { reactor->modified(object.face()); });
    }
    for (std::size_t at = 0; at < count_; ++at) {
        objects_[at]->endWriting();
        objects_[at]->tellClosed();
    }
}

} // namespace Headless
