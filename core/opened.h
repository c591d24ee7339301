#pragma once

#include "zelvane/opened.h"

/// A host object that is open as long as a scope lasts. Nothing is kept open between operations of the
/// module, so these live on the stack only.
template <class T>
using KzDxOpened = Zelvane::Opened<T>;
