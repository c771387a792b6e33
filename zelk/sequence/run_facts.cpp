// See run_facts.h.
#include "zelk/sequence/run_facts.h"

#include <OpenImageIO/imageio.h>
#include <fmt/format.h>
#include <unistd.h>

#include "zelk/files/frame_names.h"
#include "zelk/files/process_tag.h"
#include "zelk/render/setup.h"
#include "zelk/scene/words.h"

namespace zelk {

namespace {

/// "1.0.2" of an effect's version word.
std::string versionText(A_u_long version) {
    return fmt::format("{}.{}.{}", version >> 19 & 7, version >> 15 & 15, version >> 11 & 15);
}

std::string libraryVersion() {
    int const version = OIIO::openimageio_version();
    return fmt::format("{}.{}.{}", version / 10000, version / 100 % 100, version % 100);
}

}  // namespace

std::string effectHostOf(FrameStages& renderer) {
    PF_SpecVersion const version = renderer.host().identity().version;
    return fmt::format("{} {}.{}", wordOf(kHostWords, renderer.scene().hostApp()), version.major,
                       version.minor);
}

RunFacts runFactsOf(FrameStages& renderer, std::vector<int> const& frames) {
    Scene const& scene = renderer.scene();
    RunFacts facts;
    facts.command = renderer.run().history;
    facts.scene.emplace_back("project", scene.file.string());
    facts.scene.emplace_back("layer", scene.layer.name());
    for (auto const& [name, input] : {std::pair{"plate", &scene.plate}, {"stMap", &scene.stMap}})
        if (*input) facts.scene.emplace_back(name, (*input)->name());
    for (auto const& [name, matte] :
         {std::pair{"matte", &scene.matte}, {"holdout", &scene.holdout}})
        if (*matte) facts.scene.emplace_back(name, (*matte)->file.name());
    facts.scene.emplace_back("output", scene.outputPath().string());
    facts.frames = frameRangeText(frames);
    facts.host = hostName();
    facts.effectHost = effectHostOf(renderer);
    facts.road = wordOf(kRoadWords, scene.roadTaken());
    facts.process = ::getpid();
    facts.threads = engineThreads(scene);
    facts.versions = {{"zelk", ZELK_VERSION},
                      {"module", versionText(renderer.host().effectVersion())},
                      {"OpenImageIO", libraryVersion()}};
    return facts;
}

}  // namespace zelk
