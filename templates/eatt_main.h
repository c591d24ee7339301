#pragma once

#include "templates/archive_reader.h"
#include "templates/eatt_block_info.h"

#include <cstdint>
#include <string>
#include <vector>

/// One template: the selected blocks of a file, or the whole contents of a file to be written.
class CEattMain {
public:
    CEattBlockList blocks;
    CEattBlockList secondBlocks;  ///< left empty
    CEattBlockList thirdBlocks;   ///< left empty
    std::vector<void*> pointers;  ///< left empty
    std::int32_t headerValue = 1; ///< the first field of the file; stored, but never checked
    std::u16string templatePath;  ///< the file that LoadTemplate reads

    /// Reads the file at the template path: its header value, and its blocks, which are appended to the
    /// existing ones. Only the selected attributes of a block are kept. Returns 1 if the whole file
    /// was read. Otherwise returns 0 and leaves this object unchanged; kzdxReadTemplate() gives the
    /// reason.
    [[nodiscard]] int LoadTemplate() noexcept;

    /// Reads or writes only the header value; in a file the list of blocks follows it.
    [[nodiscard]] bool load(KzDxArchiveReader& reader);
    void store(KzDxArchiveWriter& writer) const;
};

/// Reads everything stored in a template from the start of a source. Null elements are skipped; a
/// reference to an earlier object adds the same block to the list again; bytes after the last
/// element are not read. On failure `result` is unchanged.
[[nodiscard]] KzDxArchiveFailure kzdxReadTemplate(KzDxByteSource& source, CEattMain& result) noexcept;

/// Writes a complete template file: the header value and the blocks.
void kzdxWriteTemplate(const CEattMain& eattMain, KzDxArchiveWriter& writer);
