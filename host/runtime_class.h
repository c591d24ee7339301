#pragma once

/// @file
/// Classes at run time, and what is kept under names.

#include "host/platform_export.h"

class KzRxClass;

/// The root of everything that the host and its modules exchange: it knows its class at run time.
///
///     if (object->isA()->isDerivedFrom(KzDbBlockReference::desc())) ...
class KzRxObject {
public:
    KzRxObject() = default;
    KzRxObject(const KzRxObject&) = delete;
    KzRxObject& operator=(const KzRxObject&) = delete;

    /// The class of all objects.
    [[nodiscard]] KZHOST_API static KzRxClass* desc();

    /// The protocol object of class `protocol` that this object offers: its own if it has one, else the one
    /// that its class keeps for all, unless the class leaves it to each object whether it offers that
    /// protocol (as references do with block representations). Null when there is none. Not owned by the
    /// caller.
    [[nodiscard]] KZHOST_API KzRxObject* queryX(const KzRxClass* protocol) const;

    // The order of these operations is part of the host's interface. The module overrides the destructor and
    // leaves the others as they are.
    virtual ~KzRxObject() = default;
    /// The class of this object.
    [[nodiscard]] virtual KzRxClass* isA() const { return desc(); }
    /// Keep their slots; the module leaves them as they are.
    /// @{
    [[nodiscard]] virtual KzRxObject* clone() const { return nullptr; }
    virtual bool copyFrom(const KzRxObject*) { return false; }
    [[nodiscard]] virtual bool isEqualTo(const KzRxObject* other) const { return this == other; }
    [[nodiscard]] virtual int comparedTo(const KzRxObject* other) const { return this == other ? 0 : -1; }
    /// @}
    /// What `queryX` asks of the object itself.
    [[nodiscard]] virtual KzRxObject* subQueryX(const KzRxClass*) const { return nullptr; }
};

/// Describes a class at run time. Descriptions live as long as the process and compare by identity.
///
///     KzRxObject* const protocol = KzDbBlockReference::desc()->queryX(KzDbBlockRepresentation::desc());
class KzRxClass : public KzRxObject {
public:
    /// Whether this is `other` or a class derived from it. False for null.
    [[nodiscard]] virtual bool isDerivedFrom(const KzRxClass* other) const = 0;

    /// The protocol object of class `protocol` that this class, or the nearest base that has one, keeps for
    /// all its objects; null when there is none. The question goes to the class described, not to the
    /// description.
    [[nodiscard]] virtual KzRxObject* queryX(const KzRxClass* protocol) const = 0;
};

/// A dictionary from names to objects.
///
///     const KzRxObject* const services = kzrxSysRegistry()->at(u"ServiceDictionary");
class KzRxDictionary : public KzRxObject {
public:
    [[nodiscard]] KZHOST_API static KzRxClass* desc(); ///< describes the class

    /// The object under `key`, still owned by the dictionary; null when there is none.
    [[nodiscard]] virtual KzRxObject* at(const char16_t* key) const = 0;

    /// Takes the object under `key` out and hands it to the caller, who destroys it; null when there is none.
    [[nodiscard]] virtual KzRxObject* remove(const char16_t* key) = 0;
};

/// What the service dictionary holds under the name of a registered service.
/// `kzrxRegisterService` makes one.
class KzRxService : public KzRxObject {
public:
    [[nodiscard]] KZHOST_API static KzRxClass* desc(); ///< describes the class
};

/// The registry of the whole system; its entry "ServiceDictionary" is the dictionary of services.
[[nodiscard]] KZHOST_API KzRxDictionary* kzrxSysRegistry();
