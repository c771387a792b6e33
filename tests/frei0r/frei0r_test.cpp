// Both plug-ins, loaded as a host does, beside the command line's files of the same 8-bit pixels.
#include <dlfcn.h>
#include <fmt/format.h>
#include <frei0r.h>

#include <cmath>
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
using Bytes = Picture<unsigned char>;

class Plugin {
public:
    explicit Plugin(std::string const& name)
        : m_library(::dlopen((ZELK_FREI0R_FOLDER "/" + name + ".so").c_str(), RTLD_NOW)) {
        if (!m_library) throw std::runtime_error(::dlerror());
        function<decltype(f0r_init)>("f0r_init")();
        function<decltype(f0r_get_plugin_info)>("f0r_get_plugin_info")(&info);
        parameters.resize(static_cast<std::size_t>(info.num_params));
        for (int i = 0; i < info.num_params; ++i)
            function<decltype(f0r_get_param_info)>("f0r_get_param_info")(
                &parameters[static_cast<std::size_t>(i)], i);
    }
    ~Plugin() {
        function<decltype(f0r_deinit)>("f0r_deinit")();
        ::dlclose(m_library);
    }

    template <class Function>
    Function* function(char const* name) const {
        auto* const found = reinterpret_cast<Function*>(::dlsym(m_library, name));
        if (!found) throw std::runtime_error(name);
        return found;
    }
    int position(std::string_view name) const {
        for (std::size_t i = 0; i < parameters.size(); ++i)
            if (parameters[i].name == name) return static_cast<int>(i);
        throw std::runtime_error("no parameter " + std::string(name));
    }

    f0r_plugin_info_t info{};
    std::vector<f0r_param_info_t> parameters;

private:
    void* m_library;
};

class Instance {
public:
    Instance(Plugin const& plugin, unsigned width, unsigned height)
        : m_plugin(plugin),
          m_instance(plugin.function<decltype(f0r_construct)>("f0r_construct")(width, height)) {}
    ~Instance() { m_plugin.function<decltype(f0r_destruct)>("f0r_destruct")(m_instance); }

    template <class Value>
    void set(int position, Value value) {
        m_plugin.function<decltype(f0r_set_param_value)>("f0r_set_param_value")(m_instance, &value,
                                                                                position);
    }
    template <class Value>
    Value get(int position) const {
        Value value{};
        m_plugin.function<decltype(f0r_get_param_value)>("f0r_get_param_value")(m_instance, &value,
                                                                                position);
        return value;
    }
    /// "name=0.5 name=word ..."
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
        if (m_plugin.info.plugin_type == F0R_PLUGIN_TYPE_FILTER)
            m_plugin.function<decltype(f0r_update)>("f0r_update")(m_instance, 0, dataOf(first),
                                                                  out.data());
        else
            m_plugin.function<decltype(f0r_update2)>("f0r_update2")(
                m_instance, 0, dataOf(first), dataOf(second), nullptr, out.data());
    }

private:
    Plugin const& m_plugin;
    f0r_instance_t m_instance;
};

Pixels pixelsOf(Bytes const& picture) {
    Pixels pixels(picture.values.size() / 4);
    std::memcpy(pixels.data(), picture.values.data(), picture.values.size());
    return pixels;
}

constexpr char const* kFilter = "zelk_corner_pin";
constexpr char const* kMixer = "zelk_corner_pin_over";

class Frei0rPlugin : public ::testing::TestWithParam<char const*> {};

TEST_P(Frei0rPlugin, ExportsTheHostsFunctionsAndNeedsNoLibraryOfOurs) {
    TemporaryFolder const folder;
    std::string const file = ZELK_FREI0R_FOLDER "/" + std::string(GetParam()) + ".so";
    auto const said = [&](std::string const& command) {
        EXPECT_EQ(std::system((command + " >" + folder.at("said").string()).c_str()), 0);
        std::ifstream in(folder.at("said"));
        return std::string(std::istreambuf_iterator<char>(in), {});
    };
    std::string const symbols = said(ZELK_NM " -D --defined-only " + file);
    EXPECT_EQ(lines(symbols), 10);
    for (std::string const& line : split(symbols, '\n'))
        EXPECT_TRUE(line.empty() || has(line, " T f0r_")) << line;
    EXPECT_FALSE(has(said("readelf -d " + file), "zelk"));
}

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
    std::vector<Pixels> alone(kFrames);
    for (unsigned i = 0; i < kFrames; ++i) {
        Instance fresh(plugin, kWidth, kHeight);
        alone[i] = frame(fresh, i);
    }
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

TEST_P(Frei0rPlugin, OutputMayBeAnInputAndInputsMayBeMissing) {
    Plugin const plugin(GetParam());
    bool const isMixer = plugin.info.plugin_type == F0R_PLUGIN_TYPE_MIXER2;
    Pixels const first = pixelsOf(noise<unsigned char>(61, 33, 4, 3));
    Pixels const second = pixelsOf(noise<unsigned char>(61, 33, 4, 4));
    for (char const* view : {"both", "original"}) {
        Instance instance(plugin, 61, 33);
        instance.setQuad({0.1, 0.2, 0.8, -0.1, 0.3, 1.2, 0.9, 0.7});
        instance.set(plugin.position("view-mode"), view);
        Pixels apart(first.size(), 0xDEADBEEF), inPlace = first, onLayer = second;
        instance.update(&first, &second, apart);
        instance.update(&inPlace, &second, inPlace);
        EXPECT_EQ(inPlace, apart);
        if (isMixer) {
            instance.update(&first, &onLayer, onLayer);
            EXPECT_EQ(onLayer, apart);
        }
        instance.update(isMixer ? &first : nullptr, nullptr, apart);
        if (!isMixer) {
            EXPECT_EQ(apart, Pixels(first.size(), 0u));
        }
    }
}

INSTANTIATE_TEST_SUITE_P(All, Frei0rPlugin, ::testing::Values(kFilter, kMixer));

class Frei0rFrame : public ZelkTest {};

/// A plug-in's settings and the command line's for the same picture.
struct Case {
    char const* settings;
    char const* options;
};

Quad pixels(Quad quad, int width, int height) {
    for (std::size_t i = 0; i < 8; ++i) quad[i] *= i % 2 ? height : width;
    return quad;
}

std::string cornersText(Quad const& q) {
    return fmt::format("{},{} {},{} {},{} {},{}", q[0], q[1], q[2], q[3], q[4], q[5], q[6], q[7]);
}

TEST_F(Frei0rFrame, AreTheCommandLinesToTheBit) {
    constexpr Case kBoth[] = {
        {"quality=high", ""},
        {"quality=low corner-pin-opacity=0.4", "--quality low --opacity 40"},
        {"quality=Medium view-mode=to", "--quality medium --view to"},
        {"quality=super super-sample-softness=1.5 super-sample-edge=0.5",
         "--quality super --set super-sample-softness=1.5 --set super-sample-edge=0.5"},
        {"crop-to-pins=1 from-upper-left-x=0.25 from-upper-left-y=0.125 from-lower-right-x=0.75",
         "--set crop-to-pins=on --set from-upper-left={0},{1} --set from-lower-right={2},{3}"},
        {"translate-x=0.2 translate-y=-1.5 scale-x=1.25 scale-y=-2 rotate=0.125",
         "--set translate-x=20 --set translate-y=-150 --set scale-x=1.25 --set scale-y=-2 "
         "--set rotate=45"},
        {"scale-x=99 corner-pin-opacity=-7", "--set scale-x=20 --opacity 0"},
    };
    constexpr Case kOnFilter[] = {{"transfer-mode=soft-light", "--transfer soft-light"},
                                  {"transfer-mode=behind", "--transfer behind"}};
    constexpr Case kOnMixer[] = {
        {"transfer-mode=soft-light", "--mode soft-light"},
        {"transfer-mode=Color_Dodge corner-pin-opacity=0.7", "--mode color-dodge --opacity 70"}};
    unsigned seed = 0;
    for (char const* name : {kFilter, kMixer}) {
        Plugin const plugin(name);
        bool const isMixer = name == kMixer;
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
            Words words =
                joined(split(options, ' '), {"--to", cornersText(pixels(quad, width, height))});
            if (options.empty()) words.erase(words.begin());
            if (isMixer) words = joined(words, {"--over", "plate.png"});
            render("layer.png", "out.png", words);
            Instance instance(plugin, unsigned(width), unsigned(height));
            instance.setQuad(quad);
            instance.setAll(split(c.settings, ' '));
            Pixels const pinned = pixelsOf(layer), under = pixelsOf(plate);
            Pixels out(pinned.size());
            instance.update(isMixer ? &under : &pinned, isMixer ? &pinned : nullptr, out);
            Pixels const expected = pixelsOf(readPicture<unsigned char>(at("out.png")));
            std::size_t different = 0;
            for (std::size_t i = 0; i < out.size(); ++i) different += out[i] != expected[i];
            EXPECT_EQ(different, 0u) << "of " << out.size() << " pixels";
        }
    }
}

}  // namespace
