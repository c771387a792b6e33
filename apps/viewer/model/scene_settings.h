// The edits of a scene (zelk/scene/edits.h) that a compositor expects beside the effect's controls,
// each with the way back: its value as the edit would take it, and the scene without it.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "zelk/scene/scene.h"

namespace zelk {

class Document;

struct SceneSetting {
    std::string_view edit;   ///< its name
    std::string_view label;  ///< "Over Mode"
    std::string_view group;  ///< within the scene's; empty for none
    /// As the edit takes it, a file as it stands in the project; empty where nothing is set.
    std::string (*read)(Scene const& scene);
    void (*reset)(Scene& scene);
    /// A sentence where it would be without any effect, or refused; empty otherwise. May be null.
    std::string (*whyNot)(Scene const& scene) = nullptr;
    /// A popup of the effect that it sets too, by words in the order of its entries; 0 for none.
    int popup = 0;
    /// A sentence where it can be set and a control of the effect's leaves it without effect. May
    /// be null.
    std::string (*note)(Document const& document) = nullptr;
    /// Where its file stands in the scene; null for no file.
    ScenePath* (*file)(Scene& scene) = nullptr;
};

/// In the order of the panel, groups together.
std::span<SceneSetting const> sceneSettings();
/// What becomes of frames that an input lacks. Of a session: no project file says it.
SceneSetting const& missingFramesSetting();
/// The group that has the files of pictures.
inline constexpr std::string_view kPicturesGroup = "Pictures";

/// What lies between the last parentheses of an edit's help: what is taken where nothing is set.
std::string defaultInHelp(std::string_view help);
/// A help without the command line's own words, and the words of a popup as it shows them.
std::string plainHelp(std::string_view help, std::vector<std::string> const& words = {});

}  // namespace zelk
