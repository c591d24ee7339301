#include "headless/representation_protocol.h"

#include "headless/fault_gate.h"
#include "headless/mistakes.h"
#include "headless/record.h"
#include "headless/reference.h"

namespace {

using Headless::FaultGate;
using Headless::HostCall;

/// The protocol object has no state: all that it tells stands in the records.
class Protocol final : public KzDbBlockRepresentation {
public:
    [[nodiscard]] KzRxClass* isA() const override { return KzDbBlockRepresentation::desc(); }

    Orvo::ErrorStatus getRepresentations(KzDbObjectId block, KzDbObjectIdArray& ids) const override {
        if (FaultGate::strikes(HostCall::representations)) return FaultGate::status();
        const auto* const record = Headless::findAs<Headless::Record>(block);
        if (record == nullptr) return Orvo::invalidObjectId;
        for (const KzDbObjectId each : record->representations()) ids.append(each);
        return Orvo::ok;
    }

    [[nodiscard]] KzDbObjectId originalBlockTableRecord(const KzDbBlockReference* reference) const override {
        if (!Headless::isProvidedFor(reference != nullptr, "originalBlockTableRecord of null")) return {};
        if (FaultGate::strikes(HostCall::originalBlock)) return {};
        // Every reference that a module can have comes from this host.
        const auto& own = static_cast<const Headless::Reference&>(*reference);
        const auto* const record = Headless::findAs<Headless::Record>(own.block());
        return record != nullptr ? record->representedBlock() : KzDbObjectId();
    }
};

} // namespace

/// Singleton, never destroyed: the class of references keeps it as long as the process lives.
KzDbBlockRepresentation& Headless::representationProtocol() {
    static Protocol& protocol = *new Protocol;
    return protocol;
}
