// Names to pictures, and requests to schedules; see input_files.h.
#include "zelk/sequence/input_files.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <numeric>

#include "zelk/movies/writer.h"
#include "zelk/pictures/reader.h"
#include "zelk/scene/scene_file.h"
#include "zelk/text/errors.h"
#include "zelk/text/numbers.h"
#include "zelk/tracks/track.h"

namespace zelk {

namespace fs = std::filesystem;

namespace {

bool isPattern(fs::path const& name) {
    return !onDisk(name) && SequenceName(name.string()).isSequence();
}

/// Of the composition, which a movie's first picture is: the project's, else the least of the
/// range.
int firstFrameOf(RenderRequest const& request) {
    if (request.project) return request.project->comp.startFrame;
    if (!request.frames) return 1;
    std::vector<int> const frames = parseFrameRange("--frames", *request.frames);
    return *std::min_element(frames.begin(), frames.end());
}

/// The whole frames of the first track; only the first of them into a single picture.
std::vector<int> trackedFrames(RenderRequest const& request, Files const& files) {
    std::vector<int> frames = wholeFrames(*request.tracks.front().track);
    bool const isOne = !files.output.isSequence() && !isMovieName(request.output);
    if (isOne && frames.size() > 1) frames.resize(1);
    if (!frames.empty()) return frames;
    throw UserError(ExitCode::kUsage, {"--frames", "the track has fractions of frames only,", "",
                                       "the frames of the output"});
}

std::vector<int> framesAsked(RenderRequest const& request, Files const& files) {
    if (request.frames) return parseFrameRange("--frames", *request.frames);
    for (InputFiles const* input : {&files.layer, files.plate ? &*files.plate : nullptr}) {
        if (!input || !input->isNumbered()) continue;
        std::vector<int> frames = input->framesThere();
        if (!frames.empty()) return frames;
        std::string const name = input->name();
        throw UserError(ExitCode::kInput,
                        {name, "no frames on disk of", name, "numbered pictures"});
    }
    if (!request.project && !request.tracks.empty()) return trackedFrames(request, files);
    if (!request.project)
        throw UserError(ExitCode::kUsage,
                        {"--frames", "not given,", "", "the frames of the output"});
    Comp const& comp = request.project->comp;
    std::vector<int> all(static_cast<std::size_t>(comp.durationFrames));
    std::iota(all.begin(), all.end(), comp.startFrame);
    return all;
}

}  // namespace

bool onDisk(fs::path const& path) {
    std::error_code fault;
    return fs::exists(path, fault);
}

namespace {

/// Null for what is no movie or is left to the picture library.
std::shared_ptr<MovieFrames> movieOf(fs::path const& file) {
    if (!isMovieInput(file) || !onDisk(file) || !MovieFrames::isAvailable()) return nullptr;
    return std::make_shared<MovieFrames>(file);
}

}  // namespace

InputFiles::InputFiles(fs::path const& name, MissingInput missing)
    : m_name(name), m_missing(missing) {
    m_movie = movieOf(name);
    if (isMovieInput(name))
        m_movieFrames = m_movie ? m_movie->count() : PictureReader::countOf(name);
    if (!isPattern(name)) return;
    m_pattern.emplace(name.string());
    if (missing == MissingInput::kHold) m_there = framesOnDisk(*m_pattern);
}

std::vector<int> InputFiles::framesThere() const {
    if (m_pattern) return framesOnDisk(*m_pattern);
    std::vector<int> frames(static_cast<std::size_t>(m_movieFrames));
    std::iota(frames.begin(), frames.end(), m_firstFrame);
    return frames;
}

InputPicture InputFiles::own(int frame) const {
    if (m_movieFrames > 0) return {m_name, frame - m_firstFrame, m_movie};
    return {m_pattern ? m_pattern->pathOf(frame) : m_name};
}

bool InputFiles::isThere(int frame) const {
    if (m_movieFrames > 0) return frame >= m_firstFrame && frame - m_firstFrame < m_movieFrames;
    return onDisk(own(frame).file);
}

Complaint InputFiles::missing(int frame) const {
    std::string const name = own(frame).file.string();
    if (m_movieFrames == 0) return {name, "no such file", name, "a picture"};
    return {
        name,
        fmt::format("the movie has {} pictures, frame {} would be picture", m_movieFrames, frame),
        std::to_string(frame - m_firstFrame + 1),
        fmt::format("a frame from {} to {}", m_firstFrame, m_firstFrame + m_movieFrames - 1)};
}

std::optional<InputPicture> InputFiles::pictureOf(int frame) const {
    if (isThere(frame)) return own(frame);
    if (m_missing == MissingInput::kBlack) return std::nullopt;
    if (m_missing != MissingInput::kHold) return own(frame);
    if (m_movieFrames > 0)
        return own(std::clamp(frame, m_firstFrame, m_firstFrame + m_movieFrames - 1));
    if (m_there.empty()) return own(frame);
    auto const after = std::upper_bound(m_there.begin(), m_there.end(), frame);
    return own(after == m_there.begin() ? *after : *(after - 1));
}

PictureReader InputPicture::open() const {
    if (!movie) return PictureReader(file, number);
    return PictureReader(file, number, std::make_unique<MoviePicture>(movie, number));
}

PictureReader openPicture(fs::path const& file) {
    auto const movie = movieOf(file);
    return movie ? InputPicture{file, 0, movie}.open() : PictureReader(file);
}

std::string InputPicture::name() const {
    return number < 0 ? file.string() : fmt::format("{} picture {}", file.string(), number + 1);
}

Files::Files(RenderRequest const& request)
    : layer(request.layer, request.missing), output(request.output.string()) {
    if (request.plate) plate.emplace(*request.plate, request.missing);
    int const first = firstFrameOf(request);
    layer.startAt(first);
    if (plate) plate->startAt(first);
}

Schedule scheduleOf(RenderRequest const& request, Files const& files) {
    std::vector<int> const asked = framesAsked(request, files);
    if (asked.size() > 1 && !files.output.isSequence() && !isMovieName(request.output))
        throw UserError(ExitCode::kUsage,
                        {"--output", "the same file for every frame:", request.output.string(),
                         "a frame mark such as out.%04d.exr"});
    Schedule schedule;
    for (int const frame : asked) {
        bool const isWritten = request.skipExisting && !isMovieName(request.output) &&
                               onDisk(files.output.pathOf(frame));
        bool const isLeftOut = request.missing == MissingInput::kSkip && !files.isReadable(frame);
        if (isWritten || isLeftOut) {
            ++schedule.skipped;
            continue;
        }
        if (request.missing == MissingInput::kStop && !files.isReadable(frame)) {
            schedule.missingFrame = frame;
            break;
        }
        schedule.frames.push_back(frame);
    }
    return schedule;
}

void checkOutputsAreNoInputs(Files const& files, std::vector<int> const& frames) {
    std::map<fs::path, int> outputs;
    auto const keyOf = [](fs::path const& path) {
        std::error_code fault;
        return fs::weakly_canonical(path, fault);
    };
    for (int const frame : frames) outputs[keyOf(files.output.pathOf(frame))] = frame;
    auto const check = [&](InputFiles const& input, int frame) {
        auto const picture = input.pictureOf(frame);
        if (!picture) return;
        auto const found = outputs.find(keyOf(picture->file));
        if (found == outputs.end() || (found->second == frame && frames.size() == 1)) return;
        if (found->second == frame && input.isNumbered()) return;
        throw UserError(ExitCode::kUsage,
                        {"--output", "would replace a picture that other frames read:",
                         picture->file.string(), "other names than the inputs'"});
    };
    for (int const frame : frames) {
        check(files.layer, frame);
        if (files.plate) check(*files.plate, frame);
    }
}

std::string planText(Files const& files, Schedule const& schedule) {
    std::string text;
    for (int const frame : schedule.frames) {
        auto const named = [frame](InputFiles const& input) {
            auto const picture = input.pictureOf(frame);
            return picture ? picture->name() : std::string("black");
        };
        text += fmt::format("{}: read {}", frame, named(files.layer));
        if (files.plate) text += fmt::format(", over {}", named(*files.plate));
        fs::path const output = files.output.pathOf(frame);
        text +=
            fmt::format(", write {}{}\n", output.string(), onDisk(output) ? " (replacing it)" : "");
    }
    text +=
        fmt::format("{} frames to render, {} skipped\n", schedule.frames.size(), schedule.skipped);
    return text;
}

bool isSequence(RenderRequest const& request) {
    return request.frames || !request.tracks.empty() || isPattern(request.layer) ||
           (request.plate && (isPattern(*request.plate) || isMovieInput(*request.plate))) ||
           (request.project && isPattern(request.output)) || isMovieInput(request.layer) ||
           isMovieName(request.output);
}

}  // namespace zelk
