// PluginHost_Memory_Impl: the host seam over plain buffers, for programs that have pictures and
// numbers but no host: any of the eleven formats, parameters by index, a clock that stands where it
// is put. PluginRaster_Memory_Impl is its image.
//
// Space: pixels, y down. Points are handed on as the fractions that they were set as: of the frame,
// or of the layer for From Pins where its size is another. The frame is the output raster, unless
// setOutputSize overrides it. It can answer as a host of any family but After Effects:
// getAEHost() is always null, so blend() has nothing to hand the rasters to and answers 1.
// Ownership: buffers given in a RasterInfo stay the caller's and must outlive the host; images of
// allocRaster own their pixels. Thread: one at a time; reading sizes, infos and maths is safe from
// several while nothing is set.
#pragma once

#include <cstddef>
#include <cstdlib>
#include <functional>
#include <map>
#include <memory>
#include <vector>

#include "Transform/Common/PixelMemory.h"
#include "host/PluginHost_Standard.h"

/// Which family of hosts answers non-null. Pictures of the two AVX families carry no alpha, those
/// of FXPLUG premultiplied colour. With kNone pixels stay what they are throughout; kStraight is a
/// host of no family that keeps straight colour.
enum class MemoryHostFamily { kNone, kAVX1, kAVX2, kFXPLUG, kStraight };

/// What the host handed out and has not got back.
struct MemoryHostTally {
    int pixelBuffers = 0;   ///< allocRaster images not given to deallocRaster
    int rasterObjects = 0;  ///< raster objects of any origin, not deleted
    int handles = 0;        ///< allocMemory handles not given to deallocMemory
    int allocations = 0;    ///< calls of allocRaster so far, failed ones included
};

/// An image in memory: a view of a caller's buffer, or an image that owns its pixels.
class PluginRaster_Memory_Impl final : public PluginRaster_API {
public:
    /// A view: the pixels stay the caller's.
    explicit PluginRaster_Memory_Impl(QV_RasterInfo const& view);
    /// A cleared image that owns its pixels; `rowPaddingBytes` unused bytes follow each row. The
    /// format is one of the 21 codes. A size of 0 is an empty image.
    PluginRaster_Memory_Impl(QV_RasterFormat format, int width, int height, int rowPaddingBytes = 0,
                             PixelMemory::Start start = PixelMemory::Start::kZeroed);
    ~PluginRaster_Memory_Impl() override;
    PluginRaster_Memory_Impl(PluginRaster_Memory_Impl const&) = delete;
    PluginRaster_Memory_Impl& operator=(PluginRaster_Memory_Impl const&) = delete;

    QV_RasterInfo const& info() const { return m_info; }
    /// Address of a pixel; x and y inside the image.
    unsigned char* pixel(int x, int y) const;

    int getWidth() override { return m_info.width; }
    int getHeight() override { return m_info.height; }
    PixelType getPixelType() override { return convertToPixelType(m_info.format); }
    int getRowBytes() override { return m_info.rowBytes; }
    PluginRaster_AE_Impl* getAERaster() override { return nullptr; }
    void* getAVX1Raster() override;
    void* getAVX2Raster() override;
    void* getFXPLUGRaster() override;
    void* getSPARKRaster() override { return nullptr; }
    void setHost(PluginHost_API* host) override { m_host = host; }
    QV_RasterInfo* getRasterInfoBase() override { return &m_info; }

private:
    friend class PluginHost_Memory_Impl;
    void releasePixels();

    QV_RasterInfo m_info{};
    PixelMemory m_pixels;
    PluginHost_API* m_host = nullptr;
    std::shared_ptr<MemoryHostTally> m_tally;  // set on rasters that a host made
    bool m_allocated = false;                  // came from allocRaster and not yet given back
};

class PluginHost_Memory_Impl : public PluginHost_Standard {
public:
    /// A parameter as three numbers: a float, angle, integer, popup entry (from 0) or truth is in
    /// x; a point in x and y; a colour in x, y, z.
    struct Value {
        double x = 0, y = 0, z = 0;
    };
    /// A parameter that moves: its value at a moment.
    using Animation = std::function<Value(TimeObject const&)>;

    /// `input` becomes layer 0. Either may have null data and no size.
    PluginHost_Memory_Impl(RasterInfo const& input, RasterInfo const& output,
                           MemoryHostFamily family = MemoryHostFamily::kNone);

    /// Four characters, first one highest, as in 'PrMr'. 0 until set.
    void setApplication(long id) { m_application = id; }
    void setApplication(char const (&id)[5]);
    /// Null, as at first, for the effect's own resampling; else it must outlive the renders.
    void setResampleOptions(ResampleOptions const* options) { m_resampleOptions = options; }
    /// As lendsInput answers; false at first.
    void setLendsInput(bool lends) { m_lendsInput = lends; }
    /// doAbort asks it: the user wants no more of the render. Empty, as at first, for never.
    void setStop(std::function<bool()> isStopped) { m_isStopped = std::move(isStopped); }
    void setScale(double x, double y) { m_scaleX = x, m_scaleY = y; }
    /// `frameLength` is the layer's length in host time units.
    void setTime(TimeObject const& now, int frameLength = 0);
    /// Fractions of a frame.
    void setShutter(double angle, double phase) { m_shutterAngle = angle, m_shutterPhase = phase; }

    // Parameters. One that was never set answers 1 and leaves the caller's variables alone.
    void setFloat(int index, double value) { m_params[index] = constant({value}); }
    void setAngle(int index, double degrees) { setFloat(index, degrees); }
    void setInt(int index, int value) { setFloat(index, value); }
    void setPopup(int index, unsigned entryFrom0) { setFloat(index, entryFrom0); }
    void setBool(int index, bool value) { setFloat(index, value ? 1 : 0); }
    void setColor(int index, double red, double green, double blue);
    /// Fractions of the image that the parameter counts in.
    void setPoint(int index, double x, double y) { m_params[index] = constant({x, y}); }
    void setAnimated(int index, Animation animation) { m_params[index] = std::move(animation); }

    /// The `nth` allocRaster from now, counted from 1, fails: it answers null and `code`. A code of
    /// 0 is the failure without a code. `givesRaster` hands out an object without pixels all the
    /// same, as hosts do whose wrapper is made before the memory.
    void failAllocation(int nth, int code, bool givesRaster = false);
    MemoryHostTally const& tally() const { return *m_tally; }

    int getOutputWidth() override;
    int getOutputHeight() override;
    int fillOutput() override;
    using PluginHost_API::fill;
    int fill(PluginRaster_API* raster) override;
    /// What of the output lies beyond the layer is cleared.
    int copyInputToOutput() override;
    /// Copies the area that both have; 1 when the formats differ.
    int copy(PluginRaster_API* from, PluginRaster_API* to) override;
    /// Half-open rectangles, null for the whole; what lies outside either image is left out.
    int copy(PluginRaster_API* from, PluginRaster_API* to, QV_Rect* fromRect,
             QV_Rect* toRect) override;
    /// Null when there is no layer of that index.
    PluginRaster_API* getInputRaster(int index) override;
    PluginRaster_API* getOutputRaster() override;
    /// The channel order is the output's; null and no code when that order has no format of the
    /// asked depth. Rows are packed.
    PluginRaster_API* allocRaster(int width, int height, PixelType type, int& error,
                                  int flags) override;
    /// Takes over a record made with new, whose data is null or an allocMemory handle.
    PluginRaster_API* allocRaster(RasterInfo* info) override;
    int deallocRaster(PluginRaster_API* raster) override;
    bool isQualityHigh() override { return true; }
    bool lendsInput() override { return m_lendsInput; }
    bool keepsStraightColor() override { return m_family == MemoryHostFamily::kStraight; }
    double getScaleX() override { return m_scaleX; }
    double getScaleY() override { return m_scaleY; }
    double geAspectRatio(PluginRaster_API*) override { return 1; }
    PluginHost_AE_Impl* getAEHost() override { return nullptr; }
    void* getAVX1Host() override { return ifFamily(MemoryHostFamily::kAVX1); }
    void* getAVX2Host() override { return ifFamily(MemoryHostFamily::kAVX2); }
    void* getFXPLUGHost() override { return ifFamily(MemoryHostFamily::kFXPLUG); }
    void getInputRasterInfo(int index, RasterInfo* info) override;
    void getOutputRasterInfo(RasterInfo* info) override { *info = m_output; }
    void getRasterInfo(PluginRaster_API* raster, RasterInfo* info) override;

    bool maintainEvenSize(PluginRaster_API*) override { return false; }
    void* allocMemory(int bytes) override;
    void* lockMemory(void* handle) override;
    void unlockMemory(void*) override {}
    void deallocMemory(void* handle) override;
    void showWarning(char const*) override {}
    /// Nothing: the output buffer is the caller's and can't grow.
    void resetOutputOrigin(int, int, int, int) override {}
    bool hasGlobalSeqData() override { return false; }
    /// Layer 0's size over the scale factors, truncated.
    void getSourceLayerDimensions(int& width, int& height) override;
    int getTimeScale() override { return m_now.timeScale; }
    int getCurrentTime() override { return m_now.time; }
    int getTimeStep() override { return m_now.timeStep; }
    int getFrameLength() override { return m_frameLength; }
    int getLocalTimeStep() override { return m_now.timeStep; }
    bool isApplication(long id) override { return m_application == id; }
    ResampleOptions const* resampleOptions() override { return m_resampleOptions; }
    void* getUserData() override { return m_userData; }
    void setUserData(void* data) override { m_userData = data; }
    void getOrigin(int& x, int& y) override { x = m_originX, y = m_originY; }
    void setOrigin(int x, int y) override { m_originX = x, m_originY = y; }
    /// There are no suites: null and 1.
    int acquireSuite(char const* name, int version, char const* error, void** suite) override;
    int releaseSuite(char const*, int, char const*) override { return 1; }
    double getShutterAngle() override { return m_shutterAngle; }
    double getShutterPhase() override { return m_shutterPhase; }

    int GetFloatValue(int index, int kind, TimeObject const& time, double& value) override;
    int GetAngleValue(int index, int kind, TimeObject const& time, double& degrees) override;
    int GetIntValue(int index, int kind, TimeObject const& time, int& value) override;
    int GetUIntValue(int index, int kind, TimeObject const& time, unsigned& value) override;
    int GetBoolValue(int index, int kind, TimeObject const& time, bool& value) override;
    int GetPoint2DValue(int index, int kind, TimeObject const& time, double& x, double& y) override;
    int GetColorValue(int index, int kind, TimeObject const& time, double& red, double& green,
                      double& blue) override;
    void SetFloatValue(int index, int, double& value) override { setFloat(index, value); }
    void SetPoint2DValue(int index, int, double x, double y) override { setPoint(index, x, y); }
    void SetAngleValue(int index, int, double& degrees) override { setAngle(index, degrees); }

    int progress(long, long) override { return 0; }
    int doAbort() override { return m_isStopped && m_isStopped() ? 1 : 0; }
    PluginPath_API* getPathAPI() override { return m_path; }
    void setPathAPI(PluginPath_API* path) override { m_path = path; }

    /// Layers don't move here: a copy of layer 0, of the output's channel order.
    PluginRaster_API* lockTemporalRaster(double frame, bool reserved, bool swapFields) override;
    int unlockTemporalRaster(PluginRaster_API* raster) override;
    int blend(int, double, double, PluginRaster_API*, PluginRaster_API*) override { return 1; }
    PluginRaster_API* checkoutLayer(int index, int time) override;
    PluginRaster_API* checkoutLayer(int index, double time, int reserved) override;
    int checkinLayer(PluginRaster_API* raster) override { return unlockTemporalRaster(raster); }
    void setOutputRaster(PluginRaster_API* raster) override { getRasterInfo(raster, &m_output); }
    int setOutputSize(int width, int height) override;
    int getFPS(float& framesPerSecond) override;

private:
    static Animation constant(Value value);
    void* ifFamily(MemoryHostFamily family) { return m_family == family ? this : nullptr; }
    int read(int index, TimeObject const& time, Value& value) const;
    PluginRaster_Memory_Impl* adopt(std::unique_ptr<PluginRaster_Memory_Impl> raster);
    PluginRaster_API* newImage(RasterFormat format, int width, int height, int flags, int& error);
    PluginRaster_API* copyOfLayer(int index);

    std::map<int, RasterInfo> m_inputs;
    RasterInfo m_output;
    MemoryHostFamily m_family;
    std::map<int, Animation> m_params;
    std::shared_ptr<MemoryHostTally> m_tally = std::make_shared<MemoryHostTally>();
    TimeObject m_now{0, 1, 1};
    int m_frameLength = 0;
    bool m_lendsInput = false;
    std::function<bool()> m_isStopped;
    long m_application = 0;
    ResampleOptions const* m_resampleOptions = nullptr;
    double m_scaleX = 1, m_scaleY = 1;
    double m_shutterAngle = 0, m_shutterPhase = 0;
    int m_outputWidth = -1, m_outputHeight = -1;  // overrides; -1 is none
    int m_originX = 0, m_originY = 0;
    void* m_userData = nullptr;
    PluginPath_API* m_path = nullptr;
    int m_failAt = 0, m_failCode = 0;  // absolute allocation number; 0 is never
    bool m_failGivesRaster = false;
};
