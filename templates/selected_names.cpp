#include "templates/selected_names.h"

#include "templates/name_index.h"

#include <cstddef>
#include <string_view>
#include <unordered_set>

namespace {

// Names, each once, borrowed until all are known: a list of a million strings is then made in one go.
class UniqueNames {
public:
    void add(const KzDxHashedName& key) {
        const auto nameAt = [this](std::size_t position) { return names_[position]; };
        if (index_.add(key, names_.size(), nameAt)) names_.push_back(key.name);
    }

    // Copies them behind what the list holds.
    void giveTo(std::vector<std::u16string>& list) const {
        list.reserve(list.size() + names_.size());
        for (const auto name : names_) list.emplace_back(name);
    }

private:
    std::vector<std::u16string_view> names_;
    KzDxNameIndex index_;
};

// The hashes are those of the table: its names are not hashed again.
void addSelected(const KzDxAttributeTable& attributes, UniqueNames& to) {
    for (std::size_t i = 0; i < attributes.size(); ++i) {
        if (attributes.entry(i).flag != 0) to.add(attributes.hashedName(i));
    }
}

} // namespace

void kzdxGiveSelectedNames(const CEattMain& eattMain, std::vector<std::u16string>& blocks,
                           std::vector<std::u16string>& attributes) {
    UniqueNames blockNames;
    UniqueNames separateNames;
    // For one list, one set of names; the separate one then stays empty.
    UniqueNames& attributeNames = &blocks == &attributes ? blockNames : separateNames;

    // The same block again has nothing new. Few stand in the list twice, and only those have two owners.
    std::unordered_set<const CEattBlockInfo*> seen;
    for (const auto& block : eattMain.blocks) {
        if (!block || block->blockFlag == 0) continue;
        if (block.use_count() > 1 && !seen.insert(block.get()).second) continue;
        blockNames.add(KzDxHashedName(block->blockName));
        addSelected(block->attributes, attributeNames);
    }
    blockNames.giveTo(blocks);
    separateNames.giveTo(attributes);
}
