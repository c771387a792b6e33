// Project files: there and back with every kind of parameter, everything that can be wrong with
// one, saving that fails, the schema beside the reader, and the three commands on real pictures.
#include <algorithm>
#include <fstream>
#include <nlohmann/json.hpp>
#include <set>

#include "tests/support/zelk_process.h"
#include "zelk/render/setup.h"
#include "zelk/scene/clock.h"
#include "zelk/scene/file.h"
#include "zelk/scene/file_form.h"
#include "zelk/scene/parameter_names.h"
#include "zelk/scene/values.h"
#include "zelk/scene/words.h"
#include "zelk/text/errors.h"

namespace zelk {
namespace {

using Json = nlohmann::json;
using zelk_test::has;
using zelk_test::Limits;
using zelk_test::split;
using zelk_test::operator""_words;

class ProjectFile : public zelk_test::ZelkTest {
protected:
    void SetUp() override { fs::create_directory(at("plates")); }
    Scene read(std::string const& text) const {
        put("w.zelk.json", text);
        return readScene(at("w.zelk.json"));
    }
};

/// A value that the parameter can hold and a file can tell, different for each `seed`.
KeyValue valueFor(Parameter const& parameter, int seed) {
    ValueRange const range = validRange(parameter);
    double const part = seed % 97 / 97.0;  // no short decimal
    if (parameter.type() == PF_Param_COLOR) return {255, double(seed % 256), 7, 9};
    if (parameter.type() == PF_Param_POINT) return {part * 65534 - 32767, -part * 32767};
    if (parameter.type() == PF_Param_POPUP) return {double(1 + seed % 2)};
    if (range.min == range.max) return {part * 8000 - 4000};
    double const any = range.min + part * (range.max - range.min);
    bool const isWhole = parameter.type() == PF_Param_SLIDER || range.max == 1;
    return {isWhole ? std::round(any) : any};
}

TEST_F(ProjectFile, GoesThereAndBackWithEveryKindAndInterpolation) {
    Host host(ZELK_MODULE), again(ZELK_MODULE);
    Scene project;
    project.file = at("a.zelk.json");
    project.comp = {640, 360, 0.9, *rateFromText("30000/1001"), -7, 90, true, 200, -11};
    fs::path const home = project.file.parent_path();
    project.layer.file = {"la\"y\\er.####.exr", home};
    project.plate = SceneInput{{"/p/\xc3\xa4.png", home}};
    project.output = ScenePath{"../o", home}, project.frames = "1-10x3";
    project.depth = Depth::kFloat, project.overMode = PF_Xfer_COLOR_BURN;
    project.downsample = 2, project.size = PixelSize{9, 8}, project.isBest = true;
    project.filter = "lanczos2", project.taps = 8, project.edges = FrameEdges::kExact;
    project.featherPx = 1.5, project.chokePx = 0.25, project.channels = "rgb";
    project.stMap = SceneInput{{"lens/st.exr", home}}, project.isInverted = true;
    project.matte = SceneMatte{{{"m.####.exr", home}}, "id.mask"};
    project.holdout = SceneMatte{{{"/h.mov", home}}, ""};
    project.keepsOrientation = project.dropsOverscan = true;
    host.resetParameters(320, 180);
    int seed = 0;
    for (Parameter& parameter : host.parameters()) {
        if (!parameter.hasValue()) continue;
        setKeyValue(parameter.current, valueFor(parameter, ++seed));
        for (int i = 0; parameter.canVaryInTime() && i < 20; ++i, seed += 31)
            parameter.editTrack().set({{static_cast<A_long>(seed % 4000) - 2000, 30000},
                                       valueFor(parameter, seed),
                                       Interpolation(seed % 3),
                                       {0.1 + seed % 97, seed / 9.},
                                       {0.2 + seed % 89, -seed / 7.}});
    }
    PixelSize const size = {320, 180};
    auto const defaults = defaultsOf({}, host.parameters(), size, size);
    writeScene(sceneOf(project, host.parameters(), defaults), project.file);
    Scene const read = readScene(project.file);
    EXPECT_EQ(sceneText(read), bytesOf("a.zelk.json"));
    EXPECT_TRUE(has(bytesOf("a.zelk.json"), "\"id\": 134"));
    EXPECT_EQ(
        std::tie(read.filter, read.taps, read.edges, read.featherPx, read.chokePx),
        std::tie(project.filter, project.taps, project.edges, project.featherPx, project.chokePx));
    again.resetParameters(320, 180);
    setValues(read, ValuesFrom::kFile, again.parameters());
    EXPECT_EQ(sceneText(sceneOf(read, again.parameters(), defaults)), bytesOf("a.zelk.json"));
    for (std::size_t i = 0; i < host.parameters().size(); ++i) {
        Parameter const &a = host.parameters()[i], &b = again.parameters()[i];
        SCOPED_TRACE(kParameterNames[i]);
        EXPECT_EQ(keyValueOf(a.current), keyValueOf(b.current));
        ASSERT_EQ(a.track().size(), b.track().size());
        for (std::size_t k = 0; k < a.track().size(); ++k) {
            Keyframe const &x = a.track().keys()[k], &y = b.track().keys()[k];
            EXPECT_TRUE(x.time == y.time && x.value == y.value && x.toNext == y.toNext &&
                        x.incoming.influencePercent == y.incoming.influencePercent &&
                        x.outgoing.speed == y.outgoing.speed);
        }
    }
}

TEST(ProjectRate, IsExact) {
    for (auto const& [text, told] : {std::pair("23.976", "24000/1001"),
                                     {"25/1", "25"},
                                     {"1/3", "334/1002"},
                                     {"23.98", "23.98"},
                                     {"23976/1000", "23976/1000"}})
        EXPECT_EQ(rateText(rateFromText(text).value()), told);
    for (char const* text : {"", "0", "-1", "nan", "1/0", "24/1/1", "2.5/1", "4e9/1", "1e7"})
        EXPECT_FALSE(rateFromText(text)) << text;
}

constexpr char const* kGood = R"({"schema": "zelk-project", "version": 1,
"comp": {"width": 8, "height": 6, "rate": 25}, "layer": "a.png", "parameters": {
"rotate": {"id": 134, "value": 30, "keys": [{"frame": 0, "value": 1}, {"frame": 2, "value": 3}]}}})";

// What of the good file becomes what else, and parts of the answer. ~ is a byte that is not UTF-8.
constexpr char const* kWrongs = R"(: 30|: NaN|3:32|"NaN"
}}}|}}|3:98|end of input
"a.png"|"a~.png"|UTF-8
"a.png"|"a.png", "matte": {"channel": "A"}|missing|"matte.file"
"version": 1|"version": 2|too new|"2"|version up to 1
"value": 30|"id": 134|twice|"parameters.rotate.id"
zelk-|zulk-|"zulk-project"|zelk-project
, "rate": 25||missing|"comp.rate"
"rotate"|"rotat"|"parameters.rotat"|such as "rotate"
"width": 8|"width": 8.5|"8.5"|whole number
134|24|parameters.rotate.id|"24"|134
: 30|: "30"|rotate.value|the text "30"|-32767 to 32767
: 2,|: 0.0004,|two keys of parameters.rotate.keys|"0.0004"
: 2,|: 1e8,|parameters.rotate.keys[1].frame|clock
: 3}|: 3, "in": {"influence": 0}}|keys[1].in.influence|0.1 to 100
"rotate": {"id": 134|"quality": {"id": 13|quality.value|"30"|High, Super Sample
"rotate": {"id": 134, "value": 30|"quality": {"value": "low"|parameters.quality|keys:|2 keys
"rotate": {"id": 134|"reposition-group": {"id": 189|group start
"rotate": {"id": 134, "value": 30, "keys": [{|"transfer-mode": {"keys": [{"interpolation": "linear", |transfer-mode.keys[0]|hold)";

std::string replaced(std::string text, std::string const& part, std::string const& by) {
    return text.replace(text.find(part), part.size(), by);
}

TEST_F(ProjectFile, WhatIsWrongIsNamedWithItsPlace) {
    Host host(ZELK_MODULE);
    auto const refusal = [&](std::string const& text) -> std::string {
        try {
            setValues(read(text), ValuesFrom::kFile, host.parameters());
            return {};
        } catch (UserError const& error) {
            EXPECT_EQ(error.code(), ExitCode::kInput);
            return error.what();
        }
    };
    for (std::string const& row : split(kWrongs, '\n')) {
        SCOPED_TRACE(row);
        auto const words = split(row, '|');
        std::string text = replaced(kGood, words[0], words[1]);
        std::replace(text.begin(), text.end(), '~', '\xff');
        std::string const said = refusal(text);
        EXPECT_TRUE(said.starts_with(at("w.zelk.json: ").string())) << said;
        for (std::size_t i = 2; i < words.size(); ++i) EXPECT_TRUE(has(said, words[i])) << said;
        EXPECT_EQ(said.find('\n'), said.npos);
    }
    EXPECT_EQ(numberOf(host.parameters()[kParamRotate].current), 0);  // nothing of them was set
    EXPECT_EQ(refusal(kGood), "");
    EXPECT_EQ(numberOf(host.parameters()[kParamRotate].current), 30);
    for (auto const& text : {std::string(100000, '['), std::string(70 << 20, ' ')})
        EXPECT_NE(refusal(text).find("at most"), std::string::npos);
    for (std::string const name : {"plates", "none"})
        expectRefusal({"project", "check", name}, 3, {name});
}

TEST_F(ProjectFile, WithoutAStartItIsThatOfTheFrames) {
    for (auto const& [comp, frames, start, duration] :
         {std::tuple{"", "", 0, 1},
          {"", R"("frames": "1012-1001x-1,1005",)", 1001, 12},
          {R"(, "startFrame": 990)", R"("frames": "1001-1012",)", 990, 23},
          {R"(, "duration": 9)", R"("frames": "7",)", 7, 9}}) {
        std::string const text = replaced(replaced(kGood, "25", std::string("25") + comp),
                                          R"("layer")", frames + std::string(R"("layer")"));
        Scene project = read(text);
        EXPECT_EQ(project.comp.startFrame, start) << text;
        EXPECT_EQ(project.comp.durationFrames, duration) << text;
        project.frames = "-3-4";
        fitToFrames(project);
        EXPECT_EQ(project.comp.startFrame, project.ownStart ? start : -3) << text;
    }
}

TEST_F(ProjectFile, AFailedSaveLeavesWhatWasThere) {
    put("l.ppm", "P6 3 2 255\n" + std::string(18, 'x'));
    put("a.zelk.json", kGood);
    auto const expectFailed = [&](std::string const& name, Limits const& limits) {
        expectRefusal({"project", "new", name, "--layer", "l.ppm", "--force"}, 4, {name}, limits);
    };
    expectFailed("a.zelk.json", {.fileSize = 128});
    for (std::string const& name :
         {std::string(300, 'n'), std::string("plates"), std::string("no/folder")})
        expectFailed(name, {});
    expectRefusal("project new a.zelk.json --layer l.ppm"_words, 4, {"--force"});
    EXPECT_EQ(bytesOf("a.zelk.json"), kGood);
    EXPECT_EQ(files(), "a.zelk.json l.ppm plates"_words);  // nothing half written
}

TEST_F(ProjectFile, TheSchemaAndTheCommandLineKnowTheSameWords) {
    Json const schema = Json::parse(std::ifstream(ZELK_PROJECT_SCHEMA));
    for (FileObject const& object : fileObjects()) {
        Json const& known = schema["$defs"][std::string(object.name)];
        std::set<std::string> names, required;
        for (FileKey const& key : object.keys) {
            names.emplace(key.name);
            if (key.isRequired) required.emplace(key.name);
        }
        for (auto const& [name, value] : known["properties"].items())
            EXPECT_EQ(names.erase(name), 1u) << object.name << name;
        EXPECT_TRUE(names.empty()) << object.name;
        EXPECT_EQ(known.value("required", std::set<std::string>()), required) << object.name;
        EXPECT_EQ(known["additionalProperties"], false);
    }
    Json const& parameters = schema["$defs"]["project"]["properties"]["parameters"]["properties"];
    Host host(ZELK_MODULE);
    for (Parameter const& parameter : host.parameters()) {
        auto const name = std::string(kParameterNames[static_cast<std::size_t>(parameter.index)]);
        ASSERT_EQ(parameters.contains(name), parameter.hasValue()) << name;
        if (!parameter.hasValue()) continue;
        EXPECT_EQ(parameters[name]["properties"]["id"]["const"], parameter.diskId()) << name;
    }
    auto const modes = wordsOf(kOverModes);
    EXPECT_EQ(schema["$defs"]["render"]["properties"]["mode"]["enum"], Json(modes));
    EXPECT_EQ(schema["$defs"]["render"]["properties"]["filter"]["enum"],
              Json(wordsOf(kFilterWords)));
    expectRefusal("render a -o b --over p --mode ?"_words, 2, {listOf(modes)});
}

TEST_F(ProjectFile, CommandsMakeShowAndCheckOne) {
    std::string const picture = "P6 3 2 255\n" + std::string(18, 'x');
    for (char const* name : {"l", "plates/p.0012", "plates/p.0013", "plates/p.0014"})
        put(std::string(name) + ".ppm", picture);
    done(
        "project new plates/q.zelk.json --layer l.ppm --plate plates/p.####.ppm --mode add "
        "--matte l.ppm:G --holdout plates/p.####.ppm:B --quality best"_words);
    for (char const* part : {R"("matte": {"file": "../l.ppm", "channel": "G"})",
                             R"("holdout": {"file": "p.####.ppm", "channel": "B"})",
                             R"("mode": "add")", R"("quality": "best")"})
        EXPECT_TRUE(has(bytesOf("plates/q.zelk.json"), part)) << part;
    EXPECT_EQ(run("project new s.zelk.json --layer l.ppm --plate plates/p.####.ppm"_words).out,
              "s.zelk.json: 3x2, 24 frames a second, frames 12 to 14\n");
    std::string const own = "s.zelk.json", moved = "plates/s.zelk.json";
    Scene project = readScene(at(own));
    EXPECT_EQ(project.plate->file.written, "plates/p.####.ppm");
    project.matte = SceneMatte{project.layer, "R"};
    project.isBest = project.dropsOverscan = true;
    project.featherPx = 2.5;
    project.codec = "h264";
    project.color.work = "linear";
    project.parameters = {{"rotate", {}, 30., {{12, 1., {}, {}, {}}, {13.5, 2., {}, {}, {}}}}};
    writeScene(project, at(moved));  // the pictures stay where they are
    for (std::string const& each : {own, moved})
        EXPECT_EQ(run({"project", "check", each}).out, each + ": good\n");
    std::string const shown = run({"project", "show", moved}).out;
    for (char const* part :
         {"../l.ppm", "p.####.ppm", "30; 2 keys, frames 12 to 13.5", "../l.ppm:R",
          "quality best, feather 2.5", "overscan drop", "codec h264", "work linear"})
        EXPECT_TRUE(has(shown, part)) << shown;
    EXPECT_EQ(run({"project", "show", own, "--json"}).out, bytesOf(own));
    fs::remove(at("plates/p.0013.ppm"));  // within the composition
    expectRefusal({"project", "check", own}, 3, {"p.0013.ppm: no such file"});
    fs::remove_all(at("plates"));
    expectRefusal({"project", "check", own}, 3, {"plates"});
}

}  // namespace
}  // namespace zelk
