// The pictures of a movie, decoded by the `ffmpeg` program and read row by row through a pipe.
//
// A picture has the same bits however it is reached. The program decodes from the movie's start,
// and what comes before the first picture that is wanted is dropped; it begins later only where
// every picture stands for itself (MovieFacts::isSeekable). Going back starts it anew. Colour that
// is stored as luma and chroma has the matrix that the file names; without a name that is BT.709
// from 720 lines on and BT.601 below, as players have it. Alpha is straight.
#pragma once

#include <OpenImageIO/imageio.h>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "zelk/color/movie_tags.h"
#include "zelk/movies/child_program.h"
#include "zelk/movies/probe.h"

namespace zelk {

/// By the extension.
bool isMovieInput(std::filesystem::path const& file);

/// For one thread at a time.
class MovieFrames {
public:
    /// Whether the programs that decode are there.
    static bool isAvailable();
    /// Asks `ffprobe`. Throws an input error for what is no movie.
    explicit MovieFrames(std::filesystem::path file);

    /// Of the pictures; the sample is of 8 or 16 bits, the alpha the last of 3 or 4 channels.
    OIIO::ImageSpec spec() const;
    int count() const { return m_facts.count; }
    MovieFacts const& facts() const { return m_facts; }
    /// Row y of a picture, both from 0; false where the movie gives none.
    bool readRow(int number, int y, void* row);
    /// Why not.
    std::string words() const;

private:
    std::vector<std::string> decoderWords(int first) const;
    bool start(int first);
    /// The largest alpha of 10 bits comes as 1023 * 64.
    void widenAlpha(std::uint16_t* rgba) const;

    std::filesystem::path m_file;
    MovieFacts m_facts;
    bool m_isDeep = false, m_hasAlpha = false;
    std::string m_toColor;  ///< the program's filter, empty for movies of RGB
    TaggedSpace m_color;
    int m_alphaBits = 0;  ///< of an alpha whose lower bits come as 0; 0 for none
    std::optional<ChildProgram> m_decoder;
    std::int64_t m_nextRow = 0;  ///< in the pipe, counted from the first picture's first
};

/// One picture of a movie, for code that reads pictures.
class MoviePicture : public OIIO::ImageInput {
public:
    MoviePicture(std::shared_ptr<MovieFrames> movie, int number);
    char const* format_name() const override { return "movie"; }
    bool open(std::string const&, OIIO::ImageSpec&) override { return true; }
    bool close() override { return true; }
    int current_subimage() const override { return m_number; }
    bool seek_subimage(int subimage, int miplevel) override;
    bool read_native_scanline(int subimage, int miplevel, int y, int z, void* data) override;

private:
    std::shared_ptr<MovieFrames> m_movie;
    int m_number;
};

}  // namespace zelk
