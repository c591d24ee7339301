#pragma once

// What holds for template files whatever their bytes are: for tests and for the fuzzer.

#include "templates/selected_names.h"
#include "tests/templates/template_bytes.h"

#include <set>

/// Bytes in parts of `step`, so that every field straddles a refill of the reader's buffer somewhere.
class Trickle : public KzDxByteSource {
public:
    Trickle(std::span<const std::byte> bytes, std::size_t step) : source_(bytes), step_(step) {}
    [[nodiscard]] std::uint64_t size() const override { return source_.size(); }
    [[nodiscard]] std::size_t read(std::span<std::byte> to) override {
        return source_.read(to.first(std::min(step_, to.size())));
    }

private:
    KzDxMemorySource source_;
    std::size_t step_;
};

/// The selected names are those of the selected blocks, each once.
inline bool areSelectedNamesRight(const CEattMain& eattMain) {
    using Names = std::vector<std::u16string>;
    const auto isUnique = [](const Names& names) {
        return std::set(names.begin(), names.end()).size() == names.size();
    };
    Names blocks;
    Names attributes;
    kzdxGiveSelectedNames(eattMain, blocks, attributes);
    std::set<std::u16string> expectedBlocks;
    std::set<std::u16string> expectedAttributes;
    for (const auto& block : std::set(eattMain.blocks.begin(), eattMain.blocks.end())) {
        const KzDxAttributeTable& table = block->attributes;
        if (table.firstRepeated().has_value()) return false;
        if (block->blockFlag == 0) continue;
        expectedBlocks.insert(block->blockName);
        for (std::size_t i = 0; i < table.size(); ++i) {
            if (table.entry(i).flag != 0) expectedAttributes.emplace(table.name(i));
        }
    }
    return isUnique(blocks) && std::set(blocks.begin(), blocks.end()) == expectedBlocks &&
           isUnique(attributes) && std::set(attributes.begin(), attributes.end()) == expectedAttributes;
}

/// Which property bytes violate: they are refused whole or understood, and what was understood can be written
/// and read again. Empty if all properties hold.
inline std::string violatedProperty(std::span<const std::byte> bytes) {
    KzDxMemorySource source(bytes);
    CEattMain first;
    const KzDxArchiveFailure failure = kzdxReadTemplate(source, first);
    Trickle parts(bytes, 3);
    CEattMain again;
    if (kzdxReadTemplate(parts, again) != failure || shown(again) != shown(first))
        return "the parts that bytes come in do not matter";
    if (failure.offset > bytes.size()) return "the failure is inside the file";
    if (failure.error == KzDxArchiveError::outOfMemory) return "a claim takes no memory";
    if (failure) return first.blocks.empty() ? "" : "a refused file leaves nothing";

    const std::vector<std::byte> copy = written(first);
    KzDxMemorySource ofCopy(copy);
    CEattMain reread;
    if (kzdxReadTemplate(ofCopy, reread)) return "what was written can be read";
    if (shown(reread, AttributeOrder::ofTheNames) != shown(first, AttributeOrder::ofTheNames))
        return "what was written reads as it was";
    if (written(reread) != copy) return "written twice, the bytes are the same";
    KzDxMemorySource cut{std::span(copy).first(copy.size() - 1)};
    CEattMain none;
    if (!kzdxReadTemplate(cut, none)) return "a file without its last byte is refused";
    return areSelectedNamesRight(first) ? "" : "the selected names are given once each";
}
