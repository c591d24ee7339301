#include "templates/eatt_main.h"
#include "templates/selected_names.h"

#include <zelvane/zelvane.h>

#include <exception>

void kzdxReadLegacyBlkTemplate(const std::u16string& path, std::vector<std::u16string>& blocks,
                               std::vector<std::u16string>& attributes) noexcept try {
    CEattMain eattMain;
    eattMain.templatePath = path; // before the lists are emptied: the path may stand in one of them
    blocks.clear();
    attributes.clear();
    if (eattMain.LoadTemplate() == 1) giveSelectedNames(eattMain, blocks, attributes);
} catch (const std::exception&) { // no memory: all or nothing
    blocks.clear();
    attributes.clear();
}
