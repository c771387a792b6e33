// Taking and giving back; see renderers.h.
#include "bindings/python/renderers.h"

#include <dlfcn.h>
#include <omp.h>

#include <string>
#include <utility>

#include "zelk/render/load_module.h"
#include "zelk/scene/check.h"
#include "zelk/scene/invert.h"
#include "zelk/text/errors.h"

namespace zelk::python {

namespace {

/// A module that nobody holds is loaded anew for every call, which takes longer than a small
/// picture.
void keepModule() {
    static void* const kept = ::dlopen(defaultModule().c_str(), RTLD_NOW | RTLD_LOCAL);
    (void)kept;
}

}  // namespace

Scene preparedScene(Scene scene) {
    checkScene(scene);
    scene.output.reset();
    return invertedScene(std::move(scene));
}

void Renderers::clear() {
    std::vector<Made> idle;
    std::lock_guard const lock(m_mutex);
    ++m_version;
    idle.swap(m_idle);
}

Renderers::Made Renderers::take(Scene const& scene, std::uint64_t version) {
    {
        std::lock_guard const lock(m_mutex);
        if (version == m_version && !m_idle.empty()) {
            Made renderer = std::move(m_idle.back());
            m_idle.pop_back();
            return renderer;
        }
    }
    if (scene.module.empty()) keepModule();
    RunOptions run;
    run.inFlight = 1;
    return std::make_unique<FrameStages>(preparedScene(scene), run);
}

void Renderers::giveBack(Made renderer, std::uint64_t version) {
    std::lock_guard const lock(m_mutex);
    if (version == m_version) m_idle.push_back(std::move(renderer));
}

ThreadScope::ThreadScope(int threads) : m_before(omp_get_max_threads()) {
    if (threads > 0) omp_set_num_threads(threads);
}
ThreadScope::~ThreadScope() { omp_set_num_threads(m_before); }

void requireThreads(int threads) {
    constexpr int kMost = 1024;
    if (threads >= 0 && threads <= kMost) return;
    throw UserError(ExitCode::kUsage, {"threads", "out of range:", std::to_string(threads),
                                       "a whole number from 0 to 1024, 0 for the machine's own"});
}

}  // namespace zelk::python
