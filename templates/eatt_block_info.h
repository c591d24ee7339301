#pragma once

#include "host/geometry.h"
#include "templates/attribute_table.h"

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

class KzDxArchiveReader;
class KzDxArchiveWriter;

/// An object of the attribute-info list. Templates never contain any.
class CEattAttributeInfo {
public:
    CEattAttributeInfo() = default;
    CEattAttributeInfo(const CEattAttributeInfo&) = delete;
    CEattAttributeInfo& operator=(const CEattAttributeInfo&) = delete;
    virtual ~CEattAttributeInfo() = default;
};

/// The members of a block that no template stores.
struct KzDxUnstoredMembers {
    std::vector<std::unique_ptr<CEattAttributeInfo>> attributeInfos;
    std::u16string secondName;
    std::u16string thirdText;
    std::u16string fourthText;
    std::array<std::int32_t, 2> furtherIntegers{};
    std::array<std::uint64_t, 3> furtherValues{};
    KzGeScale3d scale;
    std::array<std::uint64_t, 4> moreValues{};
};

/// One block of a template: its name, whether it is selected, and its attributes. Only these are
/// stored. A file of a few megabytes can hold a million blocks, so rarely used members are allocated
/// separately.
class CEattBlockInfo {
public:
    std::u16string blockName;
    KzDxAttributeTable attributes;
    std::unique_ptr<KzDxUnstoredMembers> unstored; ///< null, as in every block that is read: initial values
    std::int32_t blockFlag = 1;                    ///< non-zero: the block is selected
    std::int32_t entryCounter = 0;                 ///< 1 in the blocks of CEattMain::LoadTemplate
    std::int32_t secondEntryCounter = 0;           ///< the same

    /// Reads the stored members into this block, which must be new. An attribute with a repeated name is read
    /// and dropped. If it returns false, the reader has the failure, and the block must be discarded.
    [[nodiscard]] bool load(KzDxArchiveReader& reader);

    /// Writes the stored members, the attributes in the order of CEattUtil.
    void store(KzDxArchiveWriter& writer) const;
};

/// The blocks of a template in the order of its file. Null elements are allowed; the same object may occur at
/// several positions and is stored once.
using CEattBlockList = std::vector<std::shared_ptr<CEattBlockInfo>>;
