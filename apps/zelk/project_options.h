// What the commands about project files share.
#pragma once

#include <optional>
#include <string>

#include "apps/zelk/option_adder.h"
#include "hostkit/comp.h"

namespace zelk {

/// The project file that such a command is about.
class ProjectFile {
public:
    void add(OptionAdder const& add);
    std::string name() const;  ///< throws a usage error where it was left out

private:
    std::optional<std::string> m_file;
};

/// "1920x1080, 24 frames a second, frames 1001 to 1100"
std::string compText(Comp const& comp);

}  // namespace zelk
