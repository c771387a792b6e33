// Makes the drawable shape of a render: four corners over the source picture, through the matrix,
// clipped to the output window in homogeneous space, divided by w.
#pragma once

#include "Transform/Common/QV_Poly/PlanePrimitives.h"
#include "Transform/Common/QV_Poly/QV_Mtrx44.h"
#include "Transform/Common/QV_Poly/QV_Poly.h"
#include "Transform/Common/RenderRecords.h"

class PluginHost_API;

/// Fills `poly` ready to scan.
///
/// @param target  clip rectangle of render mode 1, pixels; the other modes take the settings'
///                destination rectangle
/// @param src     source rectangle, inclusive pixels; in render mode 1 it must be at
///                least two pixels wide and high
/// @param bounds  receives the pixel bounds of the clipped polygon, inclusive; may be null
/// @param window  receives the clip window, inclusive pixels; may be null
/// @param matrix  unit measure to output pixels; not read in render modes 2 and 3
/// @return 0 when nothing of the polygon is inside the window, or when the map is so singular that
///         a corner has no position in it; else 1 (cut) or 2 (whole), with every vertex at most a
///         pixel outside the clip rectangle
int transformPoly(PluginHost_API* host, QV_Poly* poly, QV_FRect* target, QV_IRect const& src,
                  QV_IRect* bounds, QV_Window* window, RenderSettings* settings,
                  QV_Mtrx44 const* matrix);
