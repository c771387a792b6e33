// zelk-card: draws flat art (labels, signs, screens) from lines of text on standard input, so that
// examples have pictures with words on them and no picture file has to be kept.
#include <fmt/format.h>

#include <cstdio>
#include <exception>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <string>

#include "apps/drawing/canvas.h"
#include "apps/drawing/screen_picture.h"
#include "zelk/pictures/writer.h"

namespace {

using zelk::Canvas;
using zelk::CanvasColor;

constexpr char kUsage[] =
    "zelk-card: usage: zelk-card CARD.png WxH #rrggbb <LINES\n"
    "  rect X Y WIDTH HEIGHT #rrggbb    line X Y X Y WIDTH #rrggbb    dot X Y RADIUS #rrggbb\n"
    "  text X Y SIZE left|center|right #rrggbb WORDS    picture X Y ZOOM FILE\n"
    "  pixels, y down; a text stands on its Y; # begins a comment line\n";

CanvasColor parseColor(std::string const& text) {
    unsigned red = 0, green = 0, blue = 0;
    char more = 0;
    if (std::sscanf(text.c_str(), "#%2x%2x%2x%c", &red, &green, &blue, &more) != 3) {
        throw std::runtime_error(fmt::format("colour \"{}\", expected #rrggbb", text));
    }
    return {static_cast<int>(red), static_cast<int>(green), static_cast<int>(blue)};
}

zelk::TextAlign parseAlign(std::string const& word) {
    if (word == "left") return zelk::TextAlign::kLeft;
    if (word == "center") return zelk::TextAlign::kCenter;
    if (word == "right") return zelk::TextAlign::kRight;
    throw std::runtime_error(fmt::format("\"{}\", expected left, center or right", word));
}

/// The rest of a line without the blanks before it.
std::string rest(std::istringstream& words) {
    std::string text;
    std::getline(words >> std::ws, text);
    return text;
}

void drawLine(Canvas& canvas, std::string const& line) {
    std::istringstream words(line);
    std::string shape, color, align;
    double a = 0, b = 0, c = 0, d = 0, e = 0;
    if (!(words >> shape) || shape[0] == '#') return;
    if (shape == "rect" && words >> a >> b >> c >> d >> color) {
        canvas.rectangle({a, b}, c, d, parseColor(color));
    } else if (shape == "line" && words >> a >> b >> c >> d >> e >> color) {
        canvas.line({a, b}, {c, d}, {parseColor(color), e});
    } else if (shape == "dot" && words >> a >> b >> c >> color) {
        canvas.dot({a, b}, c, parseColor(color));
    } else if (shape == "text" && words >> a >> b >> c >> align >> color) {
        canvas.text({a, b}, rest(words), c, parseColor(color), parseAlign(align));
    } else if (shape == "picture" && words >> a >> b >> c) {
        canvas.picture(zelk::screenPicture(rest(words)), {a, b}, c);
    } else {
        throw std::runtime_error(fmt::format("line \"{}\" is no shape", line));
    }
}

}  // namespace

int main(int argc, char** argv) {
    int width = 0, height = 0;
    if (argc != 4 || std::sscanf(argv[2], "%dx%d", &width, &height) != 2) {
        std::fputs(kUsage, stderr);
        return 2;
    }
    try {
        Canvas canvas(width, height, parseColor(argv[3]));
        for (std::string line; std::getline(std::cin, line);) drawLine(canvas, line);
        zelk::WriteRequest opaque;
        opaque.opaque = true;
        writePicture(canvas.toWorld(), argv[1], opaque);
        return 0;
    } catch (std::exception const& error) {
        std::fprintf(stderr, "zelk-card: %s\n", error.what());
        return 1;
    }
}
