// The binding's plain operations: construction, geometry, clock and memory, each a field of
// the call's records or one callback of the host.
#include "host/PluginHost_AE_Impl.h"

#include "Transform/Common/SaturatingCast.h"
#include "host/PluginRaster_AE_Impl.h"
#include "host/SuiteAccess.h"
#include "params/FixedPoint.h"
#include "params/ParamIndex.h"

namespace {

constexpr SuiteName kWorldSuite = {kPFWorldSuite, kPFWorldSuiteVersion2,
                                   "Couldn't load kPFWorldSuite.",
                                   "Couldn't release kPFWorldSuite."};
constexpr SuiteName kColorParamSuite = {kPFColorParamSuite, kPFColorParamSuiteVersion1,
                                        "Couldn't load kPFColorParamSuite.",
                                        "Couldn't release kPFColorParamSuite."};

template <class Suite>
Suite const* acquire(PluginHost_AE_Impl& host, SuiteName const& which) {
    void* table = nullptr;
    host.acquireSuite(which.name, which.version, which.acquireError, &table);
    return static_cast<Suite const*>(table);
}

PF_EffectWorld* worldOf(PluginRaster_API* raster) { return raster->getAERaster()->world; }

/// The host's rectangle of ours; null stays null.
class HostRect {
public:
    explicit HostRect(QV_Rect const* rect) : m_given(rect != nullptr) {
        if (rect) m_rect = {rect->top, rect->left, rect->bottom, rect->right};
    }
    PF_Rect* get() { return m_given ? &m_rect : nullptr; }

private:
    bool m_given;
    PF_Rect m_rect{};
};

}  // namespace

PluginHost_AE_Impl::PluginHost_AE_Impl(PF_InData* inData, PF_OutData* outData,
                                       PF_ParamDef** parameters, PF_LayerDef* outputWorld)
    : in_data(inData), out_data(outData), params(parameters), output(outputWorld), pathAPI(this) {
    if (!isModern()) return;
    worldSuite = acquire<PF_WorldSuite2>(*this, kWorldSuite);
    colorParamSuite = acquire<PF_ColorParamSuite1>(*this, kColorParamSuite);
}

PluginHost_AE_Impl::~PluginHost_AE_Impl() {
    auto const release = [this](SuiteName const& which) {
        AEFX_ReleaseSuite(in_data, out_data, which.name, which.version, which.releaseError);
    };
    if (worldSuite) release(kWorldSuite);
    if (colorParamSuite) release(kColorParamSuite);
}

// Output geometry.

int PluginHost_AE_Impl::getOutputWidth() {
    return output && outputWidth == -1 ? output->width : outputWidth;
}

int PluginHost_AE_Impl::getOutputHeight() {
    return output && outputHeight == -1 ? output->height : outputHeight;
}

int PluginHost_AE_Impl::getOutputOriginX() {
    return isApplication(kAppAfterEffects) && output ? output->origin_x : 0;
}

int PluginHost_AE_Impl::getOutputOriginY() {
    return isApplication(kAppAfterEffects) && output ? output->origin_y : 0;
}

int PluginHost_AE_Impl::setOutputSize(int width, int height) {
    outputWidth = width;
    outputHeight = height;
    return 0;
}

void PluginHost_AE_Impl::resetOutputOrigin(int width, int height, int insetX, int insetY) {
    if (output->width >= width && output->height >= height) return;
    output->width = width;
    output->height = height;
    out_data->origin.h = static_cast<A_short>((out_data->width - insetX) / 2);
    out_data->origin.v = static_cast<A_short>((out_data->height - insetY) / 2);
}

void PluginHost_AE_Impl::setOutputRaster(PluginRaster_API* raster) {
    PluginRaster_AE_Impl* aeRaster = raster ? raster->getAERaster() : nullptr;
    if (aeRaster && aeRaster->world) output = aeRaster->world;
}

void PluginHost_AE_Impl::getSourceLayerDimensions(int& width, int& height) {
    width = truncatedToInt32(in_data->width * getScaleX());
    height = truncatedToInt32(in_data->height * getScaleY());
}

// Clearing and copying.

int PluginHost_AE_Impl::fillOutput() {
    return in_data->utils->fill(in_data->effect_ref, nullptr, nullptr, output);
}

int PluginHost_AE_Impl::fill(PluginRaster_API* raster) {
    return in_data->utils->fill(in_data->effect_ref, nullptr, nullptr, worldOf(raster));
}

int PluginHost_AE_Impl::copyInputToOutput() {
    return in_data->utils->copy(in_data->effect_ref, &params[kParamInputLayer]->u.ld, output,
                                nullptr, nullptr);
}

int PluginHost_AE_Impl::copy(PluginRaster_API* from, PluginRaster_API* to) {
    return copy(from, to, nullptr, nullptr);
}

int PluginHost_AE_Impl::copy(PluginRaster_API* from, PluginRaster_API* to, QV_Rect* fromRect,
                             QV_Rect* toRect) {
    return in_data->utils->copy(in_data->effect_ref, worldOf(from), worldOf(to),
                                HostRect(fromRect).get(), HostRect(toRect).get());
}

// Quality and resolution.

bool PluginHost_AE_Impl::isQualityHigh() { return in_data->quality == PF_Quality_HI; }

double PluginHost_AE_Impl::getScaleX() { return QVS::ratio(in_data->downsample_x); }

double PluginHost_AE_Impl::getScaleY() { return QVS::ratio(in_data->downsample_y); }

double PluginHost_AE_Impl::geAspectRatio(PluginRaster_API*) {
    return QVS::ratio(in_data->pixel_aspect_ratio);
}

bool PluginHost_AE_Impl::maintainEvenSize(PluginRaster_API*) { return isApplication(kAppEvenSize); }

int PluginHost_AE_Impl::getFrameIncrement() { return in_data->field == PF_Field_FRAME ? 1 : 2; }

bool PluginHost_AE_Impl::hasCamera() { return isApplication(kAppAfterEffects); }

bool PluginHost_AE_Impl::isApplication(long id) {
    return in_data->appl_id == static_cast<A_u_long>(id);
}

int PluginHost_AE_Impl::getHostVersionNum(int& minor, int& major) {
    minor = in_data->version.minor;
    major = in_data->version.major;
    return 0;
}

// Memory.

void* PluginHost_AE_Impl::allocMemory(int bytes) {
    return in_data->utils->host_new_handle(static_cast<std::uint64_t>(bytes));
}

void* PluginHost_AE_Impl::lockMemory(void* handle) {
    return in_data->utils->host_lock_handle(static_cast<PF_Handle>(handle));
}

void PluginHost_AE_Impl::unlockMemory(void* handle) {
    in_data->utils->host_unlock_handle(static_cast<PF_Handle>(handle));
}

void PluginHost_AE_Impl::deallocMemory(void* handle) {
    in_data->utils->host_dispose_handle(static_cast<PF_Handle>(handle));
}

bool PluginHost_AE_Impl::hasGlobalSeqData() {
    return in_data->global_data && in_data->sequence_data;
}

// The clock.

int PluginHost_AE_Impl::getTimeScale() { return static_cast<int>(in_data->time_scale); }

int PluginHost_AE_Impl::getCurrentTime() { return in_data->current_time; }

int PluginHost_AE_Impl::getTimeStep() { return in_data->time_step; }

int PluginHost_AE_Impl::getFrameLength() { return in_data->total_time; }

int PluginHost_AE_Impl::getLocalTimeStep() { return in_data->local_time_step; }

int PluginHost_AE_Impl::getFPS(float& fps) {
    fps = static_cast<float>(in_data->time_scale) / static_cast<float>(in_data->local_time_step);
    return 1;
}

double PluginHost_AE_Impl::getShutterAngle() {
    return static_cast<float>(in_data->shutter_angle) / 65536.0f;
}

double PluginHost_AE_Impl::getShutterPhase() {
    return static_cast<float>(in_data->shutter_phase) / 65536.0f;
}

void PluginHost_AE_Impl::getOrigin(int& x, int& y) {
    x = originX;
    y = originY;
}

void PluginHost_AE_Impl::setOrigin(int x, int y) {
    originX = x;
    originY = y;
}

int PluginHost_AE_Impl::acquireSuite(char const* name, int version, char const* error,
                                     void** suite) {
    return AEFX_AcquireSuite(in_data, out_data, name, version, error, suite);
}

int PluginHost_AE_Impl::releaseSuite(char const* name, int version, char const* error) {
    return AEFX_ReleaseSuite(in_data, out_data, name, version, error);
}

int PluginHost_AE_Impl::progress(long done, long total) {
    return in_data->inter.progress(in_data->effect_ref, static_cast<A_long>(done),
                                   static_cast<A_long>(total));
}

int PluginHost_AE_Impl::doAbort() { return in_data->inter.abort(in_data->effect_ref); }
