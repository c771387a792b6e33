// What passed between an effect and its host: every callback and suite call in order, faults
// injected by name, and a count of what the effect still owes.
//
// Names: a callback by its field ("checkout_param", "new_world", "host_new_handle", "strcpy"); a
// suite function by "PF World Suite 2/PF_NewWorld"; the acquisition and release of a suite by
// "AcquireSuite PF World Suite 2" and "ReleaseSuite PF World Suite 2".
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/effect_api/effect_types.h"

namespace zelk {

/// The n-th call (from 1; 0 for every call) of `name` answers `code` and does nothing else. A
/// function that answers a pointer answers null; one that answers nothing is left undone.
struct Fault {
    std::string name;
    int nth = 1;
    PF_Err code = PF_Err_OUT_OF_MEMORY;
    /// The call does its work all the same, and answers `code` nevertheless.
    bool performs = false;
};

/// What an effect holds of the host's.
struct Outstanding {
    int worlds = 0;
    int handles = 0;
    int handleLocks = 0;
    int suites = 0;
    int parameters = 0;
    int effects = 0;
    int streams = 0;
    int streamValues = 0;
    int mistakes = 0;  ///< things given back that were not held; see CallMonitor::mistakes

    bool operator==(Outstanding const&) const = default;
    Outstanding operator-(Outstanding const& start) const;
    /// "2 worlds, 1 suite", or "nothing".
    std::string describe() const;
};

class CallMonitor {
public:
    void inject(Fault fault) { m_faults.push_back(std::move(fault)); }
    void clearFaults() { m_faults.clear(); }
    /// Forgets the log and starts every count of calls anew; what is outstanding stays.
    void restart();

    /// Every call since restart, in order.
    std::vector<std::string> const& log() const { return m_log; }
    int count(std::string_view name) const;
    /// Faults that were answered since restart.
    int faultsAnswered() const { return m_faultsAnswered; }
    /// One sentence for each `outstanding.mistakes`, in order, such as
    /// "dispose_world: not an image of the effect's".
    std::vector<std::string> const& mistakes() const { return m_mistakes; }

    Outstanding outstanding;

    /// For the host's callbacks: notes the call; the fault that it is to answer, or null.
    Fault const* enter(std::string_view name);
    void noteMistake(std::string sentence);

    /// Notes the call and answers `body()`, or what an injected fault says.
    template <class Body>
    PF_Err answer(std::string_view name, Body&& body) {
        Fault const* fault = enter(name);
        if (!fault) return body();
        PF_Err const code = fault->code;
        if (fault->performs) body();
        return code;
    }

private:
    std::vector<Fault> m_faults;
    std::vector<std::string> m_log;
    std::vector<std::string> m_mistakes;
    std::map<std::string, int, std::less<>> m_counts;
    int m_faultsAnswered = 0;
};

}  // namespace zelk
