#include "headless/faults.h"
#include "headless/mistakes.h"
#include "headless/record.h"
#include "headless/reference.h"
#include "host/enhanced_block.h"

#include <utility>
#include <vector>

using namespace Headless;

namespace {

/// The protocol object has no state: all that it tells stands in the records.
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
        if (!isProvidedFor(reference != nullptr, "originalBlockTableRecord of null")) return {};
        if (shouldFail(HostCall::originalBlock)) return {};
        // Every reference that a module can have comes from this host.
        const auto& own = static_cast<const Reference&>(*reference);
        const auto* const record = findAs<Record>(own.block());
        return record != nullptr ? record->representedBlock() : KzDbObjectId();
    }
};

/// What describes a class: its base, and the protocol objects that it keeps for all its objects. Descriptions
/// compare by identity.
class ClassDescription final : public KzRxClass {
public:
    explicit ClassDescription(const ClassDescription* base) : base_(base) {}

    [[nodiscard]] bool isDerivedFrom(const KzRxClass* other) const override {
        // Every class counts as derived from itself.
        for (const ClassDescription* each = this; each != nullptr; each = each->base_) {
            if (each == other) return true;
        }
        return false;
    }

    [[nodiscard]] KzRxObject* queryX(const KzRxClass* protocol) const override {
        return shouldFail(HostCall::protocol) ? nullptr : kept(protocol);
    }

    /// What `queryX` gives when no fault strikes: the object of the class itself or of its nearest base.
    [[nodiscard]] KzRxObject* kept(const KzRxClass* protocol) const {
        for (const ClassDescription* each = this; each != nullptr; each = each->base_) {
            for (const auto& [offered, object] : each->protocols_) {
                if (offered == protocol) return object;
            }
        }
        return nullptr;
    }

    /// Borrowed: protocol objects live as long as the process.
    void offer(const KzRxClass* protocol, KzRxObject* object) { protocols_.emplace_back(protocol, object); }

private:
    const ClassDescription* base_;
    std::vector<std::pair<const KzRxClass*, KzRxObject*>> protocols_;
};

/// All descriptions. They live as long as the process, beyond the destruction of static objects.
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

    Classes() { reference.offer(&representation, &representationProtocol()); }
};

Classes& classes = *new Classes;

/// Whether a reference alone decides on a protocol that its class keeps for all references.
bool isDecidedByObject(const KzRxClass* ofObject, const KzRxClass* protocol) {
    return ofObject == &classes.reference && protocol == &classes.representation;
}

} // namespace

/// Never destroyed: the class of references offers it as long as the process lives.
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

KzRxObject* KzRxObject::queryX(const KzRxClass* protocol) const {
    if (protocol == nullptr || shouldFail(HostCall::protocol)) return nullptr;
    // The object first, then its class.
    if (KzRxObject* const own = subQueryX(protocol); own != nullptr) return own;
    // Every description is one of the host's. Asked past its `queryX`, so that one question is one call.
    const auto* const description = static_cast<const ClassDescription*>(isA());
    if (description == nullptr || isDecidedByObject(description, protocol)) return nullptr;
    return description->kept(protocol);
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
