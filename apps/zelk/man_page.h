// A command's manual page, of section 1.
#pragma once

#include <string>

#include "apps/zelk/command_page.h"

namespace zelk {

/// In the macros of man(7). `program` is the page that it is nested in, or itself.
std::string manPage(CommandPage const& page, CommandPage const& program);

}  // namespace zelk
