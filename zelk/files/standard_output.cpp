// See standard_output.h.
#include "zelk/files/standard_output.h"

#include <cstdio>

#include "zelk/text/errors.h"

namespace zelk {

void print(std::string_view text) {
    bool const isWritten = std::fwrite(text.data(), 1, text.size(), stdout) == text.size();
    if (!isWritten || std::fflush(stdout) != 0) {
        throw UserError(ExitCode::kOutput, "standard output cannot be written");
    }
}

}  // namespace zelk
