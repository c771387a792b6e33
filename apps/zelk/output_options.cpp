// What is replaced, kept and used; see output_options.h.
#include "apps/zelk/output_options.h"

#include "apps/zelk/environment.h"
#include "zelk/pictures/png_data.h"
#include "zelk/text/numbers.h"

namespace zelk {

void OutputOptions::addFileOptions(OptionAdder const& add) {
    add.flag("Files", "--no-clobber", m_noClobber, "Refuse to replace an existing output");
    add.flag("Files", "--in-place", m_inPlace, "Let the output replace its own layer or plate");
    addContentOptions(add);
}

void OutputOptions::addContentOptions(OptionAdder const& add) {
    add.flag("Files", "--no-metadata", m_dropsMetadata, "Leave the files' metadata out");
    add.text("Files", "--png-level", m_pngLevel, "N",
             "Compression of PNG, 0 to 9: 1 is fast, 9 the smallest (1)");
}

void OutputOptions::addThreads(OptionAdder const& add) {
    add.text("Rendering", "--threads", m_threads, "N", "Threads; 0 for as many as there are (0)");
}

RunOptions OutputOptions::run(Invocation const& how) const {
    constexpr int kMostThreads = 1024;
    RunOptions run;
    run.noClobber = m_noClobber;
    run.inPlace = m_inPlace;
    run.keepMetadata = !m_dropsMetadata;
    run.history = how.history;
    if (m_pngLevel) run.pngLevel = wholeInRange("--png-level", *m_pngLevel, 0, kMostPngLevel);
    if (auto const threads = environmentText(kThreadsVariable); threads && !m_threads)
        run.threads = wholeInRange(variableName(kThreadsVariable), *threads, 0, kMostThreads);
    if (m_threads) run.threads = wholeInRange("--threads", *m_threads, 0, kMostThreads);
    return run;
}

void addPictureOptions(OptionAdder const& add, SceneOptions& scene, OutputOptions& output) {
    scene.add(add, {"layer", "output", "over", "size"});
    output.addFileOptions(add);
    addPinOptions(add, scene);
}

void addPinOptions(OptionAdder const& add, SceneOptions& scene) {
    scene.add(add, {"to", "from", "track", "track-from", "view", "quality", "set"});
    scene.add(add, {"track-format", "track-size", "corners", "flip-y", "track-first-frame",
                    "shift-frames"});
}

}  // namespace zelk
