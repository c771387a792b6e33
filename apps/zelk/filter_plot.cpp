// Charts of kernels; see filter_plot.h.
#include "apps/zelk/filter_plot.h"

#include <fmt/format.h>

#include <algorithm>

#include "apps/drawing/chart.h"
#include "zelk/scene/filters.h"

namespace zelk {

namespace {

constexpr CanvasColor kPaper{255, 255, 255};
constexpr CanvasColor kColors[] = {{215, 60, 50},  {40, 110, 200}, {40, 150, 70},  {225, 150, 20},
                                   {130, 70, 180}, {20, 160, 170}, {160, 100, 50}, {90, 90, 90}};

Curve curveOf(int number, std::size_t color) {
    return {std::string(filterInfo(number).name), kColors[color], {}, false};
}

/// Cycles a source pixel, to twice what a picture holds.
Chart responseChart(std::vector<int> const& numbers, int taps) {
    constexpr int kSteps = 200;
    Chart chart{"what is left of a wave", {"cycles a source pixel"}, {"of 1"}, {}};
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        Curve curve = curveOf(numbers[i], i);
        auto const weights = filterWeights(numbers[i], taps);
        for (int k = 0; k <= kSteps; ++k) {
            double const frequency = 1.0 * k / kSteps;
            curve.points.push_back({frequency, filterResponse(weights, frequency)});
        }
        chart.curves.push_back(std::move(curve));
    }
    return chart;
}

Chart weightChart(std::vector<int> const& numbers, int taps) {
    Chart chart{
        fmt::format("weights, {} taps", taps), {"source pixels beside the sample"}, {"weight"}, {}};
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        Curve curve = curveOf(numbers[i], i);
        for (FilterWeight const& each : filterWeights(numbers[i], taps))
            curve.points.push_back({each.px, each.weight});
        chart.curves.push_back(std::move(curve));
    }
    return chart;
}

/// Both charts, each of that size; of one kernel its name is the first one's title.
Canvas pairOf(std::vector<int> const& numbers, int taps, int width, int height) {
    Chart charts[] = {weightChart(numbers, taps), responseChart(numbers, taps)};
    if (numbers.size() == 1) {
        charts[0].title = fmt::format("{}, {}", charts[0].curves[0].label, charts[0].title);
        for (Chart& chart : charts) chart.curves[0].label.clear();
    }
    Canvas pair(2 * width, height, kPaper);
    pair.picture(drawChart(charts[0], width, height).toWorld(), {0, 0});
    pair.picture(drawChart(charts[1], width, height).toWorld(), {double(width), 0});
    return pair;
}

}  // namespace

Canvas plotFilters(std::vector<int> const& numbers, int taps) {
    constexpr int kWidth = 560, kHeight = 380, kSmallWidth = 330, kSmallHeight = 230, kColumns = 2;
    if (numbers.size() <= std::size(kColors)) return pairOf(numbers, taps, kWidth, kHeight);
    int const count = static_cast<int>(numbers.size());
    Canvas sheet(kColumns * 2 * kSmallWidth, (count + kColumns - 1) / kColumns * kSmallHeight,
                 kPaper);
    for (int i = 0; i < count; ++i) {
        Canvas const pair =
            pairOf({numbers[static_cast<std::size_t>(i)]}, taps, kSmallWidth, kSmallHeight);
        sheet.picture(pair.toWorld(), {i % kColumns * 2.0 * kSmallWidth,
                                       i / kColumns * static_cast<double>(kSmallHeight)});
    }
    return sheet;
}

}  // namespace zelk
