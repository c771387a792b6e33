// A window with a scene of small pictures, and what its tests compare it with.
#pragma once

#include <gtest/gtest.h>

#include <QTest>
#include <memory>
#include <string>

#include "apps/viewer/viewer_window.h"
#include "tests/support/temporary_folder.h"

namespace zelk {

/// The scene is examples/move.zelk.json: a 451 x 300 layer over a 640 x 427 plate, 48 frames from
/// 1, keyframes on the To Pins, motion blur on.
class WindowTest : public testing::Test {
protected:
    WindowTest();

    Document& document() { return window->document(); }
    /// The scene's text as it would be saved now.
    std::string text() { return sceneTextOf(document()); }
    static std::string sceneTextOf(Document const& document);

    zelk_test::TemporaryFolder folder;
    std::unique_ptr<ViewerWindow> window;
};

/// By its key with the focus there, or from its menu where it has none.
void press(QAction& act, QWidget& focus);

void wheel(QWidget& widget, QPointF at, int notches, Qt::KeyboardModifiers held = {});

/// What a panel is tested on: the path of an example.
std::string exampleFile(std::string const& name);

}  // namespace zelk
