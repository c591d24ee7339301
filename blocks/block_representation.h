#pragma once

#include "host/enhanced_block.h"

/// Casts `object` to the block-representation protocol; null if it is null or of another class.
[[nodiscard]] inline KzDbBlockRepresentation* asBlockRepresentation(KzRxObject* object) {
    const KzRxClass* const itsClass = object == nullptr ? nullptr : object->isA();
    const bool isProtocol = itsClass != nullptr && itsClass->isDerivedFrom(KzDbBlockRepresentation::desc());
    return isProtocol ? static_cast<KzDbBlockRepresentation*>(object) : nullptr;
}
