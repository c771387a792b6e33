// See export_job.h.
#include "apps/viewer/model/export_job.h"

#include <fmt/format.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <set>
#include <utility>

#include "zelk/movies/writer.h"
#include "zelk/scene/inputs.h"
#include "zelk/sequence/render_frames.h"
#include "zelk/sequence/schedule.h"
#include "zelk/text/numbers.h"

namespace zelk {

namespace {

using Json = nlohmann::json;

std::string framesText(int count) {
    return count == 1 ? "1 frame" : fmt::format("{} frames", count);
}

void takeEvent(Json const& event, ExportState& state) {
    std::string const name = event.value("event", "");
    bool const isFrame = event.contains("frame");
    state.seconds = event.value("seconds", state.seconds);
    if (name == "start" || name == "end") state.skipped = event.value("skipped", state.skipped);
    if (name == "start") state.count = state.asked - state.skipped;
    if (name == "warning") state.warnings.push_back(event.value("message", ""));
    if (name == "failure")
        state.failures.push_back({isFrame ? fmt::format("frame {}", event.value("frame", 0)) : "",
                                  event.value("message", "")});
    if (name == "frame") ++state.written;
    if (name == "frame") state.file = event.value("file", "");
    if (name == "end") state.written = event.value("written", state.written);
    if (isFrame) state.ended = event.value("index", state.ended);
    double const perFrame = state.ended > 0 ? state.seconds / state.ended : 0;
    state.secondsLeft = perFrame * (state.count - state.ended);
}

}  // namespace

std::string ExportState::text() const {
    if (isRunning && count == 0) return "Looking at the frames";
    if (isRunning) {
        std::string const left = secondsLeft > 0 ? ", " + durationText(secondsLeft) + " left" : "";
        return fmt::format("{} of {}{}", ended, framesText(count), left);
    }
    std::string result =
        isMovie && written == 0 ? "no movie written" : framesText(written) + " written";
    if (skipped > 0) result += fmt::format(", {} left out", skipped);
    if (!failures.empty()) result += fmt::format(", {} failed", failures.size());
    if (!isStopped && untried() > 0) result += fmt::format(", {} not tried", untried());
    if (isStopped) result += ", cancelled";
    return result;
}

std::string ExportState::place() const {
    if (written == 0) return {};
    bool const isOne = written == 1 || isMovie;
    return isOne ? file : std::filesystem::path(file).parent_path().string();
}

/// The frame that ends a run is not counted as ended.
int ExportState::untried() const {
    return std::max(0, count - std::max(ended, written + static_cast<int>(failures.size())));
}

std::size_t filesThere(Scene const& exported) {
    SceneFiles const files(exported);
    std::set<std::filesystem::path> there;
    std::error_code none;
    std::vector<int> const frames = framesAsked(exported, files);
    checkOutputsAreNoInputs(exported, {}, files, frames);
    for (int const frame : frames)
        if (auto file = files.output.pathOf(frame); std::filesystem::exists(file, none))
            there.insert(std::move(file));
    return there.size();
}

ExportJob::ExportJob(Scene scene, RunOptions run, std::function<void()> changed)
    : m_changed(std::move(changed)) {
    m_state.isMovie = isMovieName(scene.outputPath());
    run.progress = ProgressMode::kJson;
    run.progressTo = [this](std::string_view line) { take(line); };
    run.stop = &m_isStopped;
    m_thread = std::thread([this, scene = std::move(scene), run = std::move(run)] {
        try {
            ask(framesAsked(scene, SceneFiles(scene)).size());
            end(renderFrames(scene, run), "");
        } catch (UserError const& error) {
            end(error.code(), error.what());
        } catch (std::exception const& error) {
            end(ExitCode::kRenderFailed, oneLine(error.what()));
        }
    });
}

ExportJob::~ExportJob() {
    stop();
    m_thread.join();
}

ExportState ExportJob::state() const {
    std::lock_guard const lock(m_mutex);
    return m_state;
}

void ExportJob::ask(std::size_t frames) {
    std::lock_guard const lock(m_mutex);
    m_state.asked = static_cast<int>(frames);
}

void ExportJob::take(std::string_view line) {
    Json const event = Json::parse(line, nullptr, false);
    if (!event.is_object()) return;
    {
        std::lock_guard const lock(m_mutex);
        takeEvent(event, m_state);
    }
    m_changed();
}

void ExportJob::end(ExitCode code, std::string const& message) {
    {
        std::lock_guard const lock(m_mutex);
        m_state.isRunning = false;
        m_state.isStopped = code == ExitCode::kInterrupted;
        m_state.code = code;
        if (!message.empty()) m_state.failures.push_back({"", message});
    }
    m_changed();
}

}  // namespace zelk
