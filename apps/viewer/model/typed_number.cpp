// See typed_number.h.
#include "apps/viewer/model/typed_number.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "zelk/text/errors.h"
#include "zelk/text/numbers.h"

namespace zelk {
namespace {

constexpr std::string_view kDigits = "0123456789";
constexpr int kMostDepth = 50;  // of brackets and signs

bool isAsciiDigit(char c) { return kDigits.find(c) != std::string_view::npos; }

/// "1,920": one to three digits without a leading zero, and three behind the comma.
bool mayBeThousands(std::string_view number, std::size_t comma) {
    return comma >= 1 && comma <= 3 && number[0] != '0' && number.size() == comma + 4;
}

class Sum {
public:
    Sum(std::string const& thing, std::string_view text, CommaUse commas)
        : m_thing(thing), m_rest(text), m_commas(commas) {}

    /// Nothing where it is none, or no finite number.
    std::optional<double> value() {
        auto const sum = this->sum();
        return sum && next() == 0 && std::isfinite(*sum) ? sum : std::nullopt;
    }

private:
    /// The next letter that is no blank; 0 at the end.
    char next() {
        m_rest = trimmed(m_rest);
        return m_rest.empty() ? '\0' : m_rest.front();
    }
    bool takes(char sign) {
        if (next() != sign) return false;
        m_rest.remove_prefix(1);
        return true;
    }

    std::optional<double> sum() {
        auto left = product();
        while (left) {
            bool const adds = takes('+');
            if (!adds && !takes('-')) break;
            auto const right = product();
            if (!right) return std::nullopt;
            left = adds ? *left + *right : *left - *right;
        }
        return left;
    }

    std::optional<double> product() {
        auto left = factor();
        while (left) {
            bool const multiplies = takes('*');
            if (!multiplies && !takes('/')) break;
            auto const right = factor();
            if (!right) return std::nullopt;
            left = multiplies ? *left * *right : *left / *right;
        }
        return left;
    }

    std::optional<double> factor() {
        if (++m_depth > kMostDepth) return std::nullopt;
        std::optional<double> value;
        if (takes('-')) {
            value = factor();
            if (value) value = -*value;
        } else if (takes('+')) {
            value = factor();
        } else if (takes('(')) {
            value = sum();
            if (!takes(')')) value.reset();
        } else {
            value = number();
        }
        --m_depth;
        return value;
    }

    std::optional<double> number() {
        next();
        auto end = std::min(m_rest.find_first_not_of("0123456789.,"), m_rest.size());
        end = std::min(withExponent(end), m_rest.size());
        std::string text(m_rest.substr(0, end));
        m_rest.remove_prefix(end);
        auto const comma = text.find(',');
        if (comma == std::string::npos) return parseNumber(text);
        if (m_commas == CommaUse::kNone) return std::nullopt;
        std::string decimal = text;
        decimal[comma] = '.';
        if (mayBeThousands(text, comma)) {
            std::string whole = text;
            whole.erase(comma, 1);
            throw UserError(ExitCode::kUsage, Complaint{m_thing, "may be one of two numbers", text,
                                                        whole + " or " + decimal});
        }
        return parseNumber(decimal);
    }

    /// Where a number's "e-5" ends, if it has one there.
    std::size_t withExponent(std::size_t end) const {
        auto at = end;
        if (at >= m_rest.size() || (m_rest[at] != 'e' && m_rest[at] != 'E')) return end;
        ++at;
        if (at < m_rest.size() && (m_rest[at] == '+' || m_rest[at] == '-')) ++at;
        if (at >= m_rest.size() || !isAsciiDigit(m_rest[at])) return end;
        return m_rest.find_first_not_of(kDigits, at);
    }

    std::string const& m_thing;
    std::string_view m_rest;
    CommaUse m_commas;
    int m_depth = 0;
};

bool isOperator(char c) { return c == '+' || c == '-' || c == '*' || c == '/'; }

/// "+=5" is "+"; 0 for a text that starts at nothing.
char relationOf(std::string_view text) {
    return text.size() > 2 && isOperator(text[0]) && text[1] == '=' ? text[0] : '\0';
}

double related(double now, char relation, double by) {
    switch (relation) {
        case '+':
            return now + by;
        case '-':
            return now - by;
        case '*':
            return now * by;
        default:
            return now / by;
    }
}

/// Without the dust of binary fractions.
std::string written(double value) { return fmt::format("{:.10g}", value == 0 ? 0 : value); }

std::vector<std::string> splitAt(std::string_view text, std::string_view separators) {
    std::vector<std::string> parts(1);
    for (char const c : text) {
        if (separators.find(c) == std::string_view::npos)
            parts.back() += c;
        else if (separators.size() == 1 || !parts.back().empty())
            parts.emplace_back();
    }
    return parts;
}

/// Two words that no sign of arithmetic joins, as "2 *3" and "1 +2" are joined.
bool areApart(std::string const& first, std::string const& second) {
    bool const isStart = isAsciiDigit(second[0]) || second[0] == '-' || second[0] == '.';
    return isStart && !isOperator(first.back());
}

bool hasBlankBeside(std::string_view text, std::size_t at) {
    std::string_view const beside = text.substr(at == 0 ? 0 : at - 1, 3);
    return beside.find_first_of(" \t") != std::string_view::npos;
}

}  // namespace

std::string plainNumber(std::string const& thing, std::string_view text, std::string_view now,
                        CommaUse commas) {
    text = trimmed(text);
    if (parseNumber(text)) return std::string(text);
    char const relation = relationOf(text);
    auto const base = relation ? parseNumber(now) : std::optional(0.0);
    auto by = Sum(thing, relation ? text.substr(2) : text, commas).value();
    if (by && base && relation) by = related(*base, relation, *by);
    return by && base && std::isfinite(*by) ? written(*by) : std::string(text);
}

std::optional<std::array<std::string, 2>> pairIn(std::string_view text, PairComma comma) {
    text = trimmed(text);
    bool const hasSemicolon = text.find(';') != std::string_view::npos;
    bool const hasComma = std::count(text.begin(), text.end(), ',') == 1 &&
                          (comma == PairComma::kParts || hasBlankBeside(text, text.find(',')));
    std::vector<std::string> const parts = splitAt(text, hasSemicolon ? ";"
                                                         : hasComma   ? ","
                                                                      : " \t");
    if (parts.size() != 2 || parts[0].empty() || parts[1].empty()) return std::nullopt;
    if (!hasSemicolon && !hasComma && !areApart(parts[0], parts[1])) return std::nullopt;
    return std::array{parts[0], parts[1]};
}

}  // namespace zelk
