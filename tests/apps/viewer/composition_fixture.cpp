// See composition_fixture.h.
#include "tests/apps/viewer/composition_fixture.h"

#include <QApplication>
#include <QMenuBar>
#include <QMouseEvent>
#include <QProcess>

#include "tests/apps/viewer/window_fixture.h"
#include "zelk/scene/edits.h"
#include "zelk/scene/file.h"

namespace zelk {

CompositionTest::CompositionTest() {
    frame.setCentralWidget(&panel);
    menus.add(panel.commands());
    frame.menuBar()->hide();
    frame.resize(900, 700);
    frame.show();
    canvas().setFocus();
    document.open(exampleFile("move.zelk.json"));
    document.setFrame(24);
}

std::string CompositionTest::text() const { return sceneText(document.scene()); }

void CompositionTest::look(double zoom, PanelPoint middle) {
    canvas().changeView([&](ViewMap& map) {
        map.zoomAtCenter(zoom);
        PanelPoint const at = map.toPanel(middle);
        map.panBy(map.panel().width / 2.0 - at.x, map.panel().height / 2.0 - at.y);
    });
}

void CompositionTest::setLook(std::function<void(CanvasLook&)> const& act) {
    CanvasLook look = canvas().look();
    act(look);
    canvas().setLook(look);
}

void CompositionTest::openLayer() {
    Scene scene;
    sceneEdit("layer").apply(scene, "layer", exampleFile("chelsea.png"));
    document.start(std::move(scene));
}

void CompositionTest::keepStoredValues() {
    document.change("Set Colour", [](Scene& scene) { scene.color.isRaw = true; });
}

PanelPoint CompositionTest::valueOf(int pin) {
    KeyValue const value = document.valueOf(pin);
    return {value[0], value[1]};
}

QPoint CompositionTest::placeOf(PanelPoint picture) {
    PanelPoint const at = canvas().map().toPanel(picture);
    return (QPointF(at.x, at.y) / density()).toPoint();
}

void CompositionTest::mouse(QEvent::Type type, QPoint at, Qt::KeyboardModifiers keys) {
    bool const isMove = type == QEvent::MouseMove;
    QMouseEvent event(type, at, canvas().mapToGlobal(at), isMove ? Qt::NoButton : Qt::LeftButton,
                      type == QEvent::MouseButtonRelease ? Qt::NoButton : Qt::LeftButton, keys);
    QApplication::sendEvent(&canvas(), &event);
}

void CompositionTest::drag(QPoint from, QPoint to, Qt::KeyboardModifiers atPress,
                           Qt::KeyboardModifiers after) {
    mouse(QEvent::MouseButtonPress, from, atPress);
    mouse(QEvent::MouseMove, (from + to) / 2, after);
    mouse(QEvent::MouseMove, to, after);
    mouse(QEvent::MouseButtonRelease, to, after);
}

void CompositionTest::key(int code, Qt::KeyboardModifiers keys) {
    QTest::keyClick(&canvas(), static_cast<Qt::Key>(code), keys);
}

void CompositionTest::choose(char const* name) {
    for (ViewerCommand const& command : panel.commands())
        if (command.name == name) return press(*menus.action(command.menu + "/" + name), canvas());
    FAIL() << "no command " << name;
}

void CompositionTest::awaitRest() {
    ASSERT_TRUE(QTest::qWaitFor([&] { return canvas().isAtRest(); }, 20000));
    ASSERT_EQ(canvas().shown()->error, "");
}

QImage CompositionTest::shot() {
    setLook([](CanvasLook& look) { look.hasOverlay = look.hasGrid = false; });
    awaitRest();
    return canvas().grab().toImage().convertToFormat(QImage::Format_RGB32);
}

QImage CompositionTest::pictureOf(QImage const& shot) {
    ViewMap const& map = canvas().map();
    QImage picture = shot.copy(static_cast<int>(map.pan().x), static_cast<int>(map.pan().y),
                               map.picture().width, map.picture().height);
    picture.setDevicePixelRatio(1);
    return picture;
}

QImage CompositionTest::rendered() {
    std::filesystem::path const file = folder.at("now.png");
    render(file);
    return QImage(QString::fromStdString(file.string())).convertToFormat(QImage::Format_ARGB32);
}

void CompositionTest::render(std::filesystem::path const& file) {
    std::string const project = folder.at("now.zelk.json");
    writeScene(document.scene(), project, true);
    QStringList const words = {"render",
                               "--project",
                               QString::fromStdString(project),
                               "--frames",
                               QString::number(document.frame()),
                               "-o",
                               QString::fromStdString(file.string()),
                               "--module",
                               ZELK_MODULE};
    EXPECT_EQ(QProcess::execute(ZELK_BINARY, words), 0);
}

std::string differenceOf(QImage const& a, QImage const& b) {
    if (a.size() != b.size()) return "other sizes";
    for (int y = 0; y < a.height(); ++y)
        for (int x = 0; x < a.width(); ++x)
            if ((a.pixel(x, y) ^ b.pixel(x, y)) & 0xFFFFFF)
                return QString("%1, %2: %3 and %4")
                    .arg(x)
                    .arg(y)
                    .arg(a.pixel(x, y), 8, 16)
                    .arg(b.pixel(x, y), 8, 16)
                    .toStdString();
    return {};
}

}  // namespace zelk
