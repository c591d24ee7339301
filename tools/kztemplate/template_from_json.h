#pragma once

#include "templates/eatt_main.h"

#include <optional>
#include <string>
#include <string_view>

/// An error in a JSON text: the position, for example `$.blocks[0].flag`, and the reason. Both are
/// shortened if they are long.
struct JsonError {
    std::string path;
    std::string reason;
};

/// Reads a template from a JSON text as templateToJson() writes it:
///
///     {"header": 1, "blocks": [{"name": "DOOR", "flag": 1, "attributes": [{"name": "NOTE", "flag": 0}]}]}
///
/// Every key is required once, and no other key is allowed. Numbers are signed 32-bit integers. The
/// attribute names of a block must differ. On failure, `result` is unchanged.
[[nodiscard]] std::optional<JsonError> templateFromJson(std::string_view text, CEattMain& result);
