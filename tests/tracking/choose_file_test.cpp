// The file dialog, step by step: order, cancels, and each step failing with all given back.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "tracking/chooseTrackingFile.h"

namespace {

/// An application that answers `path`, or `status`, and notes the steps.
struct Chooser {
    std::string path = ZELK_TEXT_FILE;
    OSStatus status = 0;
    std::string failing;  ///< a step that is to fail
    std::vector<std::string> steps;
    FileChooserRequest asked{};
    std::string extension;

    Chooser() : backend{this, choose, step} { installFileChooserBackend(&backend); }
    ~Chooser() { installFileChooserBackend(nullptr); }

    static OSStatus choose(void* context, FileChooserRequest const* request, char* path,
                           std::size_t size) {
        auto& self = *static_cast<Chooser*>(context);
        self.asked = *request;
        self.extension = request->extension;
        std::snprintf(path, size, "%s", self.path.c_str());
        return self.status;
    }
    static OSStatus step(void* context, char const* name) {
        auto& self = *static_cast<Chooser*>(context);
        self.steps.push_back(name);
        return self.failing == name ? -1 : 0;
    }

    FileChooserBackend backend;
};

/// The path that was read, "" when nothing was.
std::string chosen() {
    char path[kTrackingPathBytes];
    std::string read;
    EXPECT_EQ(chooseTrackingFile(path, [&] { read = path; }), 0);
    return read;
}

const std::vector<std::string> kSteps = {"NavGetDefaultDialogCreationOptions",
                                         "NavCreateGetFileDialog",
                                         "CFArrayCreateMutable",
                                         "UTTypeCreatePreferredIdentifierForTag",
                                         "CFArrayAppendValue",
                                         "NavDialogSetFilterTypeIdentifiers",
                                         "NavDialogRun",
                                         "NavDialogGetReply",
                                         "AEGetNthPtr",
                                         "FSGetCatalogInfo",
                                         "FSpMakeFSRef",
                                         "FSRefMakePath"};

TEST(ChooseTrackingFile, AsksForOneTextFileInTheStepsOfTheDialog) {
    Chooser chooser;
    EXPECT_EQ(chosen(), ZELK_TEXT_FILE);
    std::vector<std::string> all = kSteps;
    all.insert(all.end(), {"CFRelease", "CFRelease", "NavDisposeReply", "NavDialogDispose"});
    EXPECT_EQ(chooser.steps, all);
    EXPECT_EQ(chooser.asked.modality, 2);
    EXPECT_EQ(chooser.extension, "txt");
}

// The sanitizers see what a failing step leaves behind.
TEST(ChooseTrackingFile, EndsInSilenceWhereAStepFails) {
    for (std::size_t step = 0; step < kSteps.size(); ++step) {
        Chooser chooser;
        chooser.failing = kSteps[step];
        const bool canFail = kSteps[step] != "CFArrayAppendValue";  // it has no status
        EXPECT_EQ(chosen(), canFail ? "" : ZELK_TEXT_FILE) << kSteps[step];
        const auto count = [&](char const* name) {
            return std::count(chooser.steps.begin(), chooser.steps.end(), name);
        };
        const std::string next = step + 1 < kSteps.size() ? kSteps[step + 1] : "";
        EXPECT_EQ(count(next.c_str()), !canFail) << "none follows " << kSteps[step];
        EXPECT_EQ(count("NavDialogDispose"), step > 1) << kSteps[step];
        EXPECT_EQ(count("NavDisposeReply"), step > 7 || !canFail) << kSteps[step];
    }
    for (auto const& [path, status] : {std::pair<std::string, OSStatus>("/nowhere/track.txt", 0),
                                       {std::string(1100, '/') + ZELK_TEXT_FILE, 0},
                                       {ZELK_TEXT_FILE, kUserCanceledStatus}}) {
        Chooser chooser;
        chooser.path = path, chooser.status = status;
        EXPECT_EQ(chosen(), "");
        EXPECT_EQ(chooser.steps.back(), "NavDialogDispose");
    }
    EXPECT_EQ(chosen(), "") << "with nothing installed the user has cancelled";
    FSRef ref{};
    EXPECT_EQ(FSRefMakeFSSpec(&ref, nullptr), -50);
}

}  // namespace
