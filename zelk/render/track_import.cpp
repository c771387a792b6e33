// The dialog that answers by itself, and the popup that is chosen from; see track_import.h.
#include "zelk/render/track_import.h"

#include <fmt/format.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cmath>
#include <limits>
#include <mutex>
#include <set>

#include "Transform/Common/PopupEntries.h"
#include "zelk/render/chosen_file.h"
#include "zelk/scene/effect_result.h"
#include "zelk/scene/parameter_names.h"
#include "zelk/scene/refusal.h"
#include "zelk/scene/track_use.h"
#include "zelk/text/errors.h"
#include "zelk/tracks/forms.h"

namespace zelk {

namespace {

/// A text with a path and no file on any disk.
class TextInMemory {
public:
    explicit TextInMemory(std::string const& text) : m_handle(::memfd_create("track", 0)) {
        for (std::size_t at = 0; m_handle >= 0 && at < text.size();) {
            ssize_t const size = ::write(m_handle, text.data() + at, text.size() - at);
            if (size < 0 && errno == EINTR) continue;
            if (size <= 0) break;
            at += static_cast<std::size_t>(size);
        }
    }
    ~TextInMemory() {
        if (m_handle >= 0) ::close(m_handle);
    }
    TextInMemory(TextInMemory const&) = delete;
    TextInMemory& operator=(TextInMemory const&) = delete;
    std::string path() const { return fmt::format("/proc/self/fd/{}", m_handle); }

private:
    int m_handle;
};

/// The track as the effect imports it. In a file that states a size pins are pixels, which the
/// import keeps.
std::string importText(TrackUse const& use, PixelSize frame, PixelSize pinned) {
    Track const& read = *use.track;
    bool const fits =
        !read.hasSize() || (read.width == pinned.width && read.height == pinned.height);
    if (fits && !use.text.empty()) return use.text;
    Track track = scaledTo(read, pinned);
    requireImportable(use.name(), track);
    if (!track.hasSize()) {
        track.width = frame.width;
        track.height = frame.height;
    }
    return trackFormats().front().write(track);
}

/// Keys that the import makes of a corner: samples at one moment of the clock share one.
std::size_t keysOf(CornerTrack const& corner, Comp const& comp) {
    std::set<std::int64_t> moments;  // requireImportable keeps frames small
    for (TrackSample const& sample : corner.samples)
        moments.insert(importedMoment(sample.frame, comp.startFrame, comp.timeBase.step));
    return moments.size();
}

/// Throws an input error for the first sample whose moment the composition's clock can't hold.
void requireWithinClock(TrackUse const& use, Comp const& comp) {
    for (CornerTrack const& corner : use.track->corners)
        for (TrackSample const& sample : corner.samples) {
            double const moment = comp.timeBase.step * (sample.frame - comp.startFrame);
            if (std::abs(moment) <= std::numeric_limits<A_long>::max()) continue;
            throw UserError(
                ExitCode::kInput,
                {fmt::format("{}: line {}", use.name(), sample.line),
                 "a frame beyond the composition's clock:", fmt::format("{}", sample.frame),
                 fmt::format("frames within {} of {}",
                             std::numeric_limits<A_long>::max() / comp.timeBase.step,
                             comp.startFrame)});
        }
}

/// Has the effect import the file at `path`.
void runImport(Host& host, TrackUse const& use, std::string const& path, PixelSize frame) {
    FrameRequest moment = frameRequest(host.comp(), host.comp().startFrame);
    moment.layerWidth = frame.width;
    moment.layerHeight = frame.height;
    World output({frame.width, frame.height, Depth::k8});
    static std::mutex chooser;  // there is one in a process
    std::lock_guard const alone(chooser);
    ChosenFile const chosen(path);
    setNumber(parameterIn(host.parameters(), kParamMochaImport).current,
              hostEntry(use.pins == TrackedPins::kTo ? kImportToPins : kImportFromPins));
    checkResult(host.userChangedParam(kParamMochaImport, moment, &output), use.name());
}

}  // namespace

std::size_t importTrack(Host& host, Scene const& scene, TrackUse const& use, PixelSize frame,
                        PixelSize pinned) {
    if (scene.hostApp() == HostApp::kPremierePro)
        throw refusalOf(scene, SceneField::kHost,
                        "PrMr imports no tracking data: use another host");
    requireWithinClock(use, host.comp());
    std::vector<Parameter>& all = host.parameters();
    int const first = use.pins == TrackedPins::kTo ? kToPins : kFromPins;
    for (int i = first; i < first + 4; ++i) parameterIn(all, i).editTrack().clear();
    TextInMemory const text(importText(use, frame, pinned));
    runImport(host, use, text.path(), frame);

    std::size_t keys = 0;
    for (std::size_t corner = 0; corner < 4; ++corner) {
        auto const own = parameterIn(all, first + static_cast<int>(corner)).track().size();
        auto const expected = keysOf(use.track->corners[corner], host.comp());
        keys += own;
        if (own != expected)
            throw UserError(
                ExitCode::kRenderFailed,
                {use.name(),
                 fmt::format("keys that the effect's import made of {}:", kCornerWords[corner]),
                 std::to_string(own), std::to_string(expected)});
    }
    return keys;
}

}  // namespace zelk
