// A composition panel with a scene of small pictures, and a user's mouse and keys on it.
#pragma once

#include <gtest/gtest.h>

#include <QImage>
#include <QTest>
#include <memory>

#include "apps/viewer/composition_canvas.h"
#include "apps/viewer/composition_panel.h"
#include "apps/viewer/window_menus.h"
#include "tests/support/temporary_folder.h"

namespace zelk {

/// The scene is examples/move.zelk.json at frame 24, as WindowTest has it.
class CompositionTest : public testing::Test {
protected:
    CompositionTest();

    std::string text() const;
    CompositionCanvas& canvas() { return panel.canvas(); }
    double density() { return canvas().devicePixelRatioF(); }
    /// So that this point of the picture lies in the panel's middle.
    void look(double zoom, PanelPoint middle);
    void setLook(std::function<void(CanvasLook&)> const& act);
    /// A scene of the layer alone, whose frame has the layer's size.
    void openLayer();
    /// Nothing is converted, for the screen either: the plate is in Adobe RGB.
    void keepStoredValues();
    PanelPoint valueOf(int pin);

    /// A place in the widget, the nearest to a point of the picture.
    QPoint placeOf(PanelPoint picture);
    void mouse(QEvent::Type type, QPoint at, Qt::KeyboardModifiers keys = {});
    void drag(QPoint from, QPoint to, Qt::KeyboardModifiers atPress = {},
              Qt::KeyboardModifiers after = {});
    void key(int code, Qt::KeyboardModifiers keys = {});
    void choose(char const* command);

    void awaitRest();
    /// What the canvas shows, as the device has it, without pins.
    QImage shot();
    QImage pictureOf(QImage const& shot);
    /// Runs `zelk` with the document as project; the file that it writes, as straight colour.
    QImage rendered();
    void render(std::filesystem::path const& file);

    zelk_test::TemporaryFolder folder;
    Document document{ZELK_MODULE};
    QMainWindow frame;  ///< of the panel alone, with its menus
    CompositionPanel panel{document};
    WindowMenus menus{frame, [](QString const&) {}};
};

/// The first pixel in which two pictures differ, alpha aside; empty for none.
std::string differenceOf(QImage const& a, QImage const& b);

}  // namespace zelk
