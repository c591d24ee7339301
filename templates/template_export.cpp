#include "core/boundary.h"
#include "templates/eatt_main.h"
#include "templates/selected_names.h"

#include <zelvane/zelvane.h>

void kzdxReadLegacyBlkTemplate(const std::u16string& path, std::vector<std::u16string>& blocks,
                               std::vector<std::u16string>& attributes) noexcept {
    const bool isThrough = kzdxAtBoundary(false, [&] {
        CEattMain eattMain;
        eattMain.templatePath =
            path; // before the lists are emptied: the path may be an element of one of them
        blocks.clear();
        attributes.clear();
        // If the file cannot be read, both lists are empty, without a reason.
        if (eattMain.LoadTemplate() == 1) kzdxGiveSelectedNames(eattMain, blocks, attributes);
        return true;
    });
    if (isThrough) return;
    blocks.clear(); // out of memory: all or nothing
    attributes.clear();
}
