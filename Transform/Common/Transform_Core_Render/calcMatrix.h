// Builds the one matrix of a render: a source point in unit measure to an output pixel position,
// homogeneous. With no other step the unit square lands on the rectangle (0, 0) to (width, height).
#pragma once

#include "Transform/Common/QV_Poly/QV_Mtrx44.h"
#include "Transform/Common/RenderRecords.h"

/// Fills `matrix` from the pins, the camera or the fixed 40 degree frustum, and the scale, rotate
/// and translate steps. Writes `settings.toQuad` and `settings.fromQuad` (Z order, unit measure),
/// and clears `translateZ`, `rotateX` and `rotateY` in `core` when `quadMode` isn't 0. `width` and
/// `height` are the host's output size in pixels, above 0.
/// Returns 0, or 1 when the pins aren't a convex quad (turning either way): the matrix is untouched
/// then, and the quad tested is already stored.
int calcMatrix(QV_Mtrx44& matrix, CoreRenderArguments& core, RenderSettings& settings, int width,
               int height);

/// Takes back, after calcMatrix with the fixed frustum and a quad map, what the single-precision
/// view distance leaves: pixels 4e-8 nearer to the centre. The unit square then fills the frame to
/// 1e-12 pixels.
void fillView(QV_Mtrx44& matrix, int width, int height);
