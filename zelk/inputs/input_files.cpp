// Names to pictures; see input_files.h.
#include "zelk/inputs/input_files.h"

#include <fmt/format.h>

#include <algorithm>
#include <numeric>
#include <utility>

#include "zelk/pictures/buffer_input.h"

namespace zelk {

namespace fs = std::filesystem;

bool onDisk(fs::path const& path) {
    std::error_code fault;
    return fs::exists(path, fault);
}

bool isPattern(fs::path const& name) {
    try {
        return !onDisk(name) && SequenceName(name.string()).isSequence();
    } catch (UserError const&) {
        return false;
    }
}

bool namesFiles(fs::path const& name) {
    std::error_code fault;
    return onDisk(name) ||
           (isPattern(name) && !framesOnDisk(SequenceName(name.string()), fault).empty());
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
    if (isMovieInput(name) && onDisk(name))
        m_movieFrames = m_movie ? m_movie->count() : PictureReader::countOf(name);
    if (!isPattern(name)) return;
    m_pattern.emplace(name.string());
    if (missing == MissingInput::kHold) m_there = framesThere();
}

InputFiles::InputFiles(std::shared_ptr<PictureBuffer const> buffer)
    : m_name(buffer->name), m_buffer(std::move(buffer)) {
    requireSound(*m_buffer);
}

void InputFiles::requireName() const {
    if (!m_buffer && !onDisk(m_name)) SequenceName{m_name.string()};
}

std::vector<int> InputFiles::framesThere() const {
    std::error_code fault;
    if (m_pattern) return framesOnDisk(*m_pattern, fault);
    std::vector<int> frames(static_cast<std::size_t>(m_movieFrames));
    std::iota(frames.begin(), frames.end(), m_firstFrame);
    return frames;
}

std::vector<int> InputFiles::framesRequired() const {
    std::vector<int> frames = m_pattern ? framesOnDisk(*m_pattern) : framesThere();
    if (!frames.empty()) return frames;
    throw UserError(ExitCode::kInput,
                    {name(), "no such frames", "", "files such as " + own(1).file.string()});
}

InputPicture InputFiles::own(int frame) const {
    if (m_buffer) return {m_name, -1, nullptr, m_buffer, m_how};
    if (m_movieFrames > 0) return {m_name, frame - m_firstFrame, m_movie, {}, m_how};
    return {m_pattern ? m_pattern->pathOf(frame) : m_name, -1, nullptr, {}, m_how};
}

bool InputFiles::isThere(int frame) const {
    if (m_buffer) return true;
    if (m_movieFrames > 0) return frame >= m_firstFrame && frame - m_firstFrame < m_movieFrames;
    return onDisk(own(frame).file);
}

MissingPicture InputFiles::missing(int frame) const {
    std::string const name = own(frame).file.string();
    if (m_movieFrames == 0) return {name, "no such file"};
    return {name, fmt::format("no frame {}: the movie's {} pictures are frames {} to {}", frame,
                              m_movieFrames, m_firstFrame, m_firstFrame + m_movieFrames - 1)};
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

PictureReader InputPicture::open(ReadOptions const& otherwise) const {
    if (buffer) return PictureReader(file, -1, inputOf(buffer), otherwise);
    if (!movie) return PictureReader(file, number, nullptr, otherwise);
    return PictureReader(file, number, std::make_unique<MoviePicture>(movie, number), otherwise);
}

PictureReader openPicture(fs::path const& file, ReadOptions const& how) {
    auto const movie = movieOf(file);
    return InputPicture{file, movie ? 0 : -1, movie, {}, how}.open();
}

bool InputPicture::isOnDisk() const { return !buffer && onDisk(file); }

std::string InputPicture::name() const {
    return number < 0 ? file.string() : fmt::format("{} picture {}", file.string(), number + 1);
}

}  // namespace zelk
