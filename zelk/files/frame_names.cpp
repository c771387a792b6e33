// Marks, numbered names and frame lists; see frame_names.h.
#include "zelk/files/frame_names.h"

#include <OpenImageIO/filesystem.h>
#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <system_error>
#include <unordered_set>

#include "zelk/text/errors.h"
#include "zelk/text/numbers.h"

namespace zelk {

namespace fs = std::filesystem;

namespace {

constexpr int kMostDigits = 20;
constexpr std::int64_t kMostFrames = 1'000'000;
constexpr std::int64_t kLongestSpan = 100'000'000;  // it is walked, whatever the step
constexpr char const* kNoList = "not a list of frames";

bool isDigit(char c) { return c >= '0' && c <= '9'; }
bool isLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

std::size_t countWhile(std::string_view text, std::size_t from, bool (*holds)(char)) {
    std::size_t n = 0;
    while (from + n < text.size() && holds(text[from + n])) ++n;
    return n;
}

/// What stands at the start of a text.
struct Mark {
    std::size_t length = 0;  ///< 0 when there is no mark
    int width = 0;           ///< 0 when the mark is malformed
};

/// A width without leading zeros; 1 where there is none.
int widthOf(std::string_view digits) {
    if (digits.empty()) return 1;
    int width = 0;
    std::from_chars(digits.data(), digits.data() + digits.size(), width);
    return digits[0] == '0' || width > kMostDigits ? 0 : width;
}

/// "%d" and "%04d". A percent sign before neither letter nor digit stands for itself.
Mark percentMark(std::string_view text) {
    std::size_t const digits = countWhile(text, 1, isDigit);
    bool const isWhole = text.size() > 1 + digits && text[1 + digits] == 'd';
    std::size_t const letters = countWhile(text, 1 + digits, isLetter);
    if (digits + letters == 0) return {};
    if (!isWhole) return {1 + digits + std::min<std::size_t>(letters, 1), 0};
    if (digits == 0) return {2, 1};
    return {2 + digits, text[1] == '0' && digits > 1 ? widthOf(text.substr(2, digits - 1)) : 0};
}

/// "$F" and "$F4". A longer word after the dollar sign is no mark.
Mark dollarMark(std::string_view text) {
    if (text.size() < 2 || text[1] != 'F') return {};
    if (text.size() > 2 && isLetter(text[2])) return {};
    std::size_t const digits = countWhile(text, 2, isDigit);
    return {2 + digits, widthOf(text.substr(2, digits))};
}

Mark markAt(std::string_view text) {
    if (text[0] == '%') return percentMark(text);
    if (text[0] == '$') return dollarMark(text);
    if (text[0] != '#' && text[0] != '@') return {};
    std::size_t const n = std::min(text.find_first_not_of(text[0]), text.size());
    if (text[0] == '#' && n == 1) return {1, 4};
    return {n, n > kMostDigits ? 0 : static_cast<int>(n)};
}

UserError badMark(std::string_view pattern, char const* wrong, std::string_view mark,
                  char const* expected) {
    return {ExitCode::kUsage, {std::string(pattern), wrong, std::string(mark), expected}};
}

/// A range of a frame list as typed: FIRST, FIRST-LAST, with xSTEP or ySTEP behind it.
struct NumberSpan {
    std::int64_t first = 0, last = 0, step = 1;
    bool isComplement = false;

    std::int64_t length() const { return std::abs(last - first); }
    std::int64_t stepped() const { return length() / std::abs(step) + 1; }
    std::int64_t count() const { return isComplement ? length() + 1 - stepped() : stepped(); }
    std::string text() const {
        return fmt::format("{}-{}{}{}", first, last, isComplement ? 'y' : 'x', step);
    }
};

/// Reads frame lists from left to right; complains about the whole text.
class FrameListReader {
public:
    FrameListReader(std::string const& option, std::string_view text)
        : m_option(option), m_text(text), m_rest(text) {}

    bool take(char c) {
        m_rest = trimmed(m_rest);
        bool const isNext = !m_rest.empty() && m_rest[0] == c;
        if (isNext) m_rest.remove_prefix(1);
        return isNext;
    }

    NumberSpan span() {
        NumberSpan span;
        span.first = span.last = number();
        if (!take('-')) return span;
        span.last = number();
        span.isComplement = take('y');
        if (span.isComplement || take('x')) span.step = number();
        if (span.step == 0) complain("step of 0 in");
        if (span.length() > kLongestSpan) complain("range too long in");
        return span;
    }

    void end() {
        if (!trimmed(m_rest).empty()) complain(kNoList);
    }

    [[noreturn]] void complain(std::string const& wrong) const {
        throw UserError(ExitCode::kUsage, {m_option, wrong, shortened(m_text),
                                           "frames such as 7, 1001-1100, 1-10,20-30x2 or 1-100y5"});
    }

private:
    int number() {
        m_rest = trimmed(m_rest);
        int value = 0;
        auto const [end, fault] =
            std::from_chars(m_rest.data(), m_rest.data() + m_rest.size(), value);
        if (fault == std::errc::result_out_of_range) complain("number beyond 32 bits in");
        if (fault != std::errc{}) complain(kNoList);
        m_rest.remove_prefix(static_cast<std::size_t>(end - m_rest.data()));
        return value;
    }

    std::string const& m_option;
    std::string_view m_text, m_rest;
};

/// Each frame at its first place only.
void dropRepeats(std::vector<int>& frames) {
    std::unordered_set<int> known;
    std::erase_if(frames, [&](int frame) { return !known.insert(frame).second; });
}

}  // namespace

SequenceName SequenceName::plain(std::string_view path) {
    SequenceName name;
    name.m_before = path;
    return name;
}

SequenceName::SequenceName(std::string_view pattern) {
    std::string* text = &m_before;
    std::size_t const slash = pattern.rfind('/');
    std::size_t const fileAt = slash == pattern.npos ? 0 : slash + 1;
    for (std::size_t at = 0; at < pattern.size();) {
        std::string_view const rest = pattern.substr(at);
        bool const isPercentSign = rest.substr(0, 2) == "%%";
        bool const isFolders = at < fileAt && (rest[0] == '#' || rest[0] == '@');
        Mark const mark = isPercentSign || isFolders ? Mark{} : markAt(rest);
        if (mark.length == 0) {
            *text += rest[0];
            at += isPercentSign ? 2 : 1;
            continue;
        }
        std::string_view const written = rest.substr(0, mark.length);
        if (mark.width == 0) {
            throw badMark(
                pattern, "malformed frame mark", written,
                rest[0] == '%' ? "%04d, or %% for a percent sign" : "%04d, ####, @@@@ or $F4");
        }
        if (isSequence()) throw badMark(pattern, "second frame mark", written, "one at most");
        m_width = mark.width;
        text = &m_after;
        at += mark.length;
    }
}

std::string SequenceName::numbered(int frame) const {
    return fmt::format("{:0{}}", frame, m_width);
}

fs::path SequenceName::pathOf(int frame) const {
    return isSequence() ? m_before + numbered(frame) + m_after : m_before;
}

fs::path SequenceName::folder() const {
    std::size_t const slash = m_before.rfind('/');
    return slash == std::string::npos ? "." : m_before.substr(0, slash + 1);
}

fs::path SequenceName::beyond() const {
    std::size_t const slash = m_after.find('/');
    return slash == std::string::npos ? std::string() : m_after.substr(slash + 1);
}

std::optional<int> SequenceName::frameOf(std::string_view name) const {
    std::string_view const before = std::string_view(m_before).substr(m_before.rfind('/') + 1);
    std::string_view const after = std::string_view(m_after).substr(0, m_after.find('/'));
    if (name.size() <= before.size() + after.size()) return std::nullopt;
    if (!name.starts_with(before) || !name.ends_with(after)) return std::nullopt;
    name.remove_prefix(before.size());
    name.remove_suffix(after.size());
    int frame = 0;
    auto const fault = std::from_chars(name.data(), name.data() + name.size(), frame).ec;
    if (fault != std::errc{} || numbered(frame) != name) return std::nullopt;
    return frame;
}

std::vector<int> framesOnDisk(SequenceName const& name, std::error_code& fault) {
    std::vector<int> frames;
    fault.clear();
    if (!name.isSequence()) return frames;
    std::error_code ignored;
    for (fs::directory_iterator entry(name.folder(), fault), end; !fault && entry != end;
         entry.increment(fault)) {
        auto const frame = name.frameOf(entry->path().filename().string());
        if (!frame) continue;
        fs::file_status const status = name.beyond().empty()
                                           ? entry->status(ignored)
                                           : fs::status(entry->path() / name.beyond(), ignored);
        if (fs::exists(status) && !fs::is_directory(status)) frames.push_back(*frame);
    }
    std::sort(frames.begin(), frames.end());
    return frames;
}

std::vector<int> framesOnDisk(SequenceName const& name) {
    std::error_code fault;
    std::vector<int> frames = framesOnDisk(name, fault);
    if (!fault) return frames;
    throw UserError(ExitCode::kInput, {name.folder().string(), "cannot be listed:", fault.message(),
                                       "a folder with numbered pictures"});
}

std::optional<int> numberOfName(fs::path const& file) {
    std::string const stem = file.stem().string();
    std::size_t const begin = stem.find_last_not_of("0123456789") + 1;
    bool const isVersion = begin > 0 && (stem[begin - 1] == 'v' || stem[begin - 1] == 'V');
    if (stem.size() - begin < 3 || isVersion) return std::nullopt;
    return parseWhole(stem.substr(begin));
}

// OpenImageIO enumerates a range, once nothing is left in it that it would pass over in silence
// (text behind a number, a step of 0, numbers beyond 32 bits, an empty list) or fill the memory
// with.
std::vector<int> parseFrameRange(std::string const& option, std::string_view text) {
    FrameListReader reader(option, text);
    std::vector<NumberSpan> spans;
    std::int64_t count = 0;
    do {
        spans.push_back(reader.span());
        count += spans.back().count();
    } while (reader.take(','));
    reader.end();
    if (count == 0) reader.complain("no frames in");
    if (count > kMostFrames) reader.complain(fmt::format("more than {} frames in", kMostFrames));
    std::vector<int> frames;
    for (NumberSpan const& span : spans) {
        std::vector<int> some;
        if (!OIIO::Filesystem::enumerate_sequence(span.text(), some)) reader.complain(kNoList);
        frames.insert(frames.end(), some.begin(), some.end());
    }
    if (spans.size() > 1) dropRepeats(frames);
    return frames;
}

std::string frameRangeText(std::vector<int> const& frames) {
    std::string text;
    for (std::size_t first = 0, last = 0; first < frames.size(); first = ++last) {
        while (last + 1 < frames.size() && frames[last + 1] - std::int64_t{frames[last]} == 1)
            ++last;
        text += (first > 0 ? "," : "") + std::to_string(frames[first]);
        if (last > first) text += "-" + std::to_string(frames[last]);
    }
    return text;
}

}  // namespace zelk
