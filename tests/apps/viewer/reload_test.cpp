// Files of an open scene that others write: pictures, tracks, the colour configuration.
#include <QEvent>

#include "apps/viewer/composition_canvas.h"
#include "apps/viewer/composition_panel.h"
#include "apps/viewer/model/picture_place.h"
#include "apps/viewer/model/scene_inputs.h"
#include "apps/viewer/timeline_panel.h"
#include "apps/viewer/timeline_view.h"
#include "tests/apps/viewer/files_fixture.h"
#include "zelk/scene/edits.h"
#include "zelk/scene/track_use.h"

namespace zelk {
namespace {

class ReloadTest : public FilesTest {
protected:
    CompositionCanvas& canvas() { return window->composition().canvas(); }
    void awaitRest() {
        ASSERT_TRUE(QTest::qWaitFor([&] { return canvas().isAtRest(); }, 60000));
    }
    /// What is shown at a frame, at rest.
    std::string shownAt(int frame) {
        document().setFrame(frame);
        awaitRest();
        EXPECT_EQ(canvas().shown()->error, "");
        World const& picture = canvas().shown()->display;
        return {reinterpret_cast<char const*>(picture.row(0)),
                static_cast<std::size_t>(picture.rowBytes()) * picture.height()};
    }
    /// What a window shows that opens the project now.
    std::string freshAt(int frame) {
        start();
        window->openFile(path("move.zelk.json"));
        return shownAt(frame);
    }
    void focus() {
        QEvent event(QEvent::WindowActivate);
        QApplication::sendEvent(window.get(), &event);
    }
};

TEST_F(ReloadTest, AKeptPictureIsNotShownWhenItsFileIsAnother) {
    window->openFile(path("move.zelk.json"));
    std::string const first = shownAt(1), second = shownAt(2);
    fs::rename(folder.at("rocket.jpg"), folder.at("chelsea.png"));
    fs::copy(exampleFile("rocket.jpg"), folder.at("rocket.jpg"));
    document().setFrame(1);
    EXPECT_TRUE(QTest::qWaitFor([&] { return document().layerSize().width == 640; }));
    std::string const now = shownAt(1);
    EXPECT_TRUE(now != first);
    EXPECT_FALSE(document().isModified());
    EXPECT_TRUE(shownAt(2) != second);
    EXPECT_TRUE(freshAt(1) == now);
}

/// The files are the same ones, whatever folder their names start at.
TEST_F(ReloadTest, SavingElsewhereKeepsTheFramesThatAreRendered) {
    document().open(fs::relative(folder.at("move.zelk.json")));
    std::string const first = shownAt(1), second = shownAt(2);
    Player& player = window->timeline().player();
    ASSERT_EQ(player.ready({1, 2, 3}), (std::vector{1, 2}));
    fs::create_directory(folder.at("shot"));
    names = {path("shot/moved.zelk.json")};
    press("File/Save As\u2026");
    EXPECT_EQ(document().file(), folder.at("shot/moved.zelk.json"));
    EXPECT_EQ(player.ready({1, 2, 3}), (std::vector{1, 2}));
    focus();
    EXPECT_EQ(player.ready({1, 2, 3}), (std::vector{1, 2}));
    EXPECT_TRUE(shownAt(2) == second);
    EXPECT_TRUE(shownAt(1) == first);
}

TEST_F(ReloadTest, WhatWasMissingIsSeenAtTheFocusOrSoonAndNotWithinAnAct) {
    window->openFile(path("move.zelk.json"));
    auto const notice = [&] { return window->notices().text("missing"); };
    std::string const before = shownAt(1);
    fs::rename(folder.at("chelsea.png"), folder.at("away.png"));
    focus();
    EXPECT_TRUE(notice().contains("chelsea.png"));
    awaitRest();
    EXPECT_NE(canvas().shown()->error, "");
    fs::rename(folder.at("away.png"), folder.at("chelsea.png"));
    focus();
    EXPECT_EQ(notice(), "");
    EXPECT_TRUE(shownAt(1) == before);
    fs::rename(folder.at("chelsea.png"), folder.at("away.png"));
    focus();
    document().beginAct("Drag");
    fs::rename(folder.at("away.png"), folder.at("chelsea.png"));
    QTest::qWait(2500);  // the next look is within two seconds
    EXPECT_NE(notice(), "");
    document().endAct();
    EXPECT_TRUE(QTest::qWaitFor([&] { return notice() == ""; }));
    fs::rename(folder.at("chelsea.png"), folder.at("a#1_b#2.png"));  // two marks, were it a pattern
    window->openFile(path("a#1_b#2.png"));
    document().saveAs(folder.at("odd.zelk.json"));
    fs::remove(folder.at("a#1_b#2.png"));
    makeChange();
    awaitRest();
    EXPECT_NE(canvas().shown()->error, "");
    document().save();
    start();
    window->openFile(path("odd.zelk.json"));
    EXPECT_TRUE(notice().contains("a#1_b#2.png"));
}

/// Each dialog's end gives the window the focus.
TEST_F(ReloadTest, AnErrorAndTheKeyboardStayWhileAFrameFails) {
    window->openFile(path("move.zelk.json"));
    fs::rename(folder.at("chelsea.png"), folder.at("away.png"));
    focus();
    awaitRest();
    QWidget* const timeline = window->timeline().findChild<TimelineView*>();
    timeline->setFocus();
    names = {path("none/x.zelk.json")};
    press("File/Save As\u2026");
    QString const told = error();
    EXPECT_TRUE(told.contains("x.zelk.json")) << told.toStdString();
    focus();
    EXPECT_EQ(error(), told);
    EXPECT_TRUE(timeline->hasFocus());
    press("File/Reload Files");
    EXPECT_EQ(error(), "");
}

TEST_F(ReloadTest, TracksAreReadAgain) {
    openTracked();
    document().save();
    std::string const before = shownAt(1);
    fs::rename(folder.at("sign-track.txt"), folder.at("away.txt"));
    makeChange();
    press("File/Reload Files");
    EXPECT_FALSE(document().scene().tracks.at(0).track);
    EXPECT_TRUE(window->notices().text("missing").contains("track of the To Pins"));
    document().undo();  // to a scene from before
    EXPECT_FALSE(document().scene().tracks.at(0).track);
    fs::rename(folder.at("away.txt"), folder.at("sign-track.txt"));
    EXPECT_TRUE(QTest::qWaitFor([&] { return window->notices().text("missing").isEmpty(); }));
    auto const track = document().scene().tracks.at(0).track;
    EXPECT_TRUE(track);
    EXPECT_TRUE(shownAt(1) == before);
    folder.put("sign-track.txt", bytesOf(folder.at("sign-track.txt")) + "\n");
    document().change("Duration", [](Scene& scene) { ++scene.comp.durationFrames; });
    shownAt(3);  // by the track that was read before
    focus();
    EXPECT_NE(document().scene().tracks.at(0).track, track);
    document().change("Start", [](Scene& scene) {
        changeReading(scene, [](TrackReading& reading) { reading = {}; });
        scene.comp.startFrame = 1001;  // the track's are 0 to 47
    });
    document().save();
    window->openFile(path("move.zelk.json"));
    press("File/Reload Files");
    EXPECT_EQ(error(), "");
    awaitRest();
    EXPECT_NE(canvas().shown()->error.find("`Track First Frame 1001`"), std::string::npos);
    document().change("Mend", [](Scene& scene) {
        changeReading(scene, [](TrackReading& reading) { reading.firstFrame = 1001; });
    });
    shownAt(1001);
}

TEST_F(ReloadTest, AnInvertedScenesFrameHasTheSizeThatItsFilesGiveNow) {
    window->openFile(path("chelsea.png"));
    document().change("Invert", [](Scene& scene) { scene.isInverted = true; });
    PixelSize const before = document().sizeOf(ShownPicture::kFrame);
    fs::rename(folder.at("rocket.jpg"), folder.at("chelsea.png"));
    document().reload();
    EXPECT_NE(document().sizeOf(ShownPicture::kFrame).width, before.width);
    fs::remove(folder.at("chelsea.png"));  // not looked at while a pin is dragged
    document().beginAct("Wider");
    document().edit(kToPins + 1, {800, 0});
    EXPECT_EQ(document().sizeOf(ShownPicture::kFrame).width, 800);
    ShownFrame late;  // of pins from before
    late.whole = {900, 600};
    EXPECT_EQ(placeOf(late, {800, 600}, document()).corner.x, 0);
}

TEST_F(ReloadTest, AChangedColourConfigurationCounts) {
    auto const putLook = [&](char const* white) {
        folder.put(
            "look.spi1d",
            std::string("Version 1\nFrom 0 1\nLength 2\nComponents 1\n{\n0\n") + white + "\n}\n");
    };
    auto const put = [&](char const* exponent) {
        folder.put("new.ocio", std::string("ocio_profile_version: 2\nroles: {default: lin, "
                                           "scene_linear: lin}\ndisplays: {screen: [!<View> "
                                           "{name: Own, colorspace: own}]}\ncolorspaces:\n  - "
                                           "!<ColorSpace> {name: lin}\n  - !<ColorSpace> {name: "
                                           "own, to_scene_reference: !<GroupTransform> {children: "
                                           "[!<ExponentTransform> {value: [") +
                                   exponent + ", 1]}, !<FileTransform> {src: " +
                                   folder.at("look.spi1d").string() + "}]}}\n");
        fs::rename(folder.at("new.ocio"), folder.at("config.ocio"));
    };
    putLook("0.9");
    put("2, 2, 2");
    window->openFile(path("move.zelk.json"));
    document().change("Configuration", [&](Scene& scene) {
        sceneEdit("ocio").apply(scene, "ocio", folder.at("config.ocio").string());
        sceneEdit("layer-color").apply(scene, "layer-color", "own");
    });
    document().save();
    std::string const before = shownAt(1);
    QTest::qWait(20);  // a time of its own
    put("3, 3, 3");
    shownAt(2);  // in the colours that were opened
    focus();
    std::string const now = shownAt(1);
    EXPECT_TRUE(now != before);
    EXPECT_TRUE(freshAt(1) == now);
    putLook("0.6");  // no time of it is known
    press("File/Reload Files");
    std::string const darker = shownAt(1);
    EXPECT_TRUE(darker != now);
    EXPECT_TRUE(freshAt(1) == darker);
}

}  // namespace
}  // namespace zelk
