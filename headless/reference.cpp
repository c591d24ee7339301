#include "headless/reference.h"

#include "headless/fault_gate.h"
#include "headless/record.h"
#include "headless/representation_protocol.h"

#include <algorithm>

namespace Headless {

namespace {

/// Walks the attributes of a reference, which has to be open meanwhile.
class AttributeIterator final : public KzDbObjectIterator {
public:
    explicit AttributeIterator(const std::vector<KzDbObjectId>& attributes) : attributes_(attributes) {
        passErased(false);
    }

    [[nodiscard]] bool done() const override { return at_ >= attributes_.size(); }
    [[nodiscard]] KzDbObjectId objectId() const override {
        return done() ? KzDbObjectId() : attributes_[at_];
    }

    void step(bool backwards, bool skipErased) override {
        if (done()) return;
        move(backwards);
        if (skipErased) passErased(backwards);
    }

private:
    // Stepping back from the first one wraps around to a position that counts as done.
    void move(bool backwards) { backwards ? --at_ : ++at_; }
    void passErased(bool backwards) {
        while (!done() && attributes_[at_].isErased()) move(backwards);
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
    if (FaultGate::strikes(HostCall::evaluationGraph)) return FaultGate::status();
    if (object == nullptr || key == nullptr) return Orvo::missingCollaborator;
    const auto* const record = findAs<Record>(object->objectId());
    auto* const found = record != nullptr ? findAs<Graph>(record->graph()) : nullptr;
    if (found == nullptr || std::u16string_view(key) != u"ORVO_ENHANCEDBLOCK") return Orvo::keyNotFound;
    const Orvo::ErrorStatus status = found->open(mode);
    if (status == Orvo::ok) graph = found;
    return status;
}
