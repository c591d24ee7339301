#include "benchmarks/drawings.h"

#include "benchmarks/measuring.h"
#include "frame/application.h"
#include "headless/edits.h"
#include "headless/inspection.h"
#include "headless/session.h"

#include <string>

namespace Bench {

namespace {

std::u16string numbered(std::u16string_view prefix, std::size_t number) {
    const std::string digits = std::to_string(number);
    std::u16string name(prefix);
    name.append(digits.begin(), digits.end());
    return name;
}

} // namespace

OpenDocument::OpenDocument() : document_(Headless::openDocument(u"bench")) {
    require(document_ != nullptr, "the document is open");
}

OpenDocument::~OpenDocument() {
    Headless::closeDocument(document_);
}

KzDbObjectId OpenDocument::modelSpace() const {
    return Headless::modelSpace(document_);
}

KzDxDocument& OpenDocument::data() const {
    KzDxDocument* const data = kzdxDocDataOf(document_);
    require(data != nullptr, "the module has data for the document");
    return *data;
}

KzDxBlocks& OpenDocument::graph() const {
    KzDxBlocks* const graph = data().blocks();
    require(graph != nullptr, "the document has a graph");
    return *graph;
}

std::vector<KzDbObjectId> addStandardDrawing(KzApDocument* document, std::size_t references,
                                             std::u16string_view prefix) {
    constexpr std::size_t referencesPerBlock = 100;
    constexpr std::size_t referencesPerAttribute = 10;
    const std::size_t blockCount = references / referencesPerBlock;
    const std::vector<Headless::AttributeText> oneAttribute{{u"NUMBER", u"1"}};

    std::vector<KzDbObjectId> blocks;
    for (std::size_t b = 0; b < blockCount; ++b) {
        blocks.push_back(Headless::makeBlock(document, numbered(std::u16string(prefix) + u"B", b)));
    }
    const KzDbObjectId modelSpace = Headless::modelSpace(document);
    for (std::size_t j = 0; j < references; ++j) {
        const std::size_t b = j % blockCount;
        const bool isInModelSpace = (j / blockCount) % 2 == 0 || b == 0;
        const bool hasAttribute = j % referencesPerAttribute == 0;
        Headless::insert(isInModelSpace ? modelSpace : blocks[b / 2], blocks[b],
                         hasAttribute ? oneAttribute : std::vector<Headless::AttributeText>());
    }
    require(Headless::references(blocks.back()).size() == referencesPerBlock, "the references are inserted");
    return blocks;
}

} // namespace Bench
