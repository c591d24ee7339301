#include "headless/reference.h"

#include "headless/fault_gate.h"
#include "headless/mistakes.h"
#include "headless/record.h"
#include "headless/representation_protocol.h"

#include <algorithm>

namespace Headless {

namespace {

constexpr std::u16string_view enhancedBlockKey = u"ORVO_ENHANCEDBLOCK";

/// Iterator over the attributes of a reference that are not erased. It borrows the list of the reference,
/// which has to be open meanwhile. A step with flags that no module passes is a mistake, and moves it to its
/// end.
class AttributeIterator final : public KzDbObjectIterator {
public:
    explicit AttributeIterator(const std::vector<KzDbObjectId>& attributes) : attributes_(attributes) {
        passErased();
    }

    [[nodiscard]] bool done() const override { return at_ >= attributes_.size(); }
    [[nodiscard]] KzDbObjectId objectId() const override {
        return done() ? KzDbObjectId() : attributes_[at_];
    }

    void step(bool first, bool second) override {
        const bool isRight = isProvidedFor(!first && second,
                                           "step of an attribute iterator with other flags than false, true");
        at_ = isRight && !done() ? at_ + 1 : attributes_.size();
        passErased();
    }

private:
    /// Afterwards it stands on a live attribute or at its end.
    void passErased() {
        while (!done() && attributes_[at_].isErased()) ++at_;
    }

    const std::vector<KzDbObjectId>& attributes_;
    std::size_t at_ = 0;
};

} // namespace

const std::vector<KzDbObjectId>& Reference::attributes() const {
    // One empty list for all references without attributes; never destroyed, since it is given out by
    // reference.
    static const std::vector<KzDbObjectId>& none = *new std::vector<KzDbObjectId>;
    return attributes_ != nullptr ? *attributes_ : none;
}

void Reference::addAttribute(KzDbObjectId attribute) {
    if (attributes_ == nullptr) attributes_ = std::make_unique<std::vector<KzDbObjectId>>();
    attributes_->push_back(attribute);
}

void Reference::removeAttribute(KzDbObjectId attribute) {
    if (attributes_ != nullptr) std::erase(*attributes_, attribute);
}

KzDbObjectIterator* Reference::attributeIterator() const {
    // No attributes at all is null, as the interface says; when all are erased there is an iterator at its
    // end.
    if (FaultGate::strikes(HostCall::attributeIterator) || attributes().empty()) return nullptr;
    return new AttributeIterator(attributes());
}

/// Decided anew at each question: the record may become a representation long after the reference was made.
KzRxObject* Reference::subQueryX(const KzRxClass* protocol) const {
    if (protocol != KzDbBlockRepresentation::desc()) return nullptr;
    const auto* const block = findAs<Record>(block_);
    const bool isRepresentation = block != nullptr && !block->representedBlock().isNull();
    return isRepresentation ? &representationProtocol() : nullptr;
}

} // namespace Headless

Orvo::ErrorStatus KzDbEvalGraph::getGraph(const KzDbObject* object, const char16_t* key,
                                          KzDbEvalGraph*& graph, KzDb::OpenMode mode) {
    using namespace Headless;
    graph = nullptr;
    const bool isRight =
        object != nullptr && key != nullptr && enhancedBlockKey == key && mode == KzDb::OpenMode::forRead;
    if (!isProvidedFor(isRight, "getGraph with another key or mode")) return Orvo::notProvidedFor;
    if (FaultGate::strikes(HostCall::evaluationGraph)) return FaultGate::status();
    // The graph counts as opened by this, and is closed by the caller like any other object.
    const auto* const record = findAs<Record>(object->objectId());
    auto* const found = record != nullptr ? findAs<Graph>(record->graph()) : nullptr;
    if (found == nullptr) return Orvo::keyNotFound;
    const Orvo::ErrorStatus status = found->open(mode);
    if (status == Orvo::ok) graph = found;
    return status;
}
