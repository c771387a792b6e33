// Child processes by fork and exec where a run can't be served, and picture files by OpenImageIO.
#include "tests/support/zelk_process.h"

#include <linux/securebits.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <optional>
#include <random>
#include <sstream>
#include <thread>

#include "tests/support/program_server.h"

namespace zelk_test {

namespace {

void limitChild(int which, std::size_t bytes) {
    rlimit const limit{bytes, bytes};
    if (bytes > 0) ::setrlimit(which, &limit);
}

[[noreturn]] void becomeZelk(fs::path const& folder, Words& arguments, Limits const& limits) {
    arguments.insert(arguments.begin(), ZELK_BINARY);
    std::vector<char*> argv;
    for (std::string& argument : arguments) argv.push_back(argument.data());
    argv.push_back(nullptr);
    bool isReady = moveInto(folder);
    limitChild(RLIMIT_AS, limits.addressSpace);
    limitChild(RLIMIT_FSIZE, limits.fileSize);
    // Being root gives the program that is started no right.
    if (limits.obeysPermissions && ::geteuid() == 0)
        isReady = isReady && ::prctl(PR_SET_SECUREBITS, SECBIT_NOROOT) == 0;
    if (isReady) ::execv(ZELK_BINARY, argv.data());
    ::_exit(126);
}

}  // namespace

bool has(std::string const& text, std::string const& part) {
    return text.find(part) != std::string::npos;
}

std::ptrdiff_t lines(std::string const& text) { return std::count(text.begin(), text.end(), '\n'); }

Words joined(Words some, Words const& more) {
    some.insert(some.end(), more.begin(), more.end());
    return some;
}

Words split(std::string const& text, char between) {
    Words all(1);
    for (char c : text) c == between ? all.emplace_back() : all.back() += c;
    return all;
}

Words operator""_words(char const* text, std::size_t size) { return split({text, size}, ' '); }

void ZelkTest::TearDown() {
    if (!m_path.empty()) ::setenv("PATH", m_path.c_str(), 1);
}

Outcome ZelkTest::run(Words arguments, Limits const& limits,
                      std::function<void(int)> const& meanwhile) const {
    // A job's scripts start the program that submitted them, and `view` the one beside itself.
    bool const namesProgram = has("submit view", arguments.empty() ? "" : arguments[0]);
    std::optional<ServedRun> run;
    if (!meanwhile && limits == Limits{} && !namesProgram)
        run = servedRun(m_folder.path(), arguments);
    if (!run) {
        run.emplace();
        pid_t const child = ::fork();
        if (child == 0) becomeZelk(m_folder.path(), arguments, limits);
        if (meanwhile) meanwhile(child);
        EXPECT_EQ(::wait4(child, &run->status, 0, &run->usage), child);
    }
    return {WIFEXITED(run->status) ? WEXITSTATUS(run->status) : -1, bytesOf("_stdout"),
            bytesOf("_stderr"), static_cast<double>(run->usage.ru_maxrss) * 1024 / 1e6};
}

std::string ZelkTest::done(Words const& arguments) const {
    Outcome const outcome = run(arguments);
    EXPECT_EQ(outcome.exitCode, 0) << testing::PrintToString(arguments) << outcome.err;
    return outcome.err;
}

std::string ZelkTest::render(std::string const& in, std::string const& out,
                             Words const& options) const {
    return done(joined({"render", in, "-o", out}, options));
}

std::string ZelkTest::copy(std::string const& in, std::string const& out,
                           Words const& options) const {
    return render(in, out, joined({"--view", "original"}, options));
}

void ZelkTest::expectRefusal(Words const& arguments, int exitCode, Words const& fragments,
                             Limits const& limits) const {
    Outcome const outcome = run(arguments, limits);
    std::string const& said = outcome.err;
    SCOPED_TRACE(testing::PrintToString(arguments) + said);
    EXPECT_EQ(outcome.exitCode, exitCode);
    EXPECT_EQ(outcome.out, "");
    EXPECT_TRUE(said.starts_with("zelk: ") && said.find('\n') == said.size() - 1);
    EXPECT_FALSE(has(said, "\"\"") || said.ends_with(" \n"));
    for (std::string const& fragment : fragments) EXPECT_TRUE(has(said, fragment)) << fragment;
}

void ZelkTest::put(std::string const& name, std::string const& bytes) const {
    m_folder.put(name, bytes);
}

void ZelkTest::putProgram(std::string const& name, std::string const& script) {
    if (m_path.empty()) m_path = std::getenv("PATH");
    fs::create_directory(at("_bin"));
    put("_bin/" + name, "#!/bin/sh\n" + script);
    fs::permissions(at("_bin/" + name), fs::perms::owner_all);
    ::setenv("PATH", (at("_bin").string() + ":" + m_path).c_str(), 1);
}

void ZelkTest::awaitFile(std::string const& name) const {
    for (int ms = 0; ms < 30'000 && !fs::exists(at(name)); ++ms)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    EXPECT_TRUE(fs::exists(at(name))) << name;
}

std::string ZelkTest::bytesOf(std::string const& name) const {
    std::ostringstream bytes;
    bytes << std::ifstream(at(name), std::ios::binary).rdbuf();
    return bytes.str();
}

std::map<std::string, std::size_t> ZelkTest::contents(std::string const& folder) const {
    std::map<std::string, std::size_t> all;
    for (auto const& entry : fs::directory_iterator(at(folder)))
        if (std::string const name = entry.path().filename();
            entry.is_regular_file() && name != ".zelk-journal")
            all[name] = std::hash<std::string>()(bytesOf(fs::path(folder) / name));
    return all;
}

Words ZelkTest::files() const {
    Words names;
    for (auto const& entry : fs::directory_iterator(m_folder.path())) {
        std::string const name = entry.path().filename();
        if (name[0] != '_') names.push_back(name);
    }
    std::sort(names.begin(), names.end());
    return names;
}

template <class T>
void writePicture(fs::path const& file, Picture<T> const& picture, std::string const& type) {
    OIIO::TypeDesc const own = OIIO::BaseTypeFromC<T>::value;
    OIIO::ImageSpec spec(picture.width, picture.height, picture.channels,
                         type.empty() ? own : OIIO::TypeDesc(type));
    spec.attribute("oiio:UnassociatedAlpha", 1);
    auto const writer = OIIO::ImageOutput::create(file.string());
    ASSERT_TRUE(writer && writer->open(file.string(), spec));
    ASSERT_TRUE(writer->write_image(own, picture.values.data()) && writer->close());
}

void writeValues(fs::path const& file, OIIO::ImageSpec const& spec, std::vector<float> values) {
    if (values.size() == 1)
        values.assign(spec.image_pixels() * static_cast<std::size_t>(spec.nchannels), values[0]);
    writeParts(file, {spec}, values);
}

void writeParts(fs::path const& file, std::vector<OIIO::ImageSpec> const& specs,
                std::vector<float> const& values) {
    auto const writer = OIIO::ImageOutput::create(file.string());
    ASSERT_TRUE(writer && writer->open(file.string(), int(specs.size()), specs.data())) << file;
    for (std::size_t i = 0; i < specs.size(); ++i) {
        auto const append = OIIO::ImageOutput::AppendSubimage;
        ASSERT_TRUE(i == 0 || writer->open(file.string(), specs[i], append)) << writer->geterror();
        ASSERT_TRUE(writer->write_image(OIIO::TypeFloat, values.data()));
    }
    ASSERT_TRUE(writer->close());
}

OIIO::ImageSpec specOf(fs::path const& file) {
    auto const reader = OIIO::ImageInput::open(file.string());
    return reader ? reader->spec() : OIIO::ImageSpec();
}

template <class T>
Picture<T> readPicture(fs::path const& file) {
    OIIO::ImageSpec config;
    config.attribute("oiio:UnassociatedAlpha", 1);
    Picture<T> picture;
    auto const reader = OIIO::ImageInput::open(file.string(), &config);
    if (!reader) return picture;
    OIIO::ImageSpec const& spec = reader->spec();
    picture = {spec.width, spec.height, spec.nchannels,
               std::vector<T>(spec.image_pixels() * static_cast<std::size_t>(spec.nchannels)),
               spec.format.c_str()};
    EXPECT_TRUE(reader->read_image(0, 0, 0, spec.nchannels, OIIO::BaseTypeFromC<T>::value,
                                   picture.values.data()));
    return picture;
}

template <class T>
Picture<T> noise(int width, int height, int channels, unsigned seed) {
    std::mt19937 random(seed);
    Picture<T> picture{width, height, channels, {}, {}};
    picture.values.resize(static_cast<std::size_t>(width * height * channels));
    for (T& value : picture.values) {
        if constexpr (std::is_floating_point_v<T>) {
            value = static_cast<T>(random() % 1025) / 1024;  // exact in half
        } else {
            value = static_cast<T>(random());
        }
    }
    return picture;
}

#define ZELK_PICTURES_OF(T)                                                                \
    template void writePicture<T>(fs::path const&, Picture<T> const&, std::string const&); \
    template Picture<T> readPicture<T>(fs::path const&);                                   \
    template Picture<T> noise<T>(int, int, int, unsigned);
ZELK_PICTURES_OF(std::uint8_t)
ZELK_PICTURES_OF(std::uint16_t)
ZELK_PICTURES_OF(float)
#undef ZELK_PICTURES_OF

}  // namespace zelk_test
