// Files that the window exports, and lines that it gives to a shell, beside `zelk render`.
#include <QClipboard>
#include <QComboBox>
#include <QGuiApplication>
#include <QLineEdit>
#include <QPushButton>

#include "apps/viewer/composition_panel.h"
#include "apps/viewer/dialogs/export_dialog.h"
#include "apps/viewer/dialogs/export_status.h"
#include "apps/viewer/model/command_text.h"
#include "apps/viewer/model/scene_inputs.h"
#include "apps/viewer/timeline_panel.h"
#include "apps/viewer/timeline_view.h"
#include "tests/apps/viewer/files_fixture.h"
#include "zelk/movies/writer.h"
#include "zelk/render/frame_renderer.h"
#include "zelk/scene/as_edits.h"
#include "zelk/scene/edits.h"

namespace zelk {
namespace {

class ExportTest : public FilesTest {
protected:
    ExportTest() { window->openFile(path("move.zelk.json")); }

    ExportDialog& dialog() {
        press("File/Export\u2026");
        return *window->exportDialog();
    }
    void type(char const* name, QString const& value) {
        for (auto* const field : window->exportDialog()->findChildren<QLineEdit*>())
            if (field->accessibleName() == name) field->setText(value);
    }
    void pressIn(char const* name) {
        for (auto* const button : window->exportDialog()->findChildren<QPushButton*>())
            if (button->text() == name) button->click();
    }
    ExportState ended() {
        EXPECT_TRUE(QTest::qWaitFor([&] { return !window->exportDialog()->isRunning(); }, 120000));
        QTest::qWait(0);  // the dialog hears of it
        return window->exportDialog()->state();
    }
    static QString copied() { return QGuiApplication::clipboard()->text(); }
};

/// The same files, metadata and all, from the button and from the line that it copies.
TEST_F(ExportTest, WritesTheFilesOfItsCommand) {
    for (char const* output : {"o.##.png", "o.mov"}) {
        dialog();
        type("Output", output);  // starts at the project's folder
        type("Frames", "3-5");
        pressIn("Copy as Command");
        pressIn("Export");
        ExportState const state = ended();
        EXPECT_EQ(state.written, 3);
        EXPECT_TRUE(state.failures.empty()) << state.failures.front().message;
        EXPECT_EQ(state.text(), "3 frames written");
        fs::path const last = folder.at(output);
        EXPECT_EQ(state.place(), isMovieName(output) ? last : last.parent_path());
        std::vector<std::string> const files =
            std::string(output) == "o.mov" ? std::vector<std::string>{"o.mov"}
                                           : std::vector<std::string>{"o.03.png", "o.05.png"};
        std::vector<std::string> exported;
        for (std::string const& file : files) {
            exported.push_back(bytesOf(folder.at(file)));
            fs::remove(folder.at(file));
        }
        shell(copied().toStdString());
        for (std::size_t i = 0; i < files.size(); ++i) {
            EXPECT_GT(exported[i].size(), 1000u);
            EXPECT_TRUE(exported[i] == bytesOf(folder.at(files[i]))) << files[i];
        }
        // Files that are there are replaced when that is wanted.
        folder.put(files[0], "mine");
        choices = {-1, 0};
        pressIn("Export");
        EXPECT_EQ(bytesOf(folder.at(files[0])), "mine");
        pressIn("Export");
        ended();
        EXPECT_TRUE(exported[0] == bytesOf(folder.at(files[0])));
        for (std::string const& file : files) fs::remove(folder.at(file));
    }
}

TEST_F(ExportTest, TellsWhatFailsAndEndsWhenItIsTold) {
    dialog();
    type("Output", path("nowhere/o.##.png"));
    pressIn("Export");
    ASSERT_FALSE(ended().failures.empty());
    EXPECT_NE(ended().failures.front().message.find("nowhere"), std::string::npos);
    type("Output", path("o.##.png"));
    pressIn("Export");
    ASSERT_TRUE(
        QTest::qWaitFor([&] { return window->exportDialog()->state().written > 1; }, 60000));
    makeChange();  // the window stays usable
    pressIn("Cancel Export");
    ExportState const state = ended();
    EXPECT_TRUE(state.isStopped);
    EXPECT_LT(state.written, 48);
    EXPECT_GT(state.written, 1);
    EXPECT_EQ(state.place(), folder.at("").parent_path());
    type("Output", "");
    pressIn("Export");
    QString const refused = window->exportDialog()->said();
    EXPECT_TRUE(refused.contains("Output is missing")) << refused.toStdString();
    EXPECT_EQ(error(), "");  // the window behind has no part in it
    type("Frames", "9-");
    type("Output", path("p.png"));
    EXPECT_TRUE(window->exportDialog()->said().contains("9-"));
    type("Frames", "9");
    EXPECT_EQ(window->exportDialog()->said(), "");
    type("Output", path("chelsea.png"));
    pressIn("Export");  // nothing is asked
    EXPECT_TRUE(window->exportDialog()->said().endsWith("expected another name"));
    type("Output", path("p.png"));
    pressIn("Copy as Command");
    EXPECT_TRUE(window->exportDialog()->said().contains("Save the project first"));
    document().undo();
    pressIn("Copy as Command");
    EXPECT_EQ(window->exportDialog()->said(), "Copied: " + copied());
}

TEST_F(ExportTest, FieldsStayForTheSession) {
    auto const shown = [&] {
        ExportEdits const edits = dialog().edits();
        window->exportDialog()->reject();
        return edits;
    };
    EXPECT_EQ(shown().frames, "1-48");
    window->timeline().player().playback().setIn(5);
    window->timeline().player().playback().setOut(9);
    EXPECT_EQ(shown().frames, "5-9");
    type("Output", path("o.mov"));
    type("Frames", "2-3");
    for (auto* const box : window->exportDialog()->findChildren<QComboBox*>())
        if (box->accessibleName() == "Codec") box->setCurrentText("ffv1");
    EXPECT_EQ(shown().output, path("o.mov").toStdString());
    EXPECT_EQ(shown().codec, "ffv1");
    EXPECT_EQ(shown().frames, "2-3");
    window->openFile(path("chelsea.png"));
    EXPECT_EQ(shown().output, path("o.mov").toStdString());
    EXPECT_EQ(shown().frames, "");
    document().change("Output", [&](Scene& scene) {
        sceneEdit("output").apply(scene, "output", folder.at("own.mov").string());
    });
    EXPECT_EQ(shown().output, path("own.mov").toStdString());
}

TEST_F(ExportTest, AnOpenDialogFollowsTheScene) {
    document().change("Output", [&](Scene& scene) {
        sceneEdit("output").apply(scene, "output", folder.at("own.mov").string());
        sceneEdit("codec").apply(scene, "codec", "prores422");
    });
    document().save();
    EXPECT_EQ(dialog().edits().frames, "1-48");
    document().setFrame(5);
    press("Play/Start Range Here");
    EXPECT_EQ(window->exportDialog()->edits().frames, "5-48");
    TimelineView& timeline = window->timeline().view();
    QPoint const below(0, TimelineLook::kRulerPx / 4);  // the range's half of the ruler
    QTest::mousePress(timeline.viewport(), Qt::LeftButton, {},
                      timeline.placeOfFrame(49).toPoint() + below);
    QPoint const early(-3, 0);  // of the frame's middle, where the nearer end turns
    QTest::mouseMove(timeline.viewport(), timeline.placeOfFrame(20).toPoint() + early + below);
    QTest::mouseRelease(timeline.viewport(), Qt::LeftButton);
    EXPECT_EQ(window->exportDialog()->edits().frames, "5-19");
    for (auto* const box : dialog().findChildren<QComboBox*>())
        EXPECT_TRUE(box->accessibleName() != "Codec" || box->currentText().contains("prores422"));
    type("Frames", "");
    EXPECT_EQ(dialog().edits().frames, "5-19");  // what the empty field shows
    window->openFile(path("chelsea.png"));
    EXPECT_FALSE(window->timeline().player().playback().hasRange());
    EXPECT_EQ(window->exportDialog()->edits().output, "");
    EXPECT_EQ(window->exportDialog()->edits().frames, "");
}

TEST_F(ExportTest, SavingElsewhereReplacesNothingThatIsTyped) {
    document().open(fs::relative(folder.at("move.zelk.json")));
    document().change("Output",
                      [&](Scene& scene) { scene.output = pathIn(scene, folder.at("own.mov")); });
    document().save();
    dialog();
    type("Output", path("typed.mov"));
    fs::create_directory(folder.at("shot"));
    names = {path("shot/moved.zelk.json")};
    press("File/Save As\u2026");
    EXPECT_EQ(dialog().edits().output, path("typed.mov").toStdString());
}

/// The project is opened by a link to its folder.
TEST_F(ExportTest, StepsUpStartWhereALinkLeads) {
    fs::create_directories(folder.at("disk/shot"));
    fs::create_directories(folder.at("disk/plates"));
    fs::create_directory(folder.at("jobs"));
    fs::create_directory_symlink("../disk/shot", folder.at("jobs/shot"));
    fs::copy(folder.at("chelsea.png"), folder.at("disk/plates/l.png"));
    Scene scene = document().scene();
    scene.layer.file = {"../plates/l.png", folder.at("disk/shot")};
    scene.output = ScenePath{"../renders/o.png", folder.at("disk/shot")};
    writeScene(scene, folder.at("disk/shot/s.zelk.json"), true);
    window->openFile(path("jobs/shot/s.zelk.json"));
    EXPECT_EQ(dialog().edits().output, path("disk/renders/o.png").toStdString());
    EXPECT_NE(exportCommandOf(document(), {}).line.find("disk/renders/o.png"), std::string::npos);
    type("Output", "../renders/own.png");
    EXPECT_EQ(exportedScene(document(), dialog().edits()).outputPath(),
              folder.at("disk/renders/own.png"));
    for (auto* const field : dialog().findChildren<QLineEdit*>())
        EXPECT_EQ(field->toolTip().contains(path("disk/renders/own.png")),
                  field->accessibleName() == "Output");
    document().saveAs(folder.at("elsewhere.zelk.json"));
    EXPECT_EQ(document().scene().layer.file.written, "disk/plates/l.png");
    EXPECT_TRUE(bytesOf(folder.at("elsewhere.zelk.json")).find("\"disk/renders/o.png\"") + 1);
}

/// The frames that are written are those of the scene from before.
TEST_F(ExportTest, ASceneThatIsOpenedMeanwhileGetsTheFields) {
    dialog();
    type("Output", path("o.##.png"));
    type("Frames", "1-4");
    pressIn("Export");
    window->openFile(path("chelsea.png"));
    EXPECT_EQ(ended().written, 4);
    EXPECT_EQ(window->exportDialog()->edits().frames, "");
}

TEST_F(ExportTest, AMissingFrameEndsTheRunBeforeAllIsDone) {
    for (char const* frame : {"1", "2", "4", "5"})
        fs::copy(folder.at("chelsea.png"), folder.at("s.000" + std::string(frame) + ".png"));
    window->openFile(path("s.####.png"));
    dialog();
    type("Output", path("o.##.png"));
    pressIn("Export");
    EXPECT_EQ(ended().text(), "2 frames written, 1 failed, 2 not tried");
    folder.put("s.0003.png", "no picture");
    folder.put("o.mov", "mine");  // stays, and is not named as what the run has written
    choices = {0};
    type("Output", path("o.mov"));
    pressIn("Export");
    EXPECT_EQ(ended().text(), "no movie written, 1 failed, 2 not tried");
    EXPECT_EQ(ended().place(), "");
    folder.put("s.0001.png", "no picture");
    choices = {0};
    pressIn("Export");
    EXPECT_EQ(ended().text(), "no movie written, 1 failed, 4 not tried");
    EXPECT_TRUE(bytesOf(folder.at("o.mov")) == "mine");
}

TEST_F(ExportTest, AClosedDialogsRunIsSeenInTheStatusLine) {
    dialog();
    type("Output", path("o.##.png"));
    auto* const status = window->findChild<ExportStatus*>();
    ASSERT_TRUE(status);
    auto const buttons = status->findChildren<QAbstractButton*>();
    int const height = window->composition().height();
    pressIn("Export");
    pressIn("Close");
    EXPECT_TRUE(QTest::qWaitFor([&] { return status->text().contains("of 48 frames"); }, 60000));
    EXPECT_EQ(window->composition().height(), height);  // the picture stays
    buttons[0]->click();
    EXPECT_TRUE(window->exportDialog()->isVisible());
    EXPECT_EQ(status->text(), "");
    pressIn("Close");
    buttons[1]->click();
    ended();
    EXPECT_TRUE(status->text().contains("cancelled")) << status->text().toStdString();
    buttons[1]->click();
    EXPECT_EQ(status->text(), "");
}

TEST_F(ExportTest, QuittingKeepsRenderingUnlessItIsToldTo) {
    dialog();
    type("Output", path("o.##.png"));
    pressIn("Export");
    choices = {-1, 0};  // Enter or Esc, then Stop and Quit
    EXPECT_FALSE(window->close());
    EXPECT_TRUE(dialog().isRunning());
    EXPECT_TRUE(window->close());
    EXPECT_LT(ended().written, 48);
    EXPECT_TRUE(asked.back().contains("export")) << asked.back().toStdString();
}

TEST_F(ExportTest, TheFrameOnScreenAsACommand) {
    document().setFrame(7);
    press("File/Copy as Command");
    shell(copied().toStdString() + " --no-metadata");
    shell("zelk render --project " + folder.at("move.zelk.json").string() +
          " --frames 7 -o plain.png --no-metadata");
    EXPECT_EQ(bytesOf(folder.at("out/move.0007.png")), bytesOf(folder.at("out/plain.png")));
    std::string const refusal = "Save the project first: only a project holds keyframes.";
    folder.put("move.zelk.json", "{}");  // by somebody else
    EXPECT_EQ(renderCommandOf(document()).refusal, refusal);
    fs::remove(folder.at("move.zelk.json"));
    EXPECT_EQ(renderCommandOf(document()).refusal, refusal);
    document().save();
    makeChange();
    press("File/Copy as Command");
    EXPECT_EQ(error().toStdString(), refusal);
}

/// Bash as a terminal has it, which takes "!" for its history. A name may look like an option.
TEST_F(ExportTest, ALineIsTakenByAnInteractiveShell) {
    std::string const name = "it's a!b \"$HOME\" --project `c`\\_##.png";
    fs::copy(folder.at("chelsea.png"), folder.at(name.substr(0, name.find('#')) + "01.png"));
    window->openFile(path(name.c_str()));
    makeChange();
    press("File/Copy as Command");
    folder.put("line.sh", copied().toStdString() + "\n");
    shell("bash --norc --noprofile -i < ../line.sh");
    std::string const still = name.substr(0, name.find("_#")) + ".0001.png";
    EXPECT_TRUE(fs::exists(folder.at("out") / still)) << bytesOf(folder.at("out/said"));
    document().change("Output", [&](Scene& scene) {
        sceneEdit("output").apply(scene, "output", folder.at("named.png").string());
    });
    EXPECT_NE(renderCommandOf(document()).line.find("named.png"), std::string::npos);
}

/// Scenes that nobody saved: the line, the project that they are saved to, and the scene itself,
/// which goes through no text, give one file.
TEST_F(ExportTest, AnUnsavedSceneAsACommand) {
    std::vector<std::vector<MadeEdit>> const scenes = {
        {{"to", "60,40 400,10 30,250 380,290"}, {"quality", "super"}, {"set", "rotate=-12.5"}},
        {{"over", path("rocket.jpg").toStdString()},
         {"to", "112.25,22 288,52 96,214 300,248"},
         {"set", "from-upper-left=10,20"},
         {"mode", "screen"},
         {"feather", "3"},
         {"quality", "best"},
         {"output-color", "linear"},
         {"depth", "16"}},
        {{"over", path("rocket.jpg").toStdString()}, {"to", "0,0 640,0 0,427 640,427"}},
        {{"size", "640x427"},
         {"holdout", path("rocket.jpg").toStdString()},
         {"opacity", "40"},
         {"channels", "rgb"},
         {"filter", "lanczos3"},
         {"motion-blur", "on"},
         {"shutter", "90,-45"}},
        {{"over", path("rocket.jpg").toStdString()},
         {"track", path("sign-track.txt").toStdString()}},
        {{"invert", "on"}, {"to", "60,40 400,10 30,250 380,290"}, {"quality", "super"}},
        {{"invert", "on"},
         {"over", path("rocket.jpg").toStdString()},
         {"to", "112.25,22 288,52 96,214 300,248"},
         {"set", "to-upper-left-offset-x=2"},
         {"size", "300x200"},
         {"edges", "grid"},
         {"plate-color", "Rec709"},
         {"layer-color", "linear"},
         {"filter", "lanczos3"}}};
    for (auto const& edits : scenes) {
        Scene scene;
        sceneEdit("layer").apply(scene, "layer", folder.at("chelsea.png").string());
        for (MadeEdit const& edit : edits) sceneEdit(edit.name).apply(scene, edit.name, edit.text);
        bool const isTracked = !scene.tracks.empty();
        document().start(scene);
        if (isTracked)  // a scene that is started has its track's keys
            document().change("Track", [&](Scene& own) {
                own.comp.durationFrames = 400;  // some behind the track's
                own.tracks = scene.tracks, std::erase_if(own.parameters, [](auto const& p) {
                    return p.name.starts_with("to-");
                });
            });
        document().edit(kParamCornerPinOpacity, {85});
        if (scene.isInverted)  // plays no part any more
            document().change("Matte", [&](Scene& own) {
                own.matte = SceneMatte{{.file = {path("rocket.jpg").toStdString()}}, ""};
                own.featherPx = 4;
            });
        int const frame = isTracked ? 260 : 0;
        document().setFrame(frame);
        CommandText const text = renderCommandOf(document());
        ASSERT_EQ(text.refusal, "");
        shell(text.line + " --no-metadata");
        document().saveAs(folder.at("own.zelk.json"));
        shell(fmt::format(
            "zelk render --project ../own.zelk.json --frames {} -o plain.png --no-metadata",
            frame));
        Scene shown = *document().snapshot().scene;
        shown.output = ScenePath{path("shown.png").toStdString()};
        RenderOptions options;
        options.keepMetadata = false;
        FrameRenderer(shown, options).write(frame);
        std::string const own = bytesOf(folder.at("shown.png"));
        EXPECT_GT(own.size(), 1000u) << text.line;
        std::string const still = fmt::format("out/chelsea.{:04}.png", frame);
        EXPECT_TRUE(own == bytesOf(folder.at(still))) << text.line;
        EXPECT_TRUE(own == bytesOf(folder.at("out/plain.png"))) << text.line;
    }
}

}  // namespace
}  // namespace zelk
