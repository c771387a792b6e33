// zelk.Scene: a scene that keywords edit, with the renderers that it has opened.
//
// Methods are called with the interpreter's lock held and give it away while they read, render or
// write. Edits are for one thread; renders of a scene that nobody edits meanwhile for any number.
#pragma once

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "bindings/python/renderers.h"
#include "zelk/render/quad_map.h"
#include "zelk/scene/scene.h"

namespace zelk::python {

/// How a scene's frames are written.
struct WriteChoices {
    bool mayReplace = true, mayBeInput = false, keepsMetadata = true;
    int pngLevel = 1, threads = 0, inFlight = 3;
};

using Sentences = std::vector<std::string>;  ///< warnings

class SceneObject {
public:
    SceneObject(Scene scene, std::string caller, bool isAssociated);
    SceneObject copy() const { return {m_scene, m_caller, m_isAssociated}; }

    void edit(pybind11::dict const& keywords);
    /// None leaves a part as it was.
    void setComp(pybind11::handle size, pybind11::handle start, pybind11::handle duration);
    void setKeys(std::vector<SceneParameter> parameters);
    pybind11::dict parameters() const;

    std::pair<pybind11::array, Sentences> render(std::optional<int> frame, int threads);
    std::pair<std::vector<int>, Sentences> write(std::optional<std::string> const& frames,
                                                 WriteChoices const& choices) const;
    std::vector<std::pair<int, QuadMap>> maps(std::optional<std::string> const& frames) const;
    /// Without a number the first frame, as in render.
    pybind11::array stMap(std::optional<int> frame) const;
    void check() const;
    void save(std::filesystem::path const& file, bool mayReplace) const;

    Scene const& scene() const { return m_scene; }
    bool isAssociated() const { return m_isAssociated; }
    /// How results of this scene stand in arrays.
    StoredForm form() const;
    bool keepsAxis() const { return m_keepsAxis; }

private:
    Scene mapScene() const;
    void reachKeys(std::vector<SceneKey> const& keys);

    Scene m_scene;
    std::string m_caller;      ///< what messages call the function that has the keywords
    bool m_isAssociated;       ///< of arrays, in and out
    bool m_keepsAxis = false;  ///< the layer's array is H x W x 1
    bool m_hasOwnComp;         ///< not one that keys have made
    std::unique_ptr<Renderers> m_renderers = std::make_unique<Renderers>();
};

/// The frames that a run takes: those asked for, else all that the scene has. Without an output,
/// still pictures have the composition's or the track's frames.
std::vector<int> framesOf(Scene const& scene, FrameStages const& stages);
/// What "the first frame" is.
int firstFrameOf(FrameStages const& stages);
/// The scene of such a run.
Scene manyFrames(Scene scene, std::optional<std::string> const& frames);

void addScene(pybind11::module_& module);

}  // namespace zelk::python
