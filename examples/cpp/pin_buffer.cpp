// Pins one picture in memory into another and writes what comes out as a PPM file.
#include <cstdint>
#include <cstdio>
#include <memory>
#include <vector>

#include "zelk/render/frame_renderer.h"
#include "zelk/scene/check.h"
#include "zelk/scene/edits.h"

namespace {

/// A picture of one colour, 8 bits a channel.
zelk::PictureBuffer plain(int width, int height, std::vector<std::uint8_t> const& rgb) {
    auto const pixels = std::make_shared<std::vector<std::uint8_t>>();
    for (int i = 0; i < width * height; ++i) pixels->insert(pixels->end(), rgb.begin(), rgb.end());
    zelk::PictureBuffer picture;
    picture.size = {width, height};
    picture.channels = 3;
    picture.pixels = {pixels, pixels->data()};
    return picture;
}

}  // namespace

int main(int argc, char** argv) try {
    zelk::Scene scene;
    zelk::setLayer(scene, plain(64, 48, {255, 128, 0}));
    zelk::setPlate(scene, plain(160, 90, {0, 51, 102}));
    zelk::Corners const corners = {{{40, 10}, {130, 20}, {30, 80}, {140, 70}}};
    zelk::setPins(scene, zelk::TrackedPins::kTo, corners, "to");
    zelk::sceneEdit("quality").apply(scene, "quality", "high");
    zelk::checkScene(scene);

    zelk::FrameRenderer renderer(scene);
    zelk::PictureBuffer const picture = renderer.picture(0);  // red, green, blue, alpha in float
    auto const* pixel = static_cast<float const*>(picture.pixels.get());
    std::FILE* const file = std::fopen(argc > 1 ? argv[1] : "pinned.ppm", "wb");
    if (!file) return 4;
    std::fprintf(file, "P6 %d %d 255\n", picture.size.width, picture.size.height);
    for (int i = 0; i < picture.size.width * picture.size.height; ++i, pixel += 4)
        for (int c = 0; c < 3; ++c) std::fputc(static_cast<int>(pixel[c] * 255 + 0.5f), file);
    return std::fclose(file) == 0 ? 0 : 4;
} catch (std::exception const& error) {
    std::fprintf(stderr, "pin_buffer: %s\n", error.what());
    return 1;
}
