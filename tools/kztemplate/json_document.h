#pragma once

#include <nlohmann/json.hpp>

#include <optional>
#include <string>
#include <string_view>

/// Why an input is refused: where, as in `$.blocks[0].flag`, and what is wrong there.
struct Refusal {
    std::string path;
    std::string reason;
};

/// The path of a member.
[[nodiscard]] std::string memberPath(const std::string& path, const std::string& key);

/// The path of an element.
[[nodiscard]] std::string elementPath(const std::string& path, std::size_t index);

/// Parses one JSON document. Refused: what is not JSON, and an object that names a key twice, of which a
/// parser would silently drop one.
[[nodiscard]] std::optional<Refusal> parseJson(std::string_view text, nlohmann::json& result);
