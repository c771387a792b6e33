// A module's resource: missing, broken, or other than what the module exports and answers.
#include <fstream>
#include <sstream>

#include "tests/host/ae_probe.h"
#include "tests/support/temporary_folder.h"

namespace zelk {
namespace {

TEST(ModuleResource, HasToBeSoundAndTrue) {
    zelk_test::TemporaryFolder const folder;
    auto const module = folder.at("probe.so");
    std::filesystem::copy_file(ZELK_PROBE_MODULE, module);
    std::ostringstream sound;
    sound << std::ifstream(ZELK_PROBE_MODULE ".json").rdbuf();
    for (auto const& [part, other, fault] :
         {std::tuple("}", ", \"later\": []}", ""),
          {"{", "", "\"probe.so.json\" is not sound, expected a JSON object of at most 65536"},
          {"\"name\"", "\"nam\"", "sound \"name\", expected a printable string of 1 to 31 bytes"},
          {"\"Test\"", "\"12345678901234567890123456789012\"", "sound \"category\""},
          {"\"outFlags\": 0", "\"outFlags\": 4294967296", "sound \"outFlags\""},
          {"EntryPointFunc", "Elsewhere", "exports no function \"Elsewhere\""},
          {"\"version\": 0", "\"version\": 9", "answers version 0x0, expected 0x9"},
          {"\"outFlags\": 0", "\"outFlags\": 4", "answers out_flags 0x0, expected 0x4"},
          {"\"outFlags2\": 0", "\"outFlags2\": 8", "answers out_flags2 0x0, expected 0x8"}}) {
        std::string text = sound.str();  // the module has no body: version 0 and no flags
        for (auto const& [what, by] : {std::pair("1082375", "0"), {"33554432", "0"}, {part, other}})
            text.replace(text.find(what), std::strlen(what), by);
        folder.put("probe.so.json", text);
        try {
            EXPECT_EQ(Host(module).resource().name, "Probe");
            EXPECT_STREQ(fault, "");
        } catch (HostError const& error) {
            std::string const said = error.what();
            EXPECT_TRUE(said.starts_with(module.string() + ": ")) << said;
            EXPECT_TRUE(*fault && said.find(fault) != said.npos) << other << ": " << said;
        }
    }
    std::filesystem::remove(folder.at("probe.so.json"));
    EXPECT_THROW(Host{module}, HostError);
    folder.put("text.so.json", sound.str());
    EXPECT_THROW(Host{folder.put("text.so", "no shared object")}, HostError);
}

}  // namespace
}  // namespace zelk
