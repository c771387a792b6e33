// A module's resource: missing, broken, or other than what the module exports and answers.
#include <fstream>
#include <sstream>

#include "tests/host/ae_probe.h"
#include "tests/support/temporary_folder.h"

namespace zelk {
namespace {

namespace fs = std::filesystem;

std::string textOf(fs::path const& file) {
    std::ostringstream text;
    text << std::ifstream(file).rdbuf();
    return text.str();
}

std::string replaced(std::string text, std::string const& what, std::string const& by) {
    std::size_t const at = text.find(what);
    EXPECT_NE(at, std::string::npos) << what;
    return text.replace(at, what.size(), by);
}

TEST(ModuleResource, HasToBeSoundAndTrue) {
    zelk_test::TemporaryFolder const folder;
    fs::path const module = folder.path() / "probe.so", resource = folder.path() / "probe.so.json";
    fs::copy_file(ZELK_PROBE_MODULE, module);  // without a body: answers version 0 and no flags
    std::string const sound = textOf(std::string(ZELK_PROBE_MODULE) + ".json");
    std::string const silent = replaced(replaced(sound, "1082375", "0"), "33554432", "0");
    auto const refusal = [&](std::string const& text) -> std::string {
        std::ofstream(resource) << text;
        try {
            EXPECT_EQ(Host(module).resource().name, "Probe");
            return "";
        } catch (HostError const& error) {
            EXPECT_EQ(std::string(error.what()).rfind(module.string() + ": ", 0), 0u);
            return std::string(error.what()).substr(module.string().size() + 2);
        }
    };
    EXPECT_EQ(refusal(silent), "");
    EXPECT_EQ(refusal(replaced(silent, "}", ", \"later\": []}")), "");
    for (std::string const& broken :
         {std::string(), std::string("[]"), sound.substr(1), silent + std::string(1 << 16, ' ')})
        EXPECT_EQ(refusal(broken),
                  "its resource \"probe.so.json\" is not sound, expected a JSON object of at most "
                  "65536 bytes");
    struct Case {
        char const *what, *by, *said;
    };
    for (Case const& c :
         {Case{"\"name\"", "\"nam\"", "sound \"name\", expected a string of 1 to 31 bytes"},
          {"\"Test\"", "7", "sound \"category\""},
          {"\"Test\"", "\"\"", "sound \"category\""},
          {"\"Test\"", "\"a\\nb\"", "sound \"category\""},
          {"\"Test\"", "\"12345678901234567890123456789012\"", "sound \"category\""},
          {"\"outFlags\": 0", "\"outFlags\": -1", "sound \"outFlags\", expected a whole number"},
          {"\"outFlags\": 0", "\"outFlags\": 4294967296", "sound \"outFlags\""},
          {"EntryPointFunc", "Elsewhere", "exports no function \"Elsewhere\""},
          {"\"version\": 0", "\"version\": 9", "answers version 0x0, expected 0x9"},
          {"\"outFlags\": 0", "\"outFlags\": 4", "answers out_flags 0x0, expected 0x4"},
          {"\"outFlags2\": 0", "\"outFlags2\": 8", "answers out_flags2 0x0, expected 0x8"}})
        EXPECT_NE(refusal(replaced(silent, c.what, c.by)).find(c.said), std::string::npos)
            << c.by << ": " << refusal(replaced(silent, c.what, c.by));
    fs::remove(resource);
    EXPECT_THROW(Host{module}, HostError);
    folder.put("text.so.json", sound);
    EXPECT_THROW(Host{folder.put("text.so", "no shared object")}, HostError);
}

}  // namespace
}  // namespace zelk
