// A movie file, written by the `ffmpeg` program from raw frames of 16 bits a channel, in one of the
// codecs of codecs.h, with the sound of a movie that it is made from.
//
// Frames go through a pipe; the file stands beside its target until it is whole. Alpha is straight
// where the codec keeps it; other movies are over black.
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

/// What is carried along of another movie's sounds.
struct MovieSound {
    std::filesystem::path file;
    double fromSec = 0;  ///< on that file's clock
    double lateSec = 0;  ///< after the first picture
    double lengthSec = 0;
    std::vector<std::string> codecs;  ///< of all its sounds
};

struct MovieRequest {
    std::filesystem::path target;
    PixelSize size;
    TimeBase timeBase;
    std::optional<std::string> codec;  ///< nothing: by the extension
    std::optional<double> quality;     ///< that the codec takes; nothing: its own
    std::optional<MovieSound> sound;
    CurveSpace color = {};  ///< what the frames are in, which the file tells
};

/// Throws a usage error for frames that are too small for the codec.
void requireMovieSize(MovieRequest const& ask);

/// What such a movie would be refused for: the program codes one black frame into nothing.
void checkMovie(MovieRequest const& ask);

class MovieWriter {
public:
    /// Starts the program. Throws an output error where there is none, naming the package.
    explicit MovieWriter(MovieRequest const& ask);
    /// Ends the program and removes the file, unless finish put it in place.
    ~MovieWriter();
    MovieWriter(MovieWriter const&) = delete;
    MovieWriter& operator=(MovieWriter const&) = delete;

    /// One frame more, of the movie's size. Throws an output error with the program's own words.
    void add(World const& picture, AlphaForm form);
    /// Waits for the program and puts the file in place. The answer is a warning or empty text, or
    /// nothing when `stop` was set first: there is no movie then. Throws an output error. Without
    /// a movie, what stood at the target is as it was.
    struct Finish {
        bool mayReplace = true;
        bool isStrict = false;  ///< the warning is thrown instead, as a render error
    };
    std::optional<std::string> finish(Finish const& how, std::atomic<bool> const& stop);

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
