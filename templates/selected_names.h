#pragma once

#include "templates/eatt_main.h"

#include <string>
#include <vector>

/// Gives the names of the selected blocks, and of the selected attributes within them, each name once per
/// list, in the order of the template. Both lists may be the same one: then no name comes twice in it.
/// REQUIRES: the lists are empty.
void kzdxGiveSelectedNames(const CEattMain& eattMain, std::vector<std::u16string>& blocks,
                           std::vector<std::u16string>& attributes);
