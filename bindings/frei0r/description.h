// What hosts are told: the plug-in, and the effect's controls as frei0r's parameters, which are
// doubles, truths and texts by position.
//
//   corner     two doubles, x and y; 1 is the frame's width or height
//   percent    a double; 1 is 100 %
//   degrees    a double; 1 is a whole turn
//   factor     a double; 1 is 1
//   popup      a text, the command line's word for the entry
//
// So every default lies within 0 and 1, frei0r's range of a double, and the corners of the frame
// are exact. Hosts hand on any number; what lies beyond the control's own range is its nearest end.
#pragma once

#include <frei0r.h>

#include <array>
#include <string>
#include <vector>

#include "host/PluginHost_Memory_Impl.h"
#include "params/ParamIndex.h"

namespace zelk::bindings {

/// As the pipeline's binding takes them; points in pixels, popups from 0.
using ControlValues = std::array<PluginHost_Memory_Impl::Value, kParamCount>;

struct Frei0rParameter {
    int control = 0;                          ///< a ParamIndex
    int type = 0;                             ///< F0R_PARAM_*
    bool isCorner = false;                    ///< `unit` is then the frame's width or height
    bool isVertical = false;                  ///< a corner's y
    bool isFixed = false;                     ///< the control counts in 65536ths
    double unit = 1;                          ///< the control's value at 1
    double least = 0, most = 1, atFirst = 0;  ///< of the parameter
    double shownLeast = 0, shownMost = 1;     ///< of its slider; of corners none
    std::string name;                         ///< the control's, by which hosts keep it
    std::string label;                        ///< the control's, for people
    std::string help;
    std::vector<std::string> words;  ///< of a text, in the order of the popup's entries
};

/// Of the plug-in with a plate, a mixer of two, or without, a filter.
f0r_plugin_info_t frei0rPluginInfo(bool hasPlate);

/// By their positions; made once.
std::vector<Frei0rParameter> const& frei0rParameters(bool hasPlate);

/// Of all controls that no parameter sets; those of corners are fractions.
ControlValues const& defaultControlValues();

/// Where `word` stands among the parameter's words, in any case and with blanks for hyphens; -1 if
/// it is none.
int entryOfWord(Frei0rParameter const& parameter, std::string_view word);

/// The control's value for a parameter's, which is a number. `size` is the frame's width or height.
double controlValue(Frei0rParameter const& parameter, double value, int size);

}  // namespace zelk::bindings
