// PluginHost_API: all that render code knows of the host it runs in.
//
// One object per host call, on the thread of that call; it lives no longer than the call.
// Spaces: pixels with y down; point values are normalised, x over getOutputWidth() and y over
// getOutputHeight(). Times are the host's integer units: seconds are time / timeScale.
// An int result is the host's error code, 0 for success, unless an operation says otherwise.
// Ownership: rasters from getInputRaster, getOutputRaster and allocRaster are deleted by the
// caller; what allocRaster gave goes through deallocRaster first.
#pragma once

#include <cstdint>

#include "host/PluginPath_API.h"
#include "host/PluginRaster_API.h"

class PluginHost_AE_Impl;
struct ResampleOptions;  // Transform/Common/ResampleOptions.h

/// Rectangle of the host's layout, half-open to the right and bottom unless an operation says
/// otherwise; 16 bits a side.
struct QV_Rect {
    std::int16_t top, left, bottom, right;
};

/// The host's 3 by 3 matrix, row vectors, as transformWorld passes it on.
struct QV_FloatMatrix {
    float mat[3][3];
};

/// Pixel layout code. Eleven codes have a pixel trait and a render path; the others are told
/// apart by depth class and channel order only.
enum QV_RasterFormat : std::int32_t {
    kFormatARGB8 = 0,
    kFormatBGRA8 = 1,
    kFormatRGBA8 = 2,
    kFormatARGB15 = 3,
    kFormat4 = 4,
    kFormatARGB14 = 5,
    kFormatBGRA14 = 6,
    kFormatARGB16 = 7,
    kFormatRGBA16 = 8,
    kFormatARGB32 = 9,
    kFormatRGBA32 = 10,
    kFormatBGRA32 = 11,
    kFormat12 = 12,
    kFormat13 = 13,
    kFormat14 = 14,
    kFormat15 = 15,
    kFormat16 = 16,
    kFormat17 = 17,
    kFormat18 = 18,
    kFormat19 = 19,
    kFormat20 = 20,
};

/// Description of an image: a value that its holder owns; it never owns the pixels.
/// Rows are stepped by rowBytes, which may exceed width * pixelBytes.
struct QV_RasterInfo {
    void* data;  ///< first pixel of the first row
    QV_RasterFormat format;
    std::int32_t width;       ///< pixels
    std::int32_t height;      ///< rows
    std::int32_t rowBytes;    ///< bytes from one row to the next
    std::int32_t pixelBytes;  ///< 4, 8 or 16
    float pixelAspect;        ///< pixel width over pixel height of the host call
    float rangeScale;         ///< 1.0, 2.0 or 0.5; set by the binding, read by no render code
    std::int32_t reserved;    ///< 0
};

/// A moment of the host's clock.
struct QV_TimeObject {
    std::int32_t time;       ///< host time units
    std::int32_t timeStep;   ///< length of a frame, host time units
    std::int32_t timeScale;  ///< host time units per second
};

/// Depth class of a format; any code above 20 is 8 bits.
PluginRaster_API::PixelType convertToPixelType(QV_RasterFormat format);

class PluginHost_API {
public:
    using RasterFormat = QV_RasterFormat;
    using RasterInfo = QV_RasterInfo;
    using TimeObject = QV_TimeObject;
    using PixelType = PluginRaster_API::PixelType;

    virtual ~PluginHost_API() = default;

    // Output geometry, pixels.
    virtual int getOutputWidth() = 0;
    virtual int getOutputHeight() = 0;
    /// Where the output's pixel (0, 0) lies in layer coordinates.
    virtual int getOutputOriginX() { return 0; }
    virtual int getOutputOriginY() { return 0; }

    // Clearing and copying. Clearing gives transparent black.
    virtual int fillOutput() = 0;
    virtual int fill(PluginRaster_API* raster) = 0;
    /// Clears rows top to bottom inclusive, columns left to right exclusive; a null rectangle is
    /// the whole raster, with the result of clearing it; top > bottom is nothing. Else the result
    /// is 0.
    virtual int fill(PluginRaster_API* raster, QV_Rect* rect);
    virtual int copyInputToOutput() = 0;
    virtual int copy(PluginRaster_API* from, PluginRaster_API* to) = 0;
    virtual int copy(PluginRaster_API* from, PluginRaster_API* to, QV_Rect* fromRect,
                     QV_Rect* toRect) = 0;

    // Rasters.
    /// A new object over the layer parameter at `index`; wraps the host's pixels.
    virtual PluginRaster_API* getInputRaster(int index) = 0;
    /// A new object over the output; wraps the host's pixels.
    virtual PluginRaster_API* getOutputRaster() = 0;
    /// A new image; its pixels are anything, or 0 where `flags` are PluginRaster_API::kCleared,
    /// which some hosts do without being asked. `error` receives the host's code; the result may be
    /// null with `error` 0 when the host has no such image.
    virtual PluginRaster_API* allocRaster(int width, int height, PixelType type, int& error,
                                          int flags) = 0;
    /// A new image of the record's size; the record belongs to the function from then on.
    virtual PluginRaster_API* allocRaster(RasterInfo* info) = 0;
    /// Frees the pixels of an allocRaster image; the object stays for the caller to delete.
    virtual int deallocRaster(PluginRaster_API* raster) = 0;

    virtual bool isQualityHigh() = 0;
    /// The input's pixels stay as they are until the render ends, and the output lies elsewhere:
    /// what only reads may read them in place. deallocRaster then leaves rasters of getInputRaster
    /// alone.
    virtual bool lendsInput() { return false; }
    /// Colour comes and goes straight: the pipeline multiplies it by alpha, and divides what it
    /// made.
    virtual bool keepsStraightColor() { return getAEHost() != nullptr; }
    /// What to ask of the resampling beyond the controls, or null. It outlives the render.
    virtual ResampleOptions const* resampleOptions() { return nullptr; }
    /// Downsample factors of the call: 1.0 at full resolution, 0.5 at half.
    virtual double getScaleX() = 0;
    virtual double getScaleY() = 0;
    /// Pixel aspect ratio, width over height. (The name is as old as the interface.)
    virtual double geAspectRatio(PluginRaster_API* raster) = 0;

    /// Host families: non-null exactly on a binding of that family.
    virtual PluginHost_AE_Impl* getAEHost() = 0;
    virtual void* getAVX1Host() = 0;
    virtual void* getAVX2Host() = 0;
    virtual void* getFXPLUGHost() = 0;
    virtual void* getSPARKHost() = 0;
    virtual void* getOFXHost() { return nullptr; }
    virtual void* getGASKETHost() { return nullptr; }

    virtual void getInputRasterInfo(int index, RasterInfo* info) = 0;
    virtual void getOutputRasterInfo(RasterInfo* info) = 0;
    virtual void getRasterInfo(PluginRaster_API* raster, RasterInfo* info) = 0;

    // Maths through the host, so that a host may supply its own. Angles in radians.
    virtual double math_sqrt(double x) = 0;
    virtual float math_sqrt(float x) = 0;
    virtual double math_floor(double x) = 0;
    virtual float math_floor(float x) = 0;
    virtual double math_exp(double x) = 0;
    virtual float math_exp(float x) = 0;
    virtual double math_atan2(double y, double x) = 0;
    virtual float math_atan2(float y, float x) = 0;
    virtual double math_fabs(double x) = 0;
    virtual float math_fabs(float x) = 0;
    virtual double math_sin(double x) = 0;
    virtual float math_sin(float x) = 0;
    virtual double math_cos(double x) = 0;
    virtual float math_cos(float x) = 0;
    virtual double math_fmod(double x, double y) = 0;
    virtual float math_fmod(float x, float y) = 0;
    virtual double math_pow(double x, double y) = 0;
    virtual float math_pow(float x, float y) = 0;
    virtual float math_ceil(float x) = 0;
    virtual double math_ceil(double x) = 0;
    virtual float math_log(float x) = 0;
    virtual double math_log(double x) = 0;

    /// The host wants output sizes kept even.
    virtual bool maintainEvenSize(PluginRaster_API* raster) = 0;

    // Handle memory of the host; a lock yields the pointer to the bytes.
    virtual void* allocMemory(int bytes) = 0;
    virtual void* lockMemory(void* handle) = 0;
    virtual void unlockMemory(void* handle) = 0;
    virtual void deallocMemory(void* handle) = 0;

    /// Shows a message to the user.
    virtual void showWarning(char const* text) = 0;
    /// Grows the output to `width` by `height` where it is smaller and re-centres its origin.
    virtual void resetOutputOrigin(int width, int height, int insetX, int insetY) = 0;
    /// Global and sequence data both exist.
    virtual bool hasGlobalSeqData() = 0;
    virtual int loadDLL(char const* name) = 0;
    virtual int unloadDLL() = 0;
    virtual void* getDLL() = 0;
    /// Layer size at full resolution, as the binding derives it.
    virtual void getSourceLayerDimensions(int& width, int& height) = 0;

    // The host's clock, integer units.
    virtual int getTimeScale() = 0;
    virtual int getCurrentTime() = 0;
    virtual int getTimeStep() = 0;
    virtual int getFrameLength() = 0;
    virtual int getLocalTimeStep() = 0;

    /// The host's application id equals this four-character code.
    virtual bool isApplication(long id) = 0;

    /// One pointer kept for the caller; the pipeline keeps its RenderSettings here.
    virtual void* getUserData() = 0;
    virtual void setUserData(void* data) = 0;
    /// One point kept for the caller.
    virtual void getOrigin(int& x, int& y) = 0;
    virtual void setOrigin(int x, int y) = 0;

    virtual int acquireSuite(char const* name, int version, char const* error, void** suite) = 0;
    virtual int releaseSuite(char const* name, int version, char const* error) = 0;

    /// The composition's shutter, fractions of a frame (180 degrees is 0.5).
    virtual double getShutterAngle() = 0;
    virtual double getShutterPhase() = 0;

    // A parameter's value at a time. `index` is a ParamIndex; `kind` tells a binding how the
    // control stores its number and is read by GetFloatValue only.
    virtual int GetFixedFloatValue(int index, int kind, TimeObject const& time, double& value) {
        return GetFloatValue(index, kind, time, value);
    }
    virtual int GetFloatValue(int index, int kind, TimeObject const& time, double& value) = 0;
    virtual int GetAngleValue(int index, int kind, TimeObject const& time, double& degrees) = 0;
    virtual int GetIntValue(int index, int kind, TimeObject const& time, int& value) = 0;
    /// A popup's entry, counted from 0.
    virtual int GetUIntValue(int index, int kind, TimeObject const& time, unsigned& value) = 0;
    virtual int GetBoolValue(int index, int kind, TimeObject const& time, bool& value) = 0;
    /// x over getOutputWidth(), y over getOutputHeight().
    virtual int GetPoint2DValue(int index, int kind, TimeObject const& time, double& x,
                                double& y) = 0;
    /// Channels from 0 to 1.
    virtual int GetColorValue(int index, int kind, TimeObject const& time, double& red,
                              double& green, double& blue) = 0;

    /// Reports progress; non-zero asks to stop.
    virtual int progress(long done, long total) = 0;
    virtual PluginPath_API* getPathAPI() = 0;
    virtual void setPathAPI(PluginPath_API* path) = 0;

    /// The input layer at frame number `frame`; give it back with unlockTemporalRaster.
    virtual PluginRaster_API* lockTemporalRaster(double frame, bool reserved, bool swapFields) = 0;
    virtual int unlockTemporalRaster(PluginRaster_API* raster) = 0;
    /// Lays `to` over `from` (faded by `fromOpacity`) with a transfer mode; the result is in `to`.
    virtual int blend(int mode, double opacity, double fromOpacity, PluginRaster_API* from,
                      PluginRaster_API* to) = 0;
    virtual bool isFieldRendering() = 0;
    virtual void getFullFrameInfo(double time, int frame, int& first, int& count, int& phase) = 0;
    /// The user asked to stop: non-zero.
    virtual int doAbort() = 0;
    virtual PluginRaster_API* checkoutLayer(int index, int time) = 0;
    virtual PluginRaster_API* checkoutLayer(int index, double time, int reserved) = 0;
    virtual int checkinLayer(PluginRaster_API* raster) = 0;

    // Interface of the host; 1 means that the binding has no such thing.
    virtual int setCursor(long) { return 1; }
    virtual int forceUIUpdate() { return 1; }
    virtual int getAppColor(int, int&, int&, int&) { return 1; }
    virtual int getMousePos(long&, long&) { return 1; }
    virtual int getHostVersionNum(int&, int&) { return 1; }

    /// Makes the raster the output of this call.
    virtual void setOutputRaster(PluginRaster_API* raster) = 0;
    virtual int transformWorld(PluginRaster_API*, QV_FloatMatrix*, QV_Rect*, PluginRaster_API*) {
        return 1;
    }
    virtual int getFloatColor(int, int, double*, double*, double*, TimeObject*) { return 1; }
    virtual void showAboutBox(int, void*, void*, char const*, char const*) {}
    virtual void dependOnOrigin() {}
    virtual double getHeightScale() const { return 1.0; }
    virtual bool hasCamera() { return false; }
    virtual int getLayerSize(int, int, float&, float&) { return 1; }
    /// Overrides the output size that getOutputWidth and getOutputHeight report.
    virtual int setOutputSize(int, int) { return 1; }
    virtual int getFrameIncrement() { return 1; }
    /// Frames per second; the result is non-zero when known.
    virtual int getFPS(float&) { return 0; }
    virtual void refreshUi() {}

    virtual void SetFloatValue(int, int, double&) {}
    virtual void SetPoint2DValue(int, int, double, double) {}
    virtual void SetAngleValue(int, int, double&) {}
    /// The parameter that caused this call, or -1.
    virtual void getParamTriggerChangedEvent(int& index, int& id) { index = id = -1; }
    virtual void setEnablePropertyIndex(int, bool) {}
};
