// Reading in chunks, writing beside the target; see text_file.h.
#include "zelk/files/text_file.h"

#include <fmt/format.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <vector>

#include "zelk/files/output_place.h"
#include "zelk/files/temporary_file.h"
#include "zelk/text/errors.h"

namespace zelk {

namespace fs = std::filesystem;

namespace {

UserError unreadable(fs::path const& file) {
    if (errno == ENOENT) return {ExitCode::kInput, file.string() + ": no such file"};
    return {ExitCode::kInput, file.string() + ": cannot be read: " + std::strerror(errno)};
}

}  // namespace

std::string readTextFile(fs::path const& file, std::string const& kind, std::size_t mostBytes) {
    errno = 0;
    std::ifstream in(file, std::ios::binary);
    if (!in) throw unreadable(file);
    std::string bytes;
    std::vector<char> chunk(1 << 16);
    while (in.read(chunk.data(), static_cast<std::streamsize>(chunk.size())), in.gcount() > 0) {
        bytes.append(chunk.data(), static_cast<std::size_t>(in.gcount()));
        if (bytes.size() > mostBytes)
            throw UserError(ExitCode::kInput,
                            fmt::format("{}: too large for {} file: at most {} MB", file.string(),
                                        kind, mostBytes >> 20));
    }
    if (in.bad()) throw unreadable(file);
    return bytes;
}

void writeTextFile(fs::path const& file, std::string_view text, bool mayReplace) {
    checkPlace(file, false);
    TemporaryFile temporary(file);
    errno = 0;
    std::ofstream out(temporary.path(), std::ios::binary);
    out << text;
    out.close();  // a file server's disk may be full only now
    if (!out) throw unwritable(file, std::strerror(errno));
    if (!temporary.putInPlace(mayReplace))
        throw UserError(ExitCode::kOutput, file.string() + ": exists already");
}

}  // namespace zelk
