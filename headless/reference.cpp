#include "headless/reference.h"

#include "headless/faults.h"
#include "headless/modules.h"
#include "headless/record.h"

namespace Headless {

namespace {

constexpr std::u16string_view enhancedBlockKey = u"ORVO_ENHANCEDBLOCK";

/// Iterator over the attributes of a reference that are not erased. A step with flags that no module passes
/// is a usage error and moves it to its end.
class AttributeIterator final : public KzDbObjectIterator {
public:
    explicit AttributeIterator(const std::vector<KzDbObjectId>& attributes) : position_(attributes) {}

    [[nodiscard]] bool done() const override { return position_.isAtEnd(); }
    [[nodiscard]] KzDbObjectId objectId() const override { return position_.id(); }
    void step(bool first, bool second) override {
        const bool isRight =
            checkUsage(!first && second, "step of an attribute iterator with other flags than false, true");
        isRight ? position_.toNext() : position_.toEnd();
    }

private:
    LivePosition position_;
};

} // namespace

KzDbObjectIterator* Reference::attributeIterator() const {
    // No attributes at all is null, as the interface says; when all are erased there is an iterator at its
    // end.
    if (shouldFail(HostCall::attributeIterator) || attributes().empty()) return nullptr;
    return new AttributeIterator(attributes());
}

/// Decided at each query: the record may become a representation after the reference was created.
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
    if (!checkUsage(isRight, "getGraph with another key or mode")) return Orvo::notProvidedFor;
    if (shouldFail(HostCall::evaluationGraph)) return faultStatus();
    // The graph counts as opened by this, and is closed by the caller like any other object.
    const auto* const record = findAs<Record>(object->objectId());
    auto* const found = record != nullptr ? findAs<Graph>(record->graph()) : nullptr;
    if (found == nullptr) return Orvo::keyNotFound;
    const Orvo::ErrorStatus status = found->open(mode);
    if (status == Orvo::ok) graph = found;
    return status;
}
