#include "benchmarks/lines.h"
#include "templates/archive_writer.h"
#include "templates/eatt_main.h"
#include "zelvane/zelvane.h"

#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Bench {

namespace {

using Names = std::vector<std::u16string>;

constexpr std::size_t attributesPerBlock = 50;
constexpr std::size_t unitsPerName = 16;
/// A marker of three bytes, a length of one, the text, a flag.
constexpr std::size_t bytesPerAttribute = 4 + sizeof(char16_t) * unitsPerName + 4;

std::u16string nameOf(char16_t kind, std::size_t number) {
    const std::string digits = std::to_string(number);
    std::u16string name(unitsPerName - digits.size(), kind);
    name.append(digits.begin(), digits.end());
    return name;
}

std::u16string ordinaryName(std::size_t number) {
    return nameOf(u'A', number);
}

std::u16string reversedName(std::size_t number) {
    std::u16string name = ordinaryName(number);
    std::ranges::reverse(name);
    return name;
}

/// A template with the `count` names that `nameAt` returns, `perBlock` of them in each block.
CEattMain templateOf(std::size_t count, std::size_t perBlock, const auto& nameAt) {
    CEattMain result;
    for (std::size_t made = 0; made < count; ++made) {
        if (made % perBlock == 0) {
            result.blocks.push_back(std::make_shared<CEattBlockInfo>());
            result.blocks.back()->blockName = nameOf(u'B', made);
        }
        result.blocks.back()->attributes.append(nameAt(made), 1);
    }
    return result;
}

CEattMain ordinaryTemplate(std::size_t names) {
    return templateOf(names, attributesPerBlock, ordinaryName);
}

/// The inverse of `odd` modulo 2^64.
constexpr std::uint64_t inverseOf(std::uint64_t odd) {
    std::uint64_t inverse = odd; // its lowest three bits are right; each step doubles their number
    for (int bits = 3; bits < 64; bits *= 2) inverse *= 2 - odd * inverse;
    return inverse;
}

/// A name with the same hash for every `number`, in the standard library of GNU. Its hash (on 64-bit
/// machines) mixes in one word after the other by reversible steps: the first words are free, and the last
/// one is computed from the wanted hash.
std::u16string collidingName(std::size_t number) {
    constexpr std::uint64_t factor = 0xC6A4A7935BD1E995;
    constexpr std::uint64_t back = inverseOf(factor);
    constexpr std::uint64_t seed = 0xC70F6907;
    constexpr std::uint64_t wanted = 1;
    const auto mixed = [](std::uint64_t word) { return word ^ word >> 47; };
    std::array<std::uint64_t, unitsPerName * sizeof(char16_t) / sizeof(std::uint64_t)> words{number};
    std::uint64_t state = seed ^ sizeof words * factor;
    for (std::size_t at = 0; at + 1 < words.size(); ++at) {
        state = (state ^ mixed(words[at] * factor) * factor) * factor;
    }
    words.back() = mixed((state ^ wanted) * back) * back;
    std::u16string name(unitsPerName, u' ');
    std::memcpy(name.data(), words.data(), sizeof words);
    return name;
}

/// Makes the process start without free memory in the allocator, which would help one side more than the
/// other.
void releaseFreeMemory() {
    malloc_trim(0);
}

/// A template file whose names are all different and selected; removed at the end.
class TemplateFile {
public:
    explicit TemplateFile(const CEattMain& contents) : blocks_(contents.blocks.size()), names_(blocks_) {
        for (const auto& block : contents.blocks) names_ += block->attributes.size();
        KzDxArchiveWriter writer;
        kzdxWriteTemplate(contents, writer);
        const auto bytes = writer.written();
        bytes_ = {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
        require((std::ofstream(path_, std::ios::binary) << bytes_).flush().good(), "the template is written");
    }
    TemplateFile(const TemplateFile&) = delete;
    TemplateFile& operator=(const TemplateFile&) = delete;
    ~TemplateFile() {
        std::error_code ignored;
        std::filesystem::remove(path_, ignored);
    }

    /// The number of names of attributes and blocks.
    [[nodiscard]] std::size_t names() const { return names_; }

    /// The time of reading, without the lists of names.
    [[nodiscard]] double secondsToRead() const {
        releaseFreeMemory();
        CEattMain eattMain;
        eattMain.templatePath = path_.u16string();
        int isRead = 0;
        const double seconds = secondsOf([&] { isRead = eattMain.LoadTemplate(); });
        require(isRead == 1 && eattMain.blocks.size() == blocks_, "every block is read");
        return seconds;
    }

    /// The time of the export per name.
    [[nodiscard]] double secondsPerName() const {
        releaseFreeMemory();
        Names blocks;
        Names attributes;
        const std::u16string path = path_.u16string();
        const double seconds = secondsOf([&] { kzdxReadLegacyBlkTemplate(path, blocks, attributes); });
        require(blocks.size() + attributes.size() == names_, "every name is read");
        return seconds / static_cast<double>(names_);
    }

    /// The positions of the texts of the names.
    [[nodiscard]] std::vector<std::size_t> textOffsets() const {
        constexpr std::string_view marker = "\xFF\xFE\xFF";
        std::vector<std::size_t> offsets;
        for (std::size_t at = bytes_.find(marker); at != std::string::npos;
             at = bytes_.find(marker, at + marker.size())) {
            offsets.push_back(at + marker.size() + 1);
        }
        require(offsets.size() == names_, "every name is found");
        return offsets;
    }

    /// The time to read the file into memory, and to create a string from the text at each offset.
    [[nodiscard]] double secondsToMakeStrings(const std::vector<std::size_t>& textOffsets) const {
        releaseFreeMemory();
        Names names;
        return secondsOf([&] {
            const auto bytes = std::make_unique_for_overwrite<char[]>(bytes_.size());
            std::ifstream file(path_, std::ios::binary);
            require(file.read(bytes.get(), static_cast<std::streamsize>(bytes_.size())).good(),
                    "the template is read");
            names.reserve(textOffsets.size());
            for (const std::size_t offset : textOffsets) {
                std::array<char16_t, unitsPerName> text{};
                std::memcpy(text.data(), bytes.get() + offset, sizeof text);
                names.emplace_back(text.data(), text.size());
            }
        });
    }

private:
    static std::filesystem::path freshPath() {
        static int made = 0;
        return std::filesystem::temp_directory_path() /
               ("zelvane-bench-" + std::to_string(getpid()) + "-" + std::to_string(++made));
    }

    std::size_t blocks_;
    std::size_t names_;
    std::string bytes_;
    std::filesystem::path path_ = freshPath();
};

Comparison templateOverStrings(std::size_t megabytes) {
    const auto file =
        std::make_shared<TemplateFile>(ordinaryTemplate(megabytes * 1'000'000 / bytesPerAttribute));
    return {
        .measured = [=] { return file->secondsToRead(); },
        .baseline = [file, offsets = file->textOffsets()] { return file->secondsToMakeStrings(offsets); },
    };
}

Comparison templatePerName(std::size_t names) {
    const auto large = std::make_shared<TemplateFile>(ordinaryTemplate(names));
    const auto small = std::make_shared<TemplateFile>(ordinaryTemplate(smallSizeFor(names)));
    return {
        .measured = [=] { return large->secondsPerName(); },
        .baseline = [=] { return small->secondsPerName(); },
        .unitsOfWork = static_cast<double>(large->names()),
    };
}

/// Names that are slow to process, all in one block: equal at their end instead of their start, and with
/// the same hash.
Comparison collisionsOverNames(std::size_t names) {
    const std::hash<std::u16string_view> hash;
    require(hash(collidingName(1)) == hash(collidingName(names)), "the names collide");
    const auto ordinary = std::make_shared<TemplateFile>(templateOf(names, names, ordinaryName));
    const auto equalAtTheEnd = std::make_shared<TemplateFile>(templateOf(names, names, reversedName));
    const auto colliding = std::make_shared<TemplateFile>(templateOf(names, names, collidingName));
    return {
        .measured = [=] { return std::max(equalAtTheEnd->secondsPerName(), colliding->secondsPerName()); },
        .baseline = [=] { return ordinary->secondsPerName(); },
        .unitsOfWork = static_cast<double>(ordinary->names()),
    };
}

} // namespace

std::vector<Line> templateLines() {
    return {
        {"template/floor", {40}, 2.5, templateOverStrings, std::nullopt, "MB"},
        {"template/names", {million}, 2, templatePerName},
        {"template/collisions", {2 * tenThousand}, 3, collisionsOverNames},
    };
}

} // namespace Bench
