#pragma once

#include "headless/object.h"
#include "host/block_table.h"
#include "host/enhanced_block.h"

#include <string>
#include <string_view>
#include <vector>

namespace Headless {

/// A block reference.
class Reference final : public ObjectOf<KzDbBlockReference> {
public:
    static constexpr Kind ownKind = Kind::reference;

    Reference(Drawing& drawing, KzDbObjectId owner, KzDbObjectId block)
        : ObjectOf(ownKind, drawing, owner), block_(block) {}

    /// The attributes in order of creation, erased ones too.
    [[nodiscard]] const std::vector<KzDbObjectId>& attributes() const { return attributes_; }
    void addAttribute(KzDbObjectId attribute) { attributes_.push_back(attribute); }
    void removeAttribute(KzDbObjectId attribute) { std::erase(attributes_, attribute); }

    /// The record that the reference inserts.
    [[nodiscard]] KzDbObjectId block() const { return block_; }

    // The interface for modules.
    [[nodiscard]] KzDbObjectIterator* attributeIterator() const override;
    [[nodiscard]] KzRxObject* subQueryX(const KzRxClass* protocol) const override;

private:
    KzDbObjectId block_;
    std::vector<KzDbObjectId> attributes_;
};

/// A text that belongs to a reference.
class Attribute final : public ObjectOf<KzDbAttribute> {
public:
    static constexpr Kind ownKind = Kind::attribute;

    Attribute(Drawing& drawing, KzDbObjectId owner, std::u16string_view tag, std::u16string_view text)
        : ObjectOf(ownKind, drawing, owner), tag_(tag), text_(text) {}

    [[nodiscard]] const std::u16string& tagText() const { return tag_; }
    [[nodiscard]] const std::u16string& text() const { return text_; }
    void setText(std::u16string_view text) { text_ = text; }

    // The interface for modules.
    [[nodiscard]] const char16_t* tag() const override { return tag_.c_str(); }
    [[nodiscard]] const char16_t* value() const override { return text_.c_str(); }

private:
    std::u16string tag_;
    std::u16string text_;
};

/// The protocol object for enhanced blocks and their representations. Singleton.
[[nodiscard]] KzDbBlockRepresentation& representationProtocol();

/// The evaluation graph of an enhanced block.
class Graph final : public ObjectOf<KzDbEvalGraph> {
public:
    static constexpr Kind ownKind = Kind::graph;

    Graph(Drawing& drawing, KzDbObjectId record) : ObjectOf(ownKind, drawing, record) {}
};

} // namespace Headless
