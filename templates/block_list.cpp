#include "templates/block_list.h"

#include "templates/archive_format.h"
#include "templates/archive_reader.h"
#include "templates/archive_writer.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

using namespace KzDxArchive;

namespace {

// Reads the elements one by one, and keeps the class or object of each index.
class BlockListReader {
public:
    BlockListReader(KzDxArchiveReader& reader, CEattBlockList& blocks) : reader_(reader), blocks_(blocks) {}

    [[nodiscard]] bool element() {
        reader_.beginEntry();
        start_ = reader_.offset();
        std::uint16_t tag = 0;
        if (!reader_.number(tag)) return false;
        // First the two tags that are not an index. Any other tag is that of a class or an object, by its
        // value.
        if (tag == newClassTag) return classDefinition() && newBlock();
        if (tag == longTag) return longElement();
        return tag >= classTag ? blockOfClass(tag - classTag) : sameBlock(tag);
    }

private:
    // The index is that of a class, not of an object.
    static constexpr std::size_t isClass = static_cast<std::size_t>(-1);

    [[nodiscard]] bool longElement() {
        std::uint32_t index = 0;
        if (!reader_.number(index)) return false;
        return index >= longClassTag ? blockOfClass(index - longClassTag) : sameBlock(index);
    }

    // Only one class is known, but a file may define it repeatedly; each definition gets an index.
    [[nodiscard]] bool classDefinition() {
        const auto schemaStart = reader_.offset();
        std::uint16_t schema = 0;
        if (!reader_.number(schema)) return false;
        if (schema != blockClassSchema) return reader_.refuse(KzDxArchiveError::unknownSchema, schemaStart);

        const auto nameStart = reader_.offset();
        std::uint16_t length = 0;
        std::string name;
        if (!reader_.number(length)) return false;
        // A name of another length cannot match, so it is not read.
        if (length == blockClassName.size() && !reader_.bytes(name, length)) return false;
        if (name != blockClassName) return reader_.refuse(KzDxArchiveError::unknownClass, nameStart);
        given_.push_back(isClass);
        return true;
    }

    [[nodiscard]] bool blockOfClass(std::uint32_t index) {
        if (!isGiven(index) || given_[index - 1] != isClass) {
            return reader_.refuse(KzDxArchiveError::noSuchClass, start_);
        }
        return newBlock();
    }

    [[nodiscard]] bool newBlock() {
        // The object gets its index before its body is read, in the order of the writer.
        given_.push_back(blocks_.size());
        blocks_.push_back(std::make_shared<CEattBlockInfo>());
        return blocks_.back()->load(reader_);
    }

    // The same object again: shared, not copied.
    [[nodiscard]] bool sameBlock(std::uint32_t index) {
        if (index == 0) return true; // a null element
        if (!isGiven(index) || given_[index - 1] == isClass) {
            return reader_.refuse(KzDxArchiveError::noSuchObject, start_);
        }
        // Copies the pointer before the list can be reallocated.
        auto block = blocks_[given_[index - 1]];
        blocks_.push_back(std::move(block));
        return true;
    }

    [[nodiscard]] bool isGiven(std::uint32_t index) const { return index != 0 && index <= given_.size(); }

    KzDxArchiveReader& reader_;
    CEattBlockList& blocks_;
    std::vector<std::size_t> given_; // for index i + 1: the position of its object in the list, or isClass
    std::uint64_t start_ = 0;        // of the current element
};

// Writes the elements one by one, and stores the index of each object by its address.
class BlockListWriter {
public:
    explicit BlockListWriter(KzDxArchiveWriter& writer) : writer_(writer) {}

    void element(const CEattBlockInfo* block) {
        if (block == nullptr) return writer_.number(nullTag);
        if (const auto known = given_.find(block); known != given_.end()) return reference(known->second);
        classReference();
        // After the definition, which gets its index before the first object.
        given_.emplace(block, ++lastIndex_);
        block->store(writer_);
    }

private:
    // Indices that would equal another tag need the long form.
    void reference(std::uint32_t index) {
        if (index < longTag) return writer_.number(static_cast<std::uint16_t>(index));
        writer_.number(longTag);
        writer_.number(index);
    }

    // The definition is written before the first block, so its index is 1, which always fits a short tag.
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
    BlockListReader elements(reader, blocks);
    // The count is only a claim, so nothing is reserved; a shorter file ends the loop with a failure.
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
