// The files of a render over many frames: numbered pictures, movies, single pictures; what stands
// for one that is not there; and which frames are to be rendered.
#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "apps/zelk/cli_options.h"
#include "apps/zelk/errors.h"
#include "apps/zelk/picture_reader.h"
#include "apps/zelk/sequence_names.h"

namespace zelk {

/// Whether a request is for numbered frames: it names some, or its layer, plate or output has a
/// frame mark. A name that exists as it stands has none.
bool isSequence(RenderRequest const& request);

bool onDisk(std::filesystem::path const& path);

/// A picture file, or one picture of a movie.
struct InputPicture {
    std::filesystem::path file;
    int number = -1;                          ///< in a movie, from 0
    std::shared_ptr<MovieFrames> movie = {};  ///< where the movie's own program decodes it

    std::string name() const;  ///< for messages
    PictureReader open() const { return PictureReader(file, number, movie); }
};

/// One of the inputs: a numbered one, a movie, whose first picture is the first frame's, or the
/// same picture for all frames.
class InputFiles {
public:
    InputFiles(std::filesystem::path const& name, MissingInput missing);
    std::string name() const { return m_name.string(); }
    bool isNumbered() const { return m_pattern || m_movieFrames > 0; }
    std::vector<int> framesThere() const;
    /// The frame number of a movie's first picture.
    void startAt(int frame) { m_firstFrame = frame; }
    /// The picture that the frame's number names, there or not.
    InputPicture own(int frame) const;
    bool isThere(int frame) const;
    /// What to say of a frame that is not there.
    Complaint missing(int frame) const;

    /// The file that stands for a frame; nothing for a black one.
    std::optional<InputPicture> pictureOf(int frame) const;

private:
    std::filesystem::path m_name;
    MissingInput m_missing;
    std::optional<SequenceName> m_pattern;
    std::vector<int> m_there;
    std::shared_ptr<MovieFrames> m_movie;
    int m_movieFrames = 0, m_firstFrame = 0;
};

/// Inputs and output of a request.
struct Files {
    explicit Files(RenderRequest const& request);
    /// Whether a frame's inputs are there, or something stands for them.
    bool isReadable(int frame) const {
        return layer.isThere(frame) && (!plate || plate->isThere(frame));
    }
    /// The one that makes a frame unreadable.
    InputFiles const& missingOf(int frame) const { return layer.isThere(frame) ? *plate : layer; }

    InputFiles layer;
    std::optional<InputFiles> plate;
    SequenceName output;
};

/// Which frames are to be rendered.
struct Schedule {
    std::vector<int> frames;
    std::size_t skipped = 0;          ///< written already, or left out for want of an input
    std::optional<int> missingFrame;  ///< before which the run ends
};

/// The frames of --frames, else of the layer's files, else of the plate's, with the composition's
/// frames between them, else all of the composition's; one frame for a single picture;
/// but for those that are written already or lack an input. Throws a usage error where there are
/// none or all would be one file, an input error for a numbered input without files.
Schedule scheduleOf(RenderRequest const& request, Files const& files);

/// A usage error where the output is the very file that is read as `kind` ("layer", "plate"),
/// unless the request says that it may be.
void requireOtherFile(RenderRequest const& request, std::filesystem::path const& output,
                      InputPicture const& input, char const* kind);

/// The same for all frames. A frame's file must never be what another frame reads, as which of them
/// comes first is chance; a movie is read to its end before it is replaced.
void checkOutputsAreNoInputs(RenderRequest const& request, Files const& files,
                             std::vector<int> const& frames);

/// A line a frame, with its number unless it is the only picture, of what would be read and
/// written, and a sum.
std::string planText(RenderRequest const& request, Files const& files, Schedule const& schedule);

/// "1 frame", "12 frames"
std::string framesCounted(std::size_t count);

}  // namespace zelk
