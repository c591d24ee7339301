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
    /// The data that the module keeps of the document.
    [[nodiscard]] KzDxDocument& data() const;
    /// The document's graph, built on the first call.
    [[nodiscard]] KzDxBlocks& graph() const;

private:
    KzApDocument* document_;
};

/// Adds the standard drawing of R references to a document, and gives its B = R / 100 block definitions.
///
/// Reference j is of block b = j mod B. It is placed in model space when floor(j / B) is even or b is 0, else
/// in block floor(b / 2). Every tenth reference has one attribute. `prefix` begins the blocks' names.
std::vector<KzDbObjectId> addStandardDrawing(KzApDocument* document, std::size_t references,
                                             std::u16string_view prefix = u"");

/// A document with the standard drawing.
class StandardDrawing : public OpenDocument {
public:
    explicit StandardDrawing(std::size_t references)
        : references_(references), blocks_(addStandardDrawing(get(), references)) {}

    [[nodiscard]] std::size_t references() const { return references_; }
    [[nodiscard]] const std::vector<KzDbObjectId>& blocks() const { return blocks_; }

private:
    std::size_t references_;
    std::vector<KzDbObjectId> blocks_;
};

/// A block with so many references, all in model space; and, in another drawing, an enhanced block with as
/// many, which are spread over representations by turns. Both are made side by side, so that neither lies
/// better in memory.
void addPlainAndEnhancedBlock(const OpenDocument& plain, const OpenDocument& enhanced, std::size_t references,
                              std::size_t representations);

} // namespace Bench
