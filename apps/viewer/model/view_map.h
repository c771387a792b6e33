// ViewMap: where a picture lies in its panel.
//
//     panel = picture * zoom + pan       both from their upper left corners, y down
//
// Panel pixels are those of the device, so that at zoom 1 a pixel of the picture is one of the
// screen whatever its density; picture pixels are those of full resolution. `pan` is whole, so
// that a picture at a whole zoom meets the screen's pixels.
#pragma once

#include <optional>
#include <vector>

#include "apps/viewer/model/picture_place.h"
#include "hostkit/panel.h"
#include "zelk/pictures/pixel_size.h"
#include "zelk/render/render_options.h"

namespace zelk {

inline constexpr double kSmallestZoom = 1.0 / 32, kLargestZoom = 64;
/// From here on a panel draws lines between pixels.
inline constexpr double kGridZoom = 8;

class ViewMap {
public:
    /// A view that fits goes on fitting. `density`: pixels of the panel to one of its margins.
    void setPanel(PixelSize panel, double density = 1);
    void setPicture(PixelSize picture);
    PixelSize panel() const { return m_panel; }
    PixelSize picture() const { return m_picture; }
    double zoom() const { return m_zoom; }
    PanelPoint pan() const { return m_pan; }
    bool isFit() const { return m_isFit; }

    PanelPoint toPicture(PanelPoint panel) const;
    PanelPoint toPanel(PanelPoint picture) const;

    /// All of the picture, as large as there is room for within a margin.
    void fit();
    /// All of the picture and of these points of it.
    void fitWith(std::vector<PanelPoint> const& points);
    /// What lies at that point of the panel stays there.
    void zoomAt(PanelPoint panel, double zoom);
    void zoomAtCenter(double zoom);
    void panBy(double dx, double dy);
    /// Moves as little as brings that point of the picture into the panel.
    void reveal(PanelPoint picture);

    /// The next of the usual zooms, above or below.
    double nextZoom(bool isIn) const;
    /// The wheel's: `notches` of a quarter more each, but never past 1:1 without a stop there.
    double wheelZoom(double notches) const;

    /// How much coarser than the picture the screen is: at least 1. Of a picture that is coarser by
    /// itself already, how much more.
    int reduce(int coarse = 1) const;
    /// How many pixels of the screen all of the picture takes, where they are fewer than it has and
    /// half as many at least each way. Below half resolution the effect reads the nearest pixel.
    std::optional<PixelSize> screenSize() const;
    /// What the panel shows of the picture reduced so, with a pixel around it that smoothing
    /// reads. Empty where nothing is to be seen.
    PixelRect part(int reduce) const;
    /// The same of a picture that lies elsewhere in what is shown.
    PixelRect part(PicturePlace const& place) const;

private:
    void setPan(double x, double y);

    PixelSize m_panel{1, 1}, m_picture{1, 1};
    double m_density = 1;
    double m_zoom = 1;
    PanelPoint m_pan;
    bool m_isFit = true;
};

}  // namespace zelk
