// The scene's own settings in the parameter panel, against the edits of the same names; tracking
// data and the search.
#include "tests/apps/viewer/parameter_panel_fixture.h"

namespace zelk {
namespace {

/// Texts that an edit takes, or not.
std::vector<std::string> textsOf(SceneEdit const& edit, ControlRow const& row) {
    std::vector<std::string> texts;
    if (edit.words)
        for (std::string_view const word : edit.words()) texts.emplace_back(word);
    else if (row.kind == ControlKind::kPopup)
        texts = {row.choices.at(1), row.choices.back()};
    else if (row.kind == ControlKind::kFile)
        texts = {exampleFile("rocket.jpg"), exampleFile("coffee.png") + ":red"};
    else
        texts = {"7.5"};
    return texts;
}

void act(PanelControl& control, std::string const& text) {
    auto const& choices = control.row().choices;
    auto const isIt = [&](std::string const& own) { return own == text || own == titleOf(text); };
    auto const place = std::find_if(choices.begin(), choices.end(), isIt) - choices.begin();
    if (control.row().kind == ControlKind::kPopup) return control.choose(int(place) + 1);
    if (control.row().kind == ControlKind::kCheckbox) return control.choose(text == "on");
    control.type(0, text);
}

std::string refusalOf(std::function<void()> const& act) {
    try {
        act();
    } catch (UserError const& error) {
        return error.what();
    }
    return {};
}

/// Every word of every setting does what the edit does, or is refused with its sentence.
TEST_F(ParameterPanelTest, SettingsOfTheSceneAreItsEdits) {
    std::string const before = text();
    int taken = 0, refused = 0;
    for (auto const& control : panelControls(document())) {
        auto const settings = sceneSettings();
        auto const setting = std::find_if(settings.begin(), settings.end(), [&](auto const& own) {
            return "scene " + std::string(own.edit) == control->row().name;
        });
        if (setting == settings.end()) continue;
        SceneEdit const& edit = sceneEdit(setting->edit);
        EXPECT_EQ(control->row().label, editTitle(setting->edit)) << "refusals call it so";
        for (std::string const& value : textsOf(edit, control->row())) {
            SCOPED_TRACE(control->row().name + " " + value);
            Scene wanted = document().scene();
            std::string const refusal = refusalOf([&] {
                edit.apply(wanted, std::string(setting->label), value);
                wanted.comp.motionBlur = wanted.comp.motionBlur || wanted.motionBlur;
                checkScene(wanted);
                if (setting->file && setting->file(wanted))
                    *setting->file(wanted) = pathIn(wanted, setting->file(wanted)->path());
            });
            EXPECT_EQ(refusalOf([&] { act(*control, value); }), refusal);
            ++(refusal.empty() ? taken : refused);
            if (refusal.empty()) {
                EXPECT_EQ(setting->read(document().scene()), setting->read(wanted));
                Scene const read = sceneFromText(document().scene().file, text());
                if (control->row().kind != ControlKind::kFile) {
                    EXPECT_EQ(setting->read(read), setting->read(wanted));
                }
                EXPECT_EQ(document().snapshot().scene->options.size(), 0u);
                control->reset();
                EXPECT_TRUE(control->state().isDefault);
            }
            while (document().undo()) continue;
            EXPECT_EQ(text(), before);
        }
    }
    EXPECT_GT(taken, 60);
    EXPECT_GT(refused, 5);
}

/// The composition's shutter counts at "Comp Settings" alone.
TEST_F(ParameterPanelTest, ASwitchOfMotionBlurWithoutEffectSaysSo) {
    auto const label = [&] {  // its tooltip where it is cut
        auto const& shown = part<QLabel>("scene motion-blur");
        return (shown.toolTip().isEmpty() ? shown.text() : shown.toolTip()).toStdString();
    };
    auto const setSwitch = [&](bool isOn) {
        auto& box = part<QCheckBox>("scene motion-blur");
        if (box.isChecked() != isOn) QTest::mouseClick(&box, Qt::LeftButton, {}, {6, 6});
        EXPECT_EQ(document().scene().comp.motionBlur, isOn);
    };
    for (auto const& [entry, remedy] : {std::pair{1, "Motion Blur is Off. Set that to Comp"},
                                        {2, "own Shutter Angle. Set that to Comp"},
                                        {3, ""}}) {
        document().edit(kParamMotionBlur, {double(entry)});
        setSwitch(false);
        EXPECT_EQ(label(), "Comp Motion Blur");
        EXPECT_TRUE(message().isEmpty());
        setSwitch(true);
        bool const isIdle = *remedy != 0;
        EXPECT_EQ(label(), isIdle ? "Comp Motion Blur (no effect)" : "Comp Motion Blur");
        EXPECT_EQ(message().isEmpty(), !isIdle);
        EXPECT_TRUE(message().contains(remedy)) << message().toStdString();
        EXPECT_EQ(row("scene motion-blur").toolTip().contains("Without effect"), isIdle);
        // The band in the timeline is the shutter that counts.
        auto const shutter = shownShutter(document());
        EXPECT_EQ(shutter ? shutter->angleDeg : 0, entry == 1 ? 0 : entry == 2 ? 360 : 180);
    }
}

TEST_F(ParameterPanelTest, QualityOfTheSceneIsTheEffectsOrBest) {
    std::string const before = text();
    QComboBox& quality = part<QComboBox>("scene quality");
    EXPECT_EQ(quality.currentText(), "High");
    QTest::keyClick(&part<QComboBox>("quality"), Qt::Key_Up);
    EXPECT_EQ(quality.currentText(), "Medium");
    for (int i = 0; i < 3; ++i) QTest::keyClick(&quality, Qt::Key_Down);
    EXPECT_TRUE(document().scene().isBest);
    EXPECT_EQ(value(kParamQuality)[0], 3);  // High, under best
    QTest::keyClick(&part<QComboBox>("quality"), Qt::Key_Up);
    EXPECT_FALSE(document().scene().isBest);
    EXPECT_EQ(quality.currentText(), "Medium");
    expectUndone(before);
}

TEST_F(ParameterPanelTest, TrackingDataComesByTheEffectsImport) {
    std::string const before = text();
    for (auto const& control : panelControls(document())) {
        if (control->row().name != "mocha-import") continue;
        EXPECT_TRUE(control->asksForFile(2));
        EXPECT_FALSE(control->asksForFile(1));
        EXPECT_NE(refusalOf([&] { control->chooseFile(2, exampleFile("README.md")); }), "");
        EXPECT_EQ(text(), before);
        control->chooseFile(2, exampleFile("sign-track.txt"));
        EXPECT_GT(document().parameter(kToPins + 3).track().size(), 3u);
        control->chooseFile(2, exampleFile("sign-track.txt"));  // changes nothing
        EXPECT_EQ(value(kParamMochaImport)[0], 1);
    }
    EXPECT_EQ(document().undoName(), "Import Tracking Data");
    expectUndone(before);
}

TEST_F(ParameterPanelTest, TheSearchFiltersAndFoldsAreRemembered) {
    command("Find a Parameter");
    auto& search = *window->parameters().findChild<QLineEdit*>("search");
    QTest::keyClicks(&search, "Offset");
    EXPECT_TRUE(row("to-upper-left-offset-x").isVisible());
    EXPECT_TRUE(row("to-pins-group").isVisible());
    EXPECT_FALSE(row("to-upper-left").isVisible());
    search.clear();
    EXPECT_TRUE(row("to-upper-left").isVisible());
    QTest::keyClick(&row("to-pins-group"), Qt::Key_Space);
    EXPECT_FALSE(row("to-upper-left").isVisible());
    EXPECT_FALSE(row("to-offsets-group").isVisible());
    QTest::keyClicks(&search, "Upper Left");
    EXPECT_TRUE(row("to-upper-left").isVisible());
    ViewerWindow again(ZELK_MODULE);
    again.openFile(QString::fromStdString(exampleFile("move.zelk.json")));
    EXPECT_TRUE(again.parameters().findChild<QWidget*>("to-upper-left")->isHidden());
    EXPECT_FALSE(again.parameters().findChild<QWidget*>("from-upper-left")->isHidden());
}

}  // namespace
}  // namespace zelk
