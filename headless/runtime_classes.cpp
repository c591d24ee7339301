#include "headless/runtime_classes.h"

#include "headless/fault_gate.h"
#include "headless/representation_protocol.h"
#include "host/enhanced_block.h"

#include <utility>
#include <vector>

namespace {

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
        return Headless::FaultGate::strikes(Headless::HostCall::protocol) ? nullptr : kept(protocol);
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

    Classes() { reference.offer(&representation, &Headless::representationProtocol()); }
};

Classes& classes = *new Classes;

/// Whether a reference alone decides on a protocol that its class keeps for all references.
bool isDecidedByObject(const KzRxClass* ofObject, const KzRxClass* protocol) {
    return ofObject == &classes.reference && protocol == &classes.representation;
}

} // namespace

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
    if (protocol == nullptr || Headless::FaultGate::strikes(Headless::HostCall::protocol)) return nullptr;
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
