// Block means; see box_reduce.h for the formula.
#include "zelk/pictures/box_reduce.h"

#include <algorithm>

namespace zelk {

namespace {

/// Nearest, halves up.
template <class Channel, class Sum>
Channel quotient(Sum sum, Sum divisor) {
    if constexpr (std::is_floating_point_v<Channel>) {
        return static_cast<Channel>(sum / divisor);
    } else {
        return static_cast<Channel>((sum + divisor / 2) / divisor);
    }
}

}  // namespace

template <class Channel>
BoxReducer<Channel>::BoxReducer(int width, int n)
    : m_n(n), m_reducedWidth(width / n), m_sums(static_cast<std::size_t>(m_reducedWidth) * 4) {}

template <class Channel>
bool BoxReducer<Channel>::add(Channel const* rgba, Channel* reduced) {
    Sum* sums = m_sums.data();
    for (int x = 0; x < m_reducedWidth; ++x, sums += 4) {
        for (int i = 0; i < m_n; ++i, rgba += 4) {
            Sum const alpha = rgba[3];
            for (int c = 0; c < 3; ++c) sums[c] += rgba[c] * alpha;
            sums[3] += alpha;
        }
    }
    if (++m_rowsTaken < m_n) return false;
    finish(reduced);
    return true;
}

template <class Channel>
void BoxReducer<Channel>::finish(Channel* reduced) {
    Sum const count = static_cast<Sum>(m_n) * static_cast<Sum>(m_n);
    for (std::size_t i = 0; i < m_sums.size(); i += 4, reduced += 4) {
        Sum const alpha = m_sums[i + 3];
        for (std::size_t c = 0; c < 3; ++c) {
            reduced[c] = alpha == Sum{} ? Channel{} : quotient<Channel>(m_sums[i + c], alpha);
        }
        reduced[3] = quotient<Channel>(alpha, count);
    }
    std::fill(m_sums.begin(), m_sums.end(), Sum{});
    m_rowsTaken = 0;
}

template class BoxReducer<std::uint8_t>;
template class BoxReducer<std::uint16_t>;
template class BoxReducer<float>;

}  // namespace zelk
