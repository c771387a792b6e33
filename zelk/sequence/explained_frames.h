// `--explain` of a run: of one picture all that its render did; of many, as text, all of the first
// frame, of each further one what differs from the frame before it, and at the end how long each
// stage took; as JSON a line a frame with everything.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "zelk/render/explanation.h"
#include "zelk/render/run_options.h"

namespace zelk {

class ExplainedFrames {
public:
    ExplainedFrames(Explain form, bool isStill) : m_form(form), m_isStill(isStill) {}

    /// What is printed once a frame is written.
    std::string add(int frame, std::string const& file, Explanation const& explanation);
    /// What is printed after the last one.
    std::string end() const;

private:
    struct Stage {
        double sumMs = 0, mostMs = 0;
        int slowest = 0;
    };
    std::string changes(Explanation const& explanation);

    Explain m_form;
    bool m_isStill;
    std::size_t m_count = 0;
    std::map<std::string, std::string> m_last;  ///< sections of the frame before, by their name
    std::vector<std::string> m_stageNames;      ///< in their order
    std::map<std::string, Stage> m_stages;
};

}  // namespace zelk
