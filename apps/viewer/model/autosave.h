// Autosave: the scene that is edited, in the user's state folder, until it is saved or discarded.
// A viewer that died leaves its file behind, and the next one offers it.
//
//   HOST.TAG-N.zelk-recovery     the scene as hand_over.h has it
//
// TAG tells the process (zelk/files/process_tag.h), N one of its windows. A file is whole at any
// moment. A machine that was started anew has another tag: files of its own name from before its
// start are then of the dead. All others of unknown processes are left alone for a day: those of
// machines that share the folder, and of containers on this one.
#pragma once

#include <filesystem>
#include <functional>
#include <future>
#include <string>
#include <system_error>
#include <vector>

#include "zelk/scene/hand_over.h"

namespace zelk {

class Autosave {
public:
    /// `ended` hears of each writing why it failed, empty where it did not; on the writing thread.
    using Ended = std::function<void(std::string const& fault)>;
    explicit Autosave(std::filesystem::path folder, Ended ended = {});
    ~Autosave();  ///< the file stays
    Autosave(Autosave const&) = delete;
    Autosave& operator=(Autosave const&) = delete;

    std::filesystem::path const& file() const { return m_file; }
    /// On a thread of its own; false while the last one is being written, and nothing is done.
    bool write(HandedScene const& scene);
    void remove();
    /// Makes an abandoned file this one's own, so that nobody else takes it; no such file where
    /// somebody was faster.
    std::error_code adopt(std::filesystem::path const& abandoned);
    /// Leaves what was adopted where it was. Where it can't go back, it stays under the name that
    /// it has for the next viewer to find, and this one has another name from then on.
    void giveBack(std::filesystem::path const& abandoned);

private:
    void wait();

    std::filesystem::path m_file;
    Ended m_ended;
    std::future<void> m_writing;
    bool m_isThere = false;
};

/// Files of viewers that died, the latest first.
std::vector<std::filesystem::path> abandonedScenes(std::filesystem::path const& folder);
/// What tells them apart: "/shots/sign.zelk.json", "logo.png, never saved" or why it can't be read.
std::string nameOfAutosaved(std::filesystem::path const& file);
/// Throws an input error.
HandedScene readAutosaved(std::filesystem::path const& file);

}  // namespace zelk
