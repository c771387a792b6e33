// The engine's kernels as they act: the weights that a render gives to the source pixels around a
// sample, and what these do to each frequency.
#pragma once

#include <string_view>
#include <vector>

namespace zelk {

/// One of kFilterWords.
struct FilterInfo {
    int number = 0;
    std::string_view name;
    double supportPx = 0;       ///< half the kernel's own width; 0 where it has no end
    bool hasTable = true;       ///< false for box and bilinear: no taps to choose
    bool interpolates = false;  ///< at a source pixel it gives that pixel
    bool hasLobes = false;      ///< weights below 0: edges overshoot
};
FilterInfo filterInfo(int number);

/// The weight of a source pixel that lies `px` beside the sample.
struct FilterWeight {
    double px, weight;
};

/// Of a row of the frame, in order of `px`; those of each sample sum to 1. What a weight table has
/// no row for is 0. `taps` is 4, 6, 8 or 10.
std::vector<FilterWeight> filterWeights(int number, int taps);

/// What is left of a wave of `frequency` cycles a source pixel: 1 for all of it, below 0 for its
/// negative.
double filterResponse(std::vector<FilterWeight> const& weights, double frequency);

/// The least frequency of which half or less is left, to a hundredth; 1 where there is none below.
double halfFrequency(std::vector<FilterWeight> const& weights);

}  // namespace zelk
