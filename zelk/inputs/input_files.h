// A layer or a plate over many frames: numbered pictures, a movie, or one picture for all of them,
// in a file or in memory; and what stands for one that is not there.
#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "zelk/files/frame_names.h"
#include "zelk/movies/frames.h"
#include "zelk/pictures/buffer.h"
#include "zelk/pictures/reader.h"
#include "zelk/text/errors.h"

namespace zelk {

bool onDisk(std::filesystem::path const& path);
/// Whether a name has a frame mark. One that exists as it stands has none, nor has one whose mark
/// is malformed or the second: InputFiles::requireName tells why.
bool isPattern(std::filesystem::path const& name);
/// Whether a name is that of a file, or has a frame mark and files of its numbers. In a folder that
/// can't be listed there are none.
bool namesFiles(std::filesystem::path const& name);

/// A picture file, or one picture of a movie.
struct InputPicture {
    std::filesystem::path file;
    int number = -1;                                   ///< in a movie, from 0
    std::shared_ptr<MovieFrames> movie = {};           ///< where the movie's own program decodes it
    std::shared_ptr<PictureBuffer const> buffer = {};  ///< instead of any file
    ReadOptions how = {};

    std::string name() const;  ///< for messages
    bool isOnDisk() const;     ///< a file that is there
    PictureReader open() const { return open(how); }
    PictureReader open(ReadOptions const& otherwise) const;
};

/// The first picture of a file, a movie or any other.
PictureReader openPicture(std::filesystem::path const& file, ReadOptions const& how = {});

/// "p.0002.png", "no such file"
struct MissingPicture {
    std::string file, why;
    UserError error() const { return {ExitCode::kInput, file + ": " + why}; }
};

/// One of the inputs: a numbered one, a movie, whose pictures have numbers from 0 on unless it is
/// told otherwise, or the same picture for all frames.
class InputFiles {
public:
    InputFiles(std::filesystem::path const& name, MissingInput missing);
    /// Throws an input error for a buffer that is not sound.
    explicit InputFiles(std::shared_ptr<PictureBuffer const> buffer);
    std::string name() const { return m_name.string(); }
    /// Throws a usage error where the name is no file and its frame mark is malformed or the
    /// second.
    void requireName() const;
    bool isMovie() const { return m_movieFrames > 0; }
    bool isNumbered() const { return m_pattern || isMovie(); }
    /// Sorted; those that can be seen: a folder that is gone or may not be listed has none.
    std::vector<int> framesThere() const;
    /// The same of a numbered input. Throws why there is none.
    std::vector<int> framesRequired() const;
    /// The frame number of a movie's first picture.
    void startAt(int frame) { m_firstFrame = frame; }
    int firstFrame() const { return m_firstFrame; }
    /// Of a movie that its own program decodes; null for anything else.
    MovieFacts const* movieFacts() const { return m_movie ? &m_movie->facts() : nullptr; }
    void readAs(ReadOptions const& how) { m_how = how; }
    /// The picture that the frame's number names, there or not.
    InputPicture own(int frame) const;
    bool isThere(int frame) const;
    /// The file of a frame that is not there, and why.
    MissingPicture missing(int frame) const;

    /// The file that stands for a frame; nothing for a black one.
    std::optional<InputPicture> pictureOf(int frame) const;

private:
    std::filesystem::path m_name;
    MissingInput m_missing = MissingInput::kStop;
    std::shared_ptr<PictureBuffer const> m_buffer;
    std::optional<SequenceName> m_pattern;
    std::vector<int> m_there;
    std::shared_ptr<MovieFrames> m_movie;
    int m_movieFrames = 0, m_firstFrame = 0;
    ReadOptions m_how;
};

}  // namespace zelk
