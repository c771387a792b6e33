// ColorActs: how the window shows a scene's colours: what is wrong with its configuration, and the
// display that pictures are made for. No file depends on a display.
#pragma once

#include <QLabel>
#include <QMenu>
#include <string>
#include <vector>

#include "apps/viewer/commands.h"
#include "apps/viewer/window_services.h"

namespace zelk {

class CompositionPanel;

class ColorActs {
public:
    ColorActs(WindowServices& services, CompositionPanel& panel);

    ViewerCommands commands();
    /// The displays of the scene's configuration, before what stands in the menu already.
    void fillDisplays(QMenu& menu);
    /// One of displayNames. A scene that has none of that name is shown for sRGB, and the name
    /// stays wanted.
    void chooseDisplay(QString const& name);
    QString const& wantedDisplay() const { return m_wanted; }
    /// The one that counts.
    QString display() const;
    /// Says which; of the status line.
    QLabel* label() const { return m_label; }

private:
    Document& document() const { return *m_services.document; }
    void follow();
    void show();
    void stepDisplay(int step);
    void tellFault();
    void chooseConfig();

    WindowServices& m_services;
    CompositionPanel& m_panel;
    QLabel* m_label;
    QString m_wanted;
    std::vector<std::string> m_names;  ///< of the scene
    std::string m_namesOf;             ///< the configuration that has them, and its time
};

}  // namespace zelk
