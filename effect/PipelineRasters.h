// PipelineRasters: the images of one pipeline call, given back on every path in one order.
//
// Ownership: of the output only the wrapper is ours.
#pragma once

#include <memory>

#include "Transform/Common/OwnedRaster.h"

/// Given back from the last to the first.
struct PipelineRasters {
    explicit PipelineRasters(PluginHost_API* host)
        : work(host), edged(host), interim(host), sample(host) {}

    OwnedRaster work;                       ///< private copy of the input, source of every pass
    std::unique_ptr<PluginRaster_API> out;  ///< wrapper over the host's output
    OwnedRaster edged;                      ///< copy of `work`, blurred and faded for Super Sample
    OwnedRaster interim;                    ///< between the passes of a two-pass render
    OwnedRaster sample;                     ///< one temporal sample before it is merged
};
