// The few header fields that give the length of the pixels; see dpx_length.h.
#include "zelk/pictures/dpx_length.h"

#include <array>
#include <cstddef>
#include <fstream>

namespace zelk {

namespace {

constexpr std::size_t kHeaderBytes = 816;  // through the first image element

struct Header {
    std::array<unsigned char, kHeaderBytes> bytes{};
    bool isBigEndian = true;

    std::uint64_t number(std::size_t at, std::size_t size) const {
        std::uint64_t value = 0;
        for (std::size_t i = 0; i < size; ++i)
            value = value << 8 | bytes[at + (isBigEndian ? i : size - 1 - i)];
        return value;
    }
};

/// Components of a pixel by the element's descriptor; 1 for those that hold a single channel.
std::uint64_t componentsOf(std::uint64_t descriptor) {
    switch (descriptor) {
        case 50:   // RGB
        case 101:  // CbYACrYA 4:2:2:4
        case 102:  // CbYCr 4:4:4
            return 3;
        case 51:   // RGBA
        case 52:   // ABGR
        case 103:  // CbYCrA 4:4:4:4
            return 4;
        case 100:  // CbYCrY 4:2:2
            return 2;
        default:
            return 1;
    }
}

/// Three 10-bit values fill 32 bits, one of 12 bits fills 16; packed ones follow each other.
std::uint64_t rowBytes(std::uint64_t values, std::uint64_t bits, bool isFilled) {
    if (isFilled && bits == 10) return (values + 2) / 3 * 4;
    if (isFilled && bits == 12) return values * 2;
    return (values * bits + 7) / 8;
}

}  // namespace

std::uint64_t leastDpxBytes(std::filesystem::path const& file) {
    Header header;
    std::ifstream stream(file, std::ios::binary);
    if (!stream.read(reinterpret_cast<char*>(header.bytes.data()), kHeaderBytes)) return 0;
    std::uint64_t const magic = header.number(0, 4);
    if (magic != 0x53445058 && magic != 0x58504453) return 0;  // "SDPX", and from its other end
    header.isBigEndian = magic == 0x53445058;
    std::uint64_t const width = header.number(772, 4), height = header.number(776, 4);
    std::uint64_t const bits = header.number(803, 1), offset = header.number(808, 4);
    bool const isFilled = header.number(804, 2) != 0, isEncoded = header.number(806, 2) == 1;
    if (isEncoded) return offset;
    return offset + height * rowBytes(width * componentsOf(header.number(800, 1)), bits, isFilled);
}

}  // namespace zelk
