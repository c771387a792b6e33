// Warnings of a run or of a scene that is edited.
#pragma once

#include <mutex>
#include <set>
#include <string>
#include <vector>

namespace zelk {

/// Sentences that are told once, whatever frame they come from; for several threads. With other
/// values one that went away in between is told again.
class Warnings {
public:
    /// With `isStrict` a warning is a failure: add throws the first of its sentences, told or not.
    explicit Warnings(bool isStrict = false) : m_isStrict(isStrict) {}
    /// What there is to say of these values, which may be nothing.
    void add(std::vector<std::string> const& sentences);
    std::vector<std::string> take();
    /// All that was said of these values, told or not.
    std::vector<std::string> holding();
    /// The scene has other values from here on.
    void valuesChange();

private:
    bool m_isStrict;
    std::mutex m_mutex;
    /// With these values, and with the former ones that anything was said of.
    std::set<std::string> m_seen, m_seenBefore;
    bool m_isSaid = false;  ///< of these values
    std::vector<std::string> m_new;
};

}  // namespace zelk
