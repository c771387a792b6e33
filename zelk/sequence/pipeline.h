// Many frames through three stages that overlap, so that the processor waits for no disk:
//
//   reader thread    load i+2 |  load i+3 |
//   calling thread            | render i+1 | render i+2 |      keeps the renderer's own OpenMP team
//   writer thread                          | store i    | ...
//
// Frames pass every stage in their order. At most `inFlight` of them are held at any time, counted
// from the start of their load to the end of their store; 3 keeps all stages at work, 1 does one
// thing after another.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "zelk/text/errors.h"

namespace zelk {

struct PipelineOptions {
    std::size_t inFlight = 3;  ///< 0 counts as 1
    bool stopAtFirstFailure = false;
    std::atomic<bool> const* stop = nullptr;  ///< set by anyone, at any time

    std::size_t slots(std::size_t frameCount) const {
        return std::min(std::max<std::size_t>(inFlight, 1), frameCount);
    }
};

/// A frame that threw in one of its stages; the stages after that were left out.
struct FrameFailure {
    int frame = 0;
    std::string message;
    ExitCode code = ExitCode::kRenderFailed;  ///< of a UserError
    bool endsRun = false;                     ///< all further frames would fail alike: FullDisk
};

struct PipelineResult {
    std::vector<int> done;  ///< stored, in order
    std::vector<FrameFailure> failed;
    bool isStopped = false;  ///< the stop flag, not a failure, left frames out
};

/// A frame has left the pipeline: number `index` of all, from 0; `failure` is null when it is
/// stored.
using FrameReport = std::function<void(int frame, std::size_t index, FrameFailure const* failure)>;

/// The stages on slots, whatever these hold: frame i lives in slot i % slots(). Each may throw.
struct SlotStages {
    std::function<void(std::size_t slot, int frame)> load, render, store;
    std::function<void(std::size_t slot)> clear;  ///< frees what a slot still holds; doesn't throw
};

PipelineResult runStages(std::vector<int> const& frames, PipelineOptions const& options,
                         SlotStages const& stages, FrameReport const& report);

/// `load(frame)` gives what `render(frame, Loaded&&)` takes, which gives what
/// `store(frame, Rendered&&)` takes. `report` is called on the writer thread, in order, and may be
/// empty.
///
/// A stage that throws fails its frame: the run goes on, or ends there with stopAtFirstFailure or
/// on a full disk, after the frames before that one. When the stop flag is seen, stores that have
/// begun are finished and all other frames dropped; a load or render under way is waited for. Both
/// threads are joined on every way out. Throws what `report` throws, and when no thread can be had.
template <class Load, class Render, class Store>
PipelineResult runFrames(std::vector<int> const& frames, PipelineOptions const& options, Load load,
                         Render render, Store store, FrameReport const& report = {}) {
    using Loaded = std::invoke_result_t<Load&, int>;
    using Rendered = std::invoke_result_t<Render&, int, Loaded>;
    struct Slot {
        std::optional<Loaded> loaded;
        std::optional<Rendered> rendered;
    };
    std::vector<Slot> slots(options.slots(frames.size()));
    SlotStages stages;
    stages.load = [&](std::size_t at, int frame) { slots[at].loaded.emplace(load(frame)); };
    stages.render = [&](std::size_t at, int frame) {
        slots[at].rendered.emplace(render(frame, std::move(*slots[at].loaded)));
        slots[at].loaded.reset();
    };
    stages.store = [&](std::size_t at, int frame) { store(frame, std::move(*slots[at].rendered)); };
    stages.clear = [&](std::size_t at) {
        slots[at].loaded.reset();
        slots[at].rendered.reset();
    };
    return runStages(frames, options, stages, report);
}

}  // namespace zelk
