// Tables of bytes; see screen_picture.h for what they are of and screen_rows.h for what they hold.
//
// Steps between bytes are found by bisection over the bits of floats, by the conversion itself.
#include <algorithm>
#include <bit>
#include <optional>

#include "zelk/render/screen_picture.h"

namespace zelk {

namespace {

constexpr float kLeast = 0x1p-16f;  ///< below it is black
constexpr float kBeyondWhite = 2;

std::uint8_t byteOf(ColorTransform const& way, float value) {
    float pixel[4] = {value, value, value, 1};
    way.apply(pixel, 1, ColorTransform::AlphaAt::kLast, AlphaForm::kStraight);
    return static_cast<std::uint8_t>(std::max(0.0f, std::min(pixel[0], 1.0f)) * 255.0f + 0.5f);
}

/// The least float from 0 to 1 that becomes `byte` or more.
float stepTo(ColorTransform const& way, int byte) {
    std::uint32_t low = 0, high = std::bit_cast<std::uint32_t>(1.0f);
    while (low < high) {
        std::uint32_t const middle = low + (high - low) / 2;
        if (byteOf(way, std::bit_cast<float>(middle)) >= byte)
            high = middle;
        else
            low = middle + 1;
    }
    return std::bit_cast<float>(low);
}

/// Nothing where a cell would have two steps.
std::optional<ByteTable> tableOf(std::vector<float> const& steps, int shift) {
    auto const bitsOf = [](float value) { return std::bit_cast<std::int32_t>(value); };
    ByteTable table;
    table.shift = shift;
    table.least = kLeast;
    table.firstCell = bitsOf(kLeast) >> shift;
    table.words.push_back(0);
    std::int32_t const cellSize = 1 << shift, end = bitsOf(1.0f) >> shift;
    std::int32_t byte = 0;
    auto next = steps.begin();
    auto const isNextBelow = [&](std::int32_t bits) {
        return next != steps.end() && bitsOf(*next) < bits;
    };
    for (std::int32_t cell = table.firstCell; cell < end; ++cell) {
        std::int32_t const start = cell << shift;
        while (isNextBelow(start + 1)) ++byte, ++next;
        std::int32_t word = byte << shift;
        if (isNextBelow(start + cellSize)) {
            word += cellSize - (bitsOf(*next) - start);
            ++byte, ++next;
        }
        if (isNextBelow(start + cellSize)) return std::nullopt;
        table.words.push_back(word);
    }
    table.words.push_back(255 << shift);
    return table;
}

}  // namespace

std::shared_ptr<ByteTable const> byteTableOf(ColorTransform const& way) {
    if (byteOf(way, 0) > 0 || byteOf(way, 1) < 255 || byteOf(way, kBeyondWhite) < 255)
        return nullptr;
    std::vector<float> steps;  // to 1, 2, ... 255
    for (int byte = 1; byte <= 255; ++byte) steps.push_back(stepTo(way, byte));
    if (steps.front() < kLeast) return nullptr;
    for (int const shift : {16, 14})  // few cells stay in the first cache
        if (auto table = tableOf(steps, shift))
            return std::make_shared<ByteTable const>(std::move(*table));
    return nullptr;
}

}  // namespace zelk
