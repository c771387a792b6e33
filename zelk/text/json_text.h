// JSON between text and values, stricter than the library: a file that a person edits should not
// lose one of two equal names, or end the program by its depth.
//
// Numbers are written with the fewest digits that read back as the same double.
#pragma once

#include <filesystem>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <string_view>

namespace zelk {

/// Throws an input error about `file`: malformed text, by line:column (from 1, in characters); a
/// number beyond double; a name twice in one object; more than 32 levels.
nlohmann::json parseJson(std::filesystem::path const& file, std::string_view text);

/// `value` over lines of up to 120 columns: what fits on one line stays on it. Ends with a line
/// end. Throws the library's type_error for a string that is not UTF-8.
std::string jsonText(nlohmann::ordered_json const& value);

}  // namespace zelk
