// Reports a failed assertion on standard error and stops the program. Standard output is left
// alone: a command line tool may be writing a picture there.
#include "Transform/Common/QV_Poly/QV_Assert.h"

#include <cstdio>
#include <cstdlib>

void QV_AssertFailed(char const* text, char const* function, char const* sourceFile) {
    std::fprintf(stderr, "Assertion failed: %s, function %s, file %s\n", text, function,
                 sourceFile);
    std::fflush(stderr);
    std::abort();
}
