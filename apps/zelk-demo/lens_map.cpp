// zelk-lens-map: an ST map of a made-up lens, to show pictures through.
//
// A pixel at r half diagonals from the centre looks at r (1 + K1 r^2): above 0 the frame is drawn
// together as by a wide lens, and its corners look outside.
#include <OpenImageIO/imageio.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <vector>

int main(int argc, char** argv) {
    int width = 0, height = 0;
    if (argc != 4 || std::sscanf(argv[2], "%dx%d", &width, &height) != 2 || width < 1 ||
        height < 1) {
        std::fprintf(stderr, "zelk-lens-map: usage: zelk-lens-map MAP.exr WxH K1\n");
        return 2;
    }
    double const k1 = std::atof(argv[3]), half = std::hypot(width, height) / 2;
    std::vector<float> values;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            double const dx = x + 0.5 - width / 2.0, dy = y + 0.5 - height / 2.0;
            double const scale = 1 + k1 * (dx * dx + dy * dy) / (half * half);
            values.push_back(static_cast<float>(0.5 + dx * scale / width));
            values.push_back(static_cast<float>(0.5 - dy * scale / height));
            values.push_back(0);
        }
    OIIO::ImageSpec const spec(width, height, 3, OIIO::TypeFloat);
    auto const output = OIIO::ImageOutput::create(argv[1]);
    if (output && output->open(argv[1], spec) &&
        output->write_image(OIIO::TypeFloat, values.data()) && output->close())
        return 0;
    std::fprintf(stderr, "zelk-lens-map: %s: cannot be written\n", argv[1]);
    return 1;
}
