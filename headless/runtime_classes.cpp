#include "headless/faults.h"
#include "headless/modules.h"
#include "headless/record.h"
#include "headless/reference.h"
#include "host/enhanced_block.h"

using namespace Headless;

namespace {

/// The protocol object. Stateless: the records store the representations.
class Protocol final : public KzDbBlockRepresentation {
public:
    [[nodiscard]] KzRxClass* isA() const override { return KzDbBlockRepresentation::desc(); }

    Orvo::ErrorStatus getRepresentations(KzDbObjectId block, KzDbObjectIdArray& ids) const override {
        if (shouldFail(HostCall::representations)) return faultStatus();
        const auto* const record = findAs<Record>(block);
        if (record == nullptr) return Orvo::invalidObjectId;
        for (const KzDbObjectId each : record->representations()) ids.append(each);
        return Orvo::ok;
    }

    [[nodiscard]] KzDbObjectId originalBlockTableRecord(const KzDbBlockReference* reference) const override {
        if (!checkUsage(reference != nullptr, "originalBlockTableRecord of null")) return {};
        if (shouldFail(HostCall::originalBlock)) return {};
        // Valid cast: all references that a module can have are objects of this host.
        const auto& own = static_cast<const Reference&>(*reference);
        const auto* const record = findAs<Record>(own.block());
        return record != nullptr ? record->representedBlock() : KzDbObjectId();
    }
};

/// The description of a class. Descriptions are compared by identity.
class ClassDescription final : public KzRxClass {
public:
    explicit ClassDescription(const ClassDescription* base) : base_(base) {}

    /// Every class counts as derived from itself.
    [[nodiscard]] bool isDerivedFrom(const KzRxClass* other) const override {
        return this == other || (base_ != nullptr && base_->isDerivedFrom(other));
    }
    /// Only the class of references has a protocol object.
    [[nodiscard]] KzRxObject* queryX(const KzRxClass* protocol) const override {
        if (shouldFail(HostCall::protocol)) return nullptr;
        const bool hasProtocol =
            protocol == KzDbBlockRepresentation::desc() && isDerivedFrom(KzDbBlockReference::desc());
        return hasProtocol ? &representationProtocol() : nullptr;
    }

private:
    const ClassDescription* base_;
};

/// All descriptions. Never destroyed: modules may call until the process ends.
struct Classes {
    ClassDescription object{nullptr};
    ClassDescription dictionary{&object};
    ClassDescription service{&object};
    ClassDescription representation{&object};
    ClassDescription dbObject{&object};
    ClassDescription table{&dbObject};
    ClassDescription record{&dbObject};
    ClassDescription reference{&dbObject};
    ClassDescription attribute{&dbObject};
    ClassDescription graph{&dbObject};
};

Classes& classes = *new Classes;

} // namespace

/// Never destroyed: modules may call until the process ends.
KzDbBlockRepresentation& Headless::representationProtocol() {
    static Protocol& protocol = *new Protocol;
    return protocol;
}

KzRxClass* Headless::classOf(Kind kind) {
    switch (kind) {
    case Kind::table:
        return &classes.table;
    case Kind::record:
        return &classes.record;
    case Kind::reference:
        return &classes.reference;
    case Kind::attribute:
        return &classes.attribute;
    case Kind::graph:
        return &classes.graph;
    case Kind::none:
        break;
    }
    return nullptr;
}

KzRxClass* KzRxObject::desc() {
    return &classes.object;
}

/// Queries the object only, because no class has a protocol object for all its objects.
KzRxObject* KzRxObject::queryX(const KzRxClass* protocol) const {
    return protocol == nullptr || shouldFail(HostCall::protocol) ? nullptr : subQueryX(protocol);
}

KzRxClass* KzRxDictionary::desc() {
    return &classes.dictionary;
}

KzRxClass* KzRxService::desc() {
    return &classes.service;
}

KzRxClass* KzDbBlockRepresentation::desc() {
    return &classes.representation;
}

KzRxClass* KzDbObject::desc() {
    return &classes.dbObject;
}

KzRxClass* KzDbBlockTable::desc() {
    return &classes.table;
}

KzRxClass* KzDbBlockTableRecord::desc() {
    return &classes.record;
}

KzRxClass* KzDbBlockReference::desc() {
    return &classes.reference;
}

KzRxClass* KzDbAttribute::desc() {
    return &classes.attribute;
}

KzRxClass* KzDbEvalGraph::desc() {
    return &classes.graph;
}
