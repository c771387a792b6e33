// What names tell: where a path leads, and who made a hidden file.
#include "tests/support/zelk_process.h"
#include "zelk/files/absolute_path.h"
#include "zelk/files/process_tag.h"

namespace zelk {

using zelk_test::operator""_words;
using NamesTest = zelk_test::ZelkTest;

TEST_F(NamesTest, TellWhereTheyLeadAndWhoMadeTheFile) {
    std::filesystem::create_directories(at("disk/shot"));
    std::filesystem::create_symlink("disk/shot", at("link"));
    std::filesystem::create_symlink("nowhere", at("lost"));
    put("file", "");
    for (auto const& name : "link/x new/../x file/../x lost/../x disk/../lost/../x"_words)
        EXPECT_EQ(plainPath(at(name)), at(name));
    EXPECT_EQ(plainPath(at("link/../x")), at("disk/x"));
    for (auto const& target : "x x.png x.zelk-recovery .x.zelk-0000001a-2-3-4.png"_words)
        EXPECT_EQ(makerOf(hiddenName(target, 12)), thisProcess()) << target;
    for (auto const& name :
         "x.zelk-0000001a-2-3-0 .x.zelk-0000001a-2-3 .x.zelk-0000001a-2-3- .x.zelk-0000001a-2-3-0x "
         ".x.zelk-1a-2-3-4 .x.zelk-00000001a-2-3-4 .x.zelk-0000001A-2-3-4 .x.zelk-0000001a-02-3-4 "
         ".x.zelk-0000001a--2-3-4 .x.zelk-0000001a-0-3-4 .notes.zelk-1-2-3 .zelk-journal "
         ".x.zelk-TAG-0.zelk-recovery .zelk-lock-0000001a .x.png.zelk-lock"_words)
        EXPECT_FALSE(makerOf(name)) << name;
}

}  // namespace zelk
