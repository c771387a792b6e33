// Names to pictures, and requests to schedules; see sequence_files.h.
#include "apps/zelk/sequence_files.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <numeric>

#include "apps/zelk/errors.h"
#include "apps/zelk/movie_writer.h"
#include "apps/zelk/output_place.h"
#include "apps/zelk/picture_reader.h"
#include "apps/zelk/project_file.h"
#include "apps/zelk/render_setup.h"
#include "apps/zelk/track_data.h"

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

/// A composition shows its frames without holes: one between those on disk is missing.
std::vector<int> withHoles(std::vector<int> const& frames, Comp const& comp) {
    std::vector<int> all = frames;
    std::int64_t const last = std::int64_t{comp.startFrame} + comp.durationFrames - 1;
    for (std::size_t i = 1; i < frames.size(); ++i)
        for (std::int64_t hole =
                 std::max(std::int64_t{frames[i - 1]} + 1, std::int64_t{comp.startFrame});
             hole < frames[i] && hole <= last; ++hole)
            all.push_back(static_cast<int>(hole));
    std::sort(all.begin(), all.end());
    return all;
}

std::vector<int> framesAsked(RenderRequest const& request, Files const& files) {
    if (!isSequence(request)) return {compOf(request, 0, 0).startFrame};
    if (request.frames) return parseFrameRange("--frames", *request.frames);
    for (InputFiles const* input : {&files.layer, files.plate ? &*files.plate : nullptr}) {
        if (!input || !input->isNumbered()) continue;
        std::vector<int> frames = input->framesThere();
        if (!frames.empty())
            return request.project ? withHoles(frames, request.project->comp) : frames;
        throw UserError(ExitCode::kInput, {input->name(), "no frames on disk of", input->name(),
                                           "files such as " + input->own(1).file.string()});
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

InputFiles::InputFiles(fs::path const& name, MissingInput missing)
    : m_name(name), m_missing(missing) {
    if (isMovieInput(name) && onDisk(name) && MovieFrames::isAvailable())
        m_movie = std::make_shared<MovieFrames>(name);
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

std::string InputPicture::name() const {
    return number < 0 ? file.string() : fmt::format("{} picture {}", file.string(), number + 1);
}

Files::Files(RenderRequest const& request)
    : layer(request.layer, request.missing),
      output(isSequence(request) ? SequenceName(request.output.string())
                                 : SequenceName::plain(request.output.string())) {
    if (request.plate) plate.emplace(*request.plate, request.missing);
    int const first = firstFrameOf(request);
    layer.startAt(first);
    if (plate) plate->startAt(first);
}

Schedule scheduleOf(RenderRequest const& request, Files const& files) {
    std::vector<int> const asked = framesAsked(request, files);
    bool const isOneFile = !files.output.isSequence() && !isMovieName(request.output);
    if (asked.size() > 1 && isOneFile && !request.output.empty())
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

void requireOtherFile(RenderRequest const& request, fs::path const& output,
                      InputPicture const& input, char const* kind) {
    auto const own = identityOf(input.file);
    if (request.inPlace || !own || own != identityOf(output)) return;
    throw UserError(ExitCode::kUsage, {"--output", fmt::format("would replace its own {}:", kind),
                                       output.string(), "another name, or --in-place"});
}

void checkOutputsAreNoInputs(RenderRequest const& request, Files const& files,
                             std::vector<int> const& frames) {
    std::map<FileIdentity, int> outputs;  // what is not there yet is no input either
    for (int const frame : frames)
        if (auto const output = identityOf(files.output.pathOf(frame))) outputs[*output] = frame;
    auto const check = [&](InputFiles const& input, char const* kind, int frame) {
        auto const picture = input.pictureOf(frame);
        auto const own = picture ? identityOf(picture->file) : std::nullopt;
        auto const found = own ? outputs.find(*own) : outputs.end();
        if (found == outputs.end()) return;
        bool const isReadBefore =
            isMovieName(request.output) ||
            (found->second == frame && (input.isNumbered() || frames.size() == 1));
        if (isReadBefore)
            return requireOtherFile(request, files.output.pathOf(frame), *picture, kind);
        throw UserError(ExitCode::kUsage,
                        {"--output", "would replace a picture that other frames read:",
                         picture->file.string(), "other names than the inputs'"});
    };
    for (int const frame : frames) {
        check(files.layer, "layer", frame);
        if (files.plate) check(*files.plate, "plate", frame);
    }
}

std::string planText(RenderRequest const& request, Files const& files, Schedule const& schedule) {
    std::string text;
    bool const isOne = !isSequence(request);
    for (int const frame : schedule.frames) {
        auto const named = [frame](InputFiles const& input) {
            auto const picture = input.pictureOf(frame);
            return picture ? picture->name() : std::string("black");
        };
        text += isOne ? std::string() : fmt::format("{}: ", frame);
        text += "read " + named(files.layer);
        if (files.plate) text += fmt::format(", over {}", named(*files.plate));
        fs::path const output = files.output.pathOf(frame);
        text +=
            fmt::format(", write {}{}\n", output.string(), onDisk(output) ? " (replacing it)" : "");
    }
    return text + fmt::format("{} to render, {} skipped\n", framesCounted(schedule.frames.size()),
                              schedule.skipped);
}

std::string framesCounted(std::size_t count) {
    return fmt::format("{} frame{}", count, count == 1 ? "" : "s");
}

bool isSequence(RenderRequest const& request) {
    return request.frames || !request.tracks.empty() || isPattern(request.layer) ||
           (request.plate && (isPattern(*request.plate) || isMovieInput(*request.plate))) ||
           (request.project && isPattern(request.output)) || isMovieInput(request.layer) ||
           isMovieName(request.output);
}

}  // namespace zelk
