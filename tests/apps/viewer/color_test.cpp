// Scenes whose colour configuration can't be read.
#include <QProcess>

#include <QMenu>

#include "apps/viewer/composition_canvas.h"
#include "apps/viewer/composition_panel.h"
#include "apps/viewer/parameter_panel.h"
#include "tests/apps/viewer/files_fixture.h"

namespace zelk {
namespace {

class ColorTest : public FilesTest {
protected:
    ColorTest() { folder.put("broken.ocio", "ocio_profile_version: what\n"); }
    ~ColorTest() override { qunsetenv("OCIO"); }

    CompositionCanvas& canvas() { return window->composition().canvas(); }
    void useBroken() { qputenv("OCIO", path("broken.ocio").toUtf8()); }
    QString notice() const { return window->notices().text("colour"); }
    /// The picture, or the sentence that stands in its place.
    std::string awaited() {
        EXPECT_TRUE(QTest::qWaitFor([&] { return canvas().isAtRest(); }, 20000));
        return canvas().shown()->error;
    }
    QImage shot() { return canvas().grab().toImage(); }
    /// What `zelk render` says of the scene.
    QString refusal() {
        writeScene(document().scene(), folder.at("now.zelk.json"), true);
        QProcess zelk;
        zelk.start(ZELK_BINARY, {"render", "--project", path("now.zelk.json"), "-o",
                                 path("now.png"), "--module", ZELK_MODULE});
        EXPECT_TRUE(zelk.waitForFinished());
        EXPECT_NE(zelk.exitCode(), 0);
        return zelk.readAllStandardError().trimmed();
    }
};

TEST_F(ColorTest, AConfigurationThatCannotBeReadClosesNothing) {
    window->openFile(path("chelsea.png"));
    press("View/Actual Pixels");
    ASSERT_EQ(awaited(), "");
    SharedFrame const usual = canvas().shown();
    useBroken();
    for (char const* file : {"move.zelk.json", "chelsea.png"}) {
        names = {path(file)};
        choices = {1};
        press("File/New\u2026");
        window->openFile(path(file));
        EXPECT_EQ(error(), "");
        EXPECT_EQ(awaited(), "");
        EXPECT_TRUE(notice().contains("$OCIO") && notice().contains("shown by the built-in"));
    }
    World const &now = canvas().shown()->display, &was = usual->display;
    ASSERT_EQ(now.width(), was.width());
    for (int y = 0; y < was.height(); ++y)
        ASSERT_TRUE(std::equal(was.rowAs<std::uint8_t>(y),
                               was.rowAs<std::uint8_t>(y) + 4 * was.width(),
                               now.rowAs<std::uint8_t>(y)));
    makeChange();
    document().change("Set Filter", [](Scene& scene) { scene.filter = "cubic"; });
    EXPECT_EQ(awaited(), "");
    EXPECT_TRUE(notice().contains(refusal().section(": ", 1)));
    document().undo();
    document().undo();
    EXPECT_FALSE(document().isModified());
    std::uint64_t const former = document().snapshot().revision;
    makeChange();
    qunsetenv("OCIO");
    EXPECT_TRUE(window->notices().press("colour", "Try Again"));
    EXPECT_EQ(notice(), "");
    document().undo();
    EXPECT_FALSE(document().isModified());
    EXPECT_NE(document().snapshot().revision, former);  // no picture in those colours is shown
}

TEST_F(ColorTest, NamesOfAnUnreadConfigurationFailAsTheyRender) {
    window->openFile(path("move.zelk.json"));
    document().change("Set Colour", [](Scene& scene) { scene.color.layer = "sRGB"; });
    Scene scene = document().scene();
    scene.color.layer = "ACES - ours";
    writeScene(scene, folder.at("ours.zelk.json"), true);
    useBroken();
    choices = {1};
    window->openFile(path("ours.zelk.json"));
    ASSERT_EQ(error(), "");
    EXPECT_FALSE(notice().contains("built-in"));
    EXPECT_EQ("zelk: " + QString::fromStdString(awaited()), refusal());
    EXPECT_EQ(document().scene().color.layer, "ACES - ours");
    EXPECT_TRUE(window->parameters().message().isEmpty());
}

constexpr char const* kTwoDisplays = R"(ocio_profile_version: 2
roles: {scene_linear: lin, default: lin}
displays:
  Wall:
    - !<View> {name: Film, colorspace: gamma}
    - !<View> {name: Raw, colorspace: lin}
  Desk:
    - !<View> {name: Raw, colorspace: lin}
active_displays: []
active_views: []
colorspaces:
  - !<ColorSpace> {name: lin}
  - !<ColorSpace>
    name: gamma
    to_scene_reference: !<ExponentTransform> {value: [2, 2, 2, 1]}
)";

/// By the menu and by keys; no scene and no file hears of it.
TEST_F(ColorTest, ADisplayIsChosenByName) {
    auto const shownNames = [&] {
        QMenu* const menu = window->menus().menu("View/Display");
        emit menu->aboutToShow();
        QStringList shown;
        for (QAction const* action : menu->actions())
            if (action->data().isValid())
                shown << (action->isChecked() ? "*" : "") + action->text();
        return shown;
    };
    auto const& status = *window->colors().label();
    window->openFile(path("chelsea.png"));
    std::string const before = text();
    EXPECT_EQ(shownNames(),
              QStringList({"*sRGB", "Display P3", "Rec709", "Rec2020", "AdobeRGB", "Gamma2.2"}));
    ASSERT_EQ(awaited(), "");
    QImage const usual = shot();
    press("View/Display/Next Display");
    press("View/Display/Next Display");
    EXPECT_EQ(status.text(), "display Rec709");
    ASSERT_EQ(awaited(), "");
    EXPECT_NE(shot(), usual);
    EXPECT_EQ(text(), before);
    EXPECT_FALSE(document().isModified());

    folder.put("two.ocio", kTwoDisplays);
    document().change("Set Configuration", [&](Scene& scene) {
        scene.color.config = ScenePath{path("two.ocio").toStdString()};
    });
    EXPECT_EQ(status.text(), "display sRGB");  // it has no Rec709
    EXPECT_TRUE(status.toolTip().contains("no display Rec709"));
    EXPECT_EQ(shownNames(), QStringList({"*sRGB", "Film (Wall)", "Raw (Wall)", "Raw (Desk)"}));
    QTest::keyClick(window.get(), Qt::Key_D, Qt::AltModifier | Qt::ShiftModifier);
    EXPECT_EQ(status.text(), "display Raw (Desk)");
    ASSERT_EQ(awaited(), "");
    QImage const raw = shot();
    for (QAction* action : window->menus().menu("View/Display")->actions())
        if (action->text() == "Film (Wall)") action->trigger();
    EXPECT_EQ(status.text(), "display Film (Wall)");
    ASSERT_EQ(awaited(), "");
    EXPECT_NE(shot(), raw);
    document().undo();
    EXPECT_EQ(status.text(), "display sRGB");
    document().redo();
    EXPECT_EQ(status.text(), "display Film (Wall)");
    folder.put("two.ocio", QString(kTwoDisplays).replace("Film", "Neon").toStdString());
    press("File/Reload Files");
    EXPECT_EQ(status.text(), "display sRGB");
    EXPECT_TRUE(shownNames().contains("Neon (Wall)"));
    EXPECT_EQ(awaited(), "");
}

}  // namespace
}  // namespace zelk
