// Words in braces; see node_text.h.
#include "zelk/tracks/node_text.h"

#include <fmt/format.h>

#include <algorithm>

#include "zelk/text/numbers.h"
#include "zelk/tracks/node_pin.h"

namespace zelk {

namespace {

constexpr std::string_view kNode = "CornerPin2D";
/// Corner of to1, to2, to3, to4.
constexpr int kCorners[] = {kLowerLeft, kLowerRight, kUpperRight, kUpperLeft};

class NodeReader {
public:
    explicit NodeReader(TrackText const& text)
        : m_text(text), m_words(text.bytes), m_pins(text, m_words) {}

    Track read() {
        while (m_words.next()) take();
        checkPins();
        if (m_text.size) m_size = m_text.size;
        if (!m_size) m_size = sizeOfFromPins();
        if (!m_size)
            m_text.refuse(
                0, "the frame's height is unknown, and y points up in", kNode,
                fmt::format("the frame's size by `{}size WxH`, or From pins on the frame's corners",
                            m_text.optionPrefix));
        m_track.width = m_size->width;
        m_track.height = m_size->height;
        m_frames = framesOfKeys();
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
        } else if (m_depth == 1 && m_isPin && m_before == "invert") {
            takeInvert();
        } else if (NodePin* const pin = m_depth <= 1 ? pinNamed(m_words.word()) : nullptr) {
            *pin = m_pins.read();
        }
        m_before = m_words.word();
    }

    void enterNode() {
        m_node = m_before;
        m_isPin = m_node == kNode;
        if (m_isPin && ++m_pinNodes == 2)
            addNote(m_track, m_words.line(), "more than one corner pin: the first is read");
    }

    NodePin* pinNamed(std::string_view name) {
        bool const isElsewhere = m_depth == 1 && (!m_isPin || m_pinNodes > 1);
        if (isElsewhere || name.empty()) return nullptr;
        int const number = name.back() - '1';
        if (number < 0 || number > 3) return nullptr;
        name.remove_suffix(1);
        return name == "to" ? &m_to[number] : name == "from" ? &m_from[number] : nullptr;
    }

    /// "1920 1080 0 0 1920 1080 1 HD_1080": size, what of it is used, a pixel's width, a name.
    void takeFormat() {
        std::string_view format = m_words.word();
        while (format.starts_with('"')) format.remove_prefix(1);
        while (format.ends_with('"')) format.remove_suffix(1);
        auto const words = wordsOf(format);
        if (words.size() < 2) return;
        auto const width = parseWhole(words[0]), height = parseWhole(words[1]);
        if (!isSide(width) || !isSide(height))
            m_text.refuse(m_words.line(), "the frame's size can't be", format, sideExpected());
        m_size = PixelSize{*width, *height};
        auto const aspect = words.size() > 6 ? parseNumber(words[6]) : std::nullopt;
        if (aspect && *aspect > 0) m_track.pixelAspect = *aspect;
    }

    /// Such a node lays what is in its To pins into the From pins.
    void takeInvert() {
        bool const isOn = m_words.word() == "true" || m_words.word() == "1";
        if (isOn && m_pinNodes == 1)
            addNote(m_track, m_words.line(),
                    "the node is inverted, which is not kept: its To pins are read as ever");
    }

    void checkPins() const {
        if (std::all_of(m_to, m_to + 4, [](NodePin const& pin) { return pin.line == 0; }))
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
        if (!isSide(w) || !isSide(h)) return std::nullopt;
        return PixelSize{*w, *h};
    }

    void addCorner(NodePin const& pin, int corner) {
        if (pin.line == 0) return;
        m_track.corners[static_cast<std::size_t>(corner)].line = pin.line;
        NodeValue const& x = pin.xy[0];
        NodeValue const& y = pin.xy[1];
        auto const sameFrame = [](NodeKey const& a, NodeKey const& b) {
            return a.frame == b.frame;
        };
        if (!x.constant && !y.constant &&
            !std::equal(x.keys.begin(), x.keys.end(), y.keys.begin(), y.keys.end(), sameFrame))
            m_text.refuse(pin.line, "x and y have keys at other frames in",
                          kCornerWords[static_cast<std::size_t>(corner)],
                          "keys at the same frames");
        auto const add = [&](double frame, double px, double up) {
            addSample(m_text, m_track, corner, {frame, px, m_size->height - up, pin.line});
        };
        if (x.constant && y.constant) {
            for (double const frame : m_frames) add(frame, *x.constant, *y.constant);
            return;
        }
        std::size_t const count = std::max(x.keys.size(), y.keys.size());
        for (std::size_t i = 0; i < count; ++i)
            add((x.constant ? y : x).keys[i].frame, x.constant ? *x.constant : x.keys[i].value,
                y.constant ? *y.constant : y.keys[i].value);
    }

    /// Where a pin that stays has its samples: at the keys of all others, so that quads are whole.
    std::vector<double> framesOfKeys() const {
        std::vector<double> frames;
        for (NodePin const& pin : m_to)
            for (NodeValue const& value : pin.xy)
                for (NodeKey const& key : value.keys) frames.push_back(key.frame);
        std::sort(frames.begin(), frames.end());
        frames.erase(std::unique(frames.begin(), frames.end()), frames.end());
        if (frames.empty()) frames.push_back(0);
        return frames;
    }

    TrackText const& m_text;
    NodeWords m_words;
    NodePinReader m_pins;
    Track m_track;
    std::optional<PixelSize> m_size;
    NodePin m_to[4], m_from[4];
    std::vector<double> m_frames;  ///< of all keys, in order
    std::string_view m_node, m_before;
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
    for (NodeWords words(text.bytes); words.next();) {
        bool const isPin = words.word() == kNode || words.word() == "to1";
        if (isPin && words.next() && words.isOpening()) return true;
    }
    return false;
}

bool resemblesNodeText(TrackText const& text) {
    return text.bytes.find(kNode) != std::string_view::npos || text.file.ends_with(".nk");
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
