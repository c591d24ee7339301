#pragma once

#include "templates/eatt_main.h"

#include <string>
#include <vector>

/// Appends the names of the selected blocks, and of the selected attributes within them, each name once per
/// list, in the order of the template. A name that its list already holds is not appended. Both lists may be
/// the same one.
void appendSelectedNames(const CEattMain& eattMain, std::vector<std::u16string>& blocks,
                         std::vector<std::u16string>& attributes);
