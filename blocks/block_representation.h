#pragma once

#include "host/enhanced_block.h"

/// `object` as a block-representation protocol; null when it is null or of another class.
[[nodiscard]] inline KzDbBlockRepresentation* asBlockRepresentation(KzRxObject* object) {
    const KzRxClass* const itsClass = object == nullptr ? nullptr : object->isA();
    const bool isProtocol = itsClass != nullptr && itsClass->isDerivedFrom(KzDbBlockRepresentation::desc());
    return isProtocol ? static_cast<KzDbBlockRepresentation*>(object) : nullptr;
}
