// See theme.h.
#include "apps/viewer/theme.h"

#include <QApplication>
#include <QPainter>
#include <QProxyStyle>
#include <QStyleOption>
#include <algorithm>
#include <utility>

namespace zelk {

namespace {

constexpr QRgb kBase = qRgb(28, 29, 31), kPanel = qRgb(41, 42, 45), kBar = qRgb(48, 50, 53);
constexpr QRgb kButton = qRgb(52, 54, 58), kLine = qRgb(22, 23, 25);
/// On the lightest of these, kButton, at least 4.5 times as light, what is greyed too.
constexpr QRgb kText = qRgb(226, 228, 232), kDim = qRgb(162, 165, 170);
constexpr QRgb kLink = qRgb(138, 188, 250), kAccent = qRgb(52, 104, 176);

}  // namespace

QPalette themePalette() {
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
    palette.setColor(QPalette::Link, kLink);
    palette.setColor(QPalette::Light, qRgb(76, 78, 83));
    palette.setColor(QPalette::Midlight, qRgb(66, 68, 72));
    palette.setColor(QPalette::Mid, qRgb(36, 37, 40));
    palette.setColor(QPalette::Dark, kLine);
    palette.setColor(QPalette::Shadow, qRgb(12, 12, 13));
    for (auto const role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(QPalette::Disabled, role, kDim);
    palette.setColor(QPalette::Disabled, QPalette::Highlight, kButton);
    palette.setColor(QPalette::Disabled, QPalette::HighlightedText, kDim);
    return palette;
}

namespace {

/// Of what has no place in a palette; @names are colours of the theme.
constexpr char const* kStyleSheet = R"(
QMainWindow::separator { background: @line; width: 3px; height: 3px; }
QMainWindow::separator:hover { background: @accent; }
QDockWidget { titlebar-close-icon: none; titlebar-normal-icon: none; }
QDockWidget::title { background: @bar; padding: 5px 8px; border-bottom: 1px solid @line; }
QMenuBar { background: @bar; padding: 2px 4px; }
QMenuBar::item { padding: 4px 9px; border-radius: 3px; background: transparent; }
QMenuBar::item:selected { background: @accent; color: #ffffff; }
QMenu { background: @panel; border: 1px solid @line; padding: 4px; }
QMenu::item { padding: 5px 26px 5px 22px; border-radius: 3px; }
QMenu::item:selected { background: @accent; color: #ffffff; }
QMenu::item:disabled { color: @dim; background: transparent; }
QMenu::separator { height: 1px; background: @button; margin: 4px 6px; }
QStatusBar { background: @bar; border-top: 1px solid @line; }
QStatusBar::item { border: none; }
QToolTip { border: 1px solid @line; padding: 4px; }
QScrollBar:vertical { background: @panel; width: 11px; margin: 0; }
QScrollBar:horizontal { background: @panel; height: 11px; margin: 0; }
QScrollBar::handle { background: #686b71; border-radius: 3px; margin: 2px; }
QScrollBar::handle:vertical { min-height: 24px; }
QScrollBar::handle:horizontal { min-width: 24px; }
QScrollBar::handle:hover { background: #85888e; }
QScrollBar::add-line, QScrollBar::sub-line { width: 0; height: 0; }
QScrollBar::add-page, QScrollBar::sub-page { background: none; }
QFrame#notice { border: none; border-bottom: 1px solid @line; }
QFrame#notice[tone="error"] { background: #5a2a2a; }
QFrame#notice[tone="warning"] { background: #54451f; }
QFrame#notice[tone="note"] { background: #2c4360; }
)";

QString styleSheet() {
    QString sheet = kStyleSheet;
    for (auto const& [name, color] : {std::pair{"@line", kLine},
                                      {"@accent", kAccent},
                                      {"@bar", kBar},
                                      {"@panel", kPanel},
                                      {"@dim", kDim},
                                      {"@button", kButton}})
        sheet.replace(name, QColor(color).name());
    return sheet;
}

/// Fusion with boxes to tick that are seen on the dark.
class ThemeStyle : public QProxyStyle {
public:
    ThemeStyle() : QProxyStyle("Fusion") {}

    void drawPrimitive(PrimitiveElement element, QStyleOption const* option, QPainter* painter,
                       QWidget const* widget) const override {
        if (element != PE_IndicatorCheckBox)
            return QProxyStyle::drawPrimitive(element, option, painter, widget);
        bool const isOn = option->state & State_On, isEnabled = option->state & State_Enabled;
        double const side = std::min(option->rect.width(), option->rect.height()) - 1;
        painter->save();
        painter->setRenderHint(QPainter::Antialiasing);
        painter->translate(QRectF(option->rect).center() - QPointF(side / 2, side / 2));
        painter->setOpacity(isEnabled ? 1 : 0.5);
        bool const isFocused = option->state & State_HasFocus;
        painter->setPen(QPen(isFocused ? QColor(kLink) : QColor(kDim), 1));
        painter->setBrush(QColor(isOn ? kAccent : kBase));
        painter->drawRoundedRect(QRectF(0, 0, side, side), 2.5, 2.5);
        painter->setPen(QPen(Qt::white, 1.8, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        if (isOn)
            painter->drawPolyline(QPolygonF{
                {0.24 * side, 0.52 * side}, {0.43 * side, 0.71 * side}, {0.77 * side, 0.3 * side}});
        painter->restore();
    }
};

}  // namespace

/// Fonts and palettes that widgets set go on counting for what lies in them, as without the sheet.
void applyTheme(QApplication& application) {
    QCoreApplication::setAttribute(Qt::AA_UseStyleSheetPropagationInWidgetStyles);
    application.setStyle(new ThemeStyle);
    application.setPalette(themePalette());
    application.setStyleSheet(styleSheet());
}

}  // namespace zelk
