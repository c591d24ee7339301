#include "headless/block_table.h"

#include "headless/fault_gate.h"
#include "headless/mistakes.h"
#include "headless/record.h"

namespace Headless {

namespace {

/// Walks the records that are not erased. Whoever walks as no module has to is at the end.
class BlockTableIterator final : public KzDbBlockTableIterator {
public:
    explicit BlockTableIterator(const std::vector<KzDbObjectId>& records)
        : records_(records), at_(records.size()) {}

    void start(bool first, bool second) override {
        const bool isRight = isProvidedFor(first && second, "start of a block table's iterator with a false");
        at_ = isRight ? 0 : records_.size();
        passErased();
    }
    void step(bool first, bool second) override {
        const bool isRight = isProvidedFor(first && second, "step of a block table's iterator with a false");
        at_ = isRight && !done() ? at_ + 1 : records_.size();
        passErased();
    }
    [[nodiscard]] bool done() const override { return at_ >= records_.size(); }

    Orvo::ErrorStatus getRecordId(KzDbObjectId& id) const override {
        id = KzDbObjectId();
        if (FaultGate::strikes(HostCall::recordId)) return FaultGate::status();
        if (done()) return Orvo::invalidObjectId;
        id = records_[at_];
        return Orvo::ok;
    }

private:
    void passErased() {
        while (!done() && records_[at_].isErased()) ++at_;
    }

    const std::vector<KzDbObjectId>& records_;
    std::size_t at_;
};

} // namespace

KzDbObjectId BlockTable::named(std::u16string_view name) const {
    const auto found = byName_.find(std::u16string(name));
    return found != byName_.end() ? found->second : KzDbObjectId();
}

std::u16string BlockTable::nextAnonymousName() {
    std::u16string name;
    do {
        const std::string number = std::to_string(++anonymousNames_);
        name = u"*U" + std::u16string(number.begin(), number.end());
    } while (byName_.contains(name));
    return name;
}

void BlockTable::add(const Record& record) {
    records_.push_back(record.id());
    byName_.emplace(record.name(), record.id());
    noteModelSpace();
}

void BlockTable::rename(Record& record, std::u16string_view name) {
    byName_.erase(record.name());
    record.setName(name);
    byName_.emplace(record.name(), record.id());
    noteModelSpace();
}

void BlockTable::noteModelSpace() {
    modelSpace_ = named(modelSpaceName);
}

Orvo::ErrorStatus BlockTable::getAt(const char16_t* name, KzDbObjectId& id, bool flag) const {
    id = KzDbObjectId();
    if (!isProvidedFor(name != nullptr && !flag, "getAt without a name or with true")) {
        return Orvo::notProvidedFor;
    }
    if (FaultGate::strikes(HostCall::recordByName)) return FaultGate::status();
    const KzDbObjectId found = named(name);
    if (found.isNull() || found.isErased()) return Orvo::keyNotFound;
    id = found;
    return Orvo::ok;
}

Orvo::ErrorStatus BlockTable::newIterator(KzDbBlockTableIterator*& iterator, bool first, bool second) const {
    iterator = nullptr;
    if (!isProvidedFor(first && second, "newIterator with a false")) return Orvo::notProvidedFor;
    if (FaultGate::strikes(HostCall::tableIterator)) return FaultGate::status();
    iterator = new BlockTableIterator(records_);
    return Orvo::ok;
}

} // namespace Headless
