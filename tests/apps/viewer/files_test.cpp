// Opening, saving, importing and relinking, by menus, drops and dialogs.
#include "tests/apps/viewer/files_fixture.h"

#include <fmt/format.h>
#include <sys/mount.h>

#include <QComboBox>
#include <QDropEvent>
#include <QLineEdit>
#include <QMenu>
#include <QMimeData>
#include <QPushButton>
#include <QTreeWidget>
#include <QUrl>

#include "apps/viewer/composition_canvas.h"
#include "apps/viewer/composition_panel.h"
#include "apps/viewer/dialogs/path_preview.h"
#include "apps/viewer/dialogs/shortcuts_dialog.h"
#include "apps/viewer/dialogs/track_dialog.h"
#include "apps/viewer/model/opened_file.h"
#include "apps/viewer/start_page.h"
#include "apps/viewer/viewer_application.h"
#include "apps/viewer/viewer_arguments.h"
#include "zelk/scene/edits.h"

namespace zelk {
namespace {

TEST_F(FilesTest, OpensWhatAFileIs) {
    for (int frame : {11, 12, 13})
        fs::copy(folder.at("chelsea.png"), folder.at("s." + std::to_string(frame) + ".png"));
    struct Case {
        char const *file, *layer;
        int choice, first, last;
    };
    for (Case const& each :
         {Case{"move.zelk.json", "chelsea.png", 0, 1, 48},
          Case{"chelsea.png", "chelsea.png", 0, 0, 0}, Case{"s.12.png", "s.##.png", 0, 11, 13},
          Case{"s.12.png", "s.12.png", 1, 0, 0}, Case{"s.##.png", "s.##.png", 0, 11, 13}}) {
        names = {path(each.file)};
        choices = {each.choice};
        press("File/Open\u2026");
        EXPECT_EQ(error(), "");
        EXPECT_EQ(fs::path(document().scene().layer.file.written).filename(), each.layer);
        EXPECT_EQ(document().firstFrame(), each.first);
        EXPECT_EQ(document().lastFrame(), each.last);
        EXPECT_FALSE(window->isWindowModified());
    }
    for (char const* take : {"take01.mov", "take02.mov"}) folder.put(take, "");
    EXPECT_FALSE(sequenceOf(folder.at("take01.mov")));
    names = {path("move.zelk.json")};
    press("File/Open\u2026");
    EXPECT_EQ(window->windowTitle(), "move.zelk.json[*] \u2014 Zelk");
}

TEST_F(FilesTest, WhatCannotBeReadIsToldAndWhatWasOpenStays) {
    window->openFile(path("move.zelk.json"));
    std::string const before = text();
    folder.put("bad.zelk.json", "{\"schema\": \"zelk-project\",\n \"version\": 1,\n oops}");
    names = {path("bad.zelk.json")};
    press("File/Open\u2026");
    EXPECT_TRUE(error().contains("bad.zelk.json: not a JSON file at 3:2")) << error().toStdString();
    EXPECT_EQ(text(), before);
    EXPECT_EQ(document().file(), folder.at("move.zelk.json"));
}

TEST(ViewerArguments, AWrongOptionSaysWhereASceneHasIts) {
    EXPECT_EQ(
        failureOf([] { viewerArguments(std::vector{"--to"}); }).toStdString(),
        "unknown option \"--to\", expected files to open; `zelk view` takes a scene's options");
}

TEST_F(FilesTest, SavesToItsFileOrAsksForOne) {
    window->openFile(path("chelsea.png"));
    makeChange();
    EXPECT_TRUE(window->isWindowModified());
    names = {path("own")};
    press("File/Save");
    EXPECT_EQ(document().file(), folder.at("own.zelk.json"));
    EXPECT_FALSE(window->isWindowModified());
    std::string const saved = bytesOf(folder.at("own.zelk.json"));
    EXPECT_NE(saved.find("\"layer\": \"chelsea.png\""), saved.npos);
    document().undo();
    press("File/Save");
    EXPECT_NE(bytesOf(folder.at("own.zelk.json")), saved);
    makeChange();
    choices = {0};
    press("File/Revert");
    EXPECT_FALSE(window->isWindowModified());
    window->openFile(path("move.zelk.json"));
    QMenu menu;
    window->files().fillRecent(menu);
    ASSERT_EQ(menu.actions().size(), 3);
    menu.actions()[1]->trigger();
    EXPECT_EQ(document().file(), folder.at("own.zelk.json"));
}

/// Of all windows; the file is read when the menu opens, not with each change or key.
TEST_F(FilesTest, OpenRecentHasAllThatWasOpened) {
    for (int frame : {11, 12})
        fs::copy(folder.at("chelsea.png"), folder.at("s." + std::to_string(frame) + ".png"));
    for (char const* name : {"rocket.jpg", "s.##.png", "move.zelk.json", "rocket.jpg"})
        window->openFile(path(name));
    EXPECT_EQ(
        window->files().recent(),
        (std::vector{folder.at("rocket.jpg"), folder.at("move.zelk.json"), folder.at("s.##.png")}));
    start();
    auto const shown = [&] {
        QStringList list;
        for (auto const* const button :
             window->findChild<StartPage*>()->findChildren<QPushButton*>())
            if (button->toolTip() == "Open it again") list.append(nameOf(pathOf(button->text())));
        return list;
    };
    EXPECT_EQ(shown(), (QStringList{"rocket.jpg", "move.zelk.json", "s.##.png"}));
    press("File/Open Recent/Clear List");
    EXPECT_EQ(shown(), QStringList());
    folder.put("state/recent", path("s.##.png").toStdString() + "\n");  // by another window
    QAction const* const clear = window->menus().action("File/Open Recent/Clear List");
    window->menus().update();
    EXPECT_FALSE(clear->isEnabled());
    QMenu* const menu = window->menus().menu("File/Open Recent");
    emit menu->aboutToShow();
    menu->actions().front()->trigger();
    EXPECT_EQ(document().firstFrame(), 11);
}

TEST_F(FilesTest, FileDialogsShowWhatCanBeOpened) {
    QString shown;
    window->questions().fileToOpen = [&](QString const&, QString const& filter) {
        return shown = filter, QString();
    };
    window->openFile(path("chelsea.png"));
    for (auto const& [place, patterns] :
         {std::pair("File/Open\u2026", "*.zelk.json|*.exr|*.mov|*.JPG|*.nk"),
          {"File/Import/Track\u2026", "*.txt|*.nk"}}) {
        press(place);
        for (QString const& each : QString(patterns).split('|'))
            EXPECT_TRUE(shown.section(";;", 0, 0).contains(each + " ")) << shown.toStdString();
        EXPECT_TRUE(shown.endsWith(";;All files (*)"));
    }
}

/// Nothing is asked before the event's end.
void dropOn(ViewerWindow& window, QStringList const& asked, QList<QUrl> const& urls) {
    QMimeData data;
    data.setUrls(urls);
    QDragEnterEvent enter({300, 300}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&window, &enter);
    EXPECT_TRUE(enter.isAccepted());
    QDropEvent event({300, 300}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    auto const before = asked.size();
    QApplication::sendEvent(&window, &event);
    EXPECT_EQ(asked.size(), before);
    QCoreApplication::processEvents();
}

TEST_F(FilesTest, DropsOfManyFilesOfFoldersAndOfLinks) {
    fs::create_directories(folder.at("many/empty"));
    QList<QUrl> urls;
    for (int frame = 1; frame <= 1000; ++frame) {
        fs::path const file = folder.at("many") / fmt::format("s.{:04}.png", frame);
        fs::create_hard_link(folder.at("chelsea.png"), file);
        urls.append(QUrl::fromLocalFile(textOf(file)));
    }
    auto const layer = [&] { return document().scene().layer.file.path().filename().string(); };
    dropOn(*window, asked, urls);
    EXPECT_EQ(layer(), "s.####.png");
    EXPECT_EQ(document().lastFrame(), 1000);
    EXPECT_TRUE(asked.empty());
    start();
    choices = {1};
    dropOn(*window, asked, urls.mid(4, 500));
    EXPECT_EQ(layer(), "s.0005.png");
    EXPECT_EQ(asked.size(), 1) << asked.join("; ").toStdString();
    for (auto const& [url, opened] : {std::pair("file:many", "s.####.png"),
                                      {"file:many/empty", "has no project"},
                                      {"file:.", "chelsea.png"},
                                      {"https://a.example/b.png", "a.example"}}) {
        start();
        QString const place = QString(url).replace("file:", "file://" + path("") + "/");
        dropOn(*window, asked, {QUrl(place)});
        QString const got = document().isOpen() ? QString::fromStdString(layer()) : error();
        EXPECT_TRUE(got.contains(opened)) << got.toStdString();
    }
}

TEST_F(FilesTest, ADropTellsAllThatItRefuses) {
    dropOn(*window, asked,
           {QUrl("https://a.example/b.png"), QUrl::fromLocalFile(path("none.png")),
            QUrl::fromLocalFile(path("chelsea.png"))});
    EXPECT_TRUE(document().isOpen());
    for (char const* name : {"a.example", "none.png"})
        EXPECT_TRUE(error().contains(name)) << error().toStdString();
}

TEST_F(FilesTest, ADropAsksWhatItIsFor) {
    window->openFile(path("chelsea.png"));
    document().saveAs(folder.at("dropped.zelk.json"));
    std::string const before = text();
    auto const drop = [&](char const* name) {
        dropOn(*window, asked, {QUrl::fromLocalFile(path(name))});
    };
    struct Case {
        int choice;
        char const *name, *key;
    };
    for (Case const& each : {Case{0, "Set Layer", "\"layer\": \"rocket.jpg\""},
                             Case{1, "Set Plate", "\"plate\": \"rocket.jpg\""},
                             Case{3, "Set Holdout", "\"holdout\""}}) {
        choices = {each.choice};
        drop("rocket.jpg");
        EXPECT_EQ(error(), "");
        EXPECT_EQ(document().undoName(), each.name);
        document().saveAs(folder.at("dropped.zelk.json"));
        std::string const saved = bytesOf(folder.at("dropped.zelk.json"));
        EXPECT_NE(saved.find(each.key), saved.npos) << saved;
        if (each.choice == 1) {
            EXPECT_EQ(document().scene().comp.width, 640);
        }
        document().undo();
        EXPECT_EQ(text(), before);
    }
    drop("move.zelk.json");  // asks whether to save, and stays without an answer
    EXPECT_EQ(text(), before);
    choices = {1};
    drop("move.zelk.json");
    EXPECT_EQ(document().file(), folder.at("move.zelk.json"));
}

TEST_F(FilesTest, MissingFilesAreNamedAndRelinkedInOneStep) {
    openTracked();
    fs::create_directories(folder.at("a/shots"));
    document().saveAs(folder.at("a/lost.zelk.json"));
    std::string const whole = bytesOf(folder.at("a/lost.zelk.json"));
    fs::create_directories(folder.at("b"));
    for (char const* name : {"chelsea.png", "rocket.jpg", "sign-track.txt"})
        fs::rename(folder.at(name), folder.at(std::string("b/") + name));
    window->openFile(path("a/lost.zelk.json"));
    EXPECT_EQ(error(), "");
    QString const notice = window->notices().text("missing");
    for (char const* word : {"layer", "chelsea.png", "plate", "rocket.jpg", "track of the To Pins"})
        EXPECT_TRUE(notice.contains(word)) << notice.toStdString();
    EXPECT_EQ(text(), whole);
    names = {path("b")};
    EXPECT_TRUE(window->notices().press("missing", "Relink in Folder\u2026"));
    EXPECT_EQ(window->notices().text("missing"), "");
    EXPECT_EQ(document().undoName(), "Relink Files");
    EXPECT_EQ(document().scene().layer.file.written, "../b/chelsea.png");
    EXPECT_TRUE(document().scene().tracks.at(0).track);
    document().undo();
    EXPECT_EQ(text(), whole);
    EXPECT_NE(window->notices().text("missing"), "");
    folder.put("b/sign-track.txt", "no track");
    names = {path("b")};
    EXPECT_TRUE(window->notices().press("missing", "Relink in Folder\u2026"));
    EXPECT_TRUE(error().contains("b/sign-track.txt")) << error().toStdString();
    EXPECT_EQ(document().scene().layer.file.written, "../b/chelsea.png");
    document().undo();
    names = {path("b/chelsea.png")};
    press("File/Relink Missing File\u2026");
    EXPECT_EQ(document().undoName(), "Relink Layer");
    EXPECT_FALSE(window->notices().text("missing").contains("chelsea.png"));
}

TEST_F(FilesTest, ASequenceWhoseFolderIsGoneIsFoundByAnyTailOfItsPath) {
    for (char const* place : {"shots/010", "moved/010", "flat"})
        fs::create_directories(folder.at(place));
    for (char const* frame : {"3", "4"})
        fs::copy(folder.at("rocket.jpg"),
                 folder.at(std::string("shots/010/r.000") + frame + ".jpg"));
    window->openFile(path("move.zelk.json"));
    window->inputs().import(InputKind::kPlate, folder.at("shots/010/r.####.jpg"));
    document().save();
    for (char const* place : {"moved/010", "flat"}) {
        fs::rename(folder.at("shots"), folder.at("away"));
        for (char const* frame : {"3", "4"})
            fs::create_hard_link(
                folder.at(std::string("away/010/r.000") + frame + ".jpg"),
                folder.at(place) / fs::path(std::string("r.000") + frame + ".jpg"));
        window->openFile(path("move.zelk.json"));
        EXPECT_TRUE(window->notices().text("missing").contains("r.####.jpg: no such files"));
        press("File/Reload Files");
        EXPECT_EQ(error(), "");
        names = {path("state"), path(place).section('/', 0, place[0] == 'm' ? -2 : -1)};
        press("File/Relink in Folder\u2026");
        EXPECT_TRUE(error().contains("none of the missing files")) << error().toStdString();
        press("File/Relink in Folder\u2026");
        EXPECT_EQ(error(), "");
        EXPECT_EQ(document().scene().plate->file.written, std::string(place) + "/r.####.jpg");
        choices = {1};
        fs::rename(folder.at("away"), folder.at("shots"));
    }
}

TEST_F(FilesTest, AMissingMovieIsNamedAndRelinked) {
    shell("zelk render --project " + path("move.zelk.json").toStdString() +
          " --frames 3-5 -o ../m.mov");
    for (char const* act : {"File/Open\u2026", "File/Import/Plate\u2026"}) {
        window->openFile(path("chelsea.png"));
        names = {path("m.mov")};
        press(act);
        auto const [first, last] = std::pair(document().firstFrame(), document().lastFrame());
        EXPECT_EQ(last - first, 2);
        document().saveAs(folder.at("movie.zelk.json"));
        std::string const saved = text();
        fs::rename(folder.at("m.mov"), folder.at("away.mov"));
        window->openFile(path("movie.zelk.json"));
        EXPECT_EQ(error(), "");
        EXPECT_TRUE(window->notices().text("missing").contains("m.mov: no such file"));
        EXPECT_EQ(text(), saved);
        EXPECT_EQ(document().lastFrame(), last);
        auto& canvas = window->composition().canvas();
        ASSERT_TRUE(QTest::qWaitFor([&] { return canvas.isAtRest(); }, 20000));
        EXPECT_NE(canvas.shown()->error.find("m.mov"), std::string::npos);
        makeChange();
        document().undo();
        names = {path("away.mov")};
        press("File/Relink Missing File\u2026");
        EXPECT_EQ(window->notices().text("missing"), "");
        ASSERT_TRUE(QTest::qWaitFor([&] { return canvas.isAtRest(); }, 20000));
        EXPECT_EQ(canvas.shown()->error, "");
        fs::rename(folder.at("away.mov"), folder.at("m.mov"));
        document().undo();
        EXPECT_EQ(text(), saved);
    }
}

TEST_F(FilesTest, ATrackIsSeenBeforeItIsTaken) {
    window->openFile(path("move.zelk.json"));
    std::string const before = text();
    dropOn(*window, asked, {QUrl::fromLocalFile(path("sign-track.txt"))});
    auto* const dialog = window->findChild<TrackDialog*>();
    ASSERT_TRUE(dialog);
    dialog->activateWindow();
    ASSERT_TRUE(QTest::qWaitFor([&] { return dialog->isActiveWindow(); }));
    auto const field = [&](char const* name) {
        for (auto* const each : dialog->findChildren<QLineEdit*>())
            if (each->accessibleName() == name) return each;
        return static_cast<QLineEdit*>(nullptr);
    };
    auto const type = [&](char const* name, char const* value) {
        field(name)->setFocus();
        field(name)->selectAll();
        QTest::keyClicks(field(name), value);
        QTest::keyClick(field(name), Qt::Key_Tab);
    };
    type("First Frame", "1001");
    type("Size", "1280x720");
    EXPECT_EQ(dialog->choice().span()->first, 1001);
    type("Corners", "ur,ul,lr,ll");
    ASSERT_FALSE(dialog->choice().warnings().empty());
    QTest::qWait(0);  // new rows are shown then
    auto const fixes = dialog->findChildren<QPushButton*>();
    auto const fix = std::find_if(fixes.begin(), fixes.end(), [](QPushButton const* button) {
        return button->text() == "Correct: Corners ul,ur,ll,lr" &&
               button->isVisibleTo(button->window());
    });
    ASSERT_NE(fix, fixes.end());
    QTest::keyClick(*fix, Qt::Key_Space);
    EXPECT_EQ(field("Corners")->text(), "ul,ur,ll,lr");
    field("Shift")->setFocus();
    QTest::keyClicks(field("Shift"), "3");
    QTest::keyClick(field("Shift"), Qt::Key_Return);  // takes the value, not the track
    EXPECT_EQ(dialog->choice().span()->first, 1004);
    EXPECT_TRUE(dialog->isVisible());
    type("Shift", "0");
    for (auto* const box : dialog->findChildren<QAbstractButton*>())
        if (box->text().startsWith("Set the composition")) box->click();
    auto const span = *dialog->choice().span();
    dialog->accept();
    EXPECT_EQ(error(), "");
    EXPECT_EQ(document().undoName(), "Import Track");
    EXPECT_EQ(document().firstFrame(), 1001);
    EXPECT_EQ(document().lastFrame(), span.last);
    ASSERT_EQ(document().scene().tracks.size(), 1u);
    EXPECT_EQ(document().scene().tracks[0].file.written, "sign-track.txt");
    document().undo();
    EXPECT_EQ(text(), before);
}

/// To Pins are seen on the plate, which the layer hides in the frame, From Pins on the layer.
TEST_F(FilesTest, PathsLieOverThePictureOfTheirPins) {
    EXPECT_EQ(pictureUnder(Scene(), TrackedPins::kTo), std::nullopt);
    window->openFile(path("move.zelk.json"));
    names = {path("sign-track.txt")};
    press("File/Open\u2026");  // as Import has it
    auto const* const preview = window->findChild<TrackDialog*>()->findChild<PathPreview*>();
    auto* const pins = window->findChild<TrackDialog*>()->findChildren<QComboBox*>().front();
    for (auto const& [choice, name] : {std::pair(0, "rocket.jpg"), {1, "chelsea.png"}}) {
        QImage const file(path(name));
        pins->setCurrentIndex(choice);
        emit pins->activated(choice);
        auto const isSeen = [&, file = file] {
            World const* const shown = preview->picture();
            if (!shown || QSize(shown->width(), shown->height()) != file.size()) return false;
            int worst = 0;
            for (int at = 40; at < shown->height(); at += 40)
                worst = std::max(worst, std::abs(qGreen(file.pixel(at, at)) -
                                                 shown->rowAs<std::uint8_t>(at)[at * 4 + 2]));
            return worst <= 12;  // two decoders
        };
        EXPECT_TRUE(QTest::qWaitFor(isSeen, 20000)) << name;
    }
}

TEST_F(FilesTest, AFullDiskLeavesTheOldProject) {
    fs::create_directory(folder.at("disk"));
    if (::mount("none", folder.at("disk").c_str(), "tmpfs", 0, "size=16k") != 0)
        GTEST_SKIP() << "no small disk can be had here";
    fs::copy(folder.at("move.zelk.json"), folder.at("disk/move.zelk.json"));
    std::string const before = bytesOf(folder.at("disk/move.zelk.json"));
    window->openFile(path("disk/move.zelk.json"));
    std::ofstream(folder.at("disk/rest")) << std::string(1 << 16, 'x');
    makeChange();
    press("File/Save");
    EXPECT_TRUE(error().contains("No space left on device")) << error().toStdString();
    EXPECT_EQ(bytesOf(folder.at("disk/move.zelk.json")), before);
    EXPECT_TRUE(window->isWindowModified());
    fs::remove(folder.at("disk/rest"));
    press("File/Save");
    EXPECT_EQ(bytesOf(folder.at("disk/move.zelk.json")), text());
    ::umount(folder.at("disk").c_str());
}

TEST_F(FilesTest, EachActHasItsPlaceAndKeysAreNoTwoActs) {
    QStringList const desktops = {"Ctrl+Alt+L", "Ctrl+Alt+Up",   "Ctrl+Alt+Down",
                                  "Ctrl+Alt+T", "Ctrl+Alt+Left", "Ctrl+Alt+Right",
                                  "Ctrl+Alt+A", "Ctrl+Alt+D",    "Alt+F4",
                                  "Alt+Tab",    "Alt+Space",     "Ctrl+Alt+Del"};
    QMap<QString, QString> keys;
    for (ViewerCommand const& command : window->menus().commands()) {
        if (command.name.isEmpty()) continue;
        QString const place = command.menu + "/" + command.name;
        EXPECT_FALSE(command.help.isEmpty()) << place.toStdString();
        ASSERT_TRUE(window->menus().action(place));
        for (QKeySequence const& each : window->menus().action(place)->shortcuts()) {
            EXPECT_FALSE(desktops.contains(each.toString())) << place.toStdString();
            EXPECT_EQ(std::exchange(keys[each.toString()], place), "") << place.toStdString();
        }
    }
    EXPECT_FALSE(window->menus().action("Edit/Undo")->isEnabled());
    window->openFile(path("move.zelk.json"));
    makeChange();
    window->menus().update();
    EXPECT_EQ(window->menus().action("Edit/Undo")->text(),
              "Undo " + QString::fromStdString(std::string(document().undoName())));
    QTest::keyClick(window.get(), Qt::Key_Z, Qt::ControlModifier);
    EXPECT_FALSE(window->isWindowModified());
    QTest::keyClick(window.get(), Qt::Key_F1);
    auto const* const list = window->findChild<QTreeWidget*>();
    ASSERT_TRUE(list);
    EXPECT_FALSE(list->findItems("Copy as Command", Qt::MatchExactly | Qt::MatchRecursive).empty());
}

}  // namespace
}  // namespace zelk
