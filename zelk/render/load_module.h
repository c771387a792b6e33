// The effect's module in our host.
#pragma once

#include <memory>

#include "hostkit/host.h"
#include "zelk/scene/scene.h"

namespace zelk {

/// The module that belongs to this program: in the folder `zelk` beside the services library that
/// both share, wherever that was installed or moved to.
std::filesystem::path defaultModule();

/// Loads the scene's module in the host that the scene names, sets it up and checks that its
/// parameters are those that the names belong to. Throws an input error for a module that is
/// missing or is not ours, a render error for one that refuses to be set up.
std::unique_ptr<Host> loadModule(Scene const& scene);

}  // namespace zelk
