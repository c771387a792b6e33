// From an act to the screen: how long a viewer's user waits for a pin that is dragged.
//
//   viewer_bench [WIDTH HEIGHT [RUNS [ROW]]]     1920 1080 and 30 if left out; ROW: those that have
//                                                this in "road depth quality"
//
// Each run moves the To pins in a document and asks the frame service for the draft; the clock
// stops when the pixels of the screen are there (without the toolkit). In the second part the mouse
// moves a pin in the viewer's own window, with all that it shows, and the clock stops when the
// window has painted the picture of that move (offscreen: no graphics server takes part). Median
// and 95th percentile, milliseconds. `rest` is the full picture with motion blur, as it comes after
// the drag. A draft for a panel that shows the whole frame has just the panel's pixels between 50
// and 100 %, else block means that are no coarser; one at 1:1 is a part.
#include <fmt/format.h>
#include <omp.h>

#include <QApplication>
#include <QElapsedTimer>
#include <QMouseEvent>
#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <string_view>
#include <thread>

#include "Transform/Common/PopupEntries.h"
#include "apps/viewer/composition_canvas.h"
#include "apps/viewer/composition_panel.h"
#include "apps/viewer/model/frame_service.h"
#include "apps/viewer/model/view_map.h"
#include "apps/viewer/viewer_window.h"
#include "bench/medians.h"
#include "zelk/render/frame_renderer.h"
#include "zelk/scene/edits.h"
#include "zelk/scene/parameter_names.h"

namespace {

using namespace zelk;
using Clock = std::chrono::steady_clock;

double msSince(Clock::time_point start) {
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

double percentile95(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() * 95 / 100];
}

template <class T>
std::shared_ptr<PictureBuffer> waves(PixelSize size, SampleType type, double white) {
    auto const values = std::make_shared<std::vector<T>>();
    for (int y = 0; y < size.height; ++y)
        for (int x = 0; x < 4 * size.width; ++x)
            values->push_back(static_cast<T>(white * ((x * 7 + y * 3) % 257) / 256));
    auto buffer = std::make_shared<PictureBuffer>();
    buffer->size = size;
    buffer->type = type;
    buffer->pixels = {values, values->data()};
    return buffer;
}

std::shared_ptr<PictureBuffer> wavesOf(PixelSize size, Depth depth) {
    if (depth == Depth::k8) return waves<std::uint8_t>(size, SampleType::kUint8, 255);
    if (depth == Depth::k16) return waves<std::uint16_t>(size, SampleType::kUint16, 65535);
    return waves<float>(size, SampleType::kFloat, 1);
}

/// Plates have no alpha.
std::shared_ptr<PictureBuffer> opaqueOf(std::shared_ptr<PictureBuffer> buffer) {
    auto const withoutAlpha = [&]<class T>(T) {
        auto const* from = static_cast<T const*>(buffer->pixels.get());
        auto const values = std::make_shared<std::vector<T>>();
        for (std::ptrdiff_t i = 0; i < std::ptrdiff_t{4} * buffer->size.width * buffer->size.height;
             ++i)
            if (i % 4 != 3) values->push_back(from[i]);
        buffer->pixels = {values, values->data()};
    };
    buffer->type == SampleType::kUint8 ? withoutAlpha(std::uint8_t{}) : withoutAlpha(float{});
    buffer->channels = 3;
    return buffer;
}

struct Case {
    char const* road;
    Depth depth;
    bool hasPlate;
};
constexpr Case kCases[] = {{"module", Depth::k8, false},
                           {"module", Depth::k16, false},
                           {"module", Depth::kFloat, false},
                           {"plate, 8 bit files", Depth::k8, true},
                           {"plate, float files", Depth::kFloat, true}};

Scene sceneOf(PixelSize size, Case const& c, char const* quality) {
    Scene scene;
    scene.layer.buffer = wavesOf(size, c.depth);
    if (c.hasPlate) scene.plate = SceneInput{{}, opaqueOf(wavesOf(size, c.depth))};
    sceneEdit("quality").apply(scene, "quality", quality);
    sceneEdit("motion-blur").apply(scene, "motion-blur", "8");
    SceneParameter turn{"rotate", {}, {}};
    turn.keys = {{0, -4.0, {}, {}, {}}, {9, 4.0, {}, {}, {}}};
    scene.parameters.push_back(turn);
    scene.hasComp = true;
    scene.comp.width = size.width, scene.comp.height = size.height;
    scene.comp.durationFrames = 10;
    return scene;
}

/// The service with a place to wait for its pictures.
class Screen {
public:
    SharedFrame shown(SceneSnapshot const& scene, PictureView const& view) {
        m_service.ask(scene, view);
        std::unique_lock lock(m_mutex);
        m_came.wait(lock, [&] {
            return m_frame && m_frame->revision == scene.revision && m_frame->view == view;
        });
        if (!m_frame->error.empty()) throw std::runtime_error(m_frame->error);
        return m_frame;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_came;
    SharedFrame m_frame;
    FrameService m_service{[this](SharedFrame frame) {
                               std::lock_guard const lock(m_mutex);
                               m_frame = std::move(frame);
                               m_came.notify_all();
                           },
                           {true}};
};

ViewMap fit(PixelSize frame, PixelSize panel) {
    ViewMap map;
    map.setPicture(frame);
    map.setPanel(panel);
    map.fit();
    return map;
}

ViewMap oneToOne(PixelSize frame, PixelSize panel) {
    ViewMap map = fit(frame, panel);
    map.zoomAtCenter(1);
    return map;
}

/// As the composition panel asks.
PictureView viewFor(ViewMap const& map, bool isDraft, bool fades = false) {
    PictureView view;
    view.reduce = map.reduce();
    view.isDraft = isDraft;
    if (!isDraft) return view;
    if (!fades) view.size = map.screenSize();
    PixelSize const whole = view.size.value_or(
        PixelSize{map.picture().width / view.reduce, map.picture().height / view.reduce});
    view.part = map.part(PicturePlace{
        {},
        {double(map.picture().width) / whole.width, double(map.picture().height) / whole.height},
        whole});
    return view;
}

/// The quad nearly fills the frame; a drag moves all of it a little.
void drag(Document& document, PixelSize size, int step) {
    double const w = size.width, h = size.height, by = step % 17;
    Point const to[4] = {
        {-0.02 * w, -0.03 * h}, {1.04 * w, -0.01 * h}, {-0.05 * w, 1.06 * h}, {1.02 * w, 1.02 * h}};
    for (int i = 0; i < 4; ++i) document.edit(kToPins + i, {to[i].x + by + 0.25, to[i].y - by});
}

struct Times {
    std::vector<double> ms;
    std::string text() const {
        return fmt::format("{:7.1f}{:7.1f}", zelk_bench::median(ms), percentile95(ms));
    }
};

/// As long as a hand that moves a mouse lets go of the processors. Who measures at a real-time
/// priority may not take all of a second: the system takes the rest for others at a time.
constexpr auto kBetweenMoves = std::chrono::milliseconds(6);

/// Of drafts, and of full pictures at rest.
Times timesOf(Document& document, Screen& screen, ViewMap const& sight, bool isDraft, int runs) {
    Times times;
    static int step = 0;
    bool const fades = document.valueOf(kParamQuality)[0] == hostEntry(kQualitySuperSample);
    PixelSize const size = document.frameSize();
    document.beginAct("Drag");
    for (int i = 0; i < runs + 2; ++i) {
        std::this_thread::sleep_for(kBetweenMoves);
        auto const start = Clock::now();
        drag(document, size, ++step);
        screen.shown(document.snapshot(), viewFor(sight, isDraft, fades));
        if (i >= 2) times.ms.push_back(msSince(start));
    }
    document.endAct();
    return times;
}

/// The draft without motion blur is the frame renderer's.
void check(Document& document, Screen& screen, PixelSize size) {
    PictureView view;
    view.isDraft = true;
    World const& shown = screen.shown(document.snapshot(), view)->display;
    Scene still = document.scene();
    still.parameters.push_back(
        {std::string(nameOfParameter(kParamMotionBlur)), {}, double(hostEntry(kMotionBlurOff))});
    PictureBuffer const picture = FrameRenderer(still).picture(0);
    if (picture.type != SampleType::kUint8) return;
    auto const* const from = static_cast<std::uint8_t const*>(picture.pixels.get());
    for (int i = 0; i < 4 * size.width * size.height; ++i) {
        int const x = i / 4 % size.width, y = i / 4 / size.width, c = i % 4;
        int const at = c == 3 ? 3 : 2 - c;
        if (shown.rowAs<std::uint8_t>(y)[4 * x + at] == from[i]) continue;
        fmt::print(stderr, "another pixel than the renderer's at {},{}\n", x, y);
        std::exit(1);
    }
}

constexpr char const* kQualities[] = {"low", "medium", "high", "super"};
constexpr PixelSize kSmall = {1280, 720}, kLarge = {1920, 1080};

void pixelTable(PixelSize size, int runs, std::string_view row) {
    PixelSize const detail = size.width > kLarge.width ? kLarge : kSmall;
    fmt::print("{:20}{:7} {:9}{:>14}{:>14}{:>14}{:>14}\n", "road", "depth", "quality",
               "fit 1280x720", "fit 1920x1080",
               fmt::format("1:1 {}x{}", detail.width, detail.height), "rest");
    constexpr char const* kDepths[] = {"8", "16", "float"};
    for (Case const& c : kCases)
        for (char const* quality : kQualities) {
            std::string line =
                fmt::format("{:20}{:7} {:9}", c.road, kDepths[static_cast<int>(c.depth)], quality);
            if (line.find(row) == std::string::npos) continue;
            Document document(ZELK_MODULE);
            document.start(sceneOf(size, c, quality));
            Screen screen;
            check(document, screen, size);
            for (ViewMap const& sight :
                 {fit(size, kSmall), fit(size, kLarge), oneToOne(size, detail)})
                line += timesOf(document, screen, sight, true, runs).text();
            line +=
                timesOf(document, screen, fit(size, kLarge), false, std::max(3, runs / 10)).text();
            fmt::print("{}\n", line);
            std::fflush(stdout);
        }
}

/// The viewer's window, its canvas of that size, and a mouse on the first To pin.
class Hand : public QObject {
public:
    Hand(Scene const& scene, PixelSize panel) {
        m_window.show();
        m_window.document().start(scene);
        QApplication::processEvents();
        m_window.resize(m_window.size() + QSize(panel.width, panel.height) - m_canvas.size());
        m_canvas.installEventFilter(this);
        waitFor([this] { return m_canvas.isAtRest(); });
        if (m_canvas.size() != QSize(panel.width, panel.height))
            throw std::runtime_error("the panel has another size");
    }

    Times drag(int runs) {
        PanelPoint const pin = m_canvas.pins().handles().front().at;
        Times times;
        send(QEvent::MouseButtonPress, {pin.x, pin.y});
        for (int i = 0; i < runs + 2; ++i) {
            pause();
            auto const start = Clock::now();
            m_isPainted = false;
            send(QEvent::MouseMove, {pin.x + 20 + i % 17, pin.y + 20 - i % 17});
            waitFor([this] { return m_isPainted; });
            if (i >= 2) times.ms.push_back(msSince(start));
        }
        send(QEvent::MouseButtonRelease, {pin.x + 20, pin.y + 20});
        return times;
    }

protected:
    /// Painted in the events that are processed now, with the picture of the scene as it is.
    bool eventFilter(QObject*, QEvent* event) override {
        SharedFrame const& shown = m_canvas.shown();
        if (event->type() == QEvent::Paint && shown)
            m_isPainted |= shown->revision == m_window.document().snapshot().revision;
        return false;
    }

private:
    void send(QEvent::Type type, QPointF at) {
        bool const isMove = type == QEvent::MouseMove;
        QMouseEvent event(type, at, m_canvas.mapToGlobal(at),
                          isMove ? Qt::NoButton : Qt::LeftButton,
                          type == QEvent::MouseButtonRelease ? Qt::NoButton : Qt::LeftButton, {});
        QApplication::sendEvent(&m_canvas, &event);
    }
    template <class Condition>
    void waitFor(Condition const& isMet) {
        while (!isMet()) QApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    /// The window does what is left to do meanwhile.
    void pause() {
        QElapsedTimer clock;
        for (clock.start(); clock.elapsed() < kBetweenMoves.count();) {
            QApplication::processEvents();
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    }

    ViewerWindow m_window{ZELK_MODULE};
    CompositionCanvas& m_canvas = m_window.composition().canvas();
    bool m_isPainted = false;
};

void windowTable(PixelSize size, int runs, std::string_view row) {
    fmt::print(
        "\na mouse on a pin in the window, to the end of painting, offscreen, quality high\n"
        "{:20}{:7}{:>14}{:>14}\n",
        "road", "depth", "fit 1280x720", "fit 1920x1080");
    constexpr char const* kDepths[] = {"8", "16", "float"};
    double const w = size.width, h = size.height;
    Point const to[4] = {
        {.02 * w, .03 * h}, {.97 * w, .01 * h}, {.04 * w, .98 * h}, {.96 * w, .99 * h}};
    for (Case const& c : kCases) {
        Scene scene = sceneOf(size, c, "high");
        scene.parameters.clear();
        for (int i = 0; i < 4; ++i)
            scene.parameters.push_back({std::string(nameOfParameter(kToPins + i)), {}, to[i]});
        std::string line = fmt::format("{:20}{:7}", c.road, kDepths[static_cast<int>(c.depth)]);
        if (fmt::format("{} high", line).find(row) == std::string::npos) continue;
        for (PixelSize const& panelSize : {kSmall, kLarge})
            line += Hand(scene, panelSize).drag(runs).text();
        fmt::print("{}\n", line);
        std::fflush(stdout);
    }
}

std::string processor() {
    std::ifstream info("/proc/cpuinfo");
    for (std::string line; std::getline(info, line);)
        if (line.starts_with("model name")) return line.substr(line.find(':') + 2);
    return "unknown";
}

/// A file that is opened, up to the pixels of its first picture.
void firstPicture(PixelSize size) {
    auto const folder = std::filesystem::temp_directory_path();
    auto const file = folder / fmt::format("zelk-viewer-bench-{}.png", getpid());
    Scene made = sceneOf(size, kCases[0], "low");
    made.output = ScenePath{file.string()};
    made.module = ZELK_MODULE;
    FrameRenderer(made).write(0);
    auto const start = Clock::now();
    Scene scene;
    scene.layer.file.written = file.string();
    Document document(ZELK_MODULE);
    document.start(scene);
    Screen screen;
    screen.shown(document.snapshot(), viewFor(fit(size, kLarge), false));
    fmt::print("\na PNG, opened to its first picture: {:.0f} ms\n", msSince(start));
    std::filesystem::remove(file);
}

}  // namespace

int main(int argc, char** argv) {
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    // What the platform without a screen can't do, it tells at each window.
    qputenv("QT_LOGGING_RULES", "default.warning=false");
    auto const start = Clock::now();
    QApplication const application(argc, argv);
    double const toolkit = msSince(start);
    PixelSize size = kLarge;
    if (argc > 2) size = {std::atoi(argv[1]), std::atoi(argv[2])};
    int const runs = argc > 3 ? std::max(1, std::atoi(argv[3])) : 30;
    fmt::print("frames of {} x {}, {} runs, {} threads, {}, GCC " __VERSION__ "\n", size.width,
               size.height, runs, omp_get_max_threads(), processor());
    fmt::print(
        "an act in a document, to the pixels of the screen: median and 95th percentile, ms\n");
    std::string_view const row = argc > 4 ? argv[4] : "";
    pixelTable(size, runs, row);
    windowTable(size, runs, row);
    if (!row.empty()) return 0;
    firstPicture(size);
    fmt::print("the toolkit's own start: {:.0f} ms\n", toolkit);
}
