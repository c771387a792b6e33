// See chunks.h.
#include "zelk/jobs/chunks.h"

#include <algorithm>
#include <cmath>

namespace zelk {

int framesPerTask(double secondsPerFrame, double taskSeconds, std::size_t frames) {
    double const most = static_cast<double>(std::max<std::size_t>(frames, 1));
    double const fit = secondsPerFrame > 0 ? std::floor(taskSeconds / secondsPerFrame) : most;
    return static_cast<int>(std::clamp(fit, 1., most));
}

std::vector<std::vector<int>> tasksOf(std::vector<int> const& frames, int perTask) {
    auto const most = static_cast<std::size_t>(std::max(perTask, 1));
    std::size_t const count = (frames.size() + most - 1) / most;
    std::vector<std::vector<int>> tasks(count);
    for (std::size_t i = 0; i < count; ++i) {
        auto const at = [&](std::size_t n) {
            return frames.begin() + static_cast<std::ptrdiff_t>(n * frames.size() / count);
        };
        tasks[i].assign(at(i), at(i + 1));
    }
    return tasks;
}

}  // namespace zelk
