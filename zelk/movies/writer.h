// A movie file, written by the `ffmpeg` program from raw frames of 16 bits a channel.
//
//   .mov   ProRes 4444, straight alpha      .mkv   FFV1, 16 bits, straight alpha, lossless
//   .mp4   H.264 4:2:0, over black
//
// Frames go through a pipe; the file stands beside its target until it is whole.
#pragma once

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "hostkit/time_base.h"
#include "zelk/color/color_space.h"
#include "zelk/files/temporary_file.h"
#include "zelk/movies/child_program.h"
#include "zelk/pictures/pixel_size.h"
#include "zelk/pictures/reader.h"
#include "zelk/text/errors.h"

namespace zelk {

/// By the extension: .mov, .mp4, .mkv.
bool isMovieName(std::filesystem::path const& file);

/// Throws an output error about `target` where there is no `ffmpeg`, naming the package.
void requireMovieProgram(std::filesystem::path const& target);

/// What a movie of that size would be refused for: the program codes one black frame into nothing.
void checkMovieSize(std::filesystem::path const& target, PixelSize size, TimeBase const& timeBase);

class MovieWriter {
public:
    /// Starts the program. Throws an output error where there is none, naming the package. `color`
    /// is what the frames are in, which the file tells.
    MovieWriter(std::filesystem::path const& target, int width, int height,
                TimeBase const& timeBase, CurveSpace const& color);
    /// Ends the program and removes the file, unless finish put it in place.
    ~MovieWriter();
    MovieWriter(MovieWriter const&) = delete;
    MovieWriter& operator=(MovieWriter const&) = delete;

    /// One frame more, of the movie's size. Throws an output error with the program's own words.
    void add(World const& picture, AlphaForm form);
    /// Waits for the program and puts the file in place. The answer is a warning or empty text, or
    /// nothing when `stop` was set first: there is no movie then. Throws an output error. Without
    /// a movie, what stood at the target is as it was.
    std::optional<std::string> finish(bool mayReplace, std::atomic<bool> const& stop);

private:
    UserError failure() const;
    void endProgram();

    std::filesystem::path m_target;
    TemporaryFile m_file;
    int m_width, m_height;
    bool m_keepsAlpha;
    bool m_sawTransparency = false;
    std::optional<ChildProgram> m_program;
    std::vector<std::uint16_t> m_row;
};

}  // namespace zelk
