// The service that renders for the window: which request wins, what is kept and found again, what
// is fetched ahead; the policy of drafts; the cache. No window.
#include "apps/viewer/model/frame_service.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstring>
#include <deque>
#include <fstream>
#include <random>

#include "tests/support/temporary_folder.h"
#include "zelk/scene/edits.h"
#include "zelk/scene/parameter_names.h"

namespace zelk {
namespace {

using namespace std::chrono_literals;

/// What comes from the service, in order.
class Inbox {
public:
    void put(SharedFrame frame) {
        std::lock_guard const lock(m_mutex);
        m_frames.push_back(std::move(frame));
        m_came.notify_all();
    }
    /// Null after half a minute.
    SharedFrame next() {
        std::unique_lock lock(m_mutex);
        if (!m_came.wait_for(lock, 30s, [this] { return !m_frames.empty(); })) return nullptr;
        SharedFrame frame = m_frames.front();
        m_frames.pop_front();
        return frame;
    }
    std::size_t waiting() {
        std::lock_guard const lock(m_mutex);
        return m_frames.size();
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_came;
    std::deque<SharedFrame> m_frames;
};

PictureBuffer waves(int width, int height) {
    auto const values = std::make_shared<std::vector<std::uint8_t>>();
    for (int i = 0; i < 4 * width * height; ++i) values->push_back(std::uint8_t(i * 7 % 251));
    PictureBuffer buffer;
    buffer.size = {width, height};
    buffer.pixels = {values, values->data()};
    return buffer;
}

Scene sceneOf(int width, int height) {
    Scene scene;
    scene.layer.buffer = std::make_shared<PictureBuffer>(waves(width, height));
    scene.hasComp = true;
    scene.comp.width = width, scene.comp.height = height;
    scene.comp.startFrame = 1, scene.comp.durationFrames = 40;
    return scene;
}

bool isSame(World const& a, World const& b) {
    if (a.width() != b.width() || a.height() != b.height()) return false;
    for (int y = 0; y < a.height(); ++y)
        if (std::memcmp(a.row(y), b.row(y), std::size_t(4 * a.width())) != 0) return false;
    return true;
}

class ServiceTest : public testing::Test {
protected:
    ServiceTest() { document.start(sceneOf(48, 36)); }
    SceneSnapshot move(double x) {
        document.edit(kToPins, {x, 2.5});
        return document.snapshot();
    }
    World fresh(int reduce = 1) {
        LiveRenderer renderer;
        renderer.setScene(document.scene());
        return renderer.screen(document.frame(), {.reduce = reduce}, {}).display;
    }

    Inbox inbox;
    Document document{ZELK_MODULE};
    FrameService service{[this](SharedFrame frame) { inbox.put(std::move(frame)); }};
};

TEST_F(ServiceTest, TheLastOfManyRequestsComesAndIsThePictureOfItsScene) {
    std::mt19937 random(3);
    for (int round = 0; round < 30; ++round) {
        SceneSnapshot last;
        PictureView view;
        int const count = 1 + int(random() % 12);
        for (int i = 0; i < count; ++i) {
            last = move(double(random() % 1000) / 50);
            view.isDraft = random() % 2;
            view.reduce = 1 + int(random() % 2);
            service.ask(last, view);
        }
        SharedFrame frame;
        do {
            frame = inbox.next();
            ASSERT_NE(frame, nullptr) << round;
        } while (frame->revision != last.revision);
        EXPECT_EQ(frame->error, "");
        EXPECT_TRUE(isSame(frame->display, fresh(view.reduce)));
        EXPECT_EQ(frame->whole, (PixelSize{48 / view.reduce, 36 / view.reduce}));
        bool const hasValues = !frame->view.isDraft && view.reduce == 1;
        EXPECT_EQ(frame->stored.pixels != nullptr, hasValues);
        EXPECT_LE(inbox.waiting(), 0u);
    }
}

/// Feather, choke and shutter are values: nothing is opened for them.
TEST_F(ServiceTest, DraggedNumbersMakeThePictureOfAFreshScene) {
    zelk_test::TemporaryFolder const folder;
    std::string pixels = "P6 48 36 255\n";
    for (int i = 0; i < 3 * 48 * 36; ++i) pixels += char(i * 7 % 251);
    Scene scene = sceneOf(48, 36);
    scene.layer = {};
    sceneEdit("layer").apply(scene, "layer", folder.put("layer.ppm", pixels).string());
    scene.featherPx = 1;
    scene.comp.motionBlur = true;
    SceneParameter turn{"rotate", {}, {}};
    turn.keys = {{0, -40.0, {}, {}, {}}, {9, 40.0, {}, {}, {}}};
    scene.parameters.push_back(turn);
    document.start(scene);
    std::uint64_t const structure = document.snapshot().structure;
    World last;
    auto const expectFresh = [&] {
        service.ask(document.snapshot(), {});
        SharedFrame const frame = inbox.next();
        EXPECT_EQ(frame->error, "");
        EXPECT_TRUE(isSame(frame->display, fresh()));
        EXPECT_FALSE(isSame(frame->display, last));
        last = fresh();
        EXPECT_EQ(document.snapshot().structure, structure);
    };
    expectFresh();
    for (auto const& act : {+[](Scene& s) { s.featherPx = 4; }, +[](Scene& s) { s.chokePx = 3; },
                            +[](Scene& s) { s.comp.shutterAngleDeg = 40; }}) {
        document.change("Set", act);
        expectFresh();
    }
    document.undo();
    document.change("Set Choke", [](Scene& s) { s.chokePx = 2; });
    expectFresh();
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
/// As `zelk render` does it, instead of being killed.
TEST_F(ServiceTest, RefusesAFrameThatMemoryIsShortFor) {
    using enum ShownPicture;
    for (auto const& [featherPx, shows] :  // on either road, and without any
         {std::pair(0., kFrame), std::pair(1., kFrame), std::pair(1., kLayer)}) {
        PictureView view;
        view.shows = shows;
        document.change("Set Feather", [px = featherPx](Scene& scene) { scene.featherPx = px; });
        rlimit before{}, tight{};
        ::getrlimit(RLIMIT_AS, &before);
        std::uint64_t pages = 0;
        std::ifstream("/proc/self/statm") >> pages;
        tight = {pages * std::uint64_t(::getpagesize()) + 60'000'000, before.rlim_max};
        ASSERT_EQ(::setrlimit(RLIMIT_AS, &tight), 0);
        service.ask(document.snapshot(), view);
        std::string const refusal = inbox.next()->error;
        ::setrlimit(RLIMIT_AS, &before);
        EXPECT_NE(refusal.find("100 MB of free memory"), std::string::npos) << refusal;
        service.ask(document.snapshot(), view);
        EXPECT_EQ(inbox.next()->error, "");
    }
}
#endif

TEST_F(ServiceTest, FindsPicturesOfFormerStatesAndGivesThemAtOnce) {
    SceneSnapshot const first = move(3);
    service.ask(first, {});
    SharedFrame const one = inbox.next();
    SceneSnapshot const second = move(9);
    service.ask(second, {});
    SharedFrame const two = inbox.next();
    ASSERT_TRUE(document.undo());
    EXPECT_EQ(document.snapshot().revision, first.revision);
    service.ask(document.snapshot(), {});
    EXPECT_EQ(inbox.waiting(), 1u);  // without the worker
    EXPECT_EQ(inbox.next(), one);
    EXPECT_EQ(service.find(second, {.isDraft = true}), two);  // better than what was asked
    EXPECT_EQ(service.find(second, {.reduce = 2}), nullptr);
    EXPECT_EQ(service.bytes(), one->bytes() + two->bytes());
    service.setBudget(one->bytes());
    EXPECT_EQ(service.find(first, {}), nullptr);  // used before the other one
    EXPECT_EQ(service.find(second, {}), two);
    EXPECT_LE(service.bytes(), service.budget());
}

/// However long it takes to tell of a picture: one that was wanted later is told later.
TEST_F(ServiceTest, PicturesComeInTheOrderInWhichTheyWereWanted) {
    std::atomic<bool> isTelling = false;
    auto const window = std::this_thread::get_id();
    FrameService slow([&](SharedFrame frame) {
        isTelling = true;
        if (std::this_thread::get_id() != window)
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        inbox.put(std::move(frame));
    });
    SceneSnapshot const first = move(3);
    slow.ask(first, {});
    SharedFrame const one = inbox.next();
    isTelling = false;
    slow.ask(move(9), {});
    while (!isTelling) std::this_thread::yield();
    slow.ask(first, {});
    EXPECT_NE(inbox.next(), one);
    EXPECT_EQ(inbox.next(), one);
}

TEST_F(ServiceTest, FetchesFramesAheadWithinTheBudgetAndLetsRequestsPass) {
    document.changeValues("Key", [](std::vector<Parameter>&) {});
    SceneSnapshot const scene = move(5);
    std::vector<int> frames;
    for (int frame = 1; frame <= 40; ++frame) frames.push_back(frame);
    service.ask(scene, {});
    SharedFrame const one = inbox.next();
    service.setBudget(20 * one->bytes());
    service.prefetch(scene, {}, frames);
    auto const deadline = std::chrono::steady_clock::now() + 30s;
    while (service.kept(scene, {}, frames).size() < 15 &&
           std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(1ms);
    std::vector<int> const there = service.kept(scene, {}, frames);
    ASSERT_GE(there.size(), 15u);
    for (int i = 0; i < 15; ++i) EXPECT_EQ(there[std::size_t(i)], i + 1);  // nearest first
    service.ask(scene, {.reduce = 2});
    ASSERT_NE(inbox.next(), nullptr);
    EXPECT_EQ(inbox.waiting(), 0u);  // what was fetched ahead told nobody
    EXPECT_LE(service.bytes(), service.budget());
}

TEST_F(ServiceTest, TellsWhatFailsByTheFilesNameAndGoesOn) {
    Scene scene = sceneOf(48, 36);
    scene.plate.emplace();
    zelk_test::TemporaryFolder const folder;
    scene.plate->file.written = folder.at("gone.png").string();
    document.start(scene);
    service.ask(document.snapshot(), {});
    SharedFrame frame = inbox.next();
    ASSERT_NE(frame, nullptr);
    EXPECT_NE(frame->error.find("gone.png: no such file"), std::string::npos) << frame->error;
    service.ask(document.snapshot(), {.shows = ShownPicture::kPlate});
    EXPECT_NE(inbox.next()->error.find("gone.png"), std::string::npos);
    PictureView layer;
    layer.shows = ShownPicture::kLayer;
    layer.part = PixelRect{4, 6, 24, 30};
    service.ask(document.snapshot(), layer);
    frame = inbox.next();
    EXPECT_EQ(frame->error, "");
    EXPECT_EQ(frame->display.width(), 20);
    EXPECT_EQ(frame->whole, (PixelSize{48, 36}));
    std::uint8_t const* const pixel = frame->display.rowAs<std::uint8_t>(0);
    EXPECT_EQ(int(pixel[1]), 4 * (6 * 48 + 4) * 7 % 251);
    layer.part = {};
    service.ask(document.snapshot(), layer);
    EXPECT_GT(inbox.next()->bytes(), 2u * 4 * 48 * 36) << "its values too";
}

// A mouse that moves faster than pictures are made still shows drafts.
TEST_F(ServiceTest, DraftsAreNotStoppedByDrafts) {
    document.start(sceneOf(1600, 1200));
    PictureView const draft{.isDraft = true, .isLoupe = true}, coarse{.reduce = 2, .isDraft = true};
    for (int i = 0; i < 40; ++i) {
        service.ask(move(i), draft);
        std::this_thread::sleep_for(2ms);
    }
    SceneSnapshot const last = move(50);
    service.ask(last, draft);
    int count = 0, fine = 0;
    SharedFrame frame;
    do {
        frame = inbox.next();
        ASSERT_NE(frame, nullptr);
        ++count;
    } while (frame->revision != last.revision);
    EXPECT_GT(count, 1);
    for (count = 0; count < 20; ++count) {
        service.ask(move(60), draft);
        std::this_thread::sleep_for(2ms);
        service.ask(move(50 - count), coarse);
        while (inbox.next()->view != coarse) ++fine;
    }
    EXPECT_LT(fine, 10) << "one for a loupe holds it up";
}

TEST(FrameCache, DraftsOfADragLeaveTheOthersAlone) {
    FrameCache cache;
    auto const frameOf = [](int number, bool isDraft) {
        auto frame = std::make_shared<ShownFrame>();
        frame->revision = 1;
        frame->frame = number;
        frame->view.isDraft = isDraft;
        frame->display = World({100, 100, Depth::k8});
        return frame;
    };
    cache.setBudget(16 * frameOf(0, false)->bytes());
    for (int i = 0; i < 10; ++i) cache.add(frameOf(i, false), false);
    for (int i = 0; i < 100; ++i) cache.add(frameOf(100 + i, true), true);
    PictureView const full;
    for (int i = 0; i < 10; ++i) EXPECT_NE(cache.find(1, i, full), nullptr) << i;
    EXPECT_NE(cache.find(1, 199, {.isDraft = true}), nullptr);
    EXPECT_EQ(cache.find(1, 199, full), nullptr);
    EXPECT_EQ(cache.find(1, 150, {.isDraft = true}), nullptr);
    EXPECT_LE(cache.bytes(), cache.budget());
    cache.setBudget(0);
    EXPECT_EQ(cache.bytes(), 0u);
}

}  // namespace
}  // namespace zelk
