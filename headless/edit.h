#pragma once

#include "headless/drawing.h"
#include "headless/inspection.h"

#include <initializer_list>

namespace Headless {

/// The course of every edit: the objects are opened for write and their reactors told so, the change is made,
/// the reactors hear of it, the objects are closed. The objects must not be open, which the edit has checked.
class Edit {
public:
    /// Opens the objects (null ones are passed over) without telling their reactors yet. `name` is for
    /// traces.
    Edit(const char* name, std::initializer_list<Object*> objects);
    Edit(const Edit&) = delete;
    Edit& operator=(const Edit&) = delete;
    ~Edit() = default;

    /// `change` is called between the two rounds of notifications.
    template <class Change>
    void make(Change change) {
        tellBefore();
        change();
        tellAfter();
    }

    /// Lets a trace know what the edit has made.
    void hasMade(KzDbObjectId object) {
        trace_.gives([&] { return TraceDetail{"made", describeObject(object)}; });
    }

private:
    static constexpr std::size_t mostObjects = 3;

    void tellBefore();
    void tellAfter();

    TraceScope trace_;
    std::size_t count_ = 0;
    Object* objects_[mostObjects] = {};
    Drawing::Editing editing_;
};

} // namespace Headless
