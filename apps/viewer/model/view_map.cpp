// See view_map.h.
#include "apps/viewer/model/view_map.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace zelk {
namespace {

constexpr double kFitMarginPx = 12;
constexpr double kLabelMarginPx = 24;  ///< above and below, where pins' labels stand
constexpr double kPinsMarginPx = 40;   ///< that leaves room for the pins' labels
constexpr double kRevealMarginPx = 40;
constexpr double kNotch = 1.25;
constexpr std::array<double, 21> kZooms = {1. / 32, 1. / 16, 1. / 8, 1. / 6, 1. / 4, 1. / 3, 1. / 2,
                                           2. / 3,  1,       1.5,    2,      3,      4,      6,
                                           8,       12,      16,     24,     32,     48,     64};
/// Of zooms that arithmetic made equal but for its last bits.
constexpr double kSameZoom = 1e-6;

double kept(double zoom) { return std::clamp(zoom, kSmallestZoom, kLargestZoom); }

}  // namespace

void ViewMap::setPanel(PixelSize panel, double density) {
    m_density = density;
    m_panel = {std::max(1, panel.width), std::max(1, panel.height)};
    if (m_isFit) fit();
}

void ViewMap::setPicture(PixelSize picture) {
    m_picture = {std::max(1, picture.width), std::max(1, picture.height)};
    if (m_isFit) fit();
}

PanelPoint ViewMap::toPicture(PanelPoint panel) const {
    return {(panel.x - m_pan.x) / m_zoom, (panel.y - m_pan.y) / m_zoom};
}

PanelPoint ViewMap::toPanel(PanelPoint picture) const {
    return {picture.x * m_zoom + m_pan.x, picture.y * m_zoom + m_pan.y};
}

void ViewMap::setPan(double x, double y) { m_pan = {std::round(x), std::round(y)}; }

void ViewMap::fit() {
    double const x = (m_panel.width - 2 * kFitMarginPx * m_density) / m_picture.width;
    double const y = (m_panel.height - 2 * kLabelMarginPx * m_density) / m_picture.height;
    m_zoom = kept(std::min(x, y));
    setPan((m_panel.width - m_picture.width * m_zoom) / 2,
           (m_panel.height - m_picture.height * m_zoom) / 2);
    m_isFit = true;
}

void ViewMap::fitWith(std::vector<PanelPoint> const& points) {
    double left = 0, top = 0, right = m_picture.width, bottom = m_picture.height;
    for (PanelPoint const& point : points) {
        left = std::min(left, point.x);
        right = std::max(right, point.x);
        top = std::min(top, point.y);
        bottom = std::max(bottom, point.y);
    }
    double const x = (m_panel.width - 2 * kPinsMarginPx * m_density) / (right - left);
    double const y = (m_panel.height - 2 * kPinsMarginPx * m_density) / (bottom - top);
    m_zoom = kept(std::min(x, y));
    setPan((m_panel.width - (left + right) * m_zoom) / 2,
           (m_panel.height - (top + bottom) * m_zoom) / 2);
    m_isFit = false;
}

void ViewMap::zoomAt(PanelPoint panel, double zoom) {
    PanelPoint const held = toPicture(panel);
    m_zoom = kept(zoom);
    setPan(panel.x - held.x * m_zoom, panel.y - held.y * m_zoom);
    m_isFit = false;
}

void ViewMap::zoomAtCenter(double zoom) {
    zoomAt({m_panel.width / 2.0, m_panel.height / 2.0}, zoom);
}

void ViewMap::panBy(double dx, double dy) {
    setPan(m_pan.x + dx, m_pan.y + dy);
    m_isFit = false;
}

void ViewMap::reveal(PanelPoint picture) {
    PanelPoint const at = toPanel(picture);
    auto const into = [](double place, int length) {
        double const margin = std::min(kRevealMarginPx, length / 2.0);
        return std::clamp(place, margin, length - margin) - place;
    };
    bool const isInside = at.x >= 0 && at.y >= 0 && at.x < m_panel.width && at.y < m_panel.height;
    if (!isInside) panBy(into(at.x, m_panel.width), into(at.y, m_panel.height));
}

double ViewMap::nextZoom(bool isIn) const {
    if (isIn) {
        auto const* const above =
            std::upper_bound(kZooms.begin(), kZooms.end(), m_zoom * (1 + kSameZoom));
        return above == kZooms.end() ? kLargestZoom : *above;
    }
    auto const* const here =
        std::lower_bound(kZooms.begin(), kZooms.end(), m_zoom * (1 - kSameZoom));
    return here == kZooms.begin() ? kSmallestZoom : *(here - 1);
}

double ViewMap::wheelZoom(double notches) const {
    double const zoom = m_zoom * std::pow(kNotch, notches);
    bool const passesOne = (m_zoom < 1 - kSameZoom && zoom > 1 - kSameZoom) ||
                           (m_zoom > 1 + kSameZoom && zoom < 1 + kSameZoom);
    return passesOne ? 1 : kept(zoom);
}

int ViewMap::reduce(int coarse) const {
    int const most = std::min(m_picture.width, m_picture.height) / coarse;
    return std::clamp(static_cast<int>(std::floor(1 / (m_zoom * coarse) + kSameZoom)), 1,
                      std::max(1, most));
}

std::optional<PixelSize> ViewMap::screenSize() const {
    auto const side = [&](int length) { return static_cast<int>(std::lround(length * m_zoom)); };
    PixelSize const size = {side(m_picture.width), side(m_picture.height)};
    bool const isFewer = m_zoom < 1 && size != m_picture;
    bool const isHalf = 2 * size.width < m_picture.width || 2 * size.height < m_picture.height;
    return isFewer && !isHalf && reduce() == 1 ? std::optional(size) : std::nullopt;
}

PixelRect ViewMap::part(int reduce) const {
    return part({{},
                 {double(reduce), double(reduce)},
                 {m_picture.width / reduce, m_picture.height / reduce}});
}

PixelRect ViewMap::part(PicturePlace const& place) const {
    constexpr int kSmoothed = 1;
    return place.part(toPicture({0, 0}), toPicture({double(m_panel.width), double(m_panel.height)}),
                      kSmoothed);
}

}  // namespace zelk
