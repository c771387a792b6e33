// Taking and giving back; see renderers.h.
#include "bindings/python/renderers.h"

#include <omp.h>
#include <pthread.h>

#include <utility>

#include "zelk/scene/check.h"
#include "zelk/scene/invert.h"

namespace zelk::python {

namespace {

thread_local bool hasTeam = false;     ///< more than one thread may have worked for this one
thread_local bool isTeamLost = false;  ///< in the process that it was forked into

void watchForks() {
    [[maybe_unused]] static int const watched =
        ::pthread_atfork(nullptr, nullptr, [] { isTeamLost = isTeamLost || hasTeam; });
}

}  // namespace

Scene preparedScene(Scene scene) {
    checkScene(scene);
    scene.output.reset();
    return invertedScene(std::move(scene));
}

void Renderers::leaveToParent() {
    if (m_process == ::getpid()) return;
    m_process = ::getpid();
    for (Made& renderer : m_idle) (void)renderer.release();
    m_idle.clear();
}

void Renderers::clear() {
    std::vector<Made> idle;
    std::lock_guard const lock(m_mutex);
    leaveToParent();
    ++m_version;
    idle.swap(m_idle);
}

Renderers::Made Renderers::take(Scene const& scene, std::uint64_t version) {
    {
        std::lock_guard const lock(m_mutex);
        leaveToParent();
        if (version == m_version && !m_idle.empty()) {
            Made renderer = std::move(m_idle.back());
            m_idle.pop_back();
            return renderer;
        }
    }
    RunOptions run;
    run.inFlight = 1;
    auto renderer = std::make_unique<FrameStages>(preparedScene(scene), run);
    renderer->roundLast();
    return renderer;
}

void Renderers::giveBack(Made renderer, std::uint64_t version) {
    std::lock_guard const lock(m_mutex);
    if (version == m_version) m_idle.push_back(std::move(renderer));
}

ThreadScope::ThreadScope(int threads) : m_before(omp_get_max_threads()) {
    watchForks();
    if (isTeamLost) threads = 1;
    if (threads > 0) omp_set_num_threads(threads);
    hasTeam = hasTeam || omp_get_max_threads() > 1;
}
ThreadScope::~ThreadScope() { omp_set_num_threads(m_before); }

}  // namespace zelk::python
