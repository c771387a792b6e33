// Rows of float pixels to the bytes of a screen.
//
//   straight   c / a where colour is associated; where alpha is 0 it stays as it is
//   byte       floor(min(max(c, 0), 1) 255 + 0.5); what is no number becomes 0
//   by a table each colour's byte by a ByteTable instead; alpha is rounded alone
//
// Each has a scalar form, the truth, and a vector twin with the same bits.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

namespace zelk {

/// A conversion of one channel to bytes, never falling. A float's bits above `shift` name a cell of
/// which none has more than one step between bytes; with `low` the bits below,
///
///   byte = (words[cell] + low) >> shift
///
/// Cell 0 is black: all below `least`, and what is no number. The last one is white, from 1 on.
struct ByteTable {
    std::vector<std::int32_t> words;
    int shift = 0;
    float least = 0;
    std::int32_t firstCell = 0;  ///< bits of `least` above `shift`; it is cell 1
};

/// What becomes of a row.
struct ScreenRowWay {
    bool isAssociated = false;
    bool isBgra = false;  ///< blue, green, red, alpha; else alpha first, as the floats have it
    ByteTable const* table = nullptr;
};

/// `count` pixels of alpha, red, green, blue.
struct ScreenRowFunctions {
    void (*toBytes)(float const* argb, int count, ScreenRowWay const& way, std::uint8_t* to);
    /// Of straight colour with white at 32768, in the floats' way and without a table.
    void (*toBytes16)(std::uint16_t const* argb, int count, bool isBgra, std::uint8_t* to);
};

ScreenRowFunctions const& scalarScreenRows();
/// Of the best instruction set that the machine has.
ScreenRowFunctions const& vectorScreenRows();

}  // namespace zelk
