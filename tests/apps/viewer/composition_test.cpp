// What the composition panel shows, against the file that `zelk render` writes.
#include <OpenImageIO/imageio.h>

#include <QComboBox>
#include <random>

#include "Transform/Common/PopupEntries.h"
#include "tests/apps/viewer/composition_fixture.h"
#include "tests/apps/viewer/window_fixture.h"
#include "zelk/scene/edits.h"
#include "zelk/scene/parameter_names.h"

namespace zelk {
namespace {

/// By `pixel` from straight colour; the slow truth.
template <class PixelFunc>
QImage made(QImage const& straight, PixelFunc pixel) {
    QImage result(straight.size(), QImage::Format_RGB32);
    for (int y = 0; y < straight.height(); ++y)
        for (int x = 0; x < straight.width(); ++x)
            result.setPixel(x, y, pixel(straight.pixel(x, y)));
    return result;
}

QRgb over(QRgb pixel, int behind) {
    auto const laid = [&](int channel) {
        double const a = qAlpha(pixel) / 255.0;
        return static_cast<int>(std::lround(channel * a + behind * (1 - a)));
    };
    return qRgb(laid(qRed(pixel)), laid(qGreen(pixel)), laid(qBlue(pixel)));
}

QRgb grey(int value) { return qRgb(value, value, value); }

TEST_F(CompositionTest, AtActualPixelsItShowsTheFileToTheBit) {
    keepStoredValues();
    look(1, {320, 213});
    EXPECT_EQ(differenceOf(pictureOf(shot()), rendered()), "");
    // A pixel of the frame at 300 % is nine of the screen.
    look(3, {320, 213});
    QImage const file = rendered(), large = shot();
    for (PanelPoint const& at : {PanelPoint{300, 200}, {331, 180}, {250, 260}}) {
        PanelPoint const corner = canvas().map().toPanel(at);
        for (int dx = 0; dx < 3; ++dx)
            EXPECT_EQ(large.pixel(int(corner.x) + dx, int(corner.y) + 2),
                      file.pixel(int(at.x), int(at.y)) | 0xFF000000);
    }
    for (double const zoom : {7.5, 8.0}) {
        look(zoom, {331, 180});
        QImage const plain = shot();
        choose("Pixel Grid");
        QImage const lined = canvas().grab().toImage();
        PanelPoint const corner = canvas().map().toPanel({331, 180});
        for (int x = int(corner.x); x < int(corner.x) + 8; ++x)
            EXPECT_EQ((lined.pixel(x, int(corner.y) + 4) ^ plain.pixel(x, int(corner.y) + 4)) != 0,
                      zoom == 8 && x < int(corner.x) + 2);
    }
}

TEST_F(CompositionTest, WhatIsTransparentLiesOverItsBackground) {
    openLayer();
    document.edit(kToPins, {40, 30});
    document.edit(kToPins + 3, {400, 210});
    document.edit(kParamCornerPinOpacity, {70});
    look(1, {225, 150});
    QImage const file = rendered();
    choose("Black");
    EXPECT_EQ(differenceOf(pictureOf(shot()), made(file, [](QRgb p) { return over(p, 0); })), "");
    choose("White");
    EXPECT_EQ(differenceOf(pictureOf(shot()), made(file, [](QRgb p) { return over(p, 255); })), "");
    choose("Checkerboard");
    std::set<QRgb> squares;
    for (int x = 0; x < 32; ++x) squares.insert(pictureOf(shot()).pixel(x, 2));
    EXPECT_EQ(squares.size(), 2u);
    // A plate that isn't there: no layer in its place either, which the wipe brings.
    QImage const checked = pictureOf(shot());
    bool hasCome = false;
    canvas().onPicture = [&] { hasCome = true; };
    choose("Wipe");
    ASSERT_TRUE(QTest::qWaitFor([&] { return hasCome; }, 20000));
    QImage const wiped = pictureOf(shot());
    setLook([](CanvasLook& look) { look.pixels.backdrop = Backdrop::kPlate; });
    EXPECT_EQ(differenceOf(pictureOf(shot()), wiped), "");
    choose("Wipe");
    setLook([](CanvasLook& look) { look.pixels.backdrop = Backdrop::kPlate; });
    EXPECT_EQ(differenceOf(pictureOf(shot()), checked), "");
    for (auto const* const box : panel.findChildren<QComboBox*>())
        EXPECT_FALSE(box->model()->index(box->findText("Plate"), 0).flags() & Qt::ItemIsEnabled);
    document.change("Set Up", [&](Scene& scene) {
        sceneEdit("layer").apply(scene, "layer", folder.at("now.png").string());
        sceneEdit("over").apply(scene, "over", exampleFile("rocket.jpg"));
    });
    auto const corner = [&] { return pictureOf(shot()).copy(0, 0, 32, 8); };
    choose("Plate");
    QImage const plate = corner();
    choose("Layer");
    press(*menus.action("View/Background/Plate"), canvas());
    EXPECT_TRUE(QTest::qWaitFor([&] { return differenceOf(corner(), plate).empty(); }, 20000));
}

TEST_F(CompositionTest, ChannelsAreThoseOfTheFile) {
    openLayer();
    document.edit(kToPins, {40, 30});
    look(1, {225, 150});
    QImage const file = rendered();
    struct View {
        char const* command;
        int (*value)(QRgb);
    };
    for (View const& view :
         {View{"Red", qRed},
          {"Green", qGreen},
          {"Blue", qBlue},
          {"Alpha", qAlpha},
          {"Luminance", [](QRgb p) {
               return (2126 * qRed(p) + 7152 * qGreen(p) + 722 * qBlue(p) + 5000) / 10000;
           }}}) {
        choose(view.command);
        QImage const shown = pictureOf(shot()),
                     expected = made(file, [&](QRgb p) { return grey(view.value(p)); });
        EXPECT_EQ(differenceOf(shown, expected), "") << view.command;
        choose(view.command);
    }
    EXPECT_EQ(canvas().look().pixels.channels, ChannelView::kColor);
}

/// What is drawn is what the mouse takes, also over a frame that can't be read.
TEST_F(CompositionTest, PinsAreShownWithoutAPicture) {
    document.change("Set Plate", [&](Scene& scene) {
        scene.plate->file = ScenePath{folder.at("gone.png").string()};
    });
    ASSERT_TRUE(QTest::qWaitFor(
        [&] { return canvas().isAtRest() && !canvas().shown()->error.empty(); }, 20000));
    look(1, valueOf(kToPins));
    auto const pinsPixels = [&](bool isShown) {
        setLook([&](CanvasLook& look) { look.hasOverlay = isShown; });
        QImage const all = canvas().grab().toImage().convertToFormat(QImage::Format_RGB32);
        QPoint const pin = (QPointF(placeOf(valueOf(kToPins))) * density()).toPoint();
        return all.copy(QRect(pin - QPoint(6, 6), pin + QPoint(6, 6)));
    };
    QImage const without = pinsPixels(false), with = pinsPixels(true);
    EXPECT_NE(differenceOf(without, with), "");
    PanelPoint const before = valueOf(kToPins);
    QPoint const at = placeOf(before);
    drag(at, at + QPoint(20, 10));
    EXPECT_NEAR(valueOf(kToPins).x, before.x + 20 * density(), 1e-4);
    // Who doesn't see them hears of them.
    QString const place = QString("upper left To Pin at %1, ").arg(valueOf(kToPins).x, 0, 'f', 2);
    EXPECT_TRUE(canvas().accessibleDescription().startsWith(place));
    setLook([](CanvasLook& look) { look.hasOverlay = false; });
    key(Qt::Key_Return);  // no field of a pin that nobody sees
    EXPECT_TRUE(canvas().findChildren<QWidget*>().empty());
    key(Qt::Key_Escape);
    EXPECT_TRUE(canvas().accessibleDescription().startsWith("No pin"));
}

TEST_F(CompositionTest, TheWipeShowsWhatWasBeforeLeftOfItsLine) {
    look(1, {320, 213});
    QImage const after = shot();
    choose("Plate");
    QImage const before = shot();
    EXPECT_NE(before, after);
    choose("Frame");
    choose("Wipe");
    QPoint const line = placeOf({320, 400});
    drag(line, line + QPoint(60, 0));
    EXPECT_NEAR(canvas().look().wipeFrac, (320 + 60 * density()) / 640, 1e-9);
    int const at = static_cast<int>(canvas().map().toPanel({320 + 60 * density(), 0}).x);
    int const aside = static_cast<int>(3 * density());
    PanelPoint const inLayer = canvas().map().toPanel({360, 200});
    QPoint const left(static_cast<int>(inLayer.x), static_cast<int>(inLayer.y));
    ASSERT_NE(after.pixel(left), before.pixel(left));
    ASSERT_TRUE(QTest::qWaitFor([&] { return shot().pixel(left) == before.pixel(left); }));
    QImage const wiped = shot();
    int const height = wiped.height() - 60 * int(density());  // above the grip
    EXPECT_EQ(
        differenceOf(wiped.copy(0, 0, at - aside, height), before.copy(0, 0, at - aside, height)),
        "");
    int const rest = wiped.width() - at - aside;
    EXPECT_EQ(differenceOf(wiped.copy(at + aside, 0, rest, height),
                           after.copy(at + aside, 0, rest, height)),
              "");
    EXPECT_EQ(document.undoName(), "");
    QString told;
    canvas().onReadout = [&](QString const& text) { told = text; };
    mouse(QEvent::MouseMove, placeOf({360, 200}));
    EXPECT_TRUE(QTest::qWaitFor([&] { return told.contains("of the plate: R "); }, 10000));
    look(8, {600, 200});
    drag({5, 300}, {105, 300});  // the line is seen however little of the picture is
    EXPECT_NEAR(canvas().wipeFrac() * 640, canvas().map().toPicture({105 * density(), 0}).x, 1e-9);
    choose("Layer");
    EXPECT_FALSE(canvas().isWiped());
}

TEST_F(CompositionTest, AnInvertedScenesFrameIsNotWiped) {
    QString told;
    choose("Wipe");
    canvas().onFailure = [&](QString const& text) { told = text; };
    document.change("Invert", [](Scene& scene) { scene.isInverted = true; });
    EXPECT_FALSE(canvas().look().hasWipe);
    // Nor is a plate shown that goes.
    document.change("Remove Plate", [](Scene& scene) { scene.plate.reset(); });
    EXPECT_EQ(canvas().look().shows, ShownPicture::kLayer);
    document.undo();
    choose("Frame");
    choose("Wipe");
    EXPECT_FALSE(canvas().look().hasWipe);
    EXPECT_TRUE(told.startsWith("Wipe"));
    document.undo();
    choose("Plate");
    openLayer();
    EXPECT_EQ(canvas().look().shows, ShownPicture::kFrame);
}

TEST_F(CompositionTest, TheReadoutHasTheFilesValuesAndBothPlaces) {
    QString told;
    canvas().onReadout = [&](QString const& text) { told = text; };
    keepStoredValues();
    for (double const zoom : {1.0, 0.4}) {
        look(zoom, {320, 213});
        awaitRest();
        QPoint const place = placeOf({470, 190});
        mouse(QEvent::MouseMove, place);
        ASSERT_TRUE(QTest::qWaitFor([&] { return told.contains("R "); }, 10000));
        PanelPoint const at =
            canvas().map().toPicture({place.x() * density(), place.y() * density()});
        QRgb const pixel = rendered().pixel(int(at.x), int(at.y));
        EXPECT_TRUE(told.contains(
            QString("R %1  G %2  B %3").arg(qRed(pixel)).arg(qGreen(pixel)).arg(qBlue(pixel))))
            << told.toStdString();
        EXPECT_TRUE(told.startsWith(QString("frame %1, ").arg(at.x, 0, 'f', 1)));
        auto const layer = mapped(document.mapHere().toLayer, {at.x, at.y});
        ASSERT_TRUE(layer);
        EXPECT_TRUE(told.contains(QString("layer %1, ").arg(layer->x, 0, 'f', 1)));
        told.clear();
    }
}

/// A pixel as the file has it, in the readout's words.
std::string storedText(std::filesystem::path const& file, int x, int y) {
    OIIO::ImageSpec asStored;
    asStored.attribute("oiio:UnassociatedAlpha", 1);
    auto const input = OIIO::ImageInput::open(file.string(), &asStored);
    OIIO::ImageSpec const& spec = input->spec();
    std::vector<float> values(spec.image_pixels() * std::size_t(spec.nchannels));
    input->read_image(0, 0, 0, spec.nchannels, OIIO::TypeFloat, values.data());
    int const bits = spec.format.is_floating_point() ? 0 : int(8 * spec.format.size());
    QStringList words;
    for (int c = 0; c < spec.nchannels; ++c) {
        float const value = values[std::size_t((y * spec.width + x) * spec.nchannels + c)];
        words << "RGBA"[c] + QString(" ") +
                     (bits ? QString::number(std::lround(value * double((1 << bits) - 1)))
                           : QString::number(double(value), 'f', 5));
    }
    return words.join("  ").toStdString();
}

/// Depth, alpha and colour space are those of the output, whatever the inputs have.
TEST_F(CompositionTest, TheReadoutHasWhatTheOutputsFormatKeeps) {
    QString told;
    canvas().onReadout = [&](QString const& text) { told = text; };
    struct Case {
        char const *layer, *output;
        std::optional<Depth> depth;
    };
    for (Case const& each : {Case{"", "8.png", {}},
                             {"", "16.png", Depth::k16},
                             {"", "half.exr", {}},
                             {"", "float.exr", Depth::kFloat},
                             {"float.exr", "of_light.png", {}},
                             {"", "over_black.jpg", {}}}) {
        SCOPED_TRACE(each.output);
        Scene scene;
        sceneEdit("layer").apply(
            scene, "layer",
            *each.layer ? folder.at(each.layer).string() : exampleFile("chelsea.png"));
        scene.output = ScenePath{folder.at(each.output).string()};
        scene.depth = each.depth;
        document.start(std::move(scene));
        document.edit(kToPins, {40, 30});
        document.edit(kParamCornerPinOpacity, {50});
        look(1, {225, 150});
        awaitRest();
        render(folder.at(each.output));
        for (PanelPoint const& at : {PanelPoint{100, 80}, {225, 150}, {430, 290}, {4, 4}}) {
            mouse(QEvent::MouseMove, placeOf(at));
            PanelPoint const seen = canvas().map().toPicture(
                {placeOf(at).x() * density(), placeOf(at).y() * density()});
            QString const shown = told.mid(told.indexOf("R "));
            if (QString(each.output).endsWith("jpg")) {  // which loses some
                EXPECT_FALSE(shown.contains("A ")) << shown.toStdString();
                continue;
            }
            EXPECT_EQ(shown.toStdString(),
                      storedText(folder.at(each.output), int(seen.x), int(seen.y)));
        }
    }
    choose("Layer");
    awaitRest();
    mouse(QEvent::MouseMove, placeOf({100, 80}));
    EXPECT_TRUE(told.contains("   R ")) << told.toStdString();  // not the screen's
}

TEST_F(CompositionTest, ZoomsHoldThePlaceAndPansAreWhole) {
    std::mt19937 random(7);
    ViewMap const& map = canvas().map();
    double const width = map.panel().width, height = map.panel().height;
    EXPECT_TRUE(map.isFit());
    for (int i = 0; i < 200; ++i) {
        QPointF const mouse(int(random() % 900), int(random() % 600));
        PanelPoint const at = {mouse.x() * density(), mouse.y() * density()};
        PanelPoint const held = map.toPicture(at);
        wheel(canvas(), mouse, random() % 2 ? 1 : -1);
        EXPECT_NEAR(map.toPicture(at).x, held.x, 0.5 / map.zoom() + 1e-9);
        EXPECT_NEAR(map.toPicture(at).y, held.y, 0.5 / map.zoom() + 1e-9);
        EXPECT_EQ(map.pan().x, std::round(map.pan().x));
        PixelRect const part = map.part(map.reduce());
        PanelPoint const first = map.toPicture({0, 0}), last = map.toPicture({width, height});
        EXPECT_LE(part.left * map.reduce(), std::max(0.0, first.x));
        EXPECT_GE((part.right + 1) * map.reduce(), std::min(640.0, last.x));
        EXPECT_LE(map.reduce() * map.zoom(), std::max(1.0, map.zoom()) + 1e-4);
        // A draft has the screen's pixels, where that is neither all nor less than half of them.
        auto const size = map.screenSize();
        EXPECT_EQ(size.has_value(), map.zoom() > 0.5 && map.zoom() < 1) << map.zoom();
        EXPECT_NEAR(size ? size->height : 0, size ? map.picture().height * map.zoom() : 0, 0.5);
    }
    look(0.9, {320, 213});
    wheel(canvas(), {450, 300}, 1);
    EXPECT_EQ(map.zoom(), 1);
    PanelPoint const pan = map.pan();
    QTest::mousePress(&canvas(), Qt::MiddleButton, {}, {300, 200});
    QTest::mouseMove(&canvas(), {337, 183});
    QTest::mouseRelease(&canvas(), Qt::MiddleButton, {}, {337, 183});
    EXPECT_EQ(map.pan(), (PanelPoint{pan.x + 37 * density(), pan.y - 17 * density()}));
}

/// Of two pictures, the first one moved by a few pixels.
double meanDifference(QImage const& a, QImage const& b, QPoint by) {
    double sum = 0;
    for (int y = 2; y < a.height() - 2; ++y)
        for (int x = 2; x < a.width() - 2; ++x)
            sum += std::abs(qGreen(a.pixel(x + by.x(), y + by.y())) - qGreen(b.pixel(x, y)));
    return sum / a.width() / a.height();
}

/// While a value changes the panel shows what it shows at rest: a draft of the same pixels in the
/// same place, whatever the scene does to the picture's size; where the screen has fewer pixels
/// than the frame, just those.
TEST_F(CompositionTest, DraftsLieWhereThePictureLies) {
    document.change("Set Up", [](Scene& scene) { scene.plate.reset(); });
    document.edit(kParamMotionBlur, {1});
    choose("Black");
    setLook([](CanvasLook& look) { look.hasOverlay = look.hasGrid = false; });
    struct Case {
        int downsample;
        double grownPx, zoom;
        PanelPoint middle;
        int quality = kQualityHigh;
    };
    for (Case const& each : {Case{2, 0, 3, {340, 220}},
                             {1, 100, 1, {100, 80}},
                             {1, 100, 1, {420, 260}},
                             {2, 60, 1, {420, 260}},
                             {2, 60, 0.25, {225, 150}},
                             {1, 100, 0.5, {400, 250}},
                             {3, 0, 8, {449, 298}},
                             {1, 0, 0.83, {320, 220}},
                             {1, 100, 0.61, {330, 210}},
                             {1, 0, 0.83, {320, 220}, kQualitySuperSample},
                             {2, 60, 0.37, {320, 213}}}) {
        SCOPED_TRACE(testing::Message()
                     << each.downsample << ", " << each.grownPx << " px, at " << each.zoom);
        document.change("Set Downsample",
                        [&](Scene& scene) { scene.downsample = each.downsample; });
        document.edit(kParamGrowBounds, {each.grownPx});
        document.edit(kParamQuality, {double(hostEntry(each.quality))});
        document.edit(kToPins + 3, {520, 340});
        look(each.zoom, each.middle);
        QImage draft;
        for (int tries = 0; draft.isNull() && tries < 50; ++tries) {
            document.beginAct("Set Opacity");
            document.edit(kParamCornerPinOpacity, {80.0 + tries % 2});
            auto const isNew = [&] {
                auto const& shown = canvas().shown();
                return shown && shown->revision == document.snapshot().revision;
            };
            ASSERT_TRUE(QTest::qWaitFor(isNew, 20000));
            ASSERT_EQ(canvas().shown()->error, "");
            bool const isOfScreen = each.zoom > 0.5 && each.zoom < 1 && each.downsample == 1 &&
                                    each.quality != kQualitySuperSample;
            PictureView const& view = canvas().shown()->view;
            EXPECT_EQ(view.size.has_value(), view.isDraft && isOfScreen);
            if (view.isDraft)
                draft = canvas().grab().toImage().convertToFormat(QImage::Format_RGB32);
            document.endAct();
        }
        ASSERT_FALSE(draft.isNull());
        QImage const atRest = shot();
        bool const isSame = each.zoom >= 1 || 1 / each.zoom == std::round(1 / each.zoom);
        EXPECT_EQ(isSame ? differenceOf(draft, atRest) : "", "");
        for (QPoint const& by : {QPoint(1, 0), QPoint(-1, 0), QPoint(0, 1), QPoint(0, -1)})
            EXPECT_LT(meanDifference(draft, atRest, {}), meanDifference(draft, atRest, by));
        EXPECT_LE(canvas().shown()->view.reduce * each.downsample * each.zoom,
                  std::max(1.0, each.downsample * each.zoom));
    }
}

}  // namespace
}  // namespace zelk
