// Each library is asked in its own way; see library_versions.h.
#include "zelk/render/library_versions.h"

#include <OpenColorIO/OpenColorIO.h>
#include <OpenImageIO/imageio.h>
#include <fmt/format.h>
#include <hwy/highway.h>
#include <lcms2.h>
#include <zlib.h>

#include <sstream>

#include "Transform/Common/Transform_Core_Render/LineFuncSimd.h"
#include "zelk/movies/child_program.h"

namespace zelk {

namespace {

/// 1, 2, 3 of 10203.
std::string ofDecimals(int number) {
    return fmt::format("{}.{}.{}", number / 10000, number / 100 % 100, number % 100);
}

}  // namespace

std::vector<NamedVersion> libraryVersions() {
    int const lcms = cmsGetEncodedCMMversion();  // 2140 is 2.14
    return {{"OpenImageIO", ofDecimals(OIIO::openimageio_version())},
            {"OpenColorIO", OCIO_NAMESPACE::GetVersion()},
            {"Little CMS", fmt::format("{}.{}", lcms / 1000, lcms % 1000 / 10)},
            {"zlib", ::zlibVersion()},
            {"fmt", ofDecimals(FMT_VERSION)},
            {"Highway", fmt::format("{}.{}.{}", HWY_MAJOR, HWY_MINOR, HWY_PATCH)},
            {"OpenMP", fmt::format("{}", _OPENMP)}};
}

std::string ffmpegVersion() {
    if (!isProgramThere("ffmpeg")) return "";
    ChildProgram program({"ffmpeg", "-version"}, ChildProgram::Pipe::kFromOutput);
    std::istringstream words(program.readAll());
    program.await();
    std::string name, version, number;
    words >> name >> version >> number;
    return number;
}

std::string instructionSet() { return lineFuncSimdTarget(); }

}  // namespace zelk
