// See window_fixture.h.
#include "tests/apps/viewer/window_fixture.h"

#include "zelk/scene/file.h"

namespace zelk {

std::string exampleFile(std::string const& name) { return std::string(ZELK_EXAMPLES "/") + name; }

std::string WindowTest::sceneTextOf(Document const& document) {
    return sceneText(document.scene());
}

WindowTest::WindowTest() : window(std::make_unique<ViewerWindow>(ZELK_MODULE)) {
    window->resize(1200, 800);
    window->show();
    window->openFile(QString::fromStdString(exampleFile("move.zelk.json")));
}

}  // namespace zelk
