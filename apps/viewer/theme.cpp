// See theme.h.
#include "apps/viewer/theme.h"

#include <QApplication>
#include <QPalette>
#include <QStyleFactory>

namespace zelk {

namespace {

constexpr QRgb kBase = qRgb(30, 31, 33), kPanel = qRgb(43, 44, 47), kButton = qRgb(60, 62, 66);
constexpr QRgb kText = qRgb(214, 216, 220), kDim = qRgb(122, 125, 130);
constexpr QRgb kAccent = qRgb(70, 120, 190), kLine = qRgb(24, 25, 27);

QPalette darkPalette() {
    QPalette palette;
    palette.setColor(QPalette::Window, kPanel);
    palette.setColor(QPalette::WindowText, kText);
    palette.setColor(QPalette::Base, kBase);
    palette.setColor(QPalette::AlternateBase, qRgb(36, 37, 40));
    palette.setColor(QPalette::Text, kText);
    palette.setColor(QPalette::Button, kButton);
    palette.setColor(QPalette::ButtonText, kText);
    palette.setColor(QPalette::BrightText, qRgb(255, 110, 100));
    palette.setColor(QPalette::PlaceholderText, kDim);
    palette.setColor(QPalette::ToolTipBase, qRgb(56, 58, 62));
    palette.setColor(QPalette::ToolTipText, kText);
    palette.setColor(QPalette::Highlight, kAccent);
    palette.setColor(QPalette::HighlightedText, qRgb(255, 255, 255));
    palette.setColor(QPalette::Link, qRgb(120, 175, 245));
    palette.setColor(QPalette::Light, qRgb(76, 78, 83));
    palette.setColor(QPalette::Midlight, qRgb(66, 68, 72));
    palette.setColor(QPalette::Mid, qRgb(36, 37, 40));
    palette.setColor(QPalette::Dark, kLine);
    palette.setColor(QPalette::Shadow, qRgb(12, 12, 13));
    for (auto const role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(QPalette::Disabled, role, kDim);
    palette.setColor(QPalette::Disabled, QPalette::Highlight, kButton);
    return palette;
}

constexpr char const* kStyleSheet = R"(
QMainWindow::separator { background: #18191b; width: 3px; height: 3px; }
QMainWindow::separator:hover { background: #4678be; }
QDockWidget { font-weight: 600; titlebar-close-icon: none; titlebar-normal-icon: none; }
QDockWidget::title { background: #323437; padding: 5px 8px; border-bottom: 1px solid #18191b; }
QMenuBar { background: #323437; padding: 2px 4px; }
QMenuBar::item { padding: 4px 9px; border-radius: 3px; background: transparent; }
QMenuBar::item:selected { background: #4678be; }
QMenu { background: #2b2c2f; border: 1px solid #18191b; padding: 4px; }
QMenu::item { padding: 5px 26px 5px 22px; border-radius: 3px; }
QMenu::item:selected { background: #4678be; color: #ffffff; }
QMenu::item:disabled { color: #7a7d82; background: transparent; }
QMenu::separator { height: 1px; background: #44464a; margin: 4px 6px; }
QStatusBar { background: #323437; border-top: 1px solid #18191b; }
QStatusBar::item { border: none; }
QToolTip { border: 1px solid #18191b; padding: 4px; }
QScrollBar:vertical { background: #242527; width: 11px; margin: 0; }
QScrollBar:horizontal { background: #242527; height: 11px; margin: 0; }
QScrollBar::handle { background: #55585d; border-radius: 4px; margin: 2px; }
QScrollBar::handle:vertical { min-height: 24px; }
QScrollBar::handle:horizontal { min-width: 24px; }
QScrollBar::handle:hover { background: #6a6d73; }
QScrollBar::add-line, QScrollBar::sub-line { width: 0; height: 0; }
QScrollBar::add-page, QScrollBar::sub-page { background: none; }
QFrame#notice { border: none; border-bottom: 1px solid #18191b; }
QFrame#notice[tone="error"] { background: #5a2a2a; }
QFrame#notice[tone="warning"] { background: #54451f; }
QFrame#notice[tone="note"] { background: #2c4360; }
QLabel#startTitle { font-size: 20pt; font-weight: 300; }
QLabel#dim { color: #9a9da3; }
)";

}  // namespace

void applyTheme(QApplication& application) {
    application.setStyle(QStyleFactory::create("Fusion"));
    application.setPalette(darkPalette());
    application.setStyleSheet(kStyleSheet);
}

}  // namespace zelk
