// Choice and scalar truth; see png_filter.h.
#include "zelk/pictures/png_filter.h"

#include <algorithm>

namespace zelk {

void filterPngRow(PngRow const& row, std::uint8_t* filtered) {
    PngSums const sums = pngSumsSimd(row);
    auto const least = std::min_element(sums.begin(), sums.end()) - sums.begin();
    int const predictor = static_cast<int>(least) + 1;
    filtered[0] = static_cast<std::uint8_t>(predictor);
    pngDifferencesSimd(row, predictor, filtered + 1);
}

PngSums pngSums(PngRow const& row) {
    PngSums sums{};
    png_detail::addSums(row, 0, sums);
    return sums;
}

void pngDifferences(PngRow const& row, int predictor, std::uint8_t* differences) {
    constexpr void (*kOf[])(PngRow const&, std::size_t, std::uint8_t*) = {
        png_detail::addDifferences<1>, png_detail::addDifferences<2>, png_detail::addDifferences<3>,
        png_detail::addDifferences<4>};
    kOf[predictor - 1](row, 0, differences);
}

}  // namespace zelk
