// Whatever the bytes are, the template reader refuses them whole or understands them, and what it understood
// can be written and read again. Each property below stops the fuzzer when it does not hold.
#include "templates/archive_writer.h"
#include "templates/eatt_main.h"
#include "templates/selected_names.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <set>
#include <span>
#include <string>
#include <vector>

namespace {

void require(bool holds, const char* property) {
    if (holds) return;
    std::fprintf(stderr, "does not hold: %s\n", property);
    std::abort();
}

// Gives the bytes in parts of changing size, so that fields straddle the reader's buffer.
class UnevenSource : public KzDxByteSource {
public:
    explicit UnevenSource(std::span<const std::byte> bytes) : source_(bytes) {}
    [[nodiscard]] std::uint64_t size() const override { return source_.size(); }
    [[nodiscard]] std::size_t read(std::span<std::byte> to) override {
        step_ = step_ % 7 + 1;
        return source_.read(to.first(std::min(step_, to.size())));
    }

private:
    KzDxMemorySource source_;
    std::size_t step_ = 0;
};

using Flags = std::map<std::u16string, std::int32_t>;

Flags flagsOf(const KzDxAttributeTable& table) {
    Flags flags;
    for (std::size_t i = 0; i < table.size(); ++i)
        require(flags.emplace(table.name(i), table.entry(i).flag).second, "a table holds each name once");
    return flags;
}

bool isSame(const CEattMain& a, const CEattMain& b, const auto& contentsOf) {
    std::map<const CEattBlockInfo*, const CEattBlockInfo*> known;
    const auto isSameBlock = [&](const auto& x, const auto& y) {
        if (const auto at = known.find(x.get()); at != known.end()) return at->second == y.get();
        known.emplace(x.get(), y.get());
        return x->blockName == y->blockName && x->blockFlag == y->blockFlag &&
               contentsOf(x->attributes) == contentsOf(y->attributes);
    };
    return a.headerValue == b.headerValue && std::ranges::equal(a.blocks, b.blocks, isSameBlock);
}

std::vector<std::byte> written(const CEattMain& eattMain) {
    KzDxArchiveWriter writer;
    kzdxWriteTemplate(eattMain, writer);
    return {writer.written().begin(), writer.written().end()};
}

void readsHoweverTheBytesCome(std::span<const std::byte> bytes, const CEattMain& first,
                              KzDxArchiveFailure failure) {
    UnevenSource source(bytes);
    CEattMain again;
    require(kzdxReadTemplate(source, again) == failure,
            "the parts that bytes come in do not matter to the failure");
    const auto inOrder = [](const KzDxAttributeTable& table) {
        std::vector<std::u16string> names;
        for (std::size_t i = 0; i < table.size(); ++i) names.emplace_back(table.name(i));
        return names;
    };
    require(isSame(first, again, inOrder), "the parts that bytes come in do not matter to the result");
}

void readsBackAsWritten(const CEattMain& eattMain) {
    const auto bytes = written(eattMain);
    KzDxMemorySource source(bytes);
    CEattMain again;
    require(!kzdxReadTemplate(source, again), "what was written can be read");
    require(isSame(eattMain, again, flagsOf), "what was written reads as it was");
    require(written(again) == bytes, "written twice, the bytes are the same");

    KzDxMemorySource cut(std::span(bytes).first(bytes.size() - 1));
    require(static_cast<bool>(kzdxReadTemplate(cut, again)), "a file without its last byte is refused");
}

void namesAreThoseSelected(const CEattMain& eattMain) {
    std::vector<std::u16string> blocks;
    std::vector<std::u16string> attributes;
    kzdxGiveSelectedNames(eattMain, blocks, attributes);

    std::set<std::u16string> wantedBlocks;
    std::set<std::u16string> wantedAttributes;
    for (const auto& block : std::set(eattMain.blocks.begin(), eattMain.blocks.end())) {
        if (block->blockFlag == 0) continue;
        wantedBlocks.insert(block->blockName);
        for (const auto& [name, flag] : flagsOf(block->attributes))
            if (flag != 0) wantedAttributes.insert(name);
    }
    require(blocks.size() == wantedBlocks.size() && std::set(blocks.begin(), blocks.end()) == wantedBlocks,
            "the selected blocks are named once each");
    require(attributes.size() == wantedAttributes.size() &&
                std::set(attributes.begin(), attributes.end()) == wantedAttributes,
            "the selected attributes are named once each");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto bytes = std::as_bytes(std::span(data, size));
    KzDxMemorySource source(bytes);
    CEattMain eattMain;
    const auto failure = kzdxReadTemplate(source, eattMain);
    readsHoweverTheBytesCome(bytes, eattMain, failure);
    if (failure) {
        require(failure.offset <= size, "the offset of the failure is in the file");
        require(failure.error != KzDxArchiveError::outOfMemory, "a claim takes no memory");
        require(eattMain.blocks.empty(), "a refused file leaves nothing");
        return 0;
    }
    readsBackAsWritten(eattMain);
    namesAreThoseSelected(eattMain);
    return 0;
}
