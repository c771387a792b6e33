// What one window leaves to the next.
#include <QDockWidget>
#include <QSettings>
#include <fstream>

#include "apps/viewer/composition_canvas.h"
#include "apps/viewer/composition_panel.h"
#include "tests/apps/viewer/window_fixture.h"

namespace zelk {
namespace {

class LayoutTest : public testing::Test {
protected:
    LayoutTest() {
        QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope,
                           QString::fromStdString(folder.at("settings")));
    }

    std::unique_ptr<ViewerWindow> opened() {
        auto window = std::make_unique<ViewerWindow>(ZELK_MODULE);
        window->rememberLayout();
        window->show();
        window->openFile(QString::fromStdString(exampleFile("move.zelk.json")));
        EXPECT_TRUE(QTest::qWaitForWindowExposed(window.get()));
        return window;
    }
    static QDockWidget& dock(ViewerWindow& window, char const* name) {
        return *window.findChild<QDockWidget*>(name);
    }

    zelk_test::TemporaryFolder folder;
};

TEST_F(LayoutTest, ANextWindowHasIt) {
    auto first = opened();
    first->addDockWidget(Qt::LeftDockWidgetArea, &dock(*first, "Parameters"));
    first->resize(1310, 820);
    first->resizeDocks({&dock(*first, "Timeline")}, {311}, Qt::Vertical);
    first->resizeDocks({&dock(*first, "Parameters")}, {477}, Qt::Horizontal);
    QTest::qWait(50);
    for (char const* place : {"View/Background/White", "View/Pixel Grid", "Pins/Snap",
                              "Keys/Show All Parameters", "Play/Repeat/Ping-Pong"})
        first->menus().action(place)->trigger();
    first->colors().chooseDisplay("Rec709");
    QSize const size = first->size();
    int const width = dock(*first, "Parameters").width();
    int const height = dock(*first, "Timeline").height();
    ASSERT_GT(width, 450);
    first->close();
    first.reset();

    auto const next = opened();
    EXPECT_EQ(next->size(), size);
    EXPECT_EQ(next->dockWidgetArea(&dock(*next, "Parameters")), Qt::LeftDockWidgetArea);
    EXPECT_EQ(dock(*next, "Parameters").width(), width);
    EXPECT_EQ(dock(*next, "Timeline").height(), height);
    CanvasLook const& look = next->composition().canvas().look();
    EXPECT_EQ(look.pixels.backdrop, Backdrop::kWhite);
    EXPECT_FALSE(look.hasGrid);
    EXPECT_TRUE(look.snaps && look.hasOverlay);
    EXPECT_EQ(look.displayView, "Rec709");
    for (char const* place : {"Keys/Show All Parameters", "Play/Repeat/Ping-Pong"})
        EXPECT_TRUE(next->menus().action(place)->isChecked()) << place;
}

/// Of another program, cut, or no settings at all.
TEST_F(LayoutTest, SettingsThatAreNoneDoNoHarm) {
    QString const file = QSettings("Zelk", "zelk-viewer").fileName();
    std::filesystem::create_directories(std::filesystem::path(file.toStdString()).parent_path());
    opened()->close();
    QSettings(file, QSettings::IniFormat).sync();
    for (std::string const& text :
         {std::string("\0\xff\x01[[[=;\n%%%", 13),
          std::string("[General]\ngeometry=@ByteArray(\\x1\\xd9\\xd0)\nlayout=@ByteArray(\\0"
                      "\\0\\0\\xff\\0\\0\\0\\0\\xfd)\ndisplay=@Variant(none)\n"),
          std::string("[General]\ngeometry=17\nlayout=true\ndisplay=Somebody's\n[choices]\n"
                      "View\\Background\\White=perhaps\n[parameters]\nfolded=3\n")}) {
        std::ofstream(file.toStdString(), std::ios::binary) << text;
        auto const window = opened();
        for (char const* name : {"Parameters", "Timeline"})
            EXPECT_TRUE(dock(*window, name).isVisible() && dock(*window, name).height() > 80);
        EXPECT_GT(window->composition().height(), 100);
        EXPECT_EQ(window->composition().canvas().look().displayView, std::nullopt);
        window->close();
    }
}

}  // namespace
}  // namespace zelk
