// Values and curves; see node_pin.h.
#include "zelk/tracks/node_pin.h"

#include <cctype>

#include "zelk/text/numbers.h"

namespace zelk {

namespace {

/// How the curve runs: "i", "K", "s0", "t-0.5".
bool isMark(std::string_view word) {
    if (!std::isalpha(static_cast<unsigned char>(word[0]))) return false;
    return word.size() == 1 || parseNumber(word.substr(1)).has_value();
}

}  // namespace

NodePin NodePinReader::read() {
    NodePin pin;
    pin.line = m_words.line();
    std::string const name(m_words.word());
    step();
    if (!m_words.isOpening()) refuse("no values in braces after", name, "{X Y}");
    for (NodeValue& value : pin.xy) value = readValue();
    step();
    if (!m_words.isClosing()) refuse("more than x and y in", name, "{X Y}");
    return pin;
}

NodeValue NodePinReader::readValue() {
    step();
    if (!m_words.isOpening()) return {number(), {}};
    step();
    if (m_words.word() == "curve") return readCurve();
    NodeValue const value{number(), {}};
    step();
    if (!m_words.isClosing()) refuse("not a value:", m_words.word(), "}");
    return value;
}

NodeValue NodePinReader::readCurve() {
    NodeValue curve;
    std::optional<double> frame;
    double stride = 1;
    bool hasFrame = false;
    for (step(); !m_words.isClosing(); step()) {
        std::string_view const word = m_words.word();
        if (auto const named = word[0] == 'x' ? parseNumber(word.substr(1)) : std::nullopt) {
            stride = hasFrame || !frame ? 1 : *named - *frame;
            frame = named;
            hasFrame = true;
            continue;
        }
        if (isMark(word)) continue;
        double const value = number();
        if (!hasFrame && frame) {
            if (stride != 1)
                refuse("no frame before", word, "xFRAME, as the keys lie not a frame apart");
            *frame += 1;
        }
        if (!frame) refuse("no frame before", word, "xFRAME");
        if (++m_keys > 2 * kMostSamples) refuseSample(m_text, m_words.line());
        curve.keys.push_back({*frame, value});
        hasFrame = false;
    }
    if (curve.keys.empty()) refuse("a curve without keys in", "to", "xFRAME VALUE");
    return curve;
}

double NodePinReader::number() const {
    auto const value = parseNumber(m_words.word());
    if (!value) refuse("not a number:", m_words.word(), "a number or {curve ...}");
    return *value;
}

void NodePinReader::step() {
    if (!m_words.next()) refuse("breaks off in a pin:", "", "}");
}

void NodePinReader::refuse(std::string const& wrong, std::string_view value,
                           std::string const& expected) const {
    m_text.refuse(m_words.line(), wrong, value, expected);
}

}  // namespace zelk
