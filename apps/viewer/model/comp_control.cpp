// See comp_control.h.
#include "apps/viewer/model/comp_control.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "apps/viewer/model/field_text.h"
#include "zelk/scene/clock.h"
#include "zelk/scene/new_comp.h"
#include "zelk/scene/words.h"
#include "zelk/text/numbers.h"

namespace zelk {

using Parts = std::vector<std::string>;

struct CompField {
    char const *name, *label, *unit, *help;
    ControlKind kind;
    int fields;
    Parts (*read)(Document const& document);
    void (*write)(Scene& scene, std::string const& thing, Parts const& parts);
    void (*take)(Scene& scene, Comp const& usual);  ///< the default
    double (*most)(Scene const& scene) = nullptr;
};

namespace {

constexpr int kMostFrame = 1'000'000'000;

void setSize(Scene& scene, PixelSize size) {
    scene.comp.width = size.width;
    scene.comp.height = size.height;
}

CompField const kFields[] = {
    {"comp size", "Size", "px", "Width and height of the frame, which To Pins lie in",
     ControlKind::kNumber, 2,
     [](Document const& document) {
         PixelSize const size = document.frameSize();
         return Parts{std::to_string(size.width), std::to_string(size.height)};
     },
     [](Scene& scene, std::string const& thing, Parts const& parts) {
         PixelSize const size = {wholeInRange(thing, parts[0], 1, kLargestPx),
                                 wholeInRange(thing, parts[1], 1, kLargestPx)};
         setSize(scene, size);
         scene.size = size;
     },
     [](Scene& scene, Comp const& usual) {
         setSize(scene, {usual.width, usual.height});
         scene.size.reset();
     },
     [](Scene const&) { return double(kLargestPx); }},
    {"comp rate", "Rate", "fps",
     "Frames a second, such as 25, 23.976 or 24000/1001; keys keep their frames",
     ControlKind::kText, 1,
     [](Document const& document) { return Parts{rateText(document.scene().comp.timeBase)}; },
     [](Scene& scene, std::string const& thing, Parts const& parts) {
         std::string rate = parts[0];
         std::replace(rate.begin(), rate.end(), ',', '.');  // 23,976
         scene.comp.timeBase = parseRate(thing, rate);
     },
     [](Scene& scene, Comp const& usual) { scene.comp.timeBase = usual.timeBase; }},
    {"comp start", "First Frame", "", "Number of the first frame; keys keep their frames",
     ControlKind::kNumber, 1,
     [](Document const& document) { return Parts{std::to_string(document.firstFrame())}; },
     [](Scene& scene, std::string const& thing, Parts const& parts) {
         scene.comp.startFrame = wholeInRange(thing, parts[0], -kMostFrame, kMostFrame);
         scene.ownStart = true;
     },
     [](Scene& scene, Comp const& usual) { scene.comp.startFrame = usual.startFrame; },
     [](Scene const&) { return double(kMostFrame); }},
    {"comp duration", "Duration", "frames", "How many frames it has", ControlKind::kNumber, 1,
     [](Document const& document) {
         return Parts{std::to_string(document.scene().comp.durationFrames)};
     },
     [](Scene& scene, std::string const& thing, Parts const& parts) {
         scene.comp.durationFrames =
             wholeInRange(thing, parts[0], 1, mostFramesOf(scene.comp.timeBase));
         scene.ownDuration = true;
     },
     [](Scene& scene, Comp const& usual) { scene.comp.durationFrames = usual.durationFrames; },
     [](Scene const& scene) { return double(mostFramesOf(scene.comp.timeBase)); }},
};

ControlRow rowOf(CompField const& field, int level) {
    ControlRow row{.name = std::string("scene ") + field.name,
                   .label = field.label,
                   .kind = field.kind,
                   .level = level,
                   .fields = field.fields,
                   .unit = field.unit,
                   .help = field.help};
    row.isWhole = field.kind == ControlKind::kNumber;
    return row;
}

bool isSize(CompField const& field) { return field.fields == 2; }

}  // namespace

CompControl::CompControl(Document& document, CompField const& field, int level)
    : PanelControl(document, rowOf(field, level)), m_field(field) {}

/// Whether it is the inputs' own is known by opening them, which nobody does at each change.
ControlState CompControl::state() const {
    ControlState state;
    state.fields = m_field.read(document());
    bool const hasPlate = document().scene().plate.has_value();
    if (isSize(m_field) && hasPlate) state.whyGreyed = "The frame has the plate's size.";
    if (isSize(m_field)) state.isDefault = !document().scene().size || hasPlate;
    state.isEnabled = state.whyGreyed.empty();
    return state;
}

void CompControl::set(std::string const& name, Parts const& parts) {
    if (parts == m_field.read(document())) return;
    document().runAct(name, [&] {
        document().change(name, [&](Scene& scene) { m_field.write(scene, row().label, parts); });
    });
}

void CompControl::type(int field, std::string const& text) {
    Parts parts = m_field.read(document());
    bool const isNumber = row().kind == ControlKind::kNumber;
    parts.at(static_cast<std::size_t>(field)) =
        isNumber ? plainText(field, text) : withoutUnit(trimmed(text), row().unit);
    set("Set " + row().label, parts);
}

void CompControl::step(int field, double steps) {
    if (!m_field.most) return;
    double const now = parseNumber(typedText(field)).value_or(0);
    double const least = m_field.name == std::string_view("comp start") ? -kMostFrame : 1;
    double const next = std::clamp(now + steps, least, m_field.most(document().scene()));
    type(field, fmt::format("{}", std::lround(next)));
}

void CompControl::reset() {
    Scene usual = document().scene();
    usual.hasComp = false;
    usual.frames.reset();
    settleNewComp(usual);
    Scene wanted = document().scene();
    m_field.take(wanted, usual.comp);
    Comp const &now = document().scene().comp, &then = wanted.comp;
    bool const isSame = wanted.size == document().scene().size && now.width == then.width &&
                        now.height == then.height && now.startFrame == then.startFrame &&
                        now.durationFrames == then.durationFrames &&
                        rateText(now.timeBase) == rateText(then.timeBase);
    if (!isSame) document().change("Reset " + row().label, [&](Scene& scene) { scene = wanted; });
}

std::vector<std::unique_ptr<PanelControl>> compControls(Document& document, int level) {
    std::vector<std::unique_ptr<PanelControl>> controls;
    for (CompField const& field : kFields)
        controls.push_back(std::make_unique<CompControl>(document, field, level));
    return controls;
}

}  // namespace zelk
