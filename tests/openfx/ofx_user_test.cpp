// What a user does in an OpenFX host: dragging pins in the overlay, importing tracks, and a host that
// fails meanwhile.
#include <gtest/gtest.h>

#include <fstream>

#include "tests/openfx/ofx_picture.h"
#include "tests/openfx/ofx_sweep.h"
#include "tests/support/temporary_folder.h"

namespace zelk_ofx {
namespace {

}  // namespace
}  // namespace zelk_ofx
