// zelk: the corner pin on the command line.
#include <cstdio>
#include <exception>

#include "apps/zelk/cli.h"
#include "zelk/text/errors.h"

int main(int argc, char** argv) {
    zelk::ExitCode code = zelk::ExitCode::kRenderFailed;
    try {
        return static_cast<int>(zelk::runCommandLine(argc, argv));
    } catch (zelk::UserError const& error) {
        code = error.code();
        std::fprintf(stderr, "zelk: %s\n", error.what());
    } catch (std::exception const& error) {
        std::fprintf(stderr, "zelk: internal error: %s\n", zelk::oneLine(error.what()).c_str());
    }
    return static_cast<int>(code);
}
