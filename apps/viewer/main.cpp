// The viewer's program: `zelk view` starts it.
#include <QApplication>
#include <cstdio>

#include "apps/viewer/viewer_window.h"
#include "zelk/text/errors.h"

int main(int argc, char** argv) {
    QApplication const application(argc, argv);
    zelk::ViewerWindow window;
    try {
        if (argc > 1) window.openFile(QString::fromLocal8Bit(argv[1]));
    } catch (zelk::UserError const& error) {
        std::fprintf(stderr, "zelk: %s\n", error.what());
        return static_cast<int>(error.code());
    }
    window.resize(1440, 900);
    window.show();
    return QApplication::exec();
}
