// Numbers as people type them: "1,5", "1920/2", "2*(0.6 + 1)", and "+=5" to add to what is there.
//
//     sum     = product { ("+" | "-") product }
//     product = factor { ("*" | "/") factor }
//     factor  = ["+" | "-"] (number | "(" sum ")")
//
// A comma between digits is a decimal point. "1,920" could be one of thousands: it is refused.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>

namespace zelk {

enum class CommaUse {
    kDecimal,
    kNone,  ///< of whole numbers, which have no decimals
};

/// What a text comes to, written plainly for what reads numbers. "+=", "-=", "*=" and "/=" start at
/// `now`. A text that is no number stays as it is, for its reader to quote. Throws a usage error
/// about `thing` for a comma that could be either.
std::string plainNumber(std::string const& thing, std::string_view text, std::string_view now,
                        CommaUse commas = CommaUse::kDecimal);

/// Where two numbers are as likely as one: a comma between digits parts them.
enum class PairComma {
    kParts,
    kDecimal,  ///< but with a blank beside it
};

/// The texts of two numbers, with a semicolon, a single comma or blanks between them; nothing for
/// any other text.
std::optional<std::array<std::string, 2>> pairIn(std::string_view text,
                                                 PairComma comma = PairComma::kParts);

}  // namespace zelk
