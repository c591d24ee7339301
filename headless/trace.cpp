#include "headless/trace.h"

namespace Headless {

namespace {

TraceListener* current = nullptr;

} // namespace

void traceTo(TraceListener* listener) {
    current = listener;
}

bool isTraced() {
    return current != nullptr;
}

void TraceScope::begin(const TraceEvent& event) {
    listener_ = current;
    listener_->begins(event);
}

void TraceScope::tell(const TraceDetail& result) {
    if (listener_ == current) listener_->gives(result);
}

void TraceScope::end() {
    if (listener_ == current) listener_->ends();
}

} // namespace Headless
