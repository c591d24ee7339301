#include "templates/selected_names.h"

#include "templates/unique_names.h"

#include <cstddef>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace {

// Names, not copied until all are known: a list of a million strings is then created in one allocation.
using BorrowedNames = std::vector<std::u16string_view>;

// A name that occurs several times in a row is kept once: a million nameless blocks need no memory here.
void add(std::u16string_view name, BorrowedNames& to) {
    if (to.empty() || to.back() != name) to.push_back(name);
}

void addSelected(const KzDxAttributeTable& attributes, BorrowedNames& to) {
    for (std::size_t i = 0; i < attributes.size(); ++i) {
        if (attributes.entry(i).flag != 0) add(attributes.name(i), to);
    }
}

// Appends a copy of each name that differs from all before it.
void appendUnique(const BorrowedNames& names, std::vector<std::u16string>& list) {
    const auto repeated = kzdxRepeatedNames(names.size(), [&](std::size_t at) { return names[at]; });
    list.reserve(list.size() + names.size() - repeated.size());
    auto next = repeated.begin();
    for (std::size_t at = 0; at < names.size(); ++at) {
        if (next != repeated.end() && *next == at) {
            ++next;
        } else {
            list.emplace_back(names[at]);
        }
    }
}

} // namespace

void kzdxGiveSelectedNames(const CEattMain& eattMain, std::vector<std::u16string>& blocks,
                           std::vector<std::u16string>& attributes) {
    BorrowedNames blockNames;
    BorrowedNames separateNames;
    // For a common list, one sequence of names; the separate one then stays empty.
    BorrowedNames& attributeNames = &blocks == &attributes ? blockNames : separateNames;

    // A repeated block adds nothing. Few blocks occur twice in the list; only those have two owners.
    std::unordered_set<const CEattBlockInfo*> seen;
    for (const auto& block : eattMain.blocks) {
        if (!block || block->blockFlag == 0) continue;
        if (block.use_count() > 1 && !seen.insert(block.get()).second) continue;
        add(block->blockName, blockNames);
        addSelected(block->attributes, attributeNames);
    }
    appendUnique(blockNames, blocks);
    appendUnique(separateNames, attributes);
}
