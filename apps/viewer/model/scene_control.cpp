// See scene_control.h.
#include "apps/viewer/model/scene_control.h"

#include <algorithm>
#include <cmath>

#include "apps/viewer/model/field_text.h"
#include "apps/viewer/model/scene_inputs.h"
#include "zelk/scene/check.h"
#include "zelk/scene/color_names.h"
#include "zelk/scene/edit_titles.h"
#include "zelk/scene/parameter_names.h"
#include "zelk/scene/words.h"
#include "zelk/text/numbers.h"

namespace zelk {
namespace {

/// What stands for a number in an edit's value, such as "ANGLE[,PHASE]".
struct NumberWord {
    std::string_view word, unit;
    ValueRange range;
};
constexpr NumberWord kNumberWords[] = {
    {"PX", "px", {0, kMostOutlinePx}},
    {"ANGLE", "degrees", {0, kMostShutterAngleDeg}},
    {"PHASE", "degrees", {-kMostShutterPhaseDeg, kMostShutterPhaseDeg}},
};

using Texts = std::vector<std::string>;

std::vector<std::string> splitAtCommas(std::string_view text) {
    std::vector<std::string> parts(1);
    for (char const c : text) {
        if (c == ',')
            parts.emplace_back();
        else if (c != '[' && c != ']')
            parts.back() += c;
    }
    return parts;
}

NumberWord const* numberWordOf(SceneEdit const& edit, int field) {
    auto const words = splitAtCommas(edit.value);
    for (NumberWord const& known : kNumberWords)
        if (words.at(static_cast<std::size_t>(field)) == known.word) return &known;
    return nullptr;
}

std::vector<std::string> wordsOfEdit(SceneEdit const& edit) {
    if (!edit.words) return {};
    auto const words = edit.words();
    return {words.begin(), words.end()};
}

ControlKind kindOf(SceneEdit const& edit) {
    auto const words = wordsOfEdit(edit);
    if (words.size() == 2 && words[0] == "on") return ControlKind::kCheckbox;
    if (!words.empty() || edit.value == std::string_view("SPACE")) return ControlKind::kPopup;
    if (std::string_view(edit.value).starts_with("FILE")) return ControlKind::kFile;
    return numberWordOf(edit, 0) ? ControlKind::kNumber : ControlKind::kText;
}

/// What a popup's entries set, nothing for the default where that is none of the words.
std::vector<std::string> textsOf(SceneEdit const& edit, std::vector<std::string> const& spaces) {
    std::vector<std::string> texts = edit.words ? wordsOfEdit(edit) : spaces;
    bool const isWord =
        std::find(texts.begin(), texts.end(), defaultInHelp(edit.help)) != texts.end();
    if (!isWord) texts.insert(texts.begin(), "");
    return texts;
}

/// What they are called: words by their titles, colour spaces by their names.
std::vector<std::string> choicesOf(SceneEdit const& edit, std::vector<std::string> choices) {
    std::string const standard = defaultInHelp(edit.help);
    std::string const other = standard.empty() ? "default" : plainHelp(standard, wordsOfEdit(edit));
    for (std::string& choice : choices)
        if (choice.empty())
            choice = "(" + other + ")";
        else if (edit.words)
            choice = titleOf(choice);
    return choices;
}

ControlRow rowOf(SceneSetting const& setting, SceneEdit const& edit, int level,
                 std::vector<std::string> const& spaces) {
    ControlKind const kind = kindOf(edit);
    bool const isNumber = kind == ControlKind::kNumber;
    bool const hasField = isNumber || kind == ControlKind::kFile || kind == ControlKind::kText;
    ControlRow row{
        .name = "scene " + std::string(setting.edit),
        .label = std::string(setting.label),
        .kind = kind,
        .level = level,
        .fields = hasField ? 1 : 0,
        .help = plainHelp(edit.help, kind == ControlKind::kPopup ? wordsOfEdit(edit) : Texts())};
    if (isNumber) {
        row.fields = static_cast<int>(splitAtCommas(edit.value).size());
        row.unit = numberWordOf(edit, 0)->unit;
        row.decimals = 1;
    }
    if (kind == ControlKind::kPopup) row.choices = choicesOf(edit, textsOf(edit, spaces));
    return row;
}

/// A switch that the scene's file has no place for is the composition's own there.
void settle(Scene& scene) {
    scene.comp.motionBlur = scene.comp.motionBlur || scene.motionBlur;
    scene.motionBlur.reset();
    scene.options.clear();
}

/// What an edit set of the effect's own parameters, taken out of the scene.
std::vector<SceneParameter> takeParameters(Scene& scene, std::string const& option) {
    std::vector<SceneParameter> own;
    std::erase_if(scene.parameters, [&](SceneParameter const& entry) {
        if (entry.option != option) return false;
        own.push_back(entry);
        return true;
    });
    return own;
}

}  // namespace

SceneControl::SceneControl(Document& document, SceneSetting const& setting, int level,
                           std::vector<std::string> const& spaces)
    : PanelControl(document, rowOf(setting, sceneEdit(setting.edit), level, spaces)),
      m_setting(setting),
      m_edit(sceneEdit(setting.edit)) {
    if (row().kind == ControlKind::kPopup) m_texts = textsOf(m_edit, spaces);
}

std::string SceneControl::read() const {
    std::string const text = m_setting.read(document().scene());
    if (!text.empty() || !m_setting.popup) return text;
    auto const entry = static_cast<std::size_t>(document().valueOf(m_setting.popup)[0]);
    return wordsOfEdit(m_edit).at(entry - 1);
}

std::vector<std::string> SceneControl::parts() const {
    return row().kind == ControlKind::kNumber ? splitAtCommas(read()) : std::vector{read()};
}

ControlState SceneControl::state() const {
    ControlState state;
    state.fields = parts();
    if (row().kind == ControlKind::kNumber)
        for (std::string& part : state.fields)
            part = shownNumber(parseNumber(part).value_or(0), row().decimals);
    if (row().kind == ControlKind::kCheckbox) state.choice = read() == "on";
    if (row().kind == ControlKind::kPopup) {
        std::string const text = read().empty() ? defaultInHelp(m_edit.help) : read();
        auto const found = std::find(m_texts.begin(), m_texts.end(), text);
        state.choice = found != m_texts.end() ? static_cast<int>(found - m_texts.begin()) + 1
                       : read().empty()       ? 1
                                              : 0;
    }
    state.isDefault = m_setting.read(document().scene()) == m_setting.read(Scene{});
    if (m_setting.popup)
        state.isDefault = state.isDefault && document().valueOf(m_setting.popup) ==
                                                 document().defaultOf(m_setting.popup);
    if (m_setting.whyNot) state.whyGreyed = m_setting.whyNot(document().scene());
    if (state.whyGreyed.empty() && m_edit.value == std::string_view("SPACE") &&
        !document().colors().fault.empty())
        state.whyGreyed = "The OpenColorIO configuration can't be read.";
    if (m_setting.note) state.note = m_setting.note(document());
    // What is set can always be taken back.
    state.isEnabled = state.whyGreyed.empty() || !state.isDefault;
    return state;
}

std::string SceneControl::typedText(int field) const {
    return parts().at(static_cast<std::size_t>(field));
}

std::filesystem::path SceneControl::file() const {
    Scene scene = document().scene();
    ScenePath const* const file = m_setting.file ? m_setting.file(scene) : nullptr;
    return file ? fullPath(*file) : std::filesystem::path();
}

void SceneControl::set(std::string const& text) {
    Scene wanted = document().scene();
    if (text.empty())
        m_setting.reset(wanted);
    else
        m_edit.apply(wanted, row().label, text);
    if (m_setting.edit == "ocio" && !text.empty()) colorConfigOf(wanted);  // can be read
    checkSceneToEdit(wanted);  // names files as they were given
    ScenePath* const file = m_setting.file ? m_setting.file(wanted) : nullptr;
    if (file) *file = pathIn(wanted, file->path());
    std::vector<SceneParameter> const own = takeParameters(wanted, row().label);
    settle(wanted);
    std::string const name = (text.empty() ? "Reset " : "Set ") + row().label;
    document().runAct(name, [&] {
        for (SceneParameter const& entry : own)
            document().edit(requiredParameter(name, entry.name), {std::get<double>(*entry.value)});
        if (text.empty() && m_setting.popup)
            document().edit(m_setting.popup, document().defaultOf(m_setting.popup));
        if (m_setting.read(wanted) != m_setting.read(document().scene()))
            document().change(name, [&](Scene& scene) {
                wanted.parameters = scene.parameters;
                wanted.tracks = scene.tracks;
                scene = wanted;
            });
    });
}

void SceneControl::type(int field, std::string const& text) {
    std::string const plain(trimmed(text));
    if (row().kind == ControlKind::kFile && !plain.empty())
        return set(typedPath(document().scene(), plain).string());
    if (row().kind != ControlKind::kNumber) return set(plain);
    std::string joined;
    std::vector<std::string> all = parts();
    all.at(static_cast<std::size_t>(field)) = plainText(field, text);
    for (std::string const& part : all) joined += (joined.empty() ? "" : ",") + part;
    set(joined);
}

void SceneControl::step(int field, double steps) {
    NumberWord const* const word = numberWordOf(m_edit, field);
    if (!word) return;
    double const now = parseNumber(typedText(field)).value_or(0);
    double const next =
        std::clamp(stepped(now, row().step, steps), word->range.min, word->range.max);
    type(field, typedNumber(next));
}

void SceneControl::choose(int position) {
    if (row().kind == ControlKind::kCheckbox) return set(position ? "on" : "off");
    set(m_texts.at(static_cast<std::size_t>(position - 1)));
}

void SceneControl::reset() { set(""); }

}  // namespace zelk
