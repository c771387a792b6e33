// Pictures that lie on their side: all eight orientations, by where the stored rows and columns
// begin in the upright picture, from files of each kind and on both roads.
#include <zlib.h>

#include "tests/support/zelk_process.h"

namespace zelk_test {
namespace {

/// The sides of the upright picture where row 0 and column 0 of the stored one lie.
constexpr std::pair<char, char> kSides[] = {{'t', 'l'}, {'t', 'r'}, {'b', 'r'}, {'b', 'l'},
                                            {'l', 't'}, {'r', 't'}, {'r', 'b'}, {'l', 'b'}};

template <class T>
Picture<T> uprightOf(Picture<T> const& stored, int orientation) {
    auto const [row, column] = kSides[orientation - 1];
    bool const isTurned = row == 'l' || row == 'r';
    Picture<T> out = stored;
    if (isTurned) std::swap(out.width, out.height);
    for (int y = 0; y < stored.height; ++y)
        for (int x = 0; x < stored.width; ++x) {
            auto const place = [&](char side, int i) {
                bool const isFar = side == 'r' || side == 'b';
                int const length = side == 'l' || side == 'r' ? out.width : out.height;
                return isFar ? length - 1 - i : i;
            };
            int const outX = isTurned ? place(row, y) : place(column, x);
            int const outY = isTurned ? place(column, x) : place(row, y);
            for (int c = 0; c < stored.channels; ++c)
                out.values[static_cast<std::size_t>((outY * out.width + outX) * stored.channels +
                                                    c)] = stored.at(x, y, c);
        }
    return out;
}

class Orientations : public ZelkTest, public testing::WithParamInterface<char const*> {
protected:
    void write(int orientation) const {
        auto const picture = noise<float>(37, 21, 3, 5);
        OIIO::ImageSpec spec(picture.width, picture.height, 3, OIIO::TypeUInt8);
        // The library's writer of DPX takes the format's own code plus 1.
        constexpr int kDpx[] = {1, 2, 4, 3, 5, 6, 8, 7};
        bool const isDpx = std::string(GetParam()) == "in.dpx";
        spec.attribute("Orientation", isDpx ? kDpx[orientation - 1] : orientation);
        spec.attribute("PixelAspectRatio", 2.0f);
        writeValues(at(GetParam()), spec, picture.values);
        if (std::string(GetParam()) == "in.png") addExif(orientation);
    }

private:
    /// An eXIf chunk behind the header: the library's writer makes none.
    void addExif(int orientation) const {
        std::string chunk("eXIfMM\0*\0\0\0\x08\0\x01\x01\x12\0\x03\0\0\0\x01\0\0\0\0\0\0\0\0", 30);
        chunk[23] = static_cast<char>(orientation);
        std::string bytes = bytesOf(GetParam()), whole("\0\0\0\x1a", 4);
        auto const sum =
            crc32(0, reinterpret_cast<Bytef const*>(chunk.data()), static_cast<uInt>(chunk.size()));
        whole += chunk;
        for (int shift = 24; shift >= 0; shift -= 8) whole += static_cast<char>(sum >> shift);
        put(GetParam(), bytes.insert(33, whole));
    }
};

TEST_P(Orientations, AreAppliedUnlessTheyAreToStay) {
    std::string const in = GetParam();
    int const last = in == "in.dpx" ? 4 : 8;
    for (int orientation = 1; orientation <= last; ++orientation)
        for (Words const& road : {Words(), {"--road", "memory", "--depth", "8"}}) {
            if (!road.empty() && in != "in.tif") continue;
            SCOPED_TRACE(testing::Message() << in << orientation << road.size());
            write(orientation);
            copy(in, "raw.png", joined(road, {"--orientation", "raw"}));
            copy(in, "out.png", road);
            auto const raw = readPicture<std::uint8_t>(at("raw.png"));
            ASSERT_EQ(std::pair(raw.width, raw.height), std::pair(37, 21));
            ASSERT_EQ(readPicture<std::uint8_t>(at("out.png")), uprightOf(raw, orientation));
            std::string const same = "out" + in.substr(2);
            copy(in, same, joined(road, {"--orientation", "raw"}));
            EXPECT_EQ(specOf(at(same)).get_int_attribute("Orientation", orientation), orientation);
            copy(in, same, road);
            OIIO::ImageSpec const out = specOf(at(same));
            EXPECT_EQ(out.get_int_attribute("Orientation", 1), 1);
            if (in == "in.tif") {
                EXPECT_EQ(out.get_float_attribute("PixelAspectRatio"), orientation > 4 ? 0.5 : 2);
            }
        }
}

INSTANTIATE_TEST_SUITE_P(Formats, Orientations,
                         testing::Values("in.tif", "in.jpg", "in.png", "in.dpx"));

}  // namespace
}  // namespace zelk_test
