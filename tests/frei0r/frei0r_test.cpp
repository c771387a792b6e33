// Both plug-ins, loaded as a host does, beside the command line's files of the same 8-bit pixels.
#include <dlfcn.h>
#include <fmt/format.h>
#include <frei0r.h>

#include <cstring>
#include <limits>
#include <set>
#include <thread>

#include "tests/support/random_quads.h"
#include "tests/support/zelk_process.h"

namespace {

using namespace zelk_test;
using zelk::Quad;
using zelk::Random;
using Pixels = std::vector<std::uint32_t>;

#define ZELK_CALL(plugin, name) (plugin).function<decltype(name)>(#name)

struct Plugin {
    explicit Plugin(std::string const& name)
        : library(::dlopen((ZELK_FREI0R_FOLDER "/" + name + ".so").c_str(), RTLD_NOW)) {
        if (!library) throw std::runtime_error(::dlerror());
        ZELK_CALL(*this, f0r_init)();
        ZELK_CALL(*this, f0r_get_plugin_info)(&info);
        parameters.resize(std::size_t(info.num_params));
        for (int i = 0; i < info.num_params; ++i)
            ZELK_CALL(*this, f0r_get_param_info)(&parameters[std::size_t(i)], i);
    }
    ~Plugin() {
        ZELK_CALL(*this, f0r_deinit)();
        ::dlclose(library);
    }
    template <class Function>
    Function* function(char const* name) const {
        return reinterpret_cast<Function*>(::dlsym(library, name));
    }
    int position(std::string_view name) const {
        int i = 0;
        while (parameters.at(std::size_t(i)).name != name) ++i;
        return i;
    }
    bool isMixer() const { return info.plugin_type == F0R_PLUGIN_TYPE_MIXER2; }

    void* library;
    f0r_plugin_info_t info{};
    std::vector<f0r_param_info_t> parameters;
};

class Instance {
public:
    Instance(Plugin const& plugin, unsigned width, unsigned height)
        : m_plugin(plugin), m_instance(ZELK_CALL(plugin, f0r_construct)(width, height)) {}
    ~Instance() { ZELK_CALL(m_plugin, f0r_destruct)(m_instance); }

    template <class Value>
    void set(int position, Value value) {
        ZELK_CALL(m_plugin, f0r_set_param_value)(m_instance, &value, position);
    }
    template <class Value>
    Value get(int position) const {
        Value value{};
        ZELK_CALL(m_plugin, f0r_get_param_value)(m_instance, &value, position);
        return value;
    }
    /// "name=0.5", "name=word"
    void setAll(Words const& settings) {
        for (std::string const& setting : settings) {
            Words const parts = split(setting, '=');
            int const at = m_plugin.position(parts[0]);
            if (m_plugin.parameters[std::size_t(at)].type == F0R_PARAM_STRING)
                set(at, parts[1].c_str());
            else
                set(at, std::stod(parts[1]));
        }
    }
    void setQuad(Quad const& quad) {
        for (int i = 0; i < 8; ++i) set(i, quad[std::size_t(i)]);
    }
    void update(Pixels const* first, Pixels const* second, Pixels& out) const {
        auto const dataOf = [](Pixels const* pixels) { return pixels ? pixels->data() : nullptr; };
        auto* const one = ZELK_CALL(m_plugin, f0r_update);
        auto* const two = ZELK_CALL(m_plugin, f0r_update2);
        if (m_plugin.isMixer())
            two(m_instance, 0, dataOf(first), dataOf(second), nullptr, out.data());
        else
            one(m_instance, 0, dataOf(first), out.data());
    }

private:
    Plugin const& m_plugin;
    f0r_instance_t m_instance;
};

Pixels pixelsOf(Picture<unsigned char> const& picture) {
    Pixels pixels(picture.values.size() / 4);
    std::memcpy(pixels.data(), picture.values.data(), picture.values.size());
    return pixels;
}

constexpr char const* kFilter = "zelk_corner_pin";
constexpr char const* kMixer = "zelk_corner_pin_over";

class Frei0rPlugin : public ::testing::TestWithParam<char const*> {};

TEST_P(Frei0rPlugin, TellsOfItselfAndKeepsWhatItIsTold) {
    Plugin const plugin(GetParam());
    EXPECT_EQ(plugin.info.color_model, F0R_COLOR_MODEL_RGBA8888);
    EXPECT_EQ(plugin.info.frei0r_version, FREI0R_MAJOR_VERSION);
    std::set<std::string> names;
    Instance instance(plugin, 40, 24);
    for (int i = 0; i < plugin.info.num_params; ++i) {
        f0r_param_info_t const& parameter = plugin.parameters[std::size_t(i)];
        SCOPED_TRACE(parameter.name);
        EXPECT_TRUE(names.insert(parameter.name).second);
        EXPECT_FALSE(std::string(parameter.explanation).empty());
        if (parameter.type == F0R_PARAM_STRING) {
            std::string const word = instance.get<char const*>(i);
            EXPECT_TRUE(has(parameter.explanation, word));
            instance.set(i, "no such word");
            EXPECT_EQ(instance.get<char const*>(i), word);
            std::string const last = split(parameter.explanation, ' ').back();
            instance.set(i, last.c_str());
            EXPECT_EQ(instance.get<char const*>(i), last);
        } else {
            double const first = instance.get<double>(i);
            EXPECT_TRUE(first >= 0 && first <= 1);
            instance.set(i, std::numeric_limits<double>::quiet_NaN());
            EXPECT_EQ(instance.get<double>(i), first);
            instance.set(i, -0.1);
            EXPECT_EQ(instance.get<double>(i), -0.1);
        }
    }
    for (int const outside : {-1, plugin.info.num_params}) instance.set(outside, 1.0);
    Pixels nothing(40 * 24, 77u);
    instance.update(nullptr, nullptr, nothing);
    EXPECT_EQ(nothing, Pixels(40 * 24, 0u));
}

TEST_P(Frei0rPlugin, ManyInstancesInThreadsAndFramesInAnyOrder) {
    constexpr int kThreads = 4, kFrames = 6;
    constexpr unsigned kWidth = 320, kHeight = 200;
    Plugin const plugin(GetParam());
    Pixels const layer = pixelsOf(noise<unsigned char>(kWidth, kHeight, 4, 1));
    Pixels const plate = pixelsOf(noise<unsigned char>(kWidth, kHeight, 4, 2));
    auto const frame = [&](Instance& instance, unsigned seed) {
        Random random(seed);
        instance.setQuad(randomConvexQuad(random));
        Pixels out(layer.size());
        instance.update(&layer, &plate, out);
        return out;
    };
    std::vector<Pixels> alone;
    Instance first(plugin, kWidth, kHeight);
    for (unsigned i = 0; i < kFrames; ++i) alone.push_back(frame(first, i));
    std::vector<std::thread> threads;
    for (unsigned t = 0; t < kThreads; ++t)
        threads.emplace_back([&, t] {
            Instance instance(plugin, kWidth, kHeight);
            for (unsigned i = 0; i < 2 * kFrames; ++i) {
                unsigned const n = (i * 5 + t) % kFrames;
                EXPECT_EQ(frame(instance, n), alone[n]) << "frame " << n << ", thread " << t;
            }
        });
    for (std::thread& thread : threads) thread.join();
}

INSTANTIATE_TEST_SUITE_P(All, Frei0rPlugin, ::testing::Values(kFilter, kMixer));

class Frei0rFrame : public ZelkTest {};

/// A plug-in's settings and the command line's for the same picture.
struct Case {
    char const* settings;
    char const* options;
};

std::string cornersText(Quad const& quad, int width, int height) {
    std::string text;
    for (std::size_t i = 0; i < 8; i += 2)
        text += fmt::format("{},{} ", quad[i] * width, quad[i + 1] * height);
    return text;
}

TEST_F(Frei0rFrame, AreTheCommandLinesToTheBit) {
    constexpr Case kBoth[] = {
        {"quality=high", ""},
        {"quality=low corner-pin-opacity=0.4", "--quality low --opacity 40"},
        {"quality=Medium view-mode=to", "--quality medium --view to"},
        {"view-mode=original", "--view original"},
        {"quality=super super-sample-softness=1.5 super-sample-edge=0.5",
         "--quality super --set super-sample-softness=1.5 --set super-sample-edge=0.5"},
        {"crop-to-pins=1 from-upper-left-x=0.25 from-upper-left-y=0.125 from-lower-right-x=0.75",
         "--set crop-to-pins=on --set from-upper-left={0},{1} --set from-lower-right={2},{3}"},
        {"translate-x=0.2 translate-y=-1.5 scale-x=1.25 scale-y=-2 rotate=0.125",
         "--set translate-x=20 --set translate-y=-150 --set scale-x=1.25 --set scale-y=-2 "
         "--set rotate=45"},
        {"scale-x=99 corner-pin-opacity=-7", "--set scale-x=20 --opacity 0"},
    };
    constexpr Case kOnFilter[] = {
        {"transfer-mode=soft-light", "--transfer soft-light"},
        {"transfer-mode=behind source-opacity=0.0", "--transfer behind --source-opacity 0"}};
    constexpr Case kOnMixer[] = {
        {"transfer-mode=soft-light", "--mode soft-light"},
        {"transfer-mode=Color_Dodge corner-pin-opacity=0.7", "--mode color-dodge --opacity 70"}};
    unsigned seed = 0;
    for (char const* name : {kFilter, kMixer}) {
        Plugin const plugin(name);
        bool const isMixer = plugin.isMixer();
        std::vector<Case> cases(std::begin(kBoth), std::end(kBoth));
        for (Case const& own : isMixer ? kOnMixer : kOnFilter) cases.push_back(own);
        for (Case const& c : cases) {
            SCOPED_TRACE(fmt::format("{} {} seed {}", name, c.settings, ++seed));
            Random random(seed);
            int const width = random.integer(20, 200), height = random.integer(20, 120);
            Quad const quad = randomConvexQuad(random);
            auto const layer = noise<unsigned char>(width, height, 4, seed);
            auto const plate = noise<unsigned char>(width, height, 4, seed + 100);
            writePicture(at("layer.png"), layer);
            writePicture(at("plate.png"), plate);
            std::string const options = fmt::format(fmt::runtime(c.options), width * 0.25,
                                                    height * 0.125, width * 0.75, height);
            Words words = joined(split(options, ' '), {"--to", cornersText(quad, width, height)});
            if (options.empty()) words.erase(words.begin());
            if (isMixer) words = joined(words, {"--over", "plate.png"});
            render("layer.png", "out.png", words);
            Instance instance(plugin, unsigned(width), unsigned(height));
            instance.setQuad(quad);
            instance.setAll(split(c.settings, ' '));
            Pixels const pinned = pixelsOf(layer), under = pixelsOf(plate);
            Pixels first = isMixer ? under : pinned, second = pinned, out(pinned.size());
            Pixels const expected = pixelsOf(readPicture<unsigned char>(at("out.png")));
            instance.update(&first, &second, out);
            EXPECT_TRUE(out == expected);
            // In place.
            if (isMixer) {
                instance.update(&first, &second, second);
                EXPECT_TRUE(second == expected);
            }
            instance.update(&first, &pinned, first);
            EXPECT_TRUE(first == expected);
        }
    }
}

}  // namespace
