// Rows through the steps; see color_transform.h.
#include "zelk/color/color_transform.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "Transform/Common/RowBands.h"
#include "zelk/pictures/channel_values.h"
#include "zelk/pictures/world_rows.h"

namespace zelk {

namespace {

constexpr int kAtOnce = 512;  // pixels

}  // namespace

void ColorTransform::run(float* rgb, int pixels) const {
    for (ColorStep const& step : m_steps) step(rgb, pixels);
}

/// By three colours: black stays, twice the light is twice the result, and so is the sum.
ColorTransform::ColorTransform(std::vector<ColorStep> steps) : m_steps(std::move(steps)) {
    float v[5][3] = {{0, 0, 0},
                     {0.2f, 0.05f, 0.1f},
                     {0.4f, 0.1f, 0.2f},
                     {0.01f, 0.3f, 0.02f},
                     {0.21f, 0.35f, 0.12f}};
    run(&v[0][0], 5);
    m_isLinear = true;
    constexpr float kRounding = 1e-5f;
    for (int c = 0; c < 3; ++c) {
        bool const isOdd = !(std::abs(v[0][c]) < kRounding) ||
                           !(std::abs(v[2][c] - 2 * v[1][c]) < kRounding) ||
                           !(std::abs(v[4][c] - v[1][c] - v[3][c]) < kRounding);
        if (isOdd) m_isLinear = false;
    }
}

void ColorTransform::apply(float* pixels, int count, AlphaAt at, AlphaForm form) const {
    int const alpha = at == AlphaAt::kFirst ? 0 : 3, color = at == AlphaAt::kFirst ? 1 : 0;
    bool const divides = form == AlphaForm::kAssociated && !m_isLinear;
    float rgb[3 * kAtOnce];
    for (; count > 0; count -= kAtOnce, pixels += 4 * kAtOnce) {
        int const n = std::min(count, kAtOnce);
        bool isSeen = false;
        for (int i = 0; i < n; ++i) {
            float const* const p = pixels + 4 * i;
            bool const isDivided = divides && p[alpha] != 0 && p[alpha] != 1;
            for (int c = 0; c < 3; ++c)
                rgb[3 * i + c] = isDivided ? p[color + c] / p[alpha] : p[color + c];
            isSeen = isSeen || p[alpha] != 0;
        }
        if (divides && !isSeen) continue;
        run(rgb, n);
        for (int i = 0; i < n; ++i) {
            float* const p = pixels + 4 * i;
            if (divides && p[alpha] == 0) continue;
            for (int c = 0; c < 3; ++c)
                p[color + c] = divides ? rgb[3 * i + c] * p[alpha] : rgb[3 * i + c];
        }
    }
}

template <class Channel>
void ColorTransform::applyRow(World& world, int y, AlphaForm form) const {
    constexpr auto kUnit = static_cast<float>(kWhite<Channel>);
    ChannelOrder const order = channelOrder(world.spec());
    int const place[4] = {order.red, order.green, order.blue, order.alpha};
    Channel* pixel = world.rowAs<Channel>(y);
    float rgba[4 * kAtOnce];
    for (int left = 0; left < world.width(); left += kAtOnce, pixel += 4 * kAtOnce) {
        int const n = std::min(world.width() - left, kAtOnce);
        for (int i = 0; i < 4 * n; ++i)
            rgba[i] = static_cast<float>(pixel[i / 4 * 4 + place[i % 4]]) / kUnit;
        apply(rgba, n, AlphaAt::kLast, form);
        for (int i = 0; i < 4 * n; ++i) {
            if (i % 4 == 3) continue;
            float const value = std::clamp(rgba[i], 0.0f, 1.0f);
            pixel[i / 4 * 4 + place[i % 4]] = static_cast<Channel>(value * kUnit + 0.5f);
        }
    }
}

void ColorTransform::apply(World& world, AlphaForm form) const {
    forEachRow(world.height(), std::int64_t{16} * world.rowBytes(), [&](int y) {
        if (world.depth() == Depth::kFloat)
            apply(world.rowAs<float>(y), world.width(), AlphaAt::kFirst, form);
        else if (world.depth() == Depth::k16)
            applyRow<std::uint16_t>(world, y, form);
        else
            applyRow<std::uint8_t>(world, y, form);
    });
}

World floatWorld(World const& world) {
    World result({world.width(), world.height(), Depth::kFloat}, PixelMemory::Start::kAnything);
    withChannelOf(world.depth(), [&](auto channel) {
        using Channel = decltype(channel);
        constexpr auto kUnit = static_cast<float>(kWhite<Channel>);
        ChannelOrder const order = channelOrder(world.spec());
        int const place[4] = {order.alpha, order.red, order.green, order.blue};
        forEachRow(world.height(), std::int64_t{8} * world.rowBytes(), [&](int y) {
            Channel const* from = world.rowAs<Channel>(y);
            float* to = result.rowAs<float>(y);
            for (int x = 0; x < world.width(); ++x, from += 4, to += 4)
                for (int c = 0; c < 4; ++c) to[c] = static_cast<float>(from[place[c]]) / kUnit;
        });
    });
    return result;
}

}  // namespace zelk
