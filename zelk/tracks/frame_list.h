// Frames of one fault, named in a few words whatever their number.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace zelk {

/// Frames as ranges: "3, 5 to 9 and others".
class FrameList {
public:
    /// In the order in which they are to be named.
    void add(double frame);
    bool isEmpty() const { return m_count == 0; }
    std::size_t count() const { return m_count; }
    std::string text() const;

private:
    struct Range {
        double first, last;
    };
    static constexpr std::size_t kMostRanges = 6;
    std::vector<Range> m_ranges;
    std::size_t m_count = 0, m_more = 0;
};

/// "1 frame (3)", "12 frames (3, 5 to 15)"
std::string framesText(FrameList const& frames);

}  // namespace zelk
