// See task_log.h.
#include "zelk/jobs/task_log.h"

#include <algorithm>
#include <fstream>
#include <nlohmann/json.hpp>

namespace zelk {

namespace {

using Json = nlohmann::json;

WrittenFile fileOf(Json const& event) {
    return {event.at("file").get<std::string>(), event.value("bytes", std::uint64_t{0}),
            sumNamed(event.value("crc32", ""))};
}

void readEvent(Json const& event, double& lastSeconds, TaskLog& log) {
    std::string const name = event.at("event");
    if (name == "start") {
        log.failure.clear();
        log.hasEnded = false;
        log.movie.reset();
        lastSeconds = 0;
    } else if (name == "kept") {
        log.written[event.at("frame")] = fileOf(event);
    } else if (name == "end") {
        log.hasEnded = true;
        if (event.contains("file")) log.movie = fileOf(event);
    } else if (name == "frame") {
        int const frame = event.at("frame");
        log.written[frame] = fileOf(event);
        log.failed.erase(frame);
        log.seconds += event.at("seconds").get<double>() - lastSeconds;
        lastSeconds = event.at("seconds");
        ++log.timed;
        log.peakBytes = std::max(log.peakBytes, event.value("peakBytes", std::uint64_t{0}));
    } else if (name == "failure" && !event.value("endsRun", true)) {
        log.failed[event.at("frame")] = event.at("message");
    } else if (name == "failure") {
        log.failure = event.at("message");
    }
}

}  // namespace

TaskLog readTaskLog(std::filesystem::path const& path) {
    TaskLog log;
    double lastSeconds = 0;
    std::ifstream file(path, std::ios::binary);
    for (std::string line; std::getline(file, line);) {
        Json const event = Json::parse(line, nullptr, false);
        if (!event.is_object()) continue;
        try {
            readEvent(event, lastSeconds, log);
        } catch (Json::exception const&) {
            // No event of ours.
        }
    }
    return log;
}

}  // namespace zelk
