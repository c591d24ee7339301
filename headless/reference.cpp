#include "headless/reference.h"

#include "headless/faults.h"
#include "headless/modules.h"
#include "headless/record.h"

namespace Headless {

namespace {

constexpr std::u16string_view enhancedBlockKey = u"ORVO_ENHANCEDBLOCK";

/// Iterates over the attributes of a reference that are not erased. A step with other flags than modules
/// pass is a usage error and moves the iterator to its end.
class AttributeIterator final : public KzDbObjectIterator {
public:
    explicit AttributeIterator(const std::vector<KzDbObjectId>& attributes) : position_(attributes) {}

    [[nodiscard]] bool done() const override { return position_.isAtEnd(); }
    [[nodiscard]] KzDbObjectId objectId() const override { return position_.id(); }
    void step(bool first, bool second) override {
        const bool isValid =
            checkUsage(!first && second, "step of an attribute iterator with other flags than false, true");
        isValid ? position_.toNext() : position_.toEnd();
    }

private:
    LivePosition position_;
};

} // namespace

KzDbObjectIterator* Reference::attributeIterator() const {
    // Null if the reference has no attributes. If all are erased, the iterator is at its end.
    if (shouldFail(HostCall::attributeIterator) || attributes().empty()) return nullptr;
    return new AttributeIterator(attributes());
}

/// Determined at each query, because the record may become a representation after the reference was
/// created.
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
    const bool isValid =
        object != nullptr && key != nullptr && enhancedBlockKey == key && mode == KzDb::OpenMode::forRead;
    if (!checkUsage(isValid, "getGraph with another key or mode")) return Orvo::notProvidedFor;
    if (shouldFail(HostCall::evaluationGraph)) return faultStatus();
    // This opens the graph; the caller must close it like any other object.
    const auto* const record = findAs<Record>(object->objectId());
    auto* const found = record != nullptr ? findAs<Graph>(record->graph()) : nullptr;
    if (found == nullptr) return Orvo::keyNotFound;
    const Orvo::ErrorStatus status = found->open(mode);
    if (status == Orvo::ok) graph = found;
    return status;
}
