// One application for all tests of the viewer, as Qt asks for. QT_QPA_PLATFORM=xcb shows it on a
// screen, Xvfb's too.
#include <gtest/gtest.h>

#include <QStandardPaths>

#include "apps/viewer/viewer_application.h"

int main(int argc, char** argv) {
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    QStandardPaths::setTestModeEnabled(true);
    testing::InitGoogleTest(&argc, argv);
    zelk::ViewerApplication const application(argc, argv);
    return RUN_ALL_TESTS();
}
