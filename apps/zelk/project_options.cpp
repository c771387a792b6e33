// See project_options.h.
#include "apps/zelk/project_options.h"

#include <fmt/format.h>

#include <cstdint>

#include "zelk/scene/clock.h"
#include "zelk/text/numbers.h"

namespace zelk {

void ProjectFile::add(OptionAdder const& add) {
    add.text("Project", "FILE", m_file, "", "The project file, *.zelk.json");
}

std::string ProjectFile::name() const {
    return required(m_file.value_or(""), "FILE", "a project file");
}

std::string compText(Comp const& comp) {
    return fmt::format("{}x{}, {} frames a second, frames {} to {}", comp.width, comp.height,
                       rateText(comp.timeBase), comp.startFrame,
                       std::int64_t{comp.startFrame} + comp.durationFrames - 1);
}

}  // namespace zelk
