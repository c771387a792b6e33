// Strict reading and tidy writing; see json_text.h.
#include "zelk/text/json_text.h"

#include <fmt/format.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <utility>
#include <vector>

#include "zelk/text/errors.h"

namespace zelk {

namespace {

using Json = nlohmann::json;
using Ordered = nlohmann::ordered_json;

constexpr std::size_t kDeepest = 32;
constexpr std::size_t kLineLength = 120;

/// A word of a text: what stands between blanks and JSON's own marks, or one of these.
struct Word {
    std::size_t start = 0;
    std::string text;
};

/// The word that the last of the first `count` bytes belongs to.
Word wordAt(std::string_view text, std::size_t count) {
    constexpr std::string_view kMarks = " \t\r\n,:[]{}\"";
    std::size_t const at = std::min(count > 0 ? count - 1 : 0, text.size());
    if (at == text.size()) return {at, ""};
    if (kMarks.find(text[at]) != kMarks.npos) return {at, std::string(1, text[at])};
    std::size_t const start = text.find_last_of(kMarks, at) + 1;  // npos + 1 is 0
    return {start, std::string(text.substr(start, text.find_first_of(kMarks, at) - start))};
}

/// "3:12"
std::string lineAndColumn(std::string_view text, std::size_t at) {
    std::string_view const before = text.substr(0, at);
    auto const line = std::count(before.begin(), before.end(), '\n') + 1;
    auto const start = before.rfind('\n') + 1;
    auto const isCharacter = [](char c) { return (c & 0xC0) != 0x80; };
    auto const column = std::count_if(before.begin() + static_cast<std::ptrdiff_t>(start),
                                      before.end(), isCharacter);
    return fmt::format("{}:{}", line, column + 1);
}

/// The last part of the library's "[id] ... while parsing value - REASON; last read: ...".
std::string reasonOf(std::string text) {
    text = text.substr(0, text.find("; last read"));
    for (char const* before : {"] ", " - "}) {
        auto const at = text.find(before);
        if (at != std::string::npos) text = text.substr(at + std::string_view(before).size());
    }
    return text.substr(0, text.find("; expected"));
}

/// Builds the value from the parser's events.
class Builder final : public nlohmann::json_sax<Json> {
public:
    Builder(std::filesystem::path const& file, std::string_view text)
        : m_file(file.string()), m_text(text) {}

    Json take() { return std::move(m_root); }

    bool null() override { return add(nullptr); }
    bool boolean(bool value) override { return add(value); }
    bool number_integer(number_integer_t value) override { return add(value); }
    bool number_unsigned(number_unsigned_t value) override { return add(value); }
    bool number_float(number_float_t value, string_t const&) override { return add(value); }
    bool string(string_t& value) override { return add(std::move(value)); }
    bool binary(binary_t&) override { return false; }  // no JSON text has it
    bool start_object(std::size_t) override { return open(Json::object()); }
    bool start_array(std::size_t) override { return open(Json::array()); }
    bool end_object() override { return close(); }
    bool end_array() override { return close(); }

    bool key(string_t& name) override {
        m_levels.back().key = name;
        if (m_levels.back().value->contains(name))
            throw UserError(ExitCode::kInput,
                            {m_file, "key appears twice:", place(), "each key once"});
        return true;
    }

    bool parse_error(std::size_t count, std::string const&,
                     nlohmann::detail::exception const& error) override {
        Word const word = wordAt(m_text, count);
        throw UserError(ExitCode::kInput,
                        {m_file,
                         fmt::format("not a JSON file at {}, {}:",
                                     lineAndColumn(m_text, word.start), reasonOf(error.what())),
                         shortened(word.text), "a JSON text"});
    }

private:
    /// An object or array that is still open.
    struct Level {
        Json* value;
        std::string key;  ///< of the member to come
    };

    /// Where the parser stands: "parameters.rotate.keys[3].frame". An array that is open within has
    /// its last element open, the innermost one is about to get its next.
    std::string place() const {
        std::string text;
        for (Level const& level : m_levels) {
            bool const isInnermost = &level == &m_levels.back();
            if (level.value->is_array())
                text += fmt::format("[{}]", level.value->size() - (isInnermost ? 0 : 1));
            else
                text += (text.empty() ? "" : ".") + level.key;
        }
        return shortened(text);
    }

    Json* put(Json value) {
        if (m_levels.empty()) return &(m_root = std::move(value));
        Level& level = m_levels.back();
        if (!level.value->is_array()) return &((*level.value)[level.key] = std::move(value));
        level.value->push_back(std::move(value));
        return &level.value->back();
    }

    template <class Value>
    bool add(Value&& value) {
        put(Json(std::forward<Value>(value)));
        return true;
    }

    /// Containers stay where they are while they are open: only the innermost one grows.
    bool open(Json container) {
        if (m_levels.size() == kDeepest)
            throw UserError(ExitCode::kInput,
                            {m_file, "too many levels of objects and arrays at", place(),
                             fmt::format("at most {} levels", kDeepest)});
        m_levels.push_back({put(std::move(container)), {}});
        return true;
    }

    bool close() {
        m_levels.pop_back();
        return true;
    }

    std::string m_file;
    std::string_view m_text;
    Json m_root;
    std::vector<Level> m_levels;
};

std::string jsonNumber(double value) {
    std::string const text = fmt::format("{}", value);
    return text == "-0" ? "-0.0" : text;  // JSON's -0 is a whole number, which has no sign at 0
}

std::string scalarText(Ordered const& value) {
    return value.is_number_float() ? jsonNumber(value.get<double>()) : value.dump();
}

/// Pieces of an object or array, with its brackets.
std::string bracketed(Ordered const& value, std::vector<std::string> const& pieces,
                      std::string_view before, std::string_view between, std::string_view after) {
    bool const isArray = value.is_array();
    if (pieces.empty()) return isArray ? "[]" : "{}";
    return fmt::format("{}{}{}{}{}", isArray ? '[' : '{', before, fmt::join(pieces, between), after,
                       isArray ? ']' : '}');
}

/// `value` at `indent`, with `used` columns taken on its first line.
std::string textOf(Ordered const& value, std::size_t indent, std::size_t used) {
    if (!value.is_structured()) return scalarText(value);
    std::vector<std::string> pieces;
    std::size_t length = 2;
    bool isShort = indent > 0;  // the whole file is never one line
    for (auto const& [key, member] : value.items()) {
        std::string const name = value.is_object() ? Ordered(key).dump() + ": " : "";
        pieces.push_back(name + textOf(member, indent + 2, indent + 2 + name.size()));
        length += pieces.back().size() + 2;
        isShort = isShort && pieces.back().find('\n') == std::string::npos;
    }
    if (isShort && used + length <= kLineLength) return bracketed(value, pieces, "", ", ", "");
    std::string const line = "\n" + std::string(indent, ' ');
    return bracketed(value, pieces, line + "  ", "," + line + "  ", line);
}

}  // namespace

nlohmann::json parseJson(std::filesystem::path const& file, std::string_view text) {
    Builder builder(file, text);
    Json::sax_parse(text.begin(), text.end(), &builder);
    return builder.take();
}

std::string jsonText(nlohmann::ordered_json const& value) { return textOf(value, 0, 0) + "\n"; }

}  // namespace zelk
