// A window with files of a test's own, and answers that it gives instead of dialogs.
#pragma once

#include <gtest/gtest.h>

#include <QTest>
#include <deque>
#include <fstream>
#include <iterator>
#include <memory>

#include "apps/viewer/viewer_window.h"
#include "tests/apps/viewer/window_fixture.h"
#include "zelk/scene/edits.h"
#include "zelk/scene/file.h"
#include "zelk/scene/parameter_names.h"

namespace zelk {

class FilesTest : public testing::Test {
protected:
    FilesTest() {
        for (char const* name : {"chelsea.png", "rocket.jpg", "move.zelk.json", "sign-track.txt"})
            std::filesystem::copy(exampleFile(name), folder.at(name));
        start();
    }

    /// A window anew, as another process would have it.
    void start() {
        window.reset();
        window = std::make_unique<ViewerWindow>(ZELK_MODULE, folder.at("state"));
        window->resize(1200, 800);
        window->show();
        window->activateWindow();  // a screen without a window manager does not
        EXPECT_TRUE(QTest::qWaitForWindowActive(window.get()));
        auto const next = [this](QString const& title) {
            asked.append(title);
            if (names.empty()) return QString();
            QString const name = names.front();
            names.pop_front();
            return name;
        };
        window->questions().fileToOpen = [next](QString const& title, QString const&) {
            return next(title);
        };
        window->questions().fileToSave = [next](QString const& title, QString const&,
                                                QString const&) { return next(title); };
        window->questions().folder = next;
        window->questions().choice = [this](QString const& text, Answers const&) {
            asked.append(text);
            if (choices.empty()) return -1;
            int const choice = choices.front();
            choices.pop_front();
            return choice;
        };
        window->questions().goesOn = [this](QString const& text, QString const&, QString const&) {
            return window->questions().choice(text, {}) == 0;
        };
    }

    /// The project with its To pins by the track instead of keys.
    void openTracked() {
        window->openFile(path("move.zelk.json"));
        document().change("Track", [&](Scene& scene) {
            scene.trackReading.firstFrame = 1;
            sceneEdit("track").apply(scene, "track", folder.at("sign-track.txt").string());
            std::erase_if(scene.parameters,
                          [](auto const& p) { return p.name.starts_with("to-"); });
        });
    }

    Document& document() { return window->document(); }
    std::string text() { return sceneText(document().scene()); }
    QString path(char const* name) const { return textOf(folder.at(name)); }
    void press(char const* place) {
        window->menus().update();
        zelk::press(*window->menus().action(place), *window);
    }
    QString error() const { return window->notices().text("error"); }
    void makeChange() { document().edit(kParamCornerPinOpacity, {70}); }

    static std::string bytesOf(std::filesystem::path const& file) {
        std::ifstream in(file, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), {}};
    }
    /// Whole: one that is being written has a hidden name.
    static bool isAutosaved(std::filesystem::path const& file) {
        return file.extension() == ".zelk-recovery" && !file.filename().string().starts_with('.');
    }
    /// Scenes that are autosaved in the window's state folder.
    int autosaved() const {
        int files = 0;
        std::error_code none;
        for (auto const& entry : std::filesystem::directory_iterator(folder.at("state"), none))
            files += isAutosaved(entry.path()) && entry.file_size() > 0;
        return files;
    }
    /// In the folder `out`, by a shell; what it printed otherwise.
    void shell(std::string const& line) {
        std::filesystem::create_directories(folder.at("out"));
        std::string const bin = std::filesystem::path(ZELK_BINARY).parent_path().string();
        std::string const all = "cd " + folder.at("out").string() + " && PATH=" + bin + ":$PATH " +
                                line + " >said 2>&1";
        EXPECT_EQ(std::system(all.c_str()), 0) << line << "\n" << bytesOf(folder.at("out/said"));
    }

    zelk_test::TemporaryFolder folder;
    std::deque<QString> names;  ///< of files that the user chooses
    std::deque<int> choices;
    QStringList asked;
    std::unique_ptr<ViewerWindow> window;
};

}  // namespace zelk
