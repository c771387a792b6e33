// Which channels an output gets.
#pragma once

namespace zelk {

enum class OutputChannels {
    kAsInputs,  ///< colours, and alpha where the format and the inputs have one
    kAlpha,     ///< alpha alone, as grey
    kColors,    ///< associated colours alone
    kAll,       ///< both, or an output error where the format keeps no alpha
};

}  // namespace zelk
