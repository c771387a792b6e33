// See instance.h.
#include "bindings/frei0r/instance.h"

#include <cmath>
#include <cstring>

#include "bindings/common/pinned_frame.h"

namespace zelk::bindings {

Frei0rInstance::Frei0rInstance(int width, int height, bool hasPlate)
    : m_frame{0, 0, width, height},
      m_hasPlate(hasPlate),
      m_parameters(frei0rParameters(hasPlate)),
      m_held(m_parameters.size()),
      m_values(defaultControlValues()) {
    for (std::size_t i = 0; i < m_parameters.size(); ++i) {
        Frei0rParameter const& parameter = m_parameters[i];
        m_held[i].number = parameter.atFirst;
        if (parameter.type == F0R_PARAM_STRING)
            m_held[i].text = parameter.words[static_cast<std::size_t>(parameter.atFirst)];
        take(static_cast<int>(i));
    }
}

/// The value goes to its control.
void Frei0rInstance::take(int position) {
    Frei0rParameter const& parameter = m_parameters[static_cast<std::size_t>(position)];
    double const number = m_held[static_cast<std::size_t>(position)].number;
    auto& value = m_values[static_cast<std::size_t>(parameter.control)];
    int const size = parameter.isVertical ? m_frame.height() : m_frame.width();
    (parameter.isVertical ? value.y : value.x) =
        parameter.type == F0R_PARAM_STRING ? number : controlValue(parameter, number, size);
}

void Frei0rInstance::set(int position, void const* value) {
    if (position < 0 || position >= static_cast<int>(m_parameters.size()) || !value) return;
    Frei0rParameter const& parameter = m_parameters[static_cast<std::size_t>(position)];
    Held& held = m_held[static_cast<std::size_t>(position)];
    if (parameter.type == F0R_PARAM_STRING) {
        char const* const text = *static_cast<char const* const*>(value);
        int const entry = text ? entryOfWord(parameter, text) : -1;
        if (entry < 0) return;
        held.text = text;
        held.number = entry;
    } else {
        double const number = *static_cast<double const*>(value);
        if (!std::isfinite(number)) return;
        held.number = number;
    }
    take(position);
}

void Frei0rInstance::get(int position, void* value) const {
    if (position < 0 || position >= static_cast<int>(m_parameters.size()) || !value) return;
    Held const& held = m_held[static_cast<std::size_t>(position)];
    if (m_parameters[static_cast<std::size_t>(position)].type == F0R_PARAM_STRING)
        *static_cast<char const**>(value) = held.text.c_str();
    else
        *static_cast<double*>(value) = held.number;
}

HostPicture Frei0rInstance::picture(std::uint32_t const* pixels) const {
    HostPicture result;
    result.topRow = reinterpret_cast<unsigned char*>(const_cast<std::uint32_t*>(pixels));
    result.rowBytes = static_cast<std::ptrdiff_t>(sizeof *pixels) * m_frame.width();
    result.at = m_frame;
    result.samples = SampleType::kByte;
    result.alpha = AlphaState::kStraight;
    return result;
}

bool Frei0rInstance::isRendered(std::uint32_t const* layer, std::uint32_t const* plate,
                                std::uint32_t* output) const try {
    PinnedFrame frame;
    frame.source = picture(layer);
    frame.output = picture(output);
    frame.layer = frame.image = frame.frame = frame.window = m_frame;
    if (m_hasPlate) frame.plate = picture(plate);
    frame.valueOf = [this](int control, double) {
        return m_values[static_cast<std::size_t>(control)];
    };
    return renderPinned(frame) == PinnedResult::kDone;
} catch (...) {
    return false;
}

void Frei0rInstance::render(std::uint32_t const* layer, std::uint32_t const* plate,
                            std::uint32_t* output) const noexcept {
    if (isRendered(layer, plate, output)) return;
    auto const bytes = sizeof *output * static_cast<std::size_t>(m_frame.width()) *
                       static_cast<std::size_t>(m_frame.height());
    if (plate)
        std::memmove(output, plate, bytes);
    else
        std::memset(output, 0, bytes);
}

}  // namespace zelk::bindings
