#pragma once

#include "headless/object.h"
#include "host/block_table.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

namespace Headless {

/// The references that insert one record: a list of the live ones and a list of the erased ones, both in
/// order of creation. Part of the record.
///
/// The lists are sorted by the next query and not when a reference is erased or removed from memory,
/// because a query is O(list) anyway: any number of changes costs one pass.
class ReferenceLists {
public:
    /// Adds a reference. Reactors of a copied reference may insert others before the copy is placed.
    void add(KzDbObjectId reference) {
        const bool isLatest = live_.empty() || live_.back() < reference;
        live_.insert(isLatest ? live_.end() : std::upper_bound(live_.begin(), live_.end(), reference),
                     reference);
    }
    /// Must be called when a reference was erased, unerased or removed from memory.
    void changed() { isInOrder_ = false; }

    [[nodiscard]] const std::vector<KzDbObjectId>& live() { return inOrder().live_; }
    [[nodiscard]] const std::vector<KzDbObjectId>& erased() { return inOrder().erased_; }

private:
    ReferenceLists& inOrder() {
        if (!isInOrder_) sort();
        return *this;
    }
    void sort();

    std::vector<KzDbObjectId> live_;
    std::vector<KzDbObjectId> erased_;
    bool isInOrder_ = true;
};

/// A block table record.
class Record final : public ObjectOf<KzDbBlockTableRecord> {
public:
    static constexpr Kind ownKind = Kind::record;

    /// The properties that do not change after creation, except for `forgetAttachedDrawing`.
    struct Origin {
        bool isAnonymous = false;
        bool isLayout = false;
        bool isDependent = false;
        Drawing* attachedDrawing = nullptr; ///< of a record from an external reference
        KzDbObjectId source = {};           ///< of a dependent record: the record that it mirrors
    };

    Record(Drawing& drawing, KzDbObjectId table, std::u16string_view name, const Origin& origin);

    [[nodiscard]] const std::u16string& name() const { return name_; }
    void setName(std::u16string_view name) { name_ = name; }

    /// Called when the attached drawing is closed.
    void forgetAttachedDrawing() { origin_.attachedDrawing = nullptr; }

    /// Whether the record mirrors a record of an attached drawing, which may be closed by now.
    [[nodiscard]] bool isMirror() const { return !origin_.source.isNull(); }

    [[nodiscard]] ReferenceLists& references() const { return references_; }
    /// The live (or erased) references that are reported: those of the mirrored record, then its own.
    template <class Take>
    void reportReferences(bool isErased, Take take) const {
        if (const auto* const source = findAs<Record>(origin_.source)) take(source->ownReferences(isErased));
        take(ownReferences(isErased));
    }

    [[nodiscard]] KzDbObjectId graph() const { return graph_; }
    void setGraph(KzDbObjectId graph) { graph_ = graph; }
    [[nodiscard]] const std::vector<KzDbObjectId>& representations() const { return representations_; }
    /// The enhanced block that this record represents; null if it represents none.
    [[nodiscard]] KzDbObjectId representedBlock() const { return representedBlock_; }
    void addRepresentation(Record& representation);

    // The interface for modules.
    [[nodiscard]] bool isAnonymous() const override { return origin_.isAnonymous; }
    [[nodiscard]] bool isLayout() const override { return origin_.isLayout; }
    [[nodiscard]] bool isDependent() const override { return origin_.isDependent; }
    [[nodiscard]] bool isFromExternalReference() const override { return origin_.attachedDrawing != nullptr; }
    [[nodiscard]] KzDbDatabase* xrefDatabase(bool) const override;
    Orvo::ErrorStatus getName(const char16_t*& name) const override;
    Orvo::ErrorStatus getBlockReferenceIds(KzDbObjectIdArray& ids, bool, bool) const override;
    Orvo::ErrorStatus getErasedBlockReferenceIds(KzDbObjectIdArray& ids) const override;

private:
    [[nodiscard]] const std::vector<KzDbObjectId>& ownReferences(bool isErased) const {
        return isErased ? references_.erased() : references_.live();
    }
    Orvo::ErrorStatus appendReferences(bool isErased, KzDbObjectIdArray& ids) const;

    std::u16string name_;
    Origin origin_;
    mutable ReferenceLists references_; // sorted by queries
    KzDbObjectId graph_;
    std::vector<KzDbObjectId> representations_;
    KzDbObjectId representedBlock_;
};

} // namespace Headless
