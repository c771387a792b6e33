// Our own declarations of the OpenFX C interface: numbers, handles, records and suites, in the
// layouts of its version 1.4, which 1.5 kept. ofx_names.h has its strings.
//
// Coordinates of the interface: y points up. "Canonical" is square unscaled pixels in double,
// "pixel" is addressable pixels in int, scaled and with the pixel aspect; rectangles are half-open.
// Suites are plain structs of function pointers; the order of the fields is the interface. A host
// owns every handle; a string that it gives out lives until the next call of any suite function.
// All of this has C linkage and never throws.
#pragma once

#include <cstddef>

extern "C" {

/// 0 to 999 general, from 1000 on of image effects.
using OfxStatus = int;
enum : OfxStatus {
    kOfxStatOK = 0,
    kOfxStatFailed = 1,
    kOfxStatErrFatal = 2,
    kOfxStatErrUnknown = 3,  ///< unknown object or name; of a property: or another type
    kOfxStatErrMissingHostFeature = 4,
    kOfxStatErrUnsupported = 5,
    kOfxStatErrExists = 6,
    kOfxStatErrFormat = 7,
    kOfxStatErrMemory = 8,
    kOfxStatErrBadHandle = 9,
    kOfxStatErrBadIndex = 10,
    kOfxStatErrValue = 11,
    kOfxStatReplyYes = 12,
    kOfxStatReplyNo = 13,
    kOfxStatReplyDefault = 14,
    kOfxStatErrImageFormat = 1000,
};

// Handles: pointers to structs that only the host defines.
using OfxPropertySetHandle = struct OfxPropertySetStruct*;
using OfxImageEffectHandle = struct OfxImageEffectStruct*;
using OfxImageClipHandle = struct OfxImageClipStruct*;
using OfxImageMemoryHandle = struct OfxImageMemoryStruct*;
using OfxParamSetHandle = struct OfxParamSetStruct*;
using OfxParamHandle = struct OfxParamStruct*;
using OfxInteractHandle = struct OfxInteract*;
using OfxMutexHandle = struct OfxMutex*;
using OfxDrawContextHandle = struct OfxDrawContext*;

/// Frames; fractions occur.
using OfxTime = double;

struct OfxRangeD {
    double min, max;
};
struct OfxPointD {
    double x, y;
};
struct OfxRectI {
    int x1, y1, x2, y2;
};
struct OfxRectD {
    double x1, y1, x2, y2;
};
struct OfxRGBAColourF {
    float r, g, b, a;
};

/// What an action is sent to; `handle` is what the action works on.
using OfxPluginEntryPoint = OfxStatus (*)(char const* action, void const* handle,
                                          OfxPropertySetHandle inArgs,
                                          OfxPropertySetHandle outArgs);

struct OfxHost {
    OfxPropertySetHandle host;
    /// Null for a name or version that the host has not. Not before the load action.
    void const* (*fetchSuite)(OfxPropertySetHandle host, char const* suiteName, int suiteVersion);
};

struct OfxPlugin {
    char const* pluginApi;
    int apiVersion;
    char const* pluginIdentifier;
    unsigned int pluginVersionMajor, pluginVersionMinor;
    void (*setHost)(OfxHost* host);
    OfxPluginEntryPoint mainEntry;
};

struct OfxPropertySuiteV1 {
    OfxStatus (*propSetPointer)(OfxPropertySetHandle, char const* name, int index, void* value);
    OfxStatus (*propSetString)(OfxPropertySetHandle, char const* name, int index,
                               char const* value);
    OfxStatus (*propSetDouble)(OfxPropertySetHandle, char const* name, int index, double value);
    OfxStatus (*propSetInt)(OfxPropertySetHandle, char const* name, int index, int value);
    OfxStatus (*propSetPointerN)(OfxPropertySetHandle, char const* name, int count,
                                 void* const* values);
    OfxStatus (*propSetStringN)(OfxPropertySetHandle, char const* name, int count,
                                char const* const* values);
    OfxStatus (*propSetDoubleN)(OfxPropertySetHandle, char const* name, int count,
                                double const* values);
    OfxStatus (*propSetIntN)(OfxPropertySetHandle, char const* name, int count, int const* values);
    OfxStatus (*propGetPointer)(OfxPropertySetHandle, char const* name, int index, void** value);
    OfxStatus (*propGetString)(OfxPropertySetHandle, char const* name, int index, char** value);
    OfxStatus (*propGetDouble)(OfxPropertySetHandle, char const* name, int index, double* value);
    OfxStatus (*propGetInt)(OfxPropertySetHandle, char const* name, int index, int* value);
    OfxStatus (*propGetPointerN)(OfxPropertySetHandle, char const* name, int count, void** values);
    OfxStatus (*propGetStringN)(OfxPropertySetHandle, char const* name, int count, char** values);
    OfxStatus (*propGetDoubleN)(OfxPropertySetHandle, char const* name, int count, double* values);
    OfxStatus (*propGetIntN)(OfxPropertySetHandle, char const* name, int count, int* values);
    OfxStatus (*propReset)(OfxPropertySetHandle, char const* name);
    OfxStatus (*propGetDimension)(OfxPropertySetHandle, char const* name, int* count);
};

struct OfxImageEffectSuiteV1 {
    OfxStatus (*getPropertySet)(OfxImageEffectHandle, OfxPropertySetHandle*);
    OfxStatus (*getParamSet)(OfxImageEffectHandle, OfxParamSetHandle*);
    OfxStatus (*clipDefine)(OfxImageEffectHandle, char const* name, OfxPropertySetHandle*);
    OfxStatus (*clipGetHandle)(OfxImageEffectHandle, char const* name, OfxImageClipHandle*,
                               OfxPropertySetHandle*);
    OfxStatus (*clipGetPropertySet)(OfxImageClipHandle, OfxPropertySetHandle*);
    /// `region`, canonical, may be null. The image is owed to clipReleaseImage.
    OfxStatus (*clipGetImage)(OfxImageClipHandle, OfxTime, OfxRectD const* region,
                              OfxPropertySetHandle* image);
    OfxStatus (*clipReleaseImage)(OfxPropertySetHandle image);
    OfxStatus (*clipGetRegionOfDefinition)(OfxImageClipHandle, OfxTime, OfxRectD*);
    int (*abort)(OfxImageEffectHandle);  ///< 1: give up this render; no status
    OfxStatus (*imageMemoryAlloc)(OfxImageEffectHandle, std::size_t bytes, OfxImageMemoryHandle*);
    OfxStatus (*imageMemoryFree)(OfxImageMemoryHandle);
    OfxStatus (*imageMemoryLock)(OfxImageMemoryHandle, void** address);
    OfxStatus (*imageMemoryUnlock)(OfxImageMemoryHandle);
};

/// The variadic arguments are one a dimension: pointers of the getters to int, double or char*, of
/// the setters the values, int, double or char const*.
struct OfxParameterSuiteV1 {
    OfxStatus (*paramDefine)(OfxParamSetHandle, char const* type, char const* name,
                             OfxPropertySetHandle*);
    OfxStatus (*paramGetHandle)(OfxParamSetHandle, char const* name, OfxParamHandle*,
                                OfxPropertySetHandle*);
    OfxStatus (*paramSetGetPropertySet)(OfxParamSetHandle, OfxPropertySetHandle*);
    OfxStatus (*paramGetPropertySet)(OfxParamHandle, OfxPropertySetHandle*);
    OfxStatus (*paramGetValue)(OfxParamHandle, ...);
    OfxStatus (*paramGetValueAtTime)(OfxParamHandle, OfxTime, ...);
    OfxStatus (*paramGetDerivative)(OfxParamHandle, OfxTime, ...);
    OfxStatus (*paramGetIntegral)(OfxParamHandle, OfxTime, OfxTime, ...);
    OfxStatus (*paramSetValue)(OfxParamHandle, ...);
    OfxStatus (*paramSetValueAtTime)(OfxParamHandle, OfxTime, ...);
    OfxStatus (*paramGetNumKeys)(OfxParamHandle, unsigned int* count);
    OfxStatus (*paramGetKeyTime)(OfxParamHandle, unsigned int nth, OfxTime*);
    OfxStatus (*paramGetKeyIndex)(OfxParamHandle, OfxTime, int direction, int* index);
    OfxStatus (*paramDeleteKey)(OfxParamHandle, OfxTime);
    OfxStatus (*paramDeleteAllKeys)(OfxParamHandle);
    OfxStatus (*paramCopy)(OfxParamHandle to, OfxParamHandle from, OfxTime offset,
                           OfxRangeD const* range);
    OfxStatus (*paramEditBegin)(OfxParamSetHandle, char const* label);
    OfxStatus (*paramEditEnd)(OfxParamSetHandle);
};

struct OfxMemorySuiteV1 {
    OfxStatus (*memoryAlloc)(void* effect, std::size_t bytes, void** data);
    OfxStatus (*memoryFree)(void* data);
};

using OfxThreadFunctionV1 = void(unsigned int threadIndex, unsigned int threadMax, void* customArg);
struct OfxMultiThreadSuiteV1 {
    OfxStatus (*multiThread)(OfxThreadFunctionV1*, unsigned int threads, void* customArg);
    OfxStatus (*multiThreadNumCPUs)(unsigned int* count);
    OfxStatus (*multiThreadIndex)(unsigned int* index);
    int (*multiThreadIsSpawnedThread)(void);
    OfxStatus (*mutexCreate)(OfxMutexHandle*, int lockCount);
    OfxStatus (*mutexDestroy)(OfxMutexHandle);
    OfxStatus (*mutexLock)(OfxMutexHandle);
    OfxStatus (*mutexUnLock)(OfxMutexHandle);
    OfxStatus (*mutexTryLock)(OfxMutexHandle);
};

/// Version 1 is the first function alone.
struct OfxMessageSuiteV2 {
    OfxStatus (*message)(void* effect, char const* type, char const* id, char const* format, ...);
    OfxStatus (*setPersistentMessage)(void* effect, char const* type, char const* id,
                                      char const* format, ...);
    OfxStatus (*clearPersistentMessage)(void* effect);
};

struct OfxInteractSuiteV1 {
    OfxStatus (*interactSwapBuffers)(OfxInteractHandle);
    OfxStatus (*interactRedraw)(OfxInteractHandle);
    OfxStatus (*interactGetPropertySet)(OfxInteractHandle, OfxPropertySetHandle*);
};

enum OfxStandardColour : int {
    kOfxStandardColourOverlayBackground,
    kOfxStandardColourOverlayActive,
    kOfxStandardColourOverlaySelected,
    kOfxStandardColourOverlayDeselected,
    kOfxStandardColourOverlayMarqueeFG,
    kOfxStandardColourOverlayMarqueeBG,
    kOfxStandardColourOverlayText,
};
enum OfxDrawLineStipplePattern : int {
    kOfxDrawLineStipplePatternSolid,
    kOfxDrawLineStipplePatternDot,
    kOfxDrawLineStipplePatternDash,
    kOfxDrawLineStipplePatternAltDash,
    kOfxDrawLineStipplePatternDotDash,
};
enum OfxDrawPrimitive : int {
    kOfxDrawPrimitiveLines,
    kOfxDrawPrimitiveLineStrip,
    kOfxDrawPrimitiveLineLoop,
    kOfxDrawPrimitiveRectangle,  ///< two opposite corners, filled
    kOfxDrawPrimitivePolygon,
    kOfxDrawPrimitiveEllipse,
};
enum OfxDrawTextAlignment : int {
    kOfxDrawTextAlignmentLeft = 1,
    kOfxDrawTextAlignmentRight = 2,
    kOfxDrawTextAlignmentTop = 4,
    kOfxDrawTextAlignmentBottom = 8,
    kOfxDrawTextAlignmentBaseline = 16,
};
/// Since 1.5; works inside the draw action alone. Points are canonical.
struct OfxDrawSuiteV1 {
    OfxStatus (*getColour)(OfxDrawContextHandle, OfxStandardColour, OfxRGBAColourF*);
    OfxStatus (*setColour)(OfxDrawContextHandle, OfxRGBAColourF const*);
    OfxStatus (*setLineWidth)(OfxDrawContextHandle, float width);  ///< 0: one pixel
    OfxStatus (*setLineStipple)(OfxDrawContextHandle, OfxDrawLineStipplePattern);
    OfxStatus (*draw)(OfxDrawContextHandle, OfxDrawPrimitive, OfxPointD const*, int count);
    OfxStatus (*drawText)(OfxDrawContextHandle, char const* text, OfxPointD const*, int alignment);
};

}  // extern "C"

// The layouts of 64-bit systems.
static_assert(sizeof(OfxPlugin) == 48 && sizeof(OfxHost) == 16);
static_assert(sizeof(OfxPropertySuiteV1) == 144 && sizeof(OfxImageEffectSuiteV1) == 104);
static_assert(sizeof(OfxParameterSuiteV1) == 144 && sizeof(OfxMultiThreadSuiteV1) == 72);
static_assert(sizeof(OfxMessageSuiteV2) == 24 && sizeof(OfxDrawSuiteV1) == 48);
