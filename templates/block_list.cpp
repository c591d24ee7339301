#include "templates/block_list.h"

#include "templates/archive_format.h"
#include "templates/archive_reader.h"
#include "templates/archive_writer.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

using namespace KzDxArchive;

namespace {

// Reads the elements one by one, and knows what each index of the file stands for.
class BlockListReader {
public:
    // Room is made for what the rest of the file can hold, however many elements it claims.
    BlockListReader(KzDxArchiveReader& reader, CEattBlockList& blocks, std::uint64_t count)
        : reader_(reader), blocks_(blocks) {
        const auto rest = reader.remaining();
        blocks_.reserve(std::min(count, rest / smallestElement));
        given_.reserve(std::min(count, rest / smallestBlock) + 1);
    }

    [[nodiscard]] bool element() {
        reader_.beginEntry();
        start_ = reader_.offset();
        std::uint16_t tag = 0;
        if (!reader_.number(tag)) return false;
        // The two tags that are no index first. Any other is that of a class or of an object, by its size.
        if (tag == newClassTag) return classDefinition() && newBlock();
        if (tag == longTag) return longElement();
        return tag >= classTag ? blockOfClass(tag - classTag) : sameBlock(tag);
    }

private:
    // The index stands for the class and not for an object.
    static constexpr std::size_t isClass = static_cast<std::size_t>(-1);

    [[nodiscard]] bool longElement() {
        std::uint32_t index = 0;
        if (!reader_.number(index)) return false;
        return index >= longClassTag ? blockOfClass(index - longClassTag) : sameBlock(index);
    }

    // Only one class is known, but a file may define it more than once; each time it takes an index.
    [[nodiscard]] bool classDefinition() {
        const auto schemaStart = reader_.offset();
        std::uint16_t schema = 0;
        if (!reader_.number(schema)) return false;
        if (schema != blockClassSchema) return reader_.refuse(KzDxArchiveError::unknownSchema, schemaStart);

        const auto nameStart = reader_.offset();
        std::uint16_t length = 0;
        std::string name;
        if (!reader_.number(length)) return false;
        // A name of another length is wrong whatever it says, and is not read.
        if (length == blockClassName.size() && !reader_.bytes(name, length)) return false;
        if (name != blockClassName) return reader_.refuse(KzDxArchiveError::unknownClass, nameStart);
        given_.push_back(isClass);
        return true;
    }

    [[nodiscard]] bool blockOfClass(std::uint32_t index) {
        if (index == 0 || index > given_.size() || given_[index - 1] != isClass) {
            return reader_.refuse(KzDxArchiveError::noSuchClass, start_);
        }
        return newBlock();
    }

    [[nodiscard]] bool newBlock() {
        // The object has its index before its body is read, as the writer gives it.
        given_.push_back(blocks_.size());
        blocks_.push_back(std::make_shared<CEattBlockInfo>());
        return blocks_.back()->load(reader_);
    }

    // The same object once more: a shared one, not a copy.
    [[nodiscard]] bool sameBlock(std::uint32_t index) {
        if (index == 0) return true; // a null element
        if (index > given_.size() || given_[index - 1] == isClass) {
            return reader_.refuse(KzDxArchiveError::noSuchObject, start_);
        }
        // A copy of the pointer, before the list may move.
        auto block = blocks_[given_[index - 1]];
        blocks_.push_back(std::move(block));
        return true;
    }

    KzDxArchiveReader& reader_;
    CEattBlockList& blocks_;
    std::vector<std::size_t> given_; // for index i + 1: where its object stands in the list, or isClass
    std::uint64_t start_ = 0;        // of the current element
};

// Writes the elements one by one, and remembers the index of each object by its address.
class BlockListWriter {
public:
    explicit BlockListWriter(KzDxArchiveWriter& writer) : writer_(writer) {}

    void element(const CEattBlockInfo* block) {
        if (block == nullptr) return writer_.number(nullTag);
        if (const auto known = given_.find(block); known != given_.end()) return reference(known->second);
        classReference();
        // After the definition, which takes its index before the first object.
        given_.emplace(block, ++lastIndex_);
        block->store(writer_);
    }

private:
    // Indices that would look like another tag take the long form.
    void reference(std::uint32_t index) {
        if (index < longTag) return writer_.number(static_cast<std::uint16_t>(index));
        writer_.number(longTag);
        writer_.number(index);
    }

    // The definition is written before the first block and so takes index 1, which always fits a short tag.
    void classReference() {
        if (lastIndex_ != 0) return writer_.number(static_cast<std::uint16_t>(classTag + 1));
        lastIndex_ = 1;
        writer_.number(newClassTag);
        writer_.number(blockClassSchema);
        writer_.number(static_cast<std::uint16_t>(blockClassName.size()));
        writer_.bytes(blockClassName);
    }

    KzDxArchiveWriter& writer_;
    std::unordered_map<const CEattBlockInfo*, std::uint32_t> given_;
    std::uint32_t lastIndex_ = 0;
};

} // namespace

bool kzdxLoadBlockList(KzDxArchiveReader& reader, CEattBlockList& blocks) {
    std::uint64_t count = 0;
    if (!reader.count(count)) return false;
    BlockListReader elements(reader, blocks, count);
    // The count is only a claim: a file that holds less ends the loop with a failure.
    for (; count > 0; --count) {
        if (!elements.element()) return false;
    }
    return true;
}

void kzdxStoreBlockList(KzDxArchiveWriter& writer, const CEattBlockList& blocks) {
    writer.count(blocks.size());
    BlockListWriter elements(writer);
    for (const auto& block : blocks) elements.element(block.get());
}
