// Frames to tasks: how many go into one, so that starting it costs little beside its work and
// losing it loses little.
#pragma once

#include <cstddef>
#include <vector>

namespace zelk {

/// Frames that take about `taskSeconds`, at least 1 and at most `frames`. Of frames that take no
/// time that is known, all.
int framesPerTask(double secondsPerFrame, double taskSeconds, std::size_t frames);

/// `perTask` frames each, in their order; the sizes of any two tasks differ by 1 at most.
std::vector<std::vector<int>> tasksOf(std::vector<int> const& frames, int perTask);

}  // namespace zelk
