// Scenes that save themselves, and what a viewer leaves that is killed.
#include <fmt/format.h>
#include <signal.h>

#include <QProcess>
#include <QPushButton>
#include <QTreeWidget>
#include <utility>

#include "apps/viewer/dialogs/recovery_dialog.h"
#include "apps/viewer/model/autosave.h"
#include "tests/apps/viewer/files_fixture.h"
#include "zelk/files/process_tag.h"

namespace zelk {
namespace {

/// `zelk view` starts the real program with a scene of options; it is killed while it edits.
TEST_F(FilesTest, WhatAKilledViewerHadIsRecovered) {
    fs::path const state = folder.at("xdg/zelk");
    QProcess viewer;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("XDG_STATE_HOME", path("xdg"));
    environment.insert("XDG_CONFIG_HOME", path("config"));
    environment.insert("QT_QPA_PLATFORM", "offscreen");
    environment.insert("ZELK_MODULE", ZELK_MODULE);
    viewer.setProcessEnvironment(environment);
    viewer.start(ZELK_BINARY, {"view", path("move.zelk.json"), "--opacity", "35"});
    ASSERT_TRUE(viewer.waitForStarted());
    auto const saved = [&] {
        std::error_code none;
        for (auto const& entry : fs::directory_iterator(state, none))
            if (isAutosaved(entry.path())) return entry.path();
        return fs::path();
    };
    for (int turn = 0; turn < 300 && saved().empty(); ++turn) QTest::qWait(100);
    fs::path const file = saved();
    ASSERT_FALSE(file.empty()) << viewer.readAllStandardError().toStdString();
    EXPECT_TRUE(abandonedScenes(state).empty());  // its viewer lives
    ::kill(static_cast<pid_t>(viewer.processId()), SIGKILL);
    viewer.waitForFinished();
    ASSERT_EQ(abandonedScenes(state), std::vector{file});

    std::string const name = file.stem().string();  // of a file that it was writing
    std::string const maker =
        name.substr(name.rfind('.') + 1, name.rfind('-') - name.rfind('.') - 1);
    std::string const half = "." + name + ".zelk-" + maker + "-0.zelk-recovery";
    fs::create_directories(folder.at("state"));
    fs::rename(file, folder.at("state") / file.filename());
    folder.put("state/" + half, "half");
    start();
    EXPECT_FALSE(fs::exists(folder.at("state/" + half)));
    window->openAtStart({});
    QString const key = "recovery";
    EXPECT_TRUE(window->notices().text(key).contains("move.zelk.json"));
    folder.put("move.zelk.json", bytesOf(folder.at("move.zelk.json")) + "\n");  // by somebody else
    document().onChange([isShort = true](DocumentChange const&) mutable {
        if (std::exchange(isShort, false)) throw std::bad_alloc();
    });
    window->notices().press(key, "Recover");
    EXPECT_TRUE(fs::exists(folder.at("state") / file.filename()));
    choices = {1};
    ASSERT_TRUE(window->notices().press(key, "Recover"));
    EXPECT_EQ(error(), "");
    EXPECT_EQ(document().file(), folder.at("move.zelk.json"));
    EXPECT_EQ(document().valueOf(kParamCornerPinOpacity)[0], 35);
    EXPECT_TRUE(window->isWindowModified());
    EXPECT_EQ(autosaved(), 1);  // kept until it is saved
    choices = {1};
    press("File/Save");
    EXPECT_TRUE(asked.back().contains("changed on disk"));
    EXPECT_EQ(bytesOf(folder.at("move.zelk.json")), text());
    EXPECT_EQ(autosaved(), 0);
}

TEST_F(FilesTest, ManyScenesToRecoverAreOneNoticeAndAList) {
    fs::create_directories(folder.at("state"));
    for (char const* name : {"move.zelk.json", "chelsea.png", "rocket.jpg"}) {
        window->openFile(path(name));
        document().edit(kParamCornerPinOpacity, {50});
        ProcessTag dead = thisProcess();
        dead.start ^= 1;
        folder.put(fmt::format("state/{}.{}-{}.zelk-recovery", hostName(), dead.text(), name[0]),
                   handOverText({document().scene(), document().file(), document().fileSum()}));
        choices = {1};
        start();
    }
    window->openAtStart({});
    QString const key = "recovery";
    EXPECT_TRUE(window->notices().text(key).contains("3 scenes"));
    window->notices().press(key, "Show List\u2026");
    auto* const list = window->findChild<RecoveryDialog*>();
    ASSERT_TRUE(list);
    auto* const tree = list->findChild<QTreeWidget*>();
    EXPECT_EQ(tree->findItems("chelsea.png, never saved", Qt::MatchEndsWith).size(), 1);
    tree->setCurrentItem(tree->findItems("move.zelk.json", Qt::MatchEndsWith).value(0));
    choices = {-1};
    for (char const* act : {"Discard\u2026", "Recover"})
        for (auto* const button : list->findChildren<QPushButton*>())
            if (button->text() == act) button->click();
    EXPECT_EQ(asked.back(), "The changes to " + path("move.zelk.json") + " go for good.");
    EXPECT_EQ(error(), "");
    EXPECT_EQ(document().valueOf(kParamCornerPinOpacity)[0], 50);
    choices = {-1, 0};
    window->notices().press(key, "Discard All\u2026");
    EXPECT_TRUE(window->notices().text(key).contains("2 scenes"));
    window->notices().press(key, "Discard All\u2026");
    EXPECT_EQ(window->notices().text(key), "");
    EXPECT_EQ(autosaved(), 1);  // the one that was recovered
}

/// Processes that nothing is known of: only those from before the machine's start are surely dead.
TEST_F(FilesTest, WhatMayStillBeEditedIsNotOffered) {
    using std::chrono::hours;
    double up = 0;
    std::ifstream("/proc/uptime") >> up;
    auto const sinceStart = std::chrono::seconds(static_cast<long>(up));
    ProcessTag other = thisProcess();
    other.machine ^= 1;
    auto const isOffered = [&](std::string const& host, std::chrono::seconds age) {
        fs::create_directories(folder.at("state"));
        fs::path const file =
            folder.put("state/" + host + "." + other.text() + "-1.zelk-recovery", "");
        fs::last_write_time(file, fs::file_time_type::clock::now() - age);
        bool const isAny = !abandonedScenes(folder.at("state")).empty();
        return fs::remove(file) && isAny;
    };
    EXPECT_FALSE(isOffered(hostName(), sinceStart / 2 % hours(24)));
    EXPECT_TRUE(isOffered(hostName(), sinceStart + hours(1)));
    EXPECT_FALSE(isOffered("another", hours(23)));
    EXPECT_TRUE(isOffered("another", hours(25)));
}

TEST_F(FilesTest, AutosavedScenesGoWithTheirReason) {
    window->openFile(path("move.zelk.json"));
    window->recovery()->setDelay(10);
    auto const awaitCount = [&](int files) {
        return QTest::qWaitFor([&] { return autosaved() == files; }, 5000);
    };
    makeChange();
    EXPECT_TRUE(awaitCount(1));
    document().undo();
    EXPECT_TRUE(awaitCount(0));
    makeChange();
    EXPECT_TRUE(awaitCount(1));
    choices = {1};  // don't save
    window->close();
    EXPECT_EQ(autosaved(), 0);
    Autosave own(folder.at("state"));
    own.write({document().scene(), document().file(), document().fileSum()});
    EXPECT_EQ(own.adopt(folder.at("gone")), std::errc::no_such_file_or_directory);
    own.remove();
    EXPECT_EQ(autosaved(), 0);
    EXPECT_FALSE(own.adopt(folder.put("left", "theirs")));
    own.giveBack(folder.at("gone/left"));
    own.write({document().scene(), document().file(), document().fileSum()});
    own.remove();
    EXPECT_EQ(autosaved(), 1);
}

TEST_F(FilesTest, AnAutosaveThatFailsIsToldAtOnceAndTriedAgain) {
    folder.put("state", "no folder");
    window->openFile(path("move.zelk.json"));
    window->recovery()->setDelay(10);
    makeChange();
    auto const notice = [&] { return window->notices().text("autosave"); };
    EXPECT_TRUE(QTest::qWaitFor([&] { return !notice().isEmpty(); }));
    EXPECT_TRUE(notice().contains("not saved by itself")) << notice().toStdString();
    fs::remove(folder.at("state"));
    EXPECT_TRUE(QTest::qWaitFor([&] { return notice().isEmpty() && autosaved() == 1; }));
}

}  // namespace
}  // namespace zelk
