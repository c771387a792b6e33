// The viewer's program: `zelk view` starts it.
#include <cstdio>
#include <exception>

#include "apps/viewer/model/state_folder.h"
#include "apps/viewer/theme.h"
#include "apps/viewer/viewer_application.h"
#include "apps/viewer/viewer_arguments.h"
#include "apps/viewer/viewer_window.h"
#include "zelk/text/errors.h"

int main(int argc, char** argv) {
    using namespace zelk;
    try {
        auto const arguments = viewerArguments({argv + 1, argv + argc});
        if (!arguments.print.empty()) return std::fputs(arguments.print.c_str(), stdout) < 0;
        useThreadsOfEnvironment();
        ViewerApplication application(argc, argv);
        QGuiApplication::setDesktopFileName("zelk-viewer");
        applyTheme(application);
        ViewerWindow window(moduleOfEnvironment(), stateFolder());
        window.rememberLayout();
        window.show();
        if (!arguments.handedOver.empty()) window.takeHandedOver(arguments.handedOver);
        window.openAtStart(arguments.files);
        return QApplication::exec();
    } catch (UserError const& error) {
        std::fprintf(stderr, "zelk-viewer: %s\n", error.what());
        return static_cast<int>(error.code());
    } catch (std::exception const& error) {
        std::fprintf(stderr, "zelk-viewer: %s\n", error.what());
        return static_cast<int>(ExitCode::kRenderFailed);
    }
}
