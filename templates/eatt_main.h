#pragma once

#include "templates/archive_reader.h"
#include "templates/eatt_block_info.h"

#include <cstdint>
#include <string>
#include <vector>

/// One template: the selected blocks of a file, or everything that a file is to hold.
class CEattMain {
public:
    CEattBlockList blocks;
    CEattBlockList secondBlocks;  ///< left empty
    CEattBlockList thirdBlocks;   ///< left empty
    std::vector<void*> pointers;  ///< left empty
    std::int32_t headerValue = 1; ///< the first field of the file; kept, never tested
    std::u16string templatePath;  ///< what LoadTemplate reads

    /// Reads the file at the template path: its header value, and its blocks, which come behind those that
    /// are there. Of a block's attributes only the selected ones are taken over. Gives 1 when the whole file
    /// was read. Otherwise 0, this object is unchanged, and nothing tells why: use kzdxReadTemplate() to
    /// know.
    [[nodiscard]] int LoadTemplate() noexcept;

    /// Reads or writes the header value alone; the list of blocks follows it in a file.
    [[nodiscard]] bool load(KzDxArchiveReader& reader);
    void store(KzDxArchiveWriter& writer) const;
};

/// Reads a template from the start of a source, with everything that is stored. Null elements are skipped; a
/// reference to an object that was read puts the same block into the list again; bytes behind the last
/// element stay unread. When a failure is given, `result` is unchanged.
[[nodiscard]] KzDxArchiveFailure kzdxReadTemplate(KzDxByteSource& source, CEattMain& result) noexcept;

/// Writes the header value and the blocks: all of a template file.
void kzdxWriteTemplate(const CEattMain& eattMain, KzDxArchiveWriter& writer);
