#include "benchmarks/lines.h"
#include "templates/archive_writer.h"
#include "templates/eatt_main.h"
#include "zelvane/zelvane.h"

#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <numeric>
#include <random>
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

/// Names that are slow to sort, all in one block: they differ at their end only, and are in random order.
Comparison collisionsOverNames(std::size_t names) {
    std::vector<std::size_t> order(names);
    std::iota(order.begin(), order.end(), 0U);
    std::ranges::shuffle(order, std::mt19937());
    const auto shuffledName = [&](std::size_t at) { return ordinaryName(order[at]); };
    const auto shuffled = std::make_shared<TemplateFile>(templateOf(names, names, shuffledName));
    const auto ordinary = std::make_shared<TemplateFile>(templateOf(names, names, ordinaryName));
    return {
        .measured = [=] { return shuffled->secondsPerName(); },
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
