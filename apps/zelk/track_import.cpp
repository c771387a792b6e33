// The dialog that answers by itself, and the popup that is chosen from; see track_import.h.
#include "apps/zelk/track_import.h"

#include <cstdio>
#include <string>

#include "apps/zelk/errors.h"
#include "apps/zelk/module_road.h"
#include "apps/zelk/parameter_names.h"
#include "platform/services/FileChooser.h"

namespace zelk {

namespace {

/// A user who has one file in mind, for the length of a scope.
class ChosenFile {
public:
    explicit ChosenFile(std::filesystem::path const& file)
        : m_file(std::filesystem::absolute(file).string()) {
        installFileChooserBackend(&m_backend);
    }
    ~ChosenFile() { installFileChooserBackend(nullptr); }
    ChosenFile(ChosenFile const&) = delete;
    ChosenFile& operator=(ChosenFile const&) = delete;

private:
    static OSStatus choose(void* context, FileChooserRequest const*, char* path, std::size_t size) {
        std::string const& file = static_cast<ChosenFile*>(context)->m_file;
        if (file.size() >= size) return kNameTooLongStatus;
        file.copy(path, size);
        path[file.size()] = '\0';
        return 0;
    }
    std::string m_file;
    FileChooserBackend m_backend{this, choose, nullptr};
};

}  // namespace

std::size_t importTrack(Host& host, std::filesystem::path const& file, TrackedPins pins,
                        PixelSize frame) {
    constexpr double kLoadToPins = 2, kLoadFromPins = 3;  // entries of the popup
    std::vector<Parameter>& all = host.parameters();
    int const first = pins == TrackedPins::kTo ? kToPins : kFromPins;
    for (int i = first; i < first + 4; ++i) all[static_cast<std::size_t>(i)].editTrack().clear();

    FrameRequest moment = frameRequest(host.comp(), host.comp().startFrame);
    moment.layerWidth = frame.width;
    moment.layerHeight = frame.height;
    World output({frame.width, frame.height, Depth::k8});
    ChosenFile const chosen(file);
    setNumber(all[kMochaImport].current, pins == TrackedPins::kTo ? kLoadToPins : kLoadFromPins);
    checkResult(host.userChangedParam(kMochaImport, moment, &output), file.string());
    std::size_t keys = 0;
    for (int i = first; i < first + 4; ++i) keys += all[static_cast<std::size_t>(i)].track().size();
    return keys;
}

}  // namespace zelk
