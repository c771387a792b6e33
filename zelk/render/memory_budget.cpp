// Limits of memory, read from the system; see memory_budget.h.
#include "zelk/render/memory_budget.h"

#include <fmt/format.h>
#include <sys/resource.h>

#include <algorithm>
#include <fstream>
#include <string>

#include "Transform/Common/PixelMemory.h"
#include "zelk/render/memory_groups.h"

namespace zelk {

namespace {

constexpr std::uint64_t kNoLimit = kNoMemoryLimit;

/// The number after `key` in a file of "key number" lines.
std::uint64_t numberIn(char const* file, std::string const& key) {
    std::ifstream lines(file);
    std::string word;
    std::uint64_t value = 0;
    while (lines >> word) {
        if (word == key && lines >> value) return value;
    }
    return kNoLimit;
}

std::uint64_t lessUsed(std::uint64_t limit, std::uint64_t used) {
    if (limit == kNoLimit || used == kNoLimit) return limit;
    return limit > used ? limit - used : 0;
}

std::uint64_t addressSpaceLeft() {
    rlimit limit{};
    if (::getrlimit(RLIMIT_AS, &limit) != 0 || limit.rlim_cur == RLIM_INFINITY) return kNoLimit;
    std::uint64_t const usedKb = numberIn("/proc/self/status", "VmSize:");
    return lessUsed(limit.rlim_cur, usedKb == kNoLimit ? 0 : usedKb * 1024);
}

}  // namespace

std::uint64_t availableBytes() {
    std::uint64_t const systemKb = numberIn("/proc/meminfo", "MemAvailable:");
    std::uint64_t const system = systemKb == kNoLimit ? kNoLimit : systemKb * 1024;
    std::uint64_t const left = std::min({system, addressSpaceLeft(), memoryGroupsLeft()});
    return left == kNoLimit ? left : left + PixelMemory::keptBytes();
}

namespace {

std::uint64_t rasterBytes(int width, int height, Depth depth) {
    return static_cast<std::uint64_t>(width) * static_cast<std::uint64_t>(height) *
           static_cast<std::uint64_t>(pixelBytes(depth));
}

}  // namespace

std::uint64_t renderBytes(RenderSize const& size) {
    bool const isGrown = size.marginX > 0 || size.marginY > 0;
    auto const frames = static_cast<std::uint64_t>(3 + (isGrown ? 2 : 0) + size.extraImages);
    return rasterBytes(size.width, size.height, size.depth) +
           frames * rasterBytes(size.width + 2 * size.marginX, size.height + 2 * size.marginY,
                                size.depth) +
           size.besides + kRestBytes;
}

std::uint64_t frameRenderBytes(int layerWidth, int layerHeight, int frameWidth, int frameHeight) {
    return 3 * rasterBytes(layerWidth, layerHeight, Depth::kFloat) +
           rasterBytes(frameWidth, frameHeight, Depth::kFloat) + kRestBytes;
}

std::uint64_t shownBytes(int width, int height, Depth depth) {
    return rasterBytes(width, height, depth) + rasterBytes(width, height, Depth::k8) + kRestBytes;
}

UserError pictureTooLarge(std::string const& name, PixelSize size, std::uint64_t bytes) {
    return {ExitCode::kInput, fmt::format("{}: a picture of {}x{} needs {} MB of free memory", name,
                                          size.width, size.height, bytes / 1'000'000)};
}

}  // namespace zelk
