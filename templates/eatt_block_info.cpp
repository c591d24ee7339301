#include "templates/eatt_block_info.h"

#include "templates/archive_reader.h"
#include "templates/archive_writer.h"
#include "templates/eatt_util.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

bool CEattBlockInfo::load(KzDxArchiveReader& reader) {
    std::int32_t count = 0;
    if (!reader.string(blockName) || !reader.number(blockFlag) || !reader.number(count)) return false;
    std::u16string name;
    std::int32_t flag = 0;
    for (; count > 0; --count) { // a negative count is treated as 0
        if (!reader.string(name) || !reader.number(flag)) return false;
        attributes.append(name, flag);
    }
    attributes.removeRepeated(); // the first attribute of a name counts
    return true;
}

void CEattBlockInfo::store(KzDxArchiveWriter& writer) const {
    writer.string(blockName);
    writer.number(blockFlag);
    writer.number(static_cast<std::int32_t>(attributes.size()));

    std::vector<std::u16string_view> names(attributes.size());
    for (std::size_t i = 0; i < names.size(); ++i) names[i] = attributes.name(i);
    for (const std::size_t position : CEattUtil::sortedPositions(names)) {
        writer.string(names[position]);
        writer.number(attributes.entry(position).flag);
    }
}
