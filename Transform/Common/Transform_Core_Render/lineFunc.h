// lineFunc: the line function of quality 0, nearest neighbour for any pixel format.
#pragma once

#include "Transform/Common/RenderRecords.h"

/// Copies, for each pixel of the run, the source pixel at the truncated position. The destination
/// starts at `dest` + skipLeft pixels. Steps x, y, w by repeated addition, one step a pixel.
/// The polygon keeps positions inside the source rectangle; one that rounding has carried out of
/// it is brought back to the nearest pixel inside.
void lineFunc(void* settings, LineRenderStruct* line);
