// The composition's camera, asked of the host through its suites.
#pragma once

#include "platform/effect_api/aegp_suites.h"

class PluginHost_API;

/// Asks for the camera that shows the effect's layer at a host time.
///
/// @param matrix         the camera's, row vectors
/// @param found          the host gave a camera, and its project holds a composition
/// @param zoom           the camera layer's Zoom; 1.0 where `found` is false
/// @param planeWidth     of the image plane, pixels
/// @param planeDistance  from the camera to that plane
/// @return 0. Where `found` is false only it and `zoom` are defined. In Premiere
///         Pro, and without an After Effects side, nothing is asked. Throws 516 for a suite that
///         the host lacks.
int GetCameraMatrix(PluginHost_API* host, QV_Matrix4* matrix, long time, long timeScale,
                    bool& found, double* zoom, int width, int height, int& planeWidth,
                    int& planeHeight, double& planeDistance);
