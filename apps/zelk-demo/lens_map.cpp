// zelk-lens-map: writes the map of lens_map.h as OpenEXR.
#include "apps/zelk-demo/lens_map.h"

#include <OpenImageIO/imageio.h>

#include <cstdio>
#include <cstdlib>

int main(int argc, char** argv) {
    int width = 0, height = 0;
    if (argc != 4 || std::sscanf(argv[2], "%dx%d", &width, &height) != 2 || width < 1 ||
        height < 1) {
        std::fprintf(stderr, "zelk-lens-map: usage: zelk-lens-map MAP.exr WxH K1\n");
        return 2;
    }
    auto const values = zelk::lensMap(width, height, std::atof(argv[3]));
    auto const output = OIIO::ImageOutput::create(argv[1]);
    if (output && output->open(argv[1], OIIO::ImageSpec(width, height, 3, OIIO::TypeFloat)) &&
        output->write_image(OIIO::TypeFloat, values.data()) && output->close())
        return 0;
    std::fprintf(stderr, "zelk-lens-map: %s: cannot be written\n", argv[1]);
    return 1;
}
