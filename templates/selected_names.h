#pragma once

#include "templates/eatt_main.h"

#include <string>
#include <vector>

/// Appends the names of the selected blocks, and of their selected attributes, each name once per
/// list, in the order of the template. Both lists may be the same list: then no name occurs twice in it.
/// REQUIRES: the lists are empty.
void kzdxGiveSelectedNames(const CEattMain& eattMain, std::vector<std::u16string>& blocks,
                           std::vector<std::u16string>& attributes);
