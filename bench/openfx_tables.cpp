// What an OpenFX host has of the plug-in, for people: its parameters as a host lists them, the
// sweep of faults as a table, and the overlay over a frame as a picture.
//
//   zelk_ofx_table BINARY parameters | faults TRACK-FILE | overlay PICTURE.png
#include <fmt/format.h>

#include <cmath>
#include <cstdio>
#include <exception>

#include "apps/drawing/canvas.h"
#include "tests/openfx/ofx_picture.h"
#include "tests/openfx/ofx_sweep.h"
#include "zelk/pictures/writer.h"

namespace zelk_ofx {
namespace {

std::string numbers(OfxParamStruct const& param, char const* property) {
    return fmt::format("{:.6g}", fmt::join(param.props.numbers(property), ", "));
}

void listParameters(std::string const& binary) {
    Host host(hostChoice("tree_with_draw_suite"), binary);
    host.prepare(kOfxImageEffectContextGeneral);
    OfxImageEffectStruct const& effect = host.descriptor(kOfxImageEffectContextGeneral);
    for (auto const& clip : effect.clips)
        fmt::print("clip {}{}\n", clip->name,
                   clip->props.get<int>("OfxImageClipPropOptional") ? ", optional" : "");
    for (auto const& param : effect.params.list) {
        auto const text = [&](char const* name) { return param->props.get<std::string>(name); };
        int depth = 0;
        for (auto parent = text("OfxParamPropParent"); !parent.empty(); ++depth)
            parent = effect.params.find(parent)->props.get<std::string>("OfxParamPropParent");
        std::string facts;
        if (param->kind == 'S') facts = "\"" + text("OfxParamPropDefault") + "\"";
        if (param->kind != 'S') facts = numbers(*param, "OfxParamPropDefault");
        if (param->props.has("OfxParamPropMin") && param->dimensions == 1)
            facts += fmt::format(", {} to {} (slider {} to {})", numbers(*param, "OfxParamPropMin"),
                                 numbers(*param, "OfxParamPropMax"),
                                 numbers(*param, "OfxParamPropDisplayMin"),
                                 numbers(*param, "OfxParamPropDisplayMax"));
        if (param->type == kOfxParamTypeChoice)
            facts += fmt::format(
                " of {}",
                fmt::join(param->props.all<std::string>("OfxParamPropChoiceOption"), ", "));
        fmt::print("{:{}}{:<{}} {:<26} {:<10} {}\n", "", 2 * depth, text("OfxPropLabel"),
                   30 - 2 * depth, param->name, param->type.substr(12), facts);
        if (!text("OfxParamPropHint").empty())
            fmt::print("{:{}}{}\n", "", 2 * depth + 4, text("OfxParamPropHint"));
    }
}

int listFaults(SweepPlace const& place) {
    long bad = 0;
    fmt::print("{:<42}{:>7}{:>7}{:>9}{:>7}{:>8}{:>8}\n", "", "calls", "runs", "refused", "leaks",
               "wrong", "broken");
    auto rows = sweepSuites(place);
    for (SweepRow const& row : sweepCalls(place)) rows.push_back(row);
    for (SweepRow const& row : rows) {
        fmt::print("{:<42}{:>7}{:>7}{:>9}{:>7}{:>8}{:>8}  {}\n", row.what, row.calls, row.runs,
                   row.refused, row.leaks, row.wrongFrames, row.broken, row.first);
        bad += row.leaks + row.wrongFrames + row.broken;
    }
    return bad ? 1 : 0;
}

// The frame with all that the draw suite was told, at twice its size.
void drawOverlay(std::string const& binary, std::string const& target) {
    constexpr int kWidth = 360, kHeight = 240, kZoom = 2;
    constexpr OfxRectI kFrame = {0, 0, kWidth, kHeight};
    PictureBuffer source(kFrame), frame(kFrame);
    source.fill([](int x, int y, int c) {
        return c == 3 ? 1.0 : (x / 30 + y / 30) % 2 ? 0.3 : c * 0.2 + 0.4;
    });
    Host host(hostChoice("tree_with_draw_suite"), binary);
    host.prepare();
    {
        auto const instance =
            host.create(kOfxImageEffectContextFilter,
                        {{"Source", still(source.view(), kOfxImagePreMultiplied)}},
                        {.size = {kWidth, kHeight}});
        setPins(*instance, {60, 210, 320, 180, 40, 40, 300, 60});
        instance->set("overlay-mode", {{2}, ""});
        instance->render({.output = frame.view(), .window = kFrame});
        std::vector<DrawOp> ops;
        Overlay(*instance, 1.0 / kZoom).draw(ops);
        zelk::World world({.width = kWidth, .height = kHeight});
        for (int y = 0; y < kHeight; ++y)
            for (int x = 0; x < kWidth; ++x) {
                unsigned char const* const from = frame.at(x, kHeight - 1 - y);
                unsigned char* const to = world.rowAs<unsigned char>(y) + 4 * x;
                to[0] = 255, to[1] = from[0], to[2] = from[1], to[3] = from[2];
            }
        zelk::Canvas canvas(kWidth * kZoom, kHeight * kZoom, {30, 30, 30});
        canvas.picture(world, {0, 0}, kZoom);
        for (DrawOp const& op : ops) {
            auto const byte = [](float v) { return static_cast<int>(std::lround(v * 255)); };
            zelk::CanvasColor const color = {byte(op.colour.r), byte(op.colour.g),
                                             byte(op.colour.b)};
            std::vector<zelk::CanvasPoint> points;
            for (OfxPointD const& p : op.points)
                points.push_back({p.x * kZoom, (kHeight - p.y) * kZoom});
            if (op.primitive < 0) canvas.text(points[0], op.text, 12, color);
            zelk::Stroke const stroke = {color, op.width > 0 ? op.width : 1.0};
            if (op.primitive == kOfxDrawPrimitiveLines)
                for (std::size_t i = 0; i + 1 < points.size(); i += 2)
                    canvas.line(points[i], points[i + 1], stroke);
            else
                canvas.polyline(points, stroke, op.primitive == kOfxDrawPrimitiveLineLoop);
        }
        zelk::WriteRequest request;
        request.opaque = true;
        zelk::writePicture(canvas.toWorld(), target, request);
        fmt::print("{}: {} calls of the draw suite\n", target, ops.size());
    }
}

}  // namespace
}  // namespace zelk_ofx

int main(int count, char** words) {
    std::string const what = count > 2 ? words[2] : "", more = count > 3 ? words[3] : "";
    try {
        if (what == "parameters") return zelk_ofx::listParameters(words[1]), 0;
        if (what == "faults") return zelk_ofx::listFaults({words[1], more});
        if (what == "overlay") return zelk_ofx::drawOverlay(words[1], more), 0;
    } catch (std::exception const& e) {
        std::fprintf(stderr, "zelk_ofx_table: %s\n", e.what());
        return 1;
    }
    std::fprintf(stderr, "usage: zelk_ofx_table BINARY parameters | faults TRACK | overlay PNG\n");
    return 2;
}
