#pragma once

#include "templates/eatt_main.h"

#include <optional>
#include <string>
#include <string_view>

/// Why a text is refused: where, as in `$.blocks[0].flag`, and what is wrong there. Both are cut when long.
struct Refusal {
    std::string path;
    std::string reason;
};

/// Makes a template of the JSON text that templateToJson() writes:
///
///     {"header": 1, "blocks": [{"name": "DOOR", "flag": 1, "attributes": [{"name": "NOTE", "flag": 0}]}]}
///
/// Every key must be there once, and no other. Numbers are whole and fit 32 bits, signed. The attribute names
/// of a block differ. When the text is refused, `result` is unchanged.
[[nodiscard]] std::optional<Refusal> templateFromJson(std::string_view text, CEattMain& result);
