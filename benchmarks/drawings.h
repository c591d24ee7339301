#pragma once

#include "frame/document.h"
#include "host/block_table.h"
#include "host/documents.h"

#include <cstddef>
#include <string_view>
#include <vector>

class KzDxBlocks;

namespace Bench {

/// An open document with an empty drawing; closed at the end.
class OpenDocument {
public:
    OpenDocument();
    OpenDocument(const OpenDocument&) = delete;
    OpenDocument& operator=(const OpenDocument&) = delete;
    ~OpenDocument();

    [[nodiscard]] KzApDocument* get() const { return document_; }
    [[nodiscard]] KzDbDatabase& drawing() const { return *document_->database(); }
    [[nodiscard]] KzDbObjectId modelSpace() const;
    /// The data that the module keeps for the document.
    [[nodiscard]] KzDxDocument& data() const;
    /// The document's graph, built on the first call.
    [[nodiscard]] KzDxBlocks& graph() const;

private:
    KzApDocument* document_;
};

/// Adds the standard drawing of R references to a document; returns its B = R / 100 block definitions.
///
/// Reference j is of block b = j mod B. It is placed in model space when floor(j / B) is even or b is 0, else
/// in block floor(b / 2). Every tenth reference has one attribute. The names of the blocks begin with
/// `prefix`.
std::vector<KzDbObjectId> addStandardDrawing(KzApDocument* document, std::size_t references,
                                             std::u16string_view prefix = u"");

/// A document with the standard drawing.
class StandardDrawing : public OpenDocument {
public:
    explicit StandardDrawing(std::size_t references) : blocks_(addStandardDrawing(get(), references)) {}

    [[nodiscard]] const std::vector<KzDbObjectId>& blocks() const { return blocks_; }

private:
    std::vector<KzDbObjectId> blocks_;
};

} // namespace Bench
