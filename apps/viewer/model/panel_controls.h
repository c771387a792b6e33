// The rows of the parameter panel: the scene's settings, then the effect's controls in its own
// order and nesting, but for those that it hides.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "apps/viewer/model/panel_control.h"

namespace zelk {

/// Two documents, or two states of one, with the same key have the same rows.
std::string controlsKey(Document const& document);
/// Of an open document; they last as long as its key.
std::vector<std::unique_ptr<PanelControl>> panelControls(Document& document);

/// Which rows a search finds: those whose name or label has `text` in it,
/// the groups about them, and all rows of a group that is found. All of them for an empty text.
std::vector<bool> foundRows(std::vector<std::unique_ptr<PanelControl>> const& controls,
                            std::string const& text);

}  // namespace zelk
