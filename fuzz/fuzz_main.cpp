// libFuzzer's entry for the one target that ZELK_FUZZ_TARGET names.
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "fuzz/fuzz_targets.h"

extern "C" __attribute__((visibility("default"))) int LLVMFuzzerTestOneInput(
    std::uint8_t const* bytes, std::size_t count) {
    static zelk::FuzzTarget const target = [] {
        for (zelk::FuzzTarget const& one : zelk::fuzzTargets())
            if (one.name == ZELK_FUZZ_TARGET) return one;
        std::abort();
    }();
    target.run({reinterpret_cast<char const*>(bytes), count});
    return 0;
}
