// A folder of a test's own, gone with all in it at the end of a scope.
#pragma once

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

namespace fs = std::filesystem;  // in every test

namespace zelk_test {

class TemporaryFolder {
public:
    TemporaryFolder() {
        const std::string unnamed(6, 'X');  // for mkdtemp to fill in
        std::string name = fs::temp_directory_path() / ("zelk-test-" + unnamed);
        if (!::mkdtemp(name.data())) throw std::runtime_error("no folder for a test");
        m_path = fs::canonical(name);
    }
    ~TemporaryFolder() { fs::remove_all(m_path); }
    TemporaryFolder(TemporaryFolder const&) = delete;
    TemporaryFolder& operator=(TemporaryFolder const&) = delete;

    fs::path const& path() const { return m_path; }
    fs::path at(std::string const& name) const { return m_path / name; }
    fs::path put(std::string const& name, std::string const& bytes) const {
        std::ofstream(at(name), std::ios::binary) << bytes;
        return at(name);
    }

private:
    fs::path m_path;
};

}  // namespace zelk_test
