#include "benchmarks/comparisons.h"
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

CEattMain templateWith(std::size_t names) {
    CEattMain result;
    for (std::size_t made = 0; made < names; made += attributesPerBlock) {
        auto block = std::make_shared<CEattBlockInfo>();
        block->blockName = nameOf(u'B', made);
        for (std::size_t at = 0; at < attributesPerBlock; ++at) {
            block->attributes.add(nameOf(u'A', made + at), 1);
        }
        result.blocks.push_back(std::move(block));
    }
    return result;
}

/// One block with the `count` names that `nameAt` gives.
CEattMain blockOf(std::size_t count, const auto& nameAt) {
    auto block = std::make_shared<CEattBlockInfo>();
    for (std::size_t at = 0; at < count; ++at) {
        require(block->attributes.add(nameAt(at), 1), "every name is another one");
    }
    CEattMain result;
    result.blocks.push_back(std::move(block));
    return result;
}

/// The odd number by which multiplying undoes a multiplication by `odd`.
constexpr std::uint64_t inverseOf(std::uint64_t odd) {
    std::uint64_t inverse = odd; // right in its lowest three bits; each step doubles how many are
    for (int bits = 3; bits < 64; bits *= 2) inverse *= 2 - odd * inverse;
    return inverse;
}

/// A name that the standard library of GNU hashes to the same number, whatever `number` is. Its hash (that of
/// 64-bit machines) mixes in word after word by steps that can be undone: the first words are chosen, and the
/// last is what leads to the wanted state.
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

/// As in a process that has read nothing yet: what other benchmarks left in the allocator would help one side
/// more than the other.
void giveFreeMemoryBack() {
    malloc_trim(0);
}

/// A template file, all of whose names are different and selected; removed at the end.
class TemplateFile {
public:
    explicit TemplateFile(const CEattMain& contents) : blocks_(contents.blocks.size()), names_(blocks_) {
        for (const auto& block : contents.blocks) names_ += block->attributes.size();
        KzDxArchiveWriter writer;
        kzdxWriteTemplate(contents, writer);
        std::ofstream file(path_, std::ios::binary);
        const auto bytes = writer.written();
        file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
        require(file.flush().good(), "the template is written");
    }
    TemplateFile(const TemplateFile&) = delete;
    TemplateFile& operator=(const TemplateFile&) = delete;
    ~TemplateFile() {
        std::error_code isGoneAnyway;
        std::filesystem::remove(path_, isGoneAnyway);
    }

    [[nodiscard]] const std::filesystem::path& path() const { return path_; }
    /// The attributes' names and the blocks'.
    [[nodiscard]] std::size_t names() const { return names_; }

    /// How long the reading takes, without what is made of it.
    [[nodiscard]] double secondsToRead() const {
        giveFreeMemoryBack();
        CEattMain eattMain;
        eattMain.templatePath = path_.u16string();
        int isRead = 0;
        const double seconds = secondsOf([&] { isRead = eattMain.LoadTemplate(); });
        require(isRead == 1 && eattMain.blocks.size() == blocks_, "every block is read");
        return seconds;
    }

    /// How long the export takes to give the names.
    [[nodiscard]] double secondsToGiveNames() const {
        Names blocks;
        Names attributes;
        const std::u16string path = path_.u16string();
        const double seconds = secondsOf([&] { kzdxReadLegacyBlkTemplate(path, blocks, attributes); });
        require(blocks.size() + attributes.size() == names(), "every name is read");
        return seconds;
    }
    [[nodiscard]] double secondsPerName() const {
        return secondsToGiveNames() / static_cast<double>(names());
    }

private:
    static std::filesystem::path freshPath() {
        static int made = 0;
        return std::filesystem::temp_directory_path() /
               ("zelvane-bench-" + std::to_string(getpid()) + "-" + std::to_string(++made));
    }

    std::size_t blocks_;
    std::size_t names_;
    std::filesystem::path path_ = freshPath();
};

/// Reads a file into memory and makes a string of each name in it, knowing where the names stand.
class BareStrings {
public:
    explicit BareStrings(const TemplateFile& file)
        : path_(file.path()), size_(std::filesystem::file_size(path_)) {
        const Bytes bytes = readBytes();
        const std::string_view all(bytes.get(), size_);
        constexpr std::string_view marker = "\xFF\xFE\xFF";
        for (std::size_t at = all.find(marker); at != std::string_view::npos;
             at = all.find(marker, at + marker.size())) {
            textOffsets_.push_back(at + marker.size() + 1);
        }
        require(textOffsets_.size() == file.names(), "every name is found");
    }

    [[nodiscard]] double secondsToRead() const {
        giveFreeMemoryBack();
        Names names;
        return secondsOf([&] {
            const Bytes bytes = readBytes();
            names.reserve(textOffsets_.size());
            for (const std::size_t offset : textOffsets_) {
                std::array<char16_t, unitsPerName> text{};
                std::memcpy(text.data(), bytes.get() + offset, sizeof text);
                names.emplace_back(text.data(), text.size());
            }
        });
    }

private:
    using Bytes = std::unique_ptr<char[]>;

    [[nodiscard]] Bytes readBytes() const {
        Bytes bytes = std::make_unique_for_overwrite<char[]>(size_);
        std::ifstream file(path_, std::ios::binary);
        require(file.read(bytes.get(), static_cast<std::streamsize>(size_)).good(), "the template is read");
        return bytes;
    }

    std::filesystem::path path_;
    std::size_t size_;
    std::vector<std::size_t> textOffsets_;
};

class TemplateOverStrings : public TimedComparison {
public:
    explicit TemplateOverStrings(std::size_t names) : file_(templateWith(names)) {}

protected:
    double ours() override { return file_.secondsToRead(); }
    double other() override { return floor_.secondsToRead(); }

private:
    TemplateFile file_;
    BareStrings floor_{file_};
};

class TemplatePerName : public TimedComparison {
public:
    explicit TemplatePerName(std::size_t names)
        : large_(templateWith(names)), small_(templateWith(smallSizeFor(names))) {}

protected:
    double ours() override { return large_.secondsPerName(); }
    double other() override { return small_.secondsPerName(); }
    [[nodiscard]] double unitsOfWork() const override { return static_cast<double>(large_.names()); }

private:
    TemplateFile large_;
    TemplateFile small_;
};

/// Names made to be slow, all in one block: alike at their end instead of their start, and alike to the hash
/// that a table would take if nobody thought of such files.
class CollisionsOverNames : public TimedComparison {
public:
    explicit CollisionsOverNames(std::size_t names)
        : ordinary_(blockOf(names, [](std::size_t at) { return nameOf(u'A', at); })),
          alikeAtTheEnd_(blockOf(names, reversedName)),
          colliding_(blockOf(names, collidingName)) {
        const std::hash<std::u16string_view> hash;
        require(hash(collidingName(1)) == hash(collidingName(names)), "the names collide");
    }

protected:
    double ours() override { return std::max(alikeAtTheEnd_.secondsPerName(), colliding_.secondsPerName()); }
    double other() override { return ordinary_.secondsPerName(); }
    [[nodiscard]] double unitsOfWork() const override { return static_cast<double>(ordinary_.names()); }

private:
    static std::u16string reversedName(std::size_t number) {
        std::u16string name = nameOf(u'A', number);
        std::ranges::reverse(name);
        return name;
    }

    TemplateFile ordinary_;
    TemplateFile alikeAtTheEnd_;
    TemplateFile colliding_;
};

} // namespace

Made templateOverStrings(std::size_t megabytes) {
    return std::make_unique<TemplateOverStrings>(megabytes * 1'000'000 / bytesPerAttribute);
}
Made templatePerName(std::size_t names) {
    return std::make_unique<TemplatePerName>(names);
}
Made collisionsOverNames(std::size_t names) {
    return std::make_unique<CollisionsOverNames>(names);
}

} // namespace Bench
