// The words that completion offers are those that are taken.
#include <gtest/gtest.h>

#include "apps/zelk/completion.h"
#include "zelk/scene/edits.h"
#include "zelk/text/errors.h"

namespace zelk {
namespace {

std::string refusalOf(SceneEdit const& edit, std::string const& text) {
    try {
        Scene scene;
        edit.apply(scene, "it", text);
        return "";
    } catch (UserError const& error) {
        return error.what();
    }
}

TEST(OfferedWords, AreAllThatAnEditTakes) {
    for (SceneEdit const& edit : sceneEdits()) {
        SCOPED_TRACE(edit.name);
        auto const words = edit.words ? edit.words() : std::vector<std::string_view>();
        for (std::string_view const word : words) EXPECT_EQ(refusalOf(edit, std::string(word)), "");
        std::string const refusal = refusalOf(edit, "no such word");
        if (refusal.find("unknown choice") == refusal.npos) continue;
        if (edit.name == "motion-blur") continue;  // a number too
        EXPECT_EQ(refusal, "it: unknown choice \"no such word\", expected " + listOf(words));
    }
}

}  // namespace
}  // namespace zelk
