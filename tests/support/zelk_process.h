// Runs `zelk` in a folder of its own and keeps all that it says.
#pragma once

#include <OpenImageIO/imageio.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "tests/support/temporary_folder.h"

namespace zelk_test {

using Words = std::vector<std::string>;

struct Outcome {
    int exitCode = -1;  ///< -1 when a signal ended it
    std::string out, err;
    double peakMb = 0;  ///< resident memory at its highest, MB of 10^6 bytes
};

/// Limits of the child, bytes; 0 for none.
struct Limits {
    std::size_t addressSpace = 0;
    std::size_t fileSize = 0;
    bool obeysPermissions = false;  ///< where the test is root, whom they would not stop
    bool operator==(Limits const&) const = default;
};

bool has(std::string const& text, std::string const& part);
std::ptrdiff_t lines(std::string const& text);
Words joined(Words some, Words const& more);
/// Of a table in a text.
Words split(std::string const& text, char between);
/// Of a command line, parted by single blanks.
Words operator""_words(char const* text, std::size_t size);

/// A temporary folder that is the working folder of every run.
class ZelkTest : public ::testing::Test {
protected:
    void TearDown() override;

    /// `meanwhile` is called beside the running child, with its id.
    Outcome run(Words arguments, Limits const& limits = {},
                std::function<void(int)> const& meanwhile = {}) const;
    /// Expects a run that ends well, and gives what it says on standard error.
    std::string done(Words const& arguments) const;
    std::string render(std::string const& in, std::string const& out,
                       Words const& options = {}) const;
    /// A render that changes no pixel.
    std::string copy(std::string const& in, std::string const& out,
                     Words const& options = {}) const;
    /// Expects one line of the form that users know, with all fragments in it, and nothing else.
    void expectRefusal(Words const& arguments, int exitCode, Words const& fragments,
                       Limits const& limits = {}) const;
    fs::path at(std::string const& name) const { return m_folder.at(name); }
    void put(std::string const& name, std::string const& bytes) const;
    /// Puts a shell script before all other programs of that name, until the test ends.
    void putProgram(std::string const& name, std::string const& script);
    /// Waits for a file that another process makes.
    void awaitFile(std::string const& name) const;
    std::string bytesOf(std::string const& name) const;
    /// The files of a folder, a run's journal aside: names with sums of their bytes.
    std::map<std::string, std::size_t> contents(std::string const& folder) const;
    /// Names in the folder, sorted, those of the captured streams left out.
    Words files() const;

private:
    TemporaryFolder m_folder;
    std::string m_path;  ///< the PATH as it was, once it was changed
};

/// An interleaved picture with values in the file's own type.
template <class T>
struct Picture {
    int width = 0, height = 0, channels = 0;
    std::vector<T> values;
    std::string format;  ///< as OpenImageIO names the stored type, when read
    bool operator==(Picture const&) const = default;
    T at(int x, int y, int c) const {
        return values[static_cast<std::size_t>((y * width + x) * channels + c)];
    }
};

/// Straight colour as it is stored. The stored type is `type` ("half" for one).
template <class T>
void writePicture(fs::path const& file, Picture<T> const& picture, std::string const& type = "");
template <class T>
Picture<T> readPicture(fs::path const& file);

/// Values as they are stored; one stands for all.
void writeValues(fs::path const& file, OIIO::ImageSpec const& spec, std::vector<float> values);
/// A file of several parts, each filled with values from the front.
void writeParts(fs::path const& file, std::vector<OIIO::ImageSpec> const& specs,
                std::vector<float> const& values);
OIIO::ImageSpec specOf(fs::path const& file);

/// Values spread over the whole range, the same for the same seed.
template <class T>
Picture<T> noise(int width, int height, int channels, unsigned seed);

}  // namespace zelk_test
