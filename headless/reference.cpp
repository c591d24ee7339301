#include "headless/reference.h"

#include "headless/fault_gate.h"
#include "headless/mistakes.h"
#include "headless/record.h"
#include "headless/representation_protocol.h"

#include <algorithm>

namespace Headless {

namespace {

constexpr std::u16string_view enhancedBlockKey = u"ORVO_ENHANCEDBLOCK";

/// Walks the attributes of a reference that are not erased. The reference has to be open meanwhile. Whoever
/// walks as no module has to is at the end.
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
    void passErased() {
        while (!done() && attributes_[at_].isErased()) ++at_;
    }

    const std::vector<KzDbObjectId>& attributes_;
    std::size_t at_ = 0;
};

} // namespace

const std::vector<KzDbObjectId>& Reference::attributes() const {
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
    if (FaultGate::strikes(HostCall::attributeIterator) || attributes().empty()) return nullptr;
    return new AttributeIterator(attributes());
}

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
    const auto* const record = findAs<Record>(object->objectId());
    auto* const found = record != nullptr ? findAs<Graph>(record->graph()) : nullptr;
    if (found == nullptr) return Orvo::keyNotFound;
    const Orvo::ErrorStatus status = found->open(mode);
    if (status == Orvo::ok) graph = found;
    return status;
}
