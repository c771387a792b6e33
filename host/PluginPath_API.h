// PluginPath_API: mask path queries of a host.
//
// A path is named by an opaque pointer; the query functions take the host's path suite first.
// Results are the host's error codes, 0 for success. Vertices are in layer pixels.
#pragma once

class PluginHost_API;

/// One mask vertex: position and the two tangents, layer pixels, tangents relative to the position.
struct QV_PathVertex {
    double x, y;
    double tangentInX, tangentInY;
    double tangentOutX, tangentOutY;
};

class PluginPath_API {
public:
    virtual ~PluginPath_API() = default;

    virtual int PathVertexInfo(void* suite, void* path, int index, QV_PathVertex* vertex) = 0;
    virtual int PathIsOpen(void* suite, void* path, bool* isOpen) = 0;
    virtual int PathNumSegments(void* suite, void* path, int* count) = 0;
    virtual int NumPaths(void* suite, int* count) = 0;
    /// Takes a path out at a host time; give it back with CheckinPath.
    virtual int CheckoutPath(void* suite, int pathId, int time, int timeStep, int timeScale,
                             void** path) = 0;
    virtual int CheckinPath(void* suite, int pathId, bool changed, void* path) = 0;
    virtual int PathInfo(void* suite, int index, int* pathId) = 0;
    virtual void setPathAspectRatio(double aspect, PluginHost_API* host) = 0;
    virtual void setPathScale(double scaleX, double scaleY, bool keepAspect) = 0;
};
