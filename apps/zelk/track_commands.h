// `zelk track FILE` and `zelk track convert IN OUT`.
#pragma once

#include <optional>
#include <string>

#include "apps/zelk/command.h"
#include "apps/zelk/option_adder.h"
#include "zelk/tracks/forms.h"

namespace zelk {

/// How a track is read, and what is changed of it, in this order: corners, y, pixel aspect, frames,
/// rate.
class TrackOptions {
public:
    void add(OptionAdder const& add);
    /// The track as it will be used. Throws an input error, and a usage error for a change that
    /// needs a frame's size that nothing tells. `asks`: a form that can't be told is an error.
    Track trackOf(std::string const& file, bool asks) const;

private:
    std::optional<std::string> m_format, m_size, m_rate, m_corners, m_pixelAspect, m_firstFrame,
        m_shiftFrames;
    bool m_flipY = false;
};

/// Tells what a file holds and what is odd about it, and draws its paths.
struct TrackCommand {
    static CommandInfo const kInfo;
    void addOptions(CLI::App& app);
    ExitCode run(Invocation const& how);

private:
    TrackOptions m_track;
    std::optional<std::string> m_file, m_plot, m_over;
    bool m_json = false, m_noClobber = false;
};

/// Writes a track in another form.
struct TrackConvertCommand {
    static CommandInfo const kInfo;
    void addOptions(CLI::App& app);
    ExitCode run(Invocation const& how);

private:
    TrackOptions m_track;
    std::optional<std::string> m_in, m_out, m_as;
    bool m_force = false;
};

}  // namespace zelk
