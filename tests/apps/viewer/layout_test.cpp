// What one window leaves to the next, and the theme.
#include <QApplication>
#include <QComboBox>
#include <QDockWidget>
#include <QLabel>
#include <QLineEdit>
#include <QSettings>
#include <QStyle>
#include <cmath>
#include <fstream>

#include "apps/viewer/composition_canvas.h"
#include "apps/viewer/composition_panel.h"
#include "apps/viewer/parameter_panel.h"
#include "apps/viewer/theme.h"
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

/// WCAG's, of sRGB.
double luminance(QColor const& color) {
    auto const light = [](double c) {
        return c <= 0.04045 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * light(color.redF()) + 0.7152 * light(color.greenF()) +
           0.0722 * light(color.blueF());
}
double contrast(QColor const& a, QColor const& b) {
    double const x = luminance(a) + 0.05, y = luminance(b) + 0.05;
    return std::max(x, y) / std::min(x, y);
}

/// By the palette, and by what the parameters come to on the screen.
TEST_F(LayoutTest, TextOfTheThemeIsReadAndChangedNamesAreBold) {
    using P = QPalette;
    P const palette = themePalette();
    for (auto const group : {P::Active, P::Inactive, P::Disabled})
        for (auto const& [text, ground] : {std::pair{P::WindowText, P::Window},
                                           {P::Text, P::Base},
                                           {P::Text, P::AlternateBase},
                                           {P::Text, P::Window},
                                           {P::ButtonText, P::Button},
                                           {P::ButtonText, P::Window},
                                           {P::HighlightedText, P::Highlight},
                                           {P::ToolTipText, P::ToolTipBase},
                                           {P::PlaceholderText, P::Base},
                                           {P::PlaceholderText, P::Window},
                                           {P::Link, P::Window},
                                           {P::Link, P::Base},
                                           {P::BrightText, P::Window}})
            EXPECT_GE(contrast(palette.color(group, text), palette.color(group, ground)), 4.5)
                << group << ": " << text << " on " << ground;
    QString const style = qApp->style()->name();
    P const usual = qApp->palette();
    applyTheme(*qApp);
    auto window = opened();
    auto const row = [&](char const* name) {
        return window->parameters().findChild<QWidget*>(name);
    };
    EXPECT_TRUE(row("rotate")->findChild<QLabel*>()->font().bold());
    EXPECT_FALSE(row("translate-x")->findChild<QLabel*>()->font().bold());
    int seen = 0;
    for (QWidget* const each : window->parameters().findChildren<QWidget*>()) {
        bool const isText = qobject_cast<QLabel*>(each) || qobject_cast<QLineEdit*>(each) ||
                            qobject_cast<QComboBox*>(each);
        bool const isSeen = each->isEnabled() && !each->visibleRegion().isEmpty();
        if (!isText || !isSeen) continue;
        QImage const picture = each->grab(each->rect().adjusted(4, 2, -20, -2)).toImage();
        QColor const ground = picture.pixelColor(0, 0);
        double best = 1;
        for (int y = 0; y < picture.height(); ++y)
            for (int x = 0; x < picture.width(); ++x)
                best = std::max(best, contrast(picture.pixelColor(x, y), ground));
        EXPECT_GE(best, 4.5) << each->accessibleName().toStdString();
        ++seen;
    }
    EXPECT_GT(seen, 30);
    window.reset();
    qApp->setStyleSheet({});
    qApp->setStyle(style);
    qApp->setPalette(usual);
}

}  // namespace
}  // namespace zelk
