// One instance of a plug-in: a size, the values of its parameters, and frames by them.
//
// Frames are RGBA of 8 bits with straight alpha, rows packed, upper row first.
#pragma once

#include <frei0r.h>

#include <cstdint>
#include <string>
#include <vector>

#include "bindings/common/host_picture.h"
#include "bindings/frei0r/description.h"

namespace zelk::bindings {

/// Reads and renders may run side by side, sets may not: hosts have an instance for each thread.
class Frei0rInstance {
public:
    Frei0rInstance(int width, int height, bool hasPlate);

    /// What is no finite number and no word of the parameter changes nothing.
    void set(int position, void const* value);
    /// A text stays the instance's, until the parameter is set.
    void get(int position, void* value) const;

    /// The layer over the plate where the plug-in has one, else in its own frame. Either may be
    /// missing, which is transparent. The output may be the layer or the plate. A frame that could
    /// not be rendered, for want of memory, is the plate alone.
    void render(std::uint32_t const* layer, std::uint32_t const* plate,
                std::uint32_t* output) const noexcept;

private:
    struct Held {
        double number = 0;
        std::string text;
    };

    void take(int position);
    bool isRendered(std::uint32_t const* layer, std::uint32_t const* plate,
                    std::uint32_t* output) const;
    HostPicture picture(std::uint32_t const* pixels) const;

    PixelRect m_frame;
    bool m_hasPlate;
    std::vector<Frei0rParameter> const& m_parameters;
    std::vector<Held> m_held;  ///< as the host set them
    ControlValues m_values;
};

}  // namespace zelk::bindings
