// FileWatch: a scene's files, which others write while it is open. They are looked at when the
// window gets the focus, when a kept picture is shown, and every two seconds while one is missing;
// where one is another than before, all are opened again.
#pragma once

#include <QTimer>

#include "apps/viewer/composition_canvas.h"
#include "apps/viewer/input_acts.h"

namespace zelk {

class FileWatch : public QObject {
public:
    FileWatch(WindowServices& services, CompositionCanvas& canvas, InputActs& inputs);

    ViewerCommands commands();
    void look();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void lookForMissing();
    bool areOthers() const;
    void reload();

    WindowServices& m_services;
    CompositionCanvas& m_canvas;
    InputActs& m_inputs;
    QTimer m_timer;
};

}  // namespace zelk
