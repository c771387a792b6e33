// A picture at 1/N of its size: each pixel is the mean of N by N pixels, colours weighted by their
// alpha so that what is transparent lends no colour. Pixels beyond the last whole block are left
// out. Input and output are straight red, green, blue, alpha; rows come and go one at a time.
//
//   alpha = sum(a) / N^2     colour = sum(c a) / sum(a), 0 where sum(a) is 0
//
// Integer sums are exact and the quotient is rounded to nearest, halves up.
#pragma once

#include <cstdint>
#include <type_traits>
#include <vector>

namespace zelk {

template <class Channel>
class BoxReducer {
public:
    /// `width` in pixels of the full picture, `n` at least 1 and at most `width`.
    BoxReducer(int width, int n);

    /// Takes the next row of `width` pixels. True when it completes a block of N rows: `reduced`
    /// then holds a row of width / n pixels.
    bool add(Channel const* rgba, Channel* reduced);

private:
    using Sum = std::conditional_t<std::is_floating_point_v<Channel>, double, std::uint64_t>;

    void finish(Channel* reduced);

    int m_n;
    int m_reducedWidth;
    int m_rowsTaken = 0;
    std::vector<Sum> m_sums;  ///< of colours times alpha, and of alpha; four a reduced pixel
};

extern template class BoxReducer<std::uint8_t>;
extern template class BoxReducer<std::uint16_t>;
extern template class BoxReducer<float>;

}  // namespace zelk
