// One pin of a corner pin node: "to1 {X Y}", each of them a number or "{curve x1 100 x2 101}".
#pragma once

#include <optional>
#include <vector>

#include "zelk/tracks/node_words.h"
#include "zelk/tracks/text.h"

namespace zelk {

struct NodeKey {
    double frame = 0, value = 0;
};

/// One of a pin's two numbers: constant, or keys in order.
struct NodeValue {
    std::optional<double> constant;
    std::vector<NodeKey> keys;
};

/// A pin as the node has it, y up.
struct NodePin {
    int line = 0;  ///< 0 for a pin that is not there
    NodeValue xy[2];
};

class NodePinReader {
public:
    NodePinReader(TrackText const& text, NodeWords& words) : m_text(text), m_words(words) {}

    /// From the pin's name, which is the word at hand, to its last brace.
    NodePin read();

private:
    NodeValue readValue();
    NodeValue readCurve();
    double number() const;
    void step();
    [[noreturn]] void refuse(std::string const& wrong, std::string_view value,
                             std::string const& expected) const;

    TrackText const& m_text;
    NodeWords& m_words;
    std::size_t m_keys = 0;  ///< of all curves
};

}  // namespace zelk
