// PluginHost_AE_Impl: the host seam over the After Effects effect interface.
//
// Built on the stack for one command from what the host handed to the entry point, and destroyed
// before the command returns; it owns nothing but the suites that it acquired.
// A call is "modern" when the minor version of the host's interface is above 11, whatever the
// major version: "PF World Suite" then tells pixel formats, where older hosts have world flags.
#pragma once

#include "host/PluginHost_Standard.h"
#include "platform/effect_api/effect_commands.h"
#include "platform/effect_api/effect_suites.h"

class PluginHost_AE_Impl : public PluginHost_Standard, public PluginPath_API {
public:
    /// Acquires the world and colour suites on a modern call. A suite that is missing has been
    /// reported to the user; only the operations that need it fail.
    PluginHost_AE_Impl(PF_InData* inData, PF_OutData* outData, PF_ParamDef** parameters,
                       PF_LayerDef* outputWorld);
    ~PluginHost_AE_Impl() override;
    PluginHost_AE_Impl(PluginHost_AE_Impl const&) = delete;
    PluginHost_AE_Impl& operator=(PluginHost_AE_Impl const&) = delete;

    /// The first code of a pixel format query that the host refused, or 516 where Premiere Pro has
    /// no suite to ask; else 0. The image was then taken for one of 8 bits, so whatever was done
    /// with it is in doubt.
    PF_Err queryError() const { return m_queryError; }
    bool isModern() const { return in_data->version.minor > 11; }
    void clearPProSuite() {}

    // Output geometry.
    int getOutputWidth() override;
    int getOutputHeight() override;
    int getOutputOriginX() override;
    int getOutputOriginY() override;
    int setOutputSize(int width, int height) override;
    void resetOutputOrigin(int width, int height, int insetX, int insetY) override;
    void setOutputRaster(PluginRaster_API* raster) override;
    void getSourceLayerDimensions(int& width, int& height) override;

    // Clearing and copying, by the host's callbacks.
    int fillOutput() override;
    using PluginHost_API::fill;
    int fill(PluginRaster_API* raster) override;
    int copyInputToOutput() override;
    int copy(PluginRaster_API* from, PluginRaster_API* to) override;
    int copy(PluginRaster_API* from, PluginRaster_API* to, QV_Rect* fromRect,
             QV_Rect* toRect) override;
    /// Copies the common width of the rows of `to` that `from` has too. Both have one format.
    int copy(RasterInfo const* from, RasterInfo* to);

    // Rasters.
    PluginRaster_API* getInputRaster(int index) override;
    PluginRaster_API* getOutputRaster() override;
    /// A cleared world of 8, 15 bits or, on a modern call, float. A refusal of the world, or of its
    /// clearing, gives null, with the host's code in `error`; a depth that the host has no images
    /// of gives null with 0.
    PluginRaster_API* allocRaster(int width, int height, PixelType type, int& error,
                                  int flags) override;
    /// 8 bits only: any other depth gives null, and the record stays the caller's. Otherwise the
    /// record (made with new) and its handle memory are gone when the function returns.
    PluginRaster_API* allocRaster(RasterInfo* info) override;
    int deallocRaster(PluginRaster_API* raster) override;
    void getInputRasterInfo(int index, RasterInfo* info) override;
    void getOutputRasterInfo(RasterInfo* info) override;
    void getRasterInfo(PluginRaster_API* raster, RasterInfo* info) override;

    // Quality and resolution of the call.
    bool isQualityHigh() override;
    double getScaleX() override;
    double getScaleY() override;
    double geAspectRatio(PluginRaster_API* raster) override;
    bool maintainEvenSize(PluginRaster_API* raster) override;
    int getFrameIncrement() override;
    bool hasCamera() override;

    PluginHost_AE_Impl* getAEHost() override { return this; }
    void* getAVX1Host() override { return nullptr; }
    void* getAVX2Host() override { return nullptr; }
    void* getFXPLUGHost() override { return nullptr; }
    bool isApplication(long id) override;
    int getHostVersionNum(int& minor, int& major) override;

    // Handle memory, by the host's callbacks.
    void* allocMemory(int bytes) override;
    void* lockMemory(void* handle) override;
    void unlockMemory(void* handle) override;
    void deallocMemory(void* handle) override;
    bool hasGlobalSeqData() override;

    // The clock.
    int getTimeScale() override;
    int getCurrentTime() override;
    int getTimeStep() override;
    int getFrameLength() override;
    int getLocalTimeStep() override;
    int getFPS(float& fps) override;
    double getShutterAngle() override;
    double getShutterPhase() override;

    // One pointer and one point of the caller's.
    void* getUserData() override { return userData; }
    void setUserData(void* data) override { userData = data; }
    void getOrigin(int& x, int& y) override;
    void setOrigin(int x, int y) override;

    int acquireSuite(char const* name, int version, char const* error, void** suite) override;
    int releaseSuite(char const* name, int version, char const* error) override;

    // Parameter values at a time: each checks the parameter out and in again. GetBoolValue reads
    // the call's own array instead.
    /// The value of a float slider.
    int GetFixedFloatValue(int index, int kind, TimeObject const& time, double& value) override;
    /// A negative `kind` reads a double, any other a 16.16 number.
    int GetFloatValue(int index, int kind, TimeObject const& time, double& value) override;
    int GetAngleValue(int index, int kind, TimeObject const& time, double& degrees) override;
    int GetIntValue(int index, int kind, TimeObject const& time, int& value) override;
    int GetUIntValue(int index, int kind, TimeObject const& time, unsigned& value) override;
    int GetBoolValue(int index, int kind, TimeObject const& time, bool& value) override;
    int GetPoint2DValue(int index, int kind, TimeObject const& time, double& x, double& y) override;
    int GetColorValue(int index, int kind, TimeObject const& time, double& red, double& green,
                      double& blue) override;
    /// Channels of 0 to 255, of the value at `time`, or of the call's own array when that is null.
    int getFloatColor(int index, int kind, double* red, double* green, double* blue,
                      TimeObject* time) override;
    void SetFloatValue(int index, int kind, double& value) override;
    void SetPoint2DValue(int index, int kind, double x, double y) override;
    void SetAngleValue(int index, int kind, double& degrees) override;

    // The host's interface.
    int progress(long done, long total) override;
    int doAbort() override;
    void showWarning(char const* text) override;
    int setCursor(long cursor) override;
    int forceUIUpdate() override;
    int getAppColor(int which, int& red, int& green, int& blue) override;
    int getMousePos(long& x, long& y) override;
    void refreshUi() override;
    /// A modal window of the desktop with the picture whose resource id stands in `resource`, and
    /// two lines of text, 255 bytes of each. Returns when the user closes it, or at once where no
    /// application shows such windows.
    void showAboutBox(int a, void* resource, void* c, char const* text1,
                      char const* text2) override;
    int transformWorld(PluginRaster_API* from, QV_FloatMatrix* matrix, QV_Rect* rect,
                       PluginRaster_API* to) override;

    // Images of other times; each raster goes back by the operation named beside it.
    PluginRaster_API* lockTemporalRaster(double frame, bool reserved, bool swapFields) override;
    int unlockTemporalRaster(PluginRaster_API* raster) override;
    /// A copy of the input layer at a host time, limited to the layer's length; null when the
    /// host refuses. Goes back by unlockTemporalRaster.
    virtual PluginRaster_API* lockTemporalRasterImpl(int time);
    /// At the call's current time; `time` is not looked at.
    PluginRaster_API* checkoutLayer(int index, int time) override;
    /// A copy of a layer parameter; null for a layer without pixels. Goes back by checkinLayer.
    PluginRaster_API* checkoutLayer(int index, double time, int reserved) override;
    int checkinLayer(PluginRaster_API* raster) override;
    int blend(int mode, double opacity, double fromOpacity, PluginRaster_API* from,
              PluginRaster_API* to) override;

    // Mask paths. `suite` is the host's data suite for the first three, its query suite for the
    // others.
    PluginPath_API* getPathAPI() override { return pathAPI; }
    void setPathAPI(PluginPath_API* path) override { pathAPI = path; }
    int PathVertexInfo(void* suite, void* path, int index, QV_PathVertex* vertex) override;
    int PathIsOpen(void* suite, void* path, bool* isOpen) override;
    int PathNumSegments(void* suite, void* path, int* count) override;
    int NumPaths(void* suite, int* count) override;
    int CheckoutPath(void* suite, int pathId, int time, int timeStep, int timeScale,
                     void** path) override;
    int CheckinPath(void* suite, int pathId, bool changed, void* path) override;
    int PathInfo(void* suite, int index, int* pathId) override;
    void setPathAspectRatio(double, PluginHost_API*) override {}
    void setPathScale(double, double, bool) override {}

    PF_InData* in_data;
    PF_OutData* out_data;
    PF_ParamDef** params;
    PF_LayerDef* output;
    void* userData = nullptr;
    A_long originX = 0, originY = 0;
    A_long outputWidth = -1, outputHeight = -1;  ///< -1: the output's own size
    PluginPath_API* pathAPI;
    PF_WorldSuite2 const* worldSuite = nullptr;
    PF_ColorParamSuite1 const* colorParamSuite = nullptr;
    A_long reserved = 0;

private:
    bool tellsPixelFormats() const { return isModern() && worldSuite; }
    void describeWorld(PF_EffectWorld* world, bool isLayer, RasterInfo* info);
    PF_PixelFormat formatOfWorld(PF_EffectWorld const* world);
    PluginRaster_API* copyLayerAt(int index, int time, bool refuseEmpty);

    PF_Err m_queryError = PF_Err_NONE;
    friend class PluginRaster_AE_Impl;
};

/// Interleaves two images: even rows of `destination` from `even`, odd rows from `odd`, as far as
/// all three reach. `destination` may be either of them. The result is 1.
int mergeFrames(PluginHost_API* host, PluginRaster_API* odd, PluginRaster_API* even,
                PluginRaster_API* destination);

/// Reverses the order of the four channels of every pixel in place, at any depth.
int bgra_to_argb(PluginHost_AE_Impl* host, PluginRaster_API* raster);
