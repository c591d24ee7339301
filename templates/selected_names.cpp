#include "templates/selected_names.h"

#include "templates/name_index.h"

#include <cstddef>
#include <string_view>
#include <unordered_set>

namespace {

auto namesOf(const std::vector<std::u16string>& names) {
    return [&names](std::size_t position) -> std::u16string_view { return names[position]; };
}

// A caller's list with an index beside it, so that each name is looked up once and not searched for.
class NameList {
public:
    explicit NameList(std::vector<std::u16string>& names) : names_(names) {
        for (std::size_t i = 0; i < names.size(); ++i) index_.add(names[i], i, namesOf(names));
    }

    void append(std::u16string_view name) {
        if (index_.add(name, names_.size(), namesOf(names_))) names_.emplace_back(name);
    }

private:
    std::vector<std::u16string>& names_;
    KzDxNameIndex index_;
};

} // namespace

void appendSelectedNames(const CEattMain& eattMain, std::vector<std::u16string>& blocks,
                         std::vector<std::u16string>& attributes) {
    NameList blockNames(blocks);
    NameList separateNames(attributes);
    NameList& attributeNames = &blocks == &attributes ? blockNames : separateNames;

    std::unordered_set<const CEattBlockInfo*> seen; // the same block again has nothing new
    for (const auto& block : eattMain.blocks) {
        if (!block || block->blockFlag == 0 || !seen.insert(block.get()).second) continue;
        blockNames.append(block->blockName);
        for (std::size_t i = 0; i < block->attributes.size(); ++i)
            if (block->attributes.entry(i).flag != 0) attributeNames.append(block->attributes.name(i));
    }
}
