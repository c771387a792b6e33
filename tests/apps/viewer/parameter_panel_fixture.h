// A window whose parameter panel's rows are found by their names.
#pragma once

#include "apps/viewer/parameter_panel.h"

#include <fmt/format.h>

#include <QCheckBox>
#include <QColorDialog>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QSettings>
#include <QTimer>
#include <QToolButton>
#include <QToolTip>
#include <algorithm>

#include "apps/viewer/model/panel_controls.h"
#include "apps/viewer/model/scene_inputs.h"
#include "apps/viewer/model/scene_settings.h"
#include "apps/viewer/model/shown_shutter.h"
#include "tests/apps/viewer/window_fixture.h"
#include "zelk/scene/check.h"
#include "zelk/scene/edit_titles.h"
#include "zelk/scene/edits.h"
#include "zelk/scene/file.h"
#include "zelk/scene/parameter_names.h"
#include "zelk/scene/parameter_values.h"
#include "zelk/text/errors.h"

namespace zelk {

/// Folds of other tests, and of who runs them, play no part.
struct OwnSettings {
    OwnSettings() {
        QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope,
                           QString::fromStdString(folder.at("settings")));
    }
    zelk_test::TemporaryFolder folder;
};

class ParameterPanelTest : private OwnSettings, public WindowTest {
protected:
    ParameterPanelTest() { command("Unfold All Groups"); }

    /// Only there are all of the effect's controls of use.
    void openWithoutPlate() {
        window->openFile(QString::fromStdString(exampleFile("chelsea.png")));
    }
    void command(QString const& name) {
        zelk::press(*window->menus().action("Parameters/" + name), *window);
    }

    QWidget& row(std::string const& name) {
        return *window->parameters().findChild<QWidget*>(QString::fromStdString(name));
    }
    QLineEdit& field(std::string const& name, int place = 0) {
        return *row(name).findChild<QLineEdit*>(QString("field%1").arg(place));
    }
    template <class Widget>
    Widget& part(std::string const& name) {
        return *row(name).findChild<Widget*>();
    }
    void press(std::string const& name, QString const& button) {
        for (auto* const own : row(name).findChildren<QToolButton*>())
            if (own->toolTip() == button) return QTest::mouseClick(own, Qt::LeftButton);
        FAIL() << button.toStdString();
    }
    void type(std::string const& name, std::string const& text, int place = 0) {
        QTest::mouseClick(&field(name, place), Qt::LeftButton);
        field(name, place).selectAll();
        QTest::keyClicks(&field(name, place), QString::fromStdString(text));
        QTest::keyClick(&field(name, place), Qt::Key_Return);
    }
    void wheel(QWidget& widget, int notches) {
        widget.setFocus();
        zelk::wheel(widget, {5, 5}, notches);
    }

    QString message() { return window->parameters().message(); }
    KeyValue value(int index) { return document().valueOf(index); }
    /// What the scene's text says of a parameter, read anew.
    KeyValue writtenValue(int index) {
        Document again{ZELK_MODULE};
        again.start(sceneFromText(document().scene().file, text()));
        again.setFrame(document().frame());
        return again.valueOf(index);
    }
    /// What a parameter becomes by the option "--set NAME=VALUE".
    KeyValue valueByOption(int index, std::string const& text) {
        Parameter parameter(index, document().parameter(index).registered);
        parameter.choices = document().parameter(index).choices;
        setFromText(parameter, "set", text);
        return keyValueOf(parameter.current);
    }
    void expectUndone(std::string const& before) {
        while (document().undo()) continue;
        EXPECT_EQ(text(), before);
    }
};

}  // namespace zelk
