#pragma once

#include "templates/eatt_main.h"
#include "tools/kztemplate/json_document.h"

#include <optional>
#include <string_view>

/// Makes a template of the JSON text that templateToJson() writes:
///
///     {"header": 1, "blocks": [{"name": "DOOR", "flag": 1, "attributes": [{"name": "NOTE", "flag": 0}]}]}
///
/// Every key must be there, and no other. Numbers are whole and fit 32 bits, signed. The attribute names of a
/// block differ. When the text is refused, `result` is unchanged.
[[nodiscard]] std::optional<Refusal> templateFromJson(std::string_view text, CEattMain& result);
