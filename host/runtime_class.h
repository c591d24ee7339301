#pragma once

/// @file
/// Run-time classes and dictionaries.

#include "host/platform_export.h"

class KzRxClass;

/// The base of all objects that the host and its modules exchange; it knows its class at run time.
///
///     if (object->isA()->isDerivedFrom(KzDbBlockReference::desc())) ...
class KzRxObject {
public:
    KzRxObject() = default;
    KzRxObject(const KzRxObject&) = delete;
    KzRxObject& operator=(const KzRxObject&) = delete;

    /// The class of all objects.
    [[nodiscard]] KZHOST_API static KzRxClass* desc();

    /// The protocol object of class `protocol` that this object provides: its own if it has one, else that
    /// of its class, unless the class lets each object decide whether it provides that
    /// protocol (as references do for block representations). Null if there is none. Not owned by the
    /// caller.
    [[nodiscard]] KZHOST_API KzRxObject* queryX(const KzRxClass* protocol) const;

    // The order of these operations is part of the host's interface. The module overrides only the
    // destructor.
    virtual ~KzRxObject() = default;
    /// The class of this object.
    [[nodiscard]] virtual KzRxClass* isA() const { return desc(); }
    /// Reserved.
    /// @{
    [[nodiscard]] virtual KzRxObject* clone() const { return nullptr; }
    virtual bool copyFrom(const KzRxObject*) { return false; }
    [[nodiscard]] virtual bool isEqualTo(const KzRxObject* other) const { return this == other; }
    [[nodiscard]] virtual int comparedTo(const KzRxObject* other) const { return this == other ? 0 : -1; }
    /// @}
    /// The object's own part of `queryX`.
    [[nodiscard]] virtual KzRxObject* subQueryX(const KzRxClass*) const { return nullptr; }
};

/// Description of a class at run time. Descriptions live as long as the process and compare by identity.
///
///     KzRxObject* const protocol = KzDbBlockReference::desc()->queryX(KzDbBlockRepresentation::desc());
class KzRxClass : public KzRxObject {
public:
    /// Whether this is `other` or a class derived from it. False for null.
    [[nodiscard]] virtual bool isDerivedFrom(const KzRxClass* other) const = 0;

    /// The protocol object of class `protocol` that this class, or the nearest base that has one, has for
    /// all its objects; null if there is none. The query concerns the class described, not the
    /// description.
    [[nodiscard]] virtual KzRxObject* queryX(const KzRxClass* protocol) const = 0;
};

/// A dictionary from names to objects.
///
///     const KzRxObject* const services = kzrxSysRegistry()->at(u"ServiceDictionary");
class KzRxDictionary : public KzRxObject {
public:
    [[nodiscard]] KZHOST_API static KzRxClass* desc(); ///< describes the class

    /// The object under `key`, still owned by the dictionary; null if there is none.
    [[nodiscard]] virtual KzRxObject* at(const char16_t* key) const = 0;

    /// Removes the object under `key` and returns it to the caller, which destroys it; null if there is none.
    [[nodiscard]] virtual KzRxObject* remove(const char16_t* key) = 0;
};

/// The entry of the service dictionary for a registered service.
/// Created by `kzrxRegisterService`.
class KzRxService : public KzRxObject {
public:
    [[nodiscard]] KZHOST_API static KzRxClass* desc(); ///< describes the class
};

/// The registry of the whole system; its entry "ServiceDictionary" is the dictionary of services.
[[nodiscard]] KZHOST_API KzRxDictionary* kzrxSysRegistry();
