// The corner that is open and the size that counts, line by line; see LoadMochaFile.h.
#include "tracking/LoadMochaFile.h"

#include <cstdio>
#include <memory>

#include "tracking/MochaLoader.h"
#include "tracking/TrackingLine.h"
#include "tracking/chooseTrackingFile.h"

namespace {

constexpr int kLineBytes = 256;  // 255 characters and the end

struct FileCloser {
    void operator()(std::FILE* file) const { std::fclose(file); }
};

class LineReader {
public:
    LineReader(int const* paramIndices, int const* diskIds, MochaLoader& loader)
        : m_paramIndices(paramIndices), m_diskIds(diskIds), m_loader(loader) {}

    void take(char const* text) {
        const TrackingLine line = readTrackingLine(text);
        switch (line.kind) {
            case TrackingLineKind::kSourceWidth:
                if (line.hasSize) m_width = line.size;
                m_loader.setResolution(m_width, m_height);
                break;
            case TrackingLineKind::kSourceHeight:
                if (line.hasSize) m_height = line.size;
                m_loader.setResolution(m_width, m_height);
                break;
            case TrackingLineKind::kCorner:
                m_loader.finishLoadProperty();
                m_loader.startLoadProperty(m_paramIndices[line.corner], m_diskIds[line.corner]);
                m_isOpen = true;
                break;
            case TrackingLineKind::kSample:
                if (m_isOpen)
                    m_loader.setValue(double(line.x) / m_width, double(line.y) / m_height,
                                      double(line.frame));
                break;
            case TrackingLineKind::kOther:
                break;
        }
    }

    void end() {
        if (m_isOpen) m_loader.finishLoadProperty();
    }

private:
    int const* m_paramIndices;
    int const* m_diskIds;
    MochaLoader& m_loader;
    int m_width = kUntoldTrackWidth, m_height = kUntoldTrackHeight;
    bool m_isOpen = false;  ///< a corner was met; nothing but the next one ends it
};

}  // namespace

int LoadMochaFile(PluginHost_API*, int* paramIndices, int* diskIds, char const* path,
                  MochaLoader* loader) {
    const std::unique_ptr<std::FILE, FileCloser> file(std::fopen(path, "r"));
    if (!file) return 1;
    LineReader reader(paramIndices, diskIds, *loader);
    char line[kLineBytes];
    while (std::fgets(line, sizeof line, file.get())) reader.take(line);
    reader.end();
    return 0;
}

int LoadMochaFile(PluginHost_API* host, int* paramIndices, int* diskIds, MochaLoader* loader) {
    char path[kTrackingPathBytes];
    return chooseTrackingFile(path,
                              [&] { LoadMochaFile(host, paramIndices, diskIds, path, loader); });
}
