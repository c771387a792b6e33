// The parameter panel by mouse and keyboard, against the scene's text and against what the same
// text does as an option of the command line.
#include "tests/apps/viewer/parameter_panel_fixture.h"

namespace zelk {
namespace {

/// A value within the range that is neither the default nor round.
std::string otherText(Parameter const& parameter) {
    if (parameter.type() == PF_Param_COLOR) return "#10a3f0";
    if (parameter.type() == PF_Param_SLIDER) return "17";
    ValueRange const range = validRange(parameter);
    if (range.min == range.max) return "33.25";
    return fmt::format("{:.3f}", range.min + (range.max - range.min) * 0.37);
}

TEST_F(ParameterPanelTest, EveryParameterIsSetByTypingAndByKeys) {
    openWithoutPlate();
    for (auto [index, entry] : {std::pair{int(kParamOverlayMode), 3},
                                {int(kParamQuality), 4},
                                {int(kParamMotionBlur), 2},
                                {int(kParamTransferMode), 2}})
        document().edit(index, {double(entry)});  // so that nothing is greyed
    std::string const before = text();
    std::string_view const first = document().undoName();
    int fields = 0, choices = 0;
    for (int index = 1; index < kParameterCount; ++index) {
        Parameter const parameter = document().parameter(index);
        bool const isHidden = parameter.registered.ui_flags & PF_PUI_NO_ECW_UI;
        if (!parameter.hasValue() || isHidden || index == kParamMochaImport) continue;
        std::string const name(nameOfParameter(index));
        SCOPED_TRACE(name);
        ASSERT_TRUE(document().isEnabled(index));
        KeyValue const old = value(index);
        if (parameter.type() == PF_Param_POPUP || parameter.type() == PF_Param_CHECKBOX) {
            bool const isPopup = parameter.type() == PF_Param_POPUP;
            QWidget& widget =
                isPopup ? static_cast<QWidget&>(part<QComboBox>(name)) : part<QCheckBox>(name);
            bool const isLast = old[0] == double(parameter.choices.size());
            QTest::keyClick(&widget, !isPopup ? Qt::Key_Space : isLast ? Qt::Key_Up : Qt::Key_Down);
            EXPECT_NE(value(index), old);
            EXPECT_EQ(value(index), writtenValue(index));
            ++choices;
            ASSERT_TRUE(document().undo());
            continue;
        }
        std::string const typed = otherText(parameter);
        bool const isPoint = parameter.type() == PF_Param_POINT;
        bool const isAngle = parameter.type() == PF_Param_ANGLE;
        type(name, typed, isAngle);
        EXPECT_EQ(message(), "");
        KeyValue wanted = valueByOption(index, isPoint ? typed + ",0" : typed);
        if (isPoint) wanted[1] = old[1];
        EXPECT_EQ(value(index), wanted);
        EXPECT_EQ(writtenValue(index), wanted);
        for (int place = 0; place < (isPoint ? 2 : 1) && parameter.type() != PF_Param_COLOR;
             ++place) {
            auto const number = [&] { return value(index)[std::size_t(place)]; };
            double const start = number();
            QLineEdit& own = field(name, isAngle ? 1 : place);
            QTest::keyClick(&own, Qt::Key_Up);
            double const step = number() - start;
            EXPECT_GT(step, 0.009);
            wheel(own, -2);
            EXPECT_NEAR(number(), start - step, 1e-3);
            EXPECT_EQ(value(index), writtenValue(index));
            EXPECT_TRUE(document().undo() && document().undo());
            EXPECT_EQ(number(), start);
            ++fields;
        }
        ASSERT_TRUE(document().undo());
        ASSERT_EQ(document().undoName(), first);
    }
    EXPECT_EQ(text(), before);
    EXPECT_GT(fields, 40);
    EXPECT_GT(choices, 6);
}

TEST_F(ParameterPanelTest, UnitsAreTakenAndWrongTextsLeaveTheValue) {
    struct Case {
        char const *name, *text;
        double value;
        int field = 0;
    };
    document().edit(kParamTranslateX, {1});
    for (auto const& [name, said] : {std::pair("corner-pin-opacity", "\n0 to 100 %"),
                                     {"to-upper-left", "\npx of frame"},
                                     {"shutter-angle", "\n0 to 720 degrees"}}) {
        QHelpEvent hover(QEvent::ToolTip, {5, 5}, field(name).mapToGlobal(QPoint(5, 5)));
        QApplication::sendEvent(&field(name), &hover);
        EXPECT_TRUE(QToolTip::text().contains(said)) << QToolTip::text().toStdString();
    }
    for (Case const& taken :
         std::initializer_list<Case>{{"corner-pin-opacity", "55 %", 55},
                                     {"corner-pin-opacity", " 54percent", 54},
                                     {"to-upper-left", "12.5 px", 12.5},
                                     {"to-upper-left", "7,5", 7.5},
                                     {"to-upper-left", "2,5 1,5", 2.5},
                                     {"scale-x", "1.5x", 1.5},
                                     {"scale-x", "0,75", 0.75},
                                     {"scale-x", "2*0.625", 1.25},
                                     {"scale-x", "*=2", 2.5},
                                     {"corner-pin-opacity", "(2+3)*-2/-4 %", 2.5},
                                     {"corner-pin-opacity", "54.5-0,5", 54},
                                     {"to-upper-left", "1920/2; 1,5", 960},
                                     {"to-upper-left", "100, 50", 100},
                                     {"to-upper-left", "-=93", 7},
                                     {"rotate", "1x15", 375, 1},
                                     {"rotate", "20°", 380, 1},
                                     {"rotate", "-1", -340, 0}}) {
        type(taken.name, taken.text, taken.field);
        EXPECT_EQ(message(), "");
        EXPECT_EQ(value(*parameterIndex(taken.name))[0], taken.value) << taken.text;
    }
    std::string const before = text();
    for (Case const& wrong : std::initializer_list<Case>{{"corner-pin-opacity", "100.5", 54},
                                                         {"corner-pin-opacity", "half", 54},
                                                         {"corner-pin-opacity", "50 px", 54},
                                                         {"to-upper-left", "1,2,3", 7},
                                                         {"to-upper-left", "99999", 7},
                                                         {"to-wireframe-color", "#12345", 255},
                                                         {"rotate", "1x2x3", -340, 1},
                                                         {"translate-x", "nan", 1},
                                                         {"translate-x", "1,920", 1},
                                                         {"translate-x", "1/0", 1},
                                                         {"translate-x", "2*(1", 1},
                                                         {"translate-x", "1 2", 1},
                                                         {"scene comp duration", "2,5", 48},
                                                         {"scene feather", "-1", 0},
                                                         {"grow-bounds", "5", 0},
                                                         {"scene shutter", "721", 0},
                                                         {"scene ocio", "none.ocio", 0}}) {
        QString const shown = field(wrong.name, wrong.field).text();
        type(wrong.name, wrong.text, wrong.field);
        EXPECT_NE(message(), "") << wrong.text;
        EXPECT_EQ(message().count('\n'), 0);
        QLabel const* const said = window->parameters().findChild<QLabel*>("message");
        EXPECT_EQ(said->accessibleName(), "Message: " + message());
        EXPECT_EQ(text(), before) << wrong.text;
        EXPECT_EQ(field(wrong.name, wrong.field).text(), wrong.text);
        EXPECT_EQ(field(wrong.name, wrong.field).toolTip(), message());
        QTest::keyClick(&field(wrong.name, wrong.field), Qt::Key_Escape);
        EXPECT_EQ(field(wrong.name, wrong.field).text(), shown);
        EXPECT_EQ(message(), "");
        if (auto const index = parameterIndex(wrong.name)) {
            EXPECT_EQ(value(*index)[0], wrong.value) << wrong.text;
        }
    }
    // It stays where another field is gone to, and is no other scene's.
    type("translate-x", "2*");
    type("translate-y", "3");
    EXPECT_EQ(field("translate-x").text(), "2*");
    EXPECT_NE(field("translate-x").toolTip(), "");
    QTest::keyClicks(&field("translate-x"), "4");
    QTest::keyClick(&field("translate-x"), Qt::Key_Return);
    EXPECT_EQ(value(kParamTranslateX)[0], 8);
    type("translate-x", "2*");
    document().start(Scene(document().scene()));
    EXPECT_EQ(field("translate-x").toolTip(), "");
    EXPECT_EQ(field("translate-x").text(), "8.0 %");
    EXPECT_EQ(message(), "");
    // The wheel goes on from what is typed.
    QTest::mouseClick(&field("translate-x"), Qt::LeftButton);
    QTest::keyClicks(&field("translate-x"), "20");
    wheel(field("translate-x"), 1);
    EXPECT_EQ(value(kParamTranslateX)[0], 21);
    // Left as it is shown, with fewer digits than it has, or by Esc.
    document().edit(kParamCornerPinOpacity, {33.3333});
    std::string const third = text();
    EXPECT_EQ(field("corner-pin-opacity").text(), "33.3 %");
    type("corner-pin-opacity", "33.3333");
    QTest::keyClick(&field("corner-pin-opacity"), Qt::Key_F2);
    QTest::keyClicks(&field("corner-pin-opacity"), "12");
    QTest::keyClick(&field("corner-pin-opacity"), Qt::Key_Escape);
    EXPECT_EQ(text(), third);
}

/// Typed ones start there, others become so, as those of the menu do.
TEST_F(ParameterPanelTest, FilesAreNamedFromTheProjectsFolder) {
    std::string const before = text();
    for (char const* name :
         {"scene layer", "scene plate", "scene matte", "scene holdout", "scene st-map"}) {
        for (std::string const& typed :
             {std::string("rocket.jpg"), WindowTest::folder.at("rocket.jpg").string()}) {
            type(name, typed);
            EXPECT_EQ(message(), "");
            EXPECT_EQ(field(name).text(), "rocket.jpg");
            EXPECT_NE(text().find("\"rocket.jpg\""), std::string::npos);
            document().undo();
        }
    }
    EXPECT_EQ(text(), before);
    type("scene matte", "rocket.jpg:R");
    EXPECT_EQ(document().scene().matte->file.file.path(), WindowTest::folder.at("rocket.jpg"));
    EXPECT_EQ(document().scene().matte->channel, "R");
    for (auto const& control : panelControls(document()))
        if (control->row().name == "scene matte") {
            EXPECT_EQ(control->file(), WindowTest::folder.at("rocket.jpg"));
        }
    // From another place the same files, and new ones from there.
    std::filesystem::create_directory(WindowTest::folder.at("shot"));
    document().saveAs(WindowTest::folder.at("shot/a.zelk.json"));
    EXPECT_EQ(field("scene matte").text(), "../rocket.jpg:R");
    type("scene holdout", "../chelsea.png");
    EXPECT_EQ(document().scene().holdout->file.file.path().lexically_normal(),
              WindowTest::folder.at("chelsea.png"));
    EXPECT_NE(text().find("\"../chelsea.png\""), std::string::npos);
    EXPECT_EQ(text().find("../../"), std::string::npos);
    document().undo();
    EXPECT_NE(text().find("\"../rocket.jpg\""), std::string::npos);
}

TEST_F(ParameterPanelTest, ADragIsOneStepAndEscTakesItBack) {
    struct Case {
        Qt::KeyboardModifiers keys;
        int px;
        double wanted;
    };
    std::string const before = text();
    QLineEdit& own = field("corner-pin-opacity");
    auto const dragTo = [&](int px, Qt::KeyboardModifiers keys) {
        QMouseEvent move(QEvent::MouseMove, QPointF(20 + px, 8),
                         own.mapToGlobal(QPointF(20 + px, 8)), Qt::NoButton, Qt::LeftButton, keys);
        QApplication::sendEvent(&own, &move);
    };
    for (Case const& drag :
         {Case{{}, -30, 70}, Case{Qt::ShiftModifier, -6, 40}, Case{Qt::AltModifier, -50, 95},
          Case{Qt::ControlModifier, -50, 95}, Case{Qt::ShiftModifier, -400, 0}}) {
        QTest::mousePress(&own, Qt::LeftButton, {}, {20, 8});
        for (int i = 1; i <= 10; ++i) dragTo(drag.px * i / 10, drag.keys);
        QTest::mouseRelease(&own, Qt::LeftButton, {}, {20 + drag.px, 8});
        EXPECT_NEAR(value(kParamCornerPinOpacity)[0], drag.wanted, 1e-4);
        EXPECT_EQ(document().undoName(), "Set Corner Pin Opacity");
        ASSERT_TRUE(document().undo());
        ASSERT_EQ(text(), before);
        ASSERT_EQ(document().undoName(), "");
    }
    QTest::mousePress(&own, Qt::LeftButton, {}, {20, 8});
    dragTo(-40, {});
    EXPECT_NE(text(), before);
    QTest::keyClick(&own, Qt::Key_Escape);
    dragTo(-60, {});
    QTest::mouseRelease(&own, Qt::LeftButton, {}, {-40, 8});
    EXPECT_EQ(text(), before);
    EXPECT_FALSE(document().isActing());
    // A way there and back is no step, and leaves no key at a frame without one.
    press("corner-pin-opacity", "Keyframes on or off");
    document().setFrame(20);
    std::string const keyed = text();
    QTest::mousePress(&own, Qt::LeftButton, {}, {20, 8});
    dragTo(-40, {});
    EXPECT_EQ(document().parameter(kParamCornerPinOpacity).track().size(), 2u);
    dragTo(0, {});
    QTest::mouseRelease(&own, Qt::LeftButton, {}, {20, 8});
    EXPECT_EQ(text(), keyed);
    EXPECT_NE(document().undoName(), "Set Corner Pin Opacity");
}

TEST_F(ParameterPanelTest, KeyframesComeAndGoWithTheValueAtTheFrame) {
    std::string const before = text();
    int const index = kParamCornerPinOpacity;
    std::string const name = "corner-pin-opacity";
    document().setFrame(10);
    press(name, "Keyframes on or off");
    EXPECT_EQ(document().parameter(index).track().size(), 1u);
    document().setFrame(20);
    type(name, "50");
    document().setFrame(15);
    EXPECT_EQ(field(name).text(), "75.0 %");
    press(name, "Add or remove a key at this frame");
    EXPECT_EQ(document().parameter(index).track().size(), 3u);
    press(name, "Go to the key before");
    EXPECT_EQ(document().frame(), 10);
    press(name, "Add or remove a key at this frame");
    EXPECT_EQ(document().parameter(index).track().size(), 2u);
    press(name, "Go to the next key");
    EXPECT_EQ(document().frame(), 15);
    std::string const keyed = text();
    press(name, "Keyframes on or off");
    EXPECT_TRUE(document().parameter(index).track().empty());
    EXPECT_EQ(writtenValue(index)[0], 75);
    document().undo();
    EXPECT_EQ(text(), keyed);
    expectUndone(before);
}

TEST_F(ParameterPanelTest, ResetGivesTheDefaultByMenuKeysAndDoubleClick) {
    std::string const before = text();
    type("corner-pin-opacity", "50");
    QTest::mouseDClick(&part<QLabel>("corner-pin-opacity"), Qt::LeftButton);
    EXPECT_EQ(value(kParamCornerPinOpacity)[0], 100);
    EXPECT_EQ(document().undoName(), "Reset Corner Pin Opacity");
    type("scale-x", "2");
    field("scale-x").setFocus();
    command("Reset to Default");
    EXPECT_EQ(value(kParamScaleX)[0], 1);
    expectUndone(before);
    QTest::keyClick(&part<QComboBox>("scene filter"), Qt::Key_End);
    QTest::keyClick(&part<QComboBox>("scene taps"), Qt::Key_Down);
    type("scene feather", "3");
    std::string const changed = text();
    command("Reset Group");
    EXPECT_EQ(message(), "");
    for (char const* const name : {"scene filter", "scene taps"})
        EXPECT_EQ(part<QComboBox>(name).currentIndex(), 0) << name;
    EXPECT_TRUE(document().scene().plate);
    EXPECT_EQ(document().undoName(), "Reset Scene");
    document().undo();
    EXPECT_EQ(text(), changed);
    document().change("Lose Layer", [&](Scene& scene) {
        scene.plate.reset();
        scene.size = PixelSize{scene.comp.width, 427};
        scene.layer.file.written = "gone.png";
    });
    std::string const lost = text();
    command("Reset Group");
    EXPECT_TRUE(message().contains("gone.png") && !document().isActing());
    EXPECT_EQ(text(), lost);
    expectUndone(before);
}

TEST_F(ParameterPanelTest, MenusKeepTheirKeysButWhereAFieldTypes) {
    struct Case {
        int key;
        Qt::KeyboardModifiers with;
        bool resting, typing;
    };
    QLineEdit& own = field("corner-pin-opacity");
    auto const takes = [&](Case const& key) {
        bool const isLetter = !key.with && key.key < Qt::Key_Escape;
        QKeyEvent event(QEvent::ShortcutOverride, key.key, key.with,
                        isLetter ? QString(QChar(key.key)) : "");
        event.ignore();
        QApplication::sendEvent(&own, &event);
        return event.isAccepted();
    };
    for (bool const isTyping : {false, true}) {
        if (isTyping) QTest::keyClick(&own, Qt::Key_F2);
        for (Case const& key :
             {Case{Qt::Key_Z, Qt::ControlModifier, false, true},
              Case{Qt::Key_Space, {}, false, true}, Case{Qt::Key_K, {}, false, true},
              Case{Qt::Key_5, {}, true, true}, Case{Qt::Key_Up, {}, true, true},
              Case{Qt::Key_F1, {}, false, false}})
            EXPECT_EQ(takes(key), isTyping ? key.typing : key.resting) << key.key << isTyping;
    }
    QTest::keyClick(&own, Qt::Key_Escape);
}

TEST_F(ParameterPanelTest, PopupsGoThroughTheirEntriesAndPassSeparators) {
    QTest::keyClick(&part<QComboBox>("transfer-mode"), Qt::Key_Down);  // not over a plate
    EXPECT_NE(message(), "");
    EXPECT_EQ(part<QComboBox>("transfer-mode").currentIndex(), 0);
    openWithoutPlate();
    auto const choices = document().parameter(kParamTransferMode).choices;
    EXPECT_GT(std::count(choices.begin(), choices.end(), kSeparator), 2);
    std::size_t met = 1;
    for (; value(kParamTransferMode)[0] < double(choices.size()) && met < 99; ++met) {
        QTest::keyClick(&part<QComboBox>("transfer-mode"), Qt::Key_Down);
        EXPECT_NE(choices.at(std::size_t(value(kParamTransferMode)[0]) - 1), kSeparator);
    }
    EXPECT_EQ(met + std::count(choices.begin(), choices.end(), kSeparator), choices.size());
}

TEST_F(ParameterPanelTest, AColourIsChosenAsOneStepOrNotAtAll) {
    std::string const before = text();
    for (bool const isTaken : {false, true}) {
        QTimer::singleShot(0, [&] {
            auto& dialog = *qobject_cast<QColorDialog*>(QApplication::activeModalWidget());
            dialog.setCurrentColor(QColor(1, 2, 3));
            EXPECT_NE(text(), before);  // shown while it is chosen
            isTaken ? dialog.accept() : dialog.reject();
        });
        press("to-wireframe-color", "Choose a colour");
        EXPECT_EQ(text() != before, isTaken);
    }
    EXPECT_EQ(field("to-wireframe-color").text(), "#010203");
    document().undo();
    EXPECT_EQ(text(), before);
}

TEST_F(ParameterPanelTest, GreyedControlsFollowTheEffectAndSayWhy) {
    struct Case {
        int popup, entry;
        char const* name;
        bool isEnabled;
    };
    openWithoutPlate();
    for (Case const& greyed :
         std::initializer_list<Case>{{kParamTransferMode, 1, "source-opacity", false},
                                     {kParamTransferMode, 3, "source-opacity", true},
                                     {kParamOverlayMode, 1, "to-upper-left", false},
                                     {kParamOverlayMode, 1, "from-upper-left", true},
                                     {kParamOverlayMode, 2, "from-wireframe-color", false},
                                     {kParamOverlayMode, 3, "to-upper-left", true},
                                     {kParamQuality, 4, "super-sample-edge", true},
                                     {kParamQuality, 2, "super-sample-edge", false},
                                     {kParamMotionBlur, 3, "shutter-angle", false},
                                     {kParamMotionBlur, 2, "shutter-angle", true},
                                     {kParamMotionBlur, 1, "samples", false}}) {
        SCOPED_TRACE(fmt::format("{} {} {}", greyed.popup, greyed.entry, greyed.name));
        document().edit(greyed.popup, {double(greyed.entry)});
        EXPECT_EQ(part<QLabel>(greyed.name).isEnabled(), greyed.isEnabled);
        EXPECT_EQ(field(greyed.name).isEnabled(), greyed.isEnabled);
        EXPECT_EQ(row(greyed.name).toolTip().contains("Only with") ||
                      row(greyed.name).toolTip().contains("Overlay Mode shows"),
                  !greyed.isEnabled);
    }
    EXPECT_FALSE(part<QComboBox>("scene mode").isEnabled());  // no plate
    EXPECT_FALSE(part<QComboBox>("scene taps").isEnabled());
    QTest::keyClick(&part<QComboBox>("scene filter"), Qt::Key_End);
    EXPECT_TRUE(part<QComboBox>("scene taps").isEnabled());
}

}  // namespace
}  // namespace zelk
