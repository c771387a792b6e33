// The list of kernels as text and as JSON; see filters_command.h.
#include "apps/zelk/filters_command.h"

#include <fmt/format.h>

#include <nlohmann/json.hpp>

#include "apps/zelk/filter_plot.h"
#include "apps/zelk/option_adder.h"
#include "zelk/files/output_place.h"
#include "zelk/files/standard_output.h"
#include "zelk/pictures/writer.h"
#include "zelk/scene/filters.h"
#include "zelk/scene/words.h"

namespace zelk {

namespace {

std::string listText(std::vector<int> const& numbers, int taps) {
    constexpr char const* kRow = "{:<12}  {:>6}  {:>7}  {:<13}  {:<5}  {}\n";
    std::string text = fmt::format(fmt::runtime(kRow), "name", "number", "support", "interpolating",
                                   "lobes", "half at");
    for (int const number : numbers) {
        FilterInfo const info = filterInfo(number);
        std::string const support = info.supportPx > 0 ? fmt::format("{}", info.supportPx) : "none";
        text += fmt::format(fmt::runtime(kRow), info.name, number, support,
                            info.interpolates ? "yes" : "no", info.hasLobes ? "yes" : "no",
                            halfFrequency(filterWeights(number, taps)));
    }
    return text;
}

std::string listJson(std::vector<int> const& numbers, int taps) {
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    for (int const number : numbers) {
        FilterInfo const info = filterInfo(number);
        list.push_back({{"name", info.name},
                        {"number", number},
                        {"support", nullptr},
                        {"interpolating", info.interpolates},
                        {"lobes", info.hasLobes},
                        {"taps", info.hasTable},
                        {"halfAt", halfFrequency(filterWeights(number, taps))}});
        if (info.supportPx > 0) list.back()["support"] = info.supportPx;
    }
    return list.dump(2) + "\n";
}

}  // namespace

CommandInfo const FiltersCommand::kInfo = {
    "filters", "List the kernels of `zelk render --filter`, and draw them", "[NAME ...] [OPTIONS]",
    "support: half the kernel's width in source pixels, none where it has no end; of it, 4 taps\n"
    "  reach 2. interpolating: at a source pixel it gives that pixel. lobes: weights below 0, "
    "edges\n"
    "  overshoot. half at: cycles a source pixel of which half is left, 0.5 being the finest\n"
    "  detail.\n"
    "\n"
    "Examples:\n"
    "  zelk filters\n"
    "  zelk filters mitchell catmull-rom parzen --plot kernels.png\n"
    "  zelk filters lanczos --taps 8 --plot lanczos.png\n"};

void FiltersCommand::addOptions(CLI::App& app) {
    OptionAdder const add(app);
    add.names("Output", "NAME", m_names, "Of a kernel; without one, all", wordListOf(kFilterWords));
    add.text("Output", "--taps", m_taps, "N", "4, 6, 8 or 10 (4)", wordListOf(kTapWords));
    add.text("Output", "--plot", m_plot, "FILE",
             "Draw weights and what is left of each frequency into a picture");
    add.flag("Output", "--json", m_json, "As a JSON array");
    add.flag("Output", "--no-clobber", m_noClobber, "Refuse to replace an existing picture");
}

ExitCode FiltersCommand::run(Invocation const&) {
    std::vector<int> numbers;
    for (std::string const& name : m_names) numbers.push_back(pick(kFilterWords, "NAME", name));
    for (Choice<int> const& choice : kFilterWords)
        if (m_names.empty()) numbers.push_back(choice.value);
    int const taps = m_taps ? pick(kTapWords, "--taps", *m_taps) : 4;
    if (m_plot) {
        required(*m_plot, "--plot", "a picture file to write");
        checkTarget(*m_plot, m_noClobber);
        WriteRequest ask;
        ask.opaque = true;
        ask.noClobber = m_noClobber;
        writePicture(plotFilters(numbers, taps).toWorld(), *m_plot, ask);
    }
    print(m_json ? listJson(numbers, taps) : listText(numbers, taps));
    return ExitCode::kDone;
}

}  // namespace zelk
