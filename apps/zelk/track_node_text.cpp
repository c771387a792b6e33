// Words in braces; see track_node_text.h.
#include "apps/zelk/track_node_text.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>

#include "apps/zelk/numbers.h"

namespace zelk {

namespace {

constexpr std::string_view kNode = "CornerPin2D";
/// Corner of to1, to2, to3, to4.
constexpr int kCorners[] = {kLowerLeft, kLowerRight, kUpperRight, kUpperLeft};

/// Words, texts in quotes, and braces by themselves.
class Words {
public:
    explicit Words(std::string_view text) : m_rest(text) {}

    bool next() {
        skipBlanks();
        if (m_rest.empty()) return false;
        std::size_t count = 1;
        if (m_rest[0] == '"')
            count = quotedLength();
        else if (!isBrace(m_rest[0]))
            count = std::min(m_rest.find_first_of(" \t\r\n{}"), m_rest.size());
        m_word = m_rest.substr(0, count);
        m_line = m_nextLine;
        m_nextLine += static_cast<int>(std::count(m_word.begin(), m_word.end(), '\n'));
        m_rest.remove_prefix(count);
        return true;
    }

    std::string_view word() const { return m_word; }
    int line() const { return m_line; }
    bool isOpening() const { return m_word == "{"; }
    bool isClosing() const { return m_word == "}"; }

private:
    static bool isBrace(char c) { return c == '{' || c == '}'; }

    /// To the quote that no backslash stands before, which counts to the text's end without one.
    std::size_t quotedLength() const {
        std::size_t end = 1;
        while (end < m_rest.size() && m_rest[end] != '"') end += m_rest[end] == '\\' ? 2 : 1;
        return std::min(end + 1, m_rest.size());
    }

    void skipBlanks() {
        auto const count = std::min(m_rest.find_first_not_of(" \t\r\n"), m_rest.size());
        auto const blanks = m_rest.substr(0, count);
        m_nextLine += static_cast<int>(std::count(blanks.begin(), blanks.end(), '\n'));
        m_rest.remove_prefix(count);
    }

    std::string_view m_rest, m_word;
    int m_line = 1, m_nextLine = 1;
};

struct Key {
    double frame = 0, value = 0;
};

/// One of a pin's two numbers: constant, or keys in order.
struct Component {
    std::optional<double> constant;
    std::vector<Key> keys;
};

/// A pin as the node has it, y up.
struct Pin {
    int line = 0;
    Component xy[2];
};

class NodeReader {
public:
    explicit NodeReader(TrackText const& text) : m_text(text), m_words(text.bytes) {}

    Track read() {
        while (m_words.next()) take();
        checkPins();
        if (m_text.size) m_size = m_text.size;
        if (!m_size) m_size = sizeOfFromPins();
        if (!m_size)
            m_text.refuse(0, "y points up, and no height is told by", kNode,
                          "--size WxH, or From pins on the frame's corners");
        m_track.width = m_size->width;
        m_track.height = m_size->height;
        for (int i = 0; i < 4; ++i) addCorner(m_to[i], kCorners[i]);
        return std::move(m_track);
    }

private:
    // Names before an opening brace: a node's outside of all, a control's inside of a node, or
    // outside, where a pin's lines alone were copied.
    void take() {
        if (m_words.isClosing()) {
            m_depth = std::max(m_depth - 1, 0);
        } else if (m_words.isOpening()) {
            if (m_depth == 0) enterNode();
            ++m_depth;
        } else if (m_depth <= 1 && m_before == "format" && m_node == "Root") {
            takeFormat();
        } else if (Pin* const pin = m_depth <= 1 ? pinNamed(m_words.word()) : nullptr) {
            takePin(*pin);
        }
        m_before = m_words.word();
    }

    void enterNode() {
        m_node = m_before;
        m_isPin = m_node == kNode;
        if (m_isPin && ++m_pinNodes == 2)
            addNote(m_track, m_words.line(), "more than one corner pin: the first is read");
    }

    Pin* pinNamed(std::string_view name) {
        bool const isElsewhere = m_depth == 1 && (!m_isPin || m_pinNodes > 1);
        if (isElsewhere || name.empty()) return nullptr;
        int const number = name.back() - '1';
        if (number < 0 || number > 3) return nullptr;
        name.remove_suffix(1);
        return name == "to" ? &m_to[number] : name == "from" ? &m_from[number] : nullptr;
    }

    /// "1920 1080 0 0 1920 1080 1 HD_1080"
    void takeFormat() {
        std::string_view format = m_words.word();
        while (!format.empty() && format.front() == '"') format.remove_prefix(1);
        auto const words = wordsOf(format);
        if (words.size() < 2) return;
        auto const width = parseWhole(words[0]), height = parseWhole(words[1]);
        if (width && height && *width > 0 && *height > 0) m_size = PixelSize{*width, *height};
    }

    void takePin(Pin& pin) {
        pin = Pin{m_words.line(), {}};
        std::string const name(m_words.word());
        step();
        if (!m_words.isOpening()) refuse("no values in braces after", name, "{X Y}");
        for (Component& component : pin.xy) takeComponent(component);
        step();
        if (!m_words.isClosing()) refuse("more than x and y in", name, "{X Y}");
    }

    void takeComponent(Component& component) {
        step();
        if (!m_words.isOpening()) {
            component.constant = number();
            return;
        }
        step();
        if (m_words.word() == "curve") return takeCurve(component);
        component.constant = number();
        step();
        if (!m_words.isClosing()) refuse("not a value:", m_words.word(), "}");
    }

    void takeCurve(Component& component) {
        std::optional<double> frame;
        double stride = 1;
        bool isTold = false;
        for (step(); !m_words.isClosing(); step()) {
            std::string_view const word = m_words.word();
            if (auto const told = word[0] == 'x' ? parseNumber(word.substr(1)) : std::nullopt) {
                stride = isTold || !frame ? 1 : *told - *frame;
                frame = told;
                isTold = true;
                continue;
            }
            if (isMark(word)) continue;
            double const value = number();
            if (!isTold && frame) {
                if (stride != 1)
                    refuse("no frame before", word, "xFRAME, as the keys lie not a frame apart");
                *frame += 1;
            }
            if (!frame) refuse("no frame before", word, "xFRAME");
            if (++m_keys > 2 * kMostSamples) refuseSample(m_text, m_words.line());
            component.keys.push_back({*frame, value});
            isTold = false;
        }
        if (component.keys.empty()) refuse("a curve without keys in", "to", "xFRAME VALUE");
    }

    /// How the curve runs: "i", "K", "s0", "t-0.5".
    static bool isMark(std::string_view word) {
        if (!std::isalpha(static_cast<unsigned char>(word[0]))) return false;
        return word.size() == 1 || parseNumber(word.substr(1)).has_value();
    }

    double number() const {
        auto const value = parseNumber(m_words.word());
        if (!value) refuse("not a number:", m_words.word(), "a number or {curve ...}");
        return *value;
    }

    void step() {
        if (!m_words.next()) refuse("breaks off in a pin:", "", "}");
    }

    void checkPins() const {
        if (std::all_of(m_to, m_to + 4, [](Pin const& pin) { return pin.line == 0; }))
            m_text.refuse(0, "no pins of a", kNode, "to1, to2, to3 and to4");
    }

    /// The frame that the From pins span.
    std::optional<PixelSize> sizeOfFromPins() const {
        double at[4][2];
        for (int i = 0; i < 4; ++i)
            for (int axis = 0; axis < 2; ++axis) {
                if (!m_from[i].xy[axis].constant) return std::nullopt;
                at[i][axis] = *m_from[i].xy[axis].constant;
            }
        double const width = at[2][0], height = at[2][1];
        double const frame[4][2] = {{0, 0}, {width, 0}, {width, height}, {0, height}};
        if (!std::equal(&at[0][0], &at[0][0] + 8, &frame[0][0])) return std::nullopt;
        auto const w = parseWhole(numberText(width)), h = parseWhole(numberText(height));
        if (!w || !h || *w <= 0 || *h <= 0) return std::nullopt;
        return PixelSize{*w, *h};
    }

    void addCorner(Pin const& pin, int corner) {
        if (pin.line == 0) return;
        m_track.corners[static_cast<std::size_t>(corner)].line = pin.line;
        Component const& x = pin.xy[0];
        Component const& y = pin.xy[1];
        auto const sameFrame = [](Key const& a, Key const& b) { return a.frame == b.frame; };
        if (!x.constant && !y.constant &&
            !std::equal(x.keys.begin(), x.keys.end(), y.keys.begin(), y.keys.end(), sameFrame))
            m_text.refuse(pin.line, "x and y have keys at other frames in",
                          kCornerWords[static_cast<std::size_t>(corner)],
                          "keys at the same frames");
        Component const& keyed = x.constant ? y : x;
        std::size_t const count = keyed.constant ? 1 : keyed.keys.size();
        for (std::size_t i = 0; i < count; ++i) {
            double const frame = keyed.constant ? firstFrame() : keyed.keys[i].frame;
            addSample(m_text, m_track, corner,
                      {frame, x.constant ? *x.constant : x.keys[i].value,
                       m_size->height - (y.constant ? *y.constant : y.keys[i].value), pin.line});
        }
    }

    /// Where a pin that stays has its one sample: the first key of any other.
    double firstFrame() const {
        std::optional<double> first;
        for (Pin const& pin : m_to)
            for (Component const& component : pin.xy)
                for (Key const& key : component.keys)
                    first = std::min(first.value_or(key.frame), key.frame);
        return first.value_or(0);
    }

    [[noreturn]] void refuse(std::string const& wrong, std::string_view value,
                             std::string const& expected) const {
        m_text.refuse(m_words.line(), wrong, value, expected);
    }

    TrackText const& m_text;
    Words m_words;
    Track m_track;
    std::optional<PixelSize> m_size;
    Pin m_to[4], m_from[4];
    std::string_view m_node, m_before;
    std::size_t m_keys = 0;  ///< of all curves
    int m_depth = 0, m_pinNodes = 0;
    bool m_isPin = false;
};

/// "{curve x1 100 x2 101}"
std::string curveOf(std::vector<TrackSample> const& samples, double TrackSample::*axis,
                    std::optional<int> height) {
    std::string text = "{curve";
    for (TrackSample const& sample : samples)
        text += fmt::format(" x{} {}", numberText(sample.frame),
                            numberText(height ? *height - sample.*axis : sample.*axis));
    return text + "}";
}

}  // namespace

bool isNodeText(TrackText const& text) {
    for (Words words(text.bytes); words.next();) {
        bool const isPin = words.word() == kNode || words.word() == "to1";
        if (isPin && words.next() && words.isOpening()) return true;
    }
    return false;
}

Track readNodeText(TrackText const& text) { return NodeReader(text).read(); }

std::string writeNodeText(Track const& track) {
    std::string text = fmt::format("{} {{\n", kNode);
    for (int i = 0; i < 4; ++i) {
        auto const samples = inOrder(track.corners[static_cast<std::size_t>(kCorners[i])]);
        if (samples.empty()) continue;
        text +=
            fmt::format(" to{} {{{} {}}}\n", i + 1, curveOf(samples, &TrackSample::x, std::nullopt),
                        curveOf(samples, &TrackSample::y, track.height));
    }
    int const w = track.width, h = track.height;
    int const frame[4][2] = {{0, 0}, {w, 0}, {w, h}, {0, h}};
    for (int i = 0; i < 4; ++i)
        text += fmt::format(" from{} {{{} {}}}\n", i + 1, frame[i][0], frame[i][1]);
    return text + " name CornerPin1\n}\n";
}

}  // namespace zelk
