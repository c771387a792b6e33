// Options of commands that write pictures.
#pragma once

#include <optional>
#include <string>

#include "apps/zelk/command.h"
#include "apps/zelk/option_adder.h"
#include "apps/zelk/scene_options.h"
#include "zelk/render/run_options.h"

namespace zelk {

class OutputOptions {
public:
    void addFileOptions(OptionAdder const& add);
    /// Those of them that say what stands in a file.
    void addContentOptions(OptionAdder const& add);
    void addThreads(OptionAdder const& add);
    RunOptions run(Invocation const& how) const;

private:
    bool m_noClobber = false, m_inPlace = false, m_dropsMetadata = false;
    std::optional<std::string> m_threads, m_pngLevel;
};

/// What `render` and `overlay` share: files, pins and quality.
void addPictureOptions(OptionAdder const& add, SceneOptions& scene, OutputOptions& output);
/// Of these the pins and their tracking data.
void addPinOptions(OptionAdder const& add, SceneOptions& scene);

}  // namespace zelk
