// See area_reduce.h.
#include "zelk/pictures/area_reduce.h"

#include <algorithm>
#include <cmath>
#include <type_traits>

#include "Transform/Common/RowBands.h"
#include "zelk/pictures/world_rows.h"

namespace zelk {
namespace {

/// 8 and 16 bits: to nearest.
template <class Channel>
Channel rounded(float value) {
    if constexpr (std::is_floating_point_v<Channel>)
        return value;
    else
        return static_cast<Channel>(std::floor(value + 0.5f));
}

/// A row of `pixels` times its weight, in associated colour, onto the sums.
template <class Channel, bool isStraight>
void addRow(Channel const* pixels, int width, int alphaAt, float weight, float* sums) {
    for (int x = 0; x < width; ++x, pixels += 4, sums += 4) {
        float const alpha = static_cast<float>(pixels[alphaAt]) * weight;
        for (int c = 0; c < 4; ++c) {
            float const value = static_cast<float>(pixels[c]);
            sums[c] += !isStraight ? value * weight : c == alphaAt ? alpha : value * alpha;
        }
    }
}

template <class Channel, bool isStraight>
void putPixel(float const* sum, int alphaAt, Channel* pixel) {
    float const alpha = sum[alphaAt];
    for (int c = 0; c < 4; ++c) {
        bool const isAlone = !isStraight || c == alphaAt;
        pixel[c] = rounded<Channel>(isAlone ? sum[c] : alpha > 0 ? sum[c] / alpha : 0);
    }
}

template <class Channel, bool isStraight>
void reduceRow(World const& from, World& to, AreaSide const& across, AreaSide::Span const& rows,
               int y) {
    int const alphaAt = channelOrder(from.spec()).alpha;
    std::vector<float> sums(4 * static_cast<std::size_t>(from.width()));
    for (int i = 0; i < rows.count; ++i)
        addRow<Channel, isStraight>(from.rowAs<Channel>(rows.first + i), from.width(), alphaAt,
                                    rows.weights[i], sums.data());
    Channel* pixel = to.rowAs<Channel>(y);
    for (int x = 0; x < to.width(); ++x, pixel += 4) {
        AreaSide::Span const span = across.span(x);
        float sum[4] = {};
        for (int i = 0; i < span.count; ++i)
            for (int c = 0; c < 4; ++c)
                sum[c] +=
                    span.weights[i] * sums[static_cast<std::size_t>(4 * (span.first + i) + c)];
        putPixel<Channel, isStraight>(sum, alphaAt, pixel);
    }
}

}  // namespace

AreaSide::AreaSide(int from, int to) {
    double const ratio = double(from) / to;
    for (int j = 0; j < to; ++j) {
        double const start = j * ratio, end = std::min((j + 1) * ratio, double(from));
        int const first = static_cast<int>(start);
        Place place{first, 0, static_cast<int>(m_weights.size())};
        for (int i = first; i < end; ++i, ++place.count) {
            double const covered = std::min(i + 1.0, end) - std::max(double(i), start);
            m_weights.push_back(static_cast<float>(covered / (end - start)));
        }
        m_places.push_back(place);
    }
}

AreaSide::Span AreaSide::span(int pixel) const {
    Place const& place = m_places[static_cast<std::size_t>(pixel)];
    return {place.first, place.count, &m_weights[static_cast<std::size_t>(place.weights)]};
}

World areaReduced(World const& from, PixelSize to, AlphaForm form) {
    WorldSpec spec = from.spec();
    spec.width = to.width, spec.height = to.height;
    World result(spec, PixelMemory::Start::kAnything);
    AreaSide const across(from.width(), to.width), down(from.height(), to.height);
    withChannelOf(from.depth(), [&](auto channel) {
        using Channel = decltype(channel);
        forEachRow(to.height, from.rowBytes(), [&](int y) {
            if (form == AlphaForm::kStraight)
                reduceRow<Channel, true>(from, result, across, down.span(y), y);
            else
                reduceRow<Channel, false>(from, result, across, down.span(y), y);
        });
    });
    return result;
}

ChannelPlane areaReduced(ChannelPlane const& from, PixelSize to) {
    ChannelPlane result{to, {}};
    result.values.resize(static_cast<std::size_t>(to.width) * static_cast<std::size_t>(to.height));
    AreaSide const across(from.size.width, to.width), down(from.size.height, to.height);
    for (int y = 0; y < to.height; ++y)
        for (int x = 0; x < to.width; ++x) {
            AreaSide::Span const columns = across.span(x), rows = down.span(y);
            float sum = 0;
            for (int j = 0; j < rows.count; ++j)
                for (int i = 0; i < columns.count; ++i)
                    sum += rows.weights[j] * columns.weights[i] *
                           from.row(rows.first + j)[columns.first + i];
            result.row(y)[x] = std::min(sum, 1.0f);
        }
    return result;
}

}  // namespace zelk
