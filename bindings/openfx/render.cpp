// The render action: the host's images as pictures of ours, and one frame of them.
#include <algorithm>
#include <atomic>
#include <cmath>
#include <optional>

#include "Transform/Common/SaturatingCast.h"
#include "bindings/common/pinned_frame.h"
#include "bindings/openfx/instance.h"
#include "bindings/openfx/plane.h"

namespace zelk::bindings {

namespace {

bool isStopped(Instance const& instance) { return suites().effect->abort(instance.handle) != 0; }

/// An image of a clip, given back at the end of the scope.
class ClipImage {
public:
    /// What the host can't give counts as transparent; what it has no memory for is an OfxFailure.
    ClipImage(OfxImageClipHandle clip, double time) {
        if (!clip) return;
        m_status = suites().effect->clipGetImage(clip, time, nullptr, &m_image);
        if (m_status == kOfxStatErrMemory || m_status == kOfxStatErrBadHandle)
            throw OfxFailure{m_status};
        if (m_status != kOfxStatOK) m_image = nullptr;
    }
    ~ClipImage() {
        if (m_image) suites().effect->clipReleaseImage(m_image);
    }
    ClipImage(ClipImage const&) = delete;
    ClipImage& operator=(ClipImage const&) = delete;

    bool isThere() const { return m_image != nullptr; }
    Properties properties() const { return Properties(m_image); }

private:
    OfxPropertySetHandle m_image = nullptr;
    OfxStatus m_status = kOfxStatFailed;
};

template <class Value>
struct Word {
    char const* text;
    Value value;
};

/// Throws ImageFormat for a word that is none of the effect's.
template <class Value, std::size_t N>
Value valueOf(Word<Value> const (&words)[N], std::string const& text) {
    for (Word<Value> const& word : words)
        if (text == word.text) return word.value;
    throw OfxFailure{kOfxStatErrImageFormat, "an image has samples or channels of an unknown kind"};
}

SampleType samplesOf(Properties const& image) {
    static constexpr Word<SampleType> kWords[] = {{kOfxBitDepthByte, SampleType::kByte},
                                                  {kOfxBitDepthShort, SampleType::kShort},
                                                  {kOfxBitDepthHalf, SampleType::kHalf},
                                                  {kOfxBitDepthFloat, SampleType::kFloat}};
    return valueOf(kWords, image.text(kOfxImageEffectPropPixelDepth));
}

ChannelSet channelsOf(Properties const& image) {
    static constexpr Word<ChannelSet> kWords[] = {{kOfxImageComponentRGBA, ChannelSet::kRGBA},
                                                  {kOfxImageComponentRGB, ChannelSet::kRGB},
                                                  {kOfxImageComponentAlpha, ChannelSet::kAlpha}};
    return valueOf(kWords, image.text(kOfxImageEffectPropComponents));
}

AlphaState alphaOf(Properties const& image) {
    std::string const word = image.text(kOfxImageEffectPropPreMultiplication);
    if (word == kOfxImageUnPreMultiplied) return AlphaState::kStraight;
    return word == kOfxImageOpaque ? AlphaState::kOpaque : AlphaState::kPremultiplied;
}

/// The host's first pixel is that of the lower row.
HostPicture pictureOf(Properties const& image) {
    OfxRectI const bounds = image.rectangle(kOfxImagePropBounds);
    auto* const bottom = static_cast<unsigned char*>(image.pointer(kOfxImagePropData));
    std::ptrdiff_t const rowBytes = image.integer(kOfxImagePropRowBytes);
    HostPicture picture;
    picture.at = downwards(bounds);
    if (bottom && !picture.at.isEmpty())
        picture.topRow = bottom + (picture.at.height() - 1) * rowBytes;
    picture.rowBytes = -rowBytes;
    picture.samples = samplesOf(image);
    picture.channels = channelsOf(image);
    picture.alpha = alphaOf(image);
    return picture;
}

FieldRows rowsOf(std::string const& fieldToRender, bool isFieldImage) {
    if (isFieldImage) return FieldRows::kAll;
    if (fieldToRender == kOfxImageFieldLower) return FieldRows::kEven;
    return fieldToRender == kOfxImageFieldUpper ? FieldRows::kOdd : FieldRows::kAll;
}

bool hasHalfTheLines(Properties const& image) {
    std::string const field = image.textOr(kOfxImagePropField, kOfxImageFieldNone);
    return field == kOfxImageFieldLower || field == kOfxImageFieldUpper;
}

/// Renders at once share what the host grants.
class RunningRender {
public:
    RunningRender() { ++s_count; }
    ~RunningRender() { --s_count; }
    RunningRender(RunningRender const&) = delete;
    RunningRender& operator=(RunningRender const&) = delete;

    /// 0 where the host says nothing.
    int threads() const {
        unsigned count = 0;
        OfxMultiThreadSuiteV1 const* const suite = suites().thread;
        if (!suite) return 0;
        if (suite->multiThreadIsSpawnedThread()) return 1;
        if (suite->multiThreadNumCPUs(&count) != kOfxStatOK || count == 0) return 0;
        return std::max(1, static_cast<int>(std::min(count, 1024u)) / s_count.load());
    }

private:
    static inline std::atomic<int> s_count{0};
};

PixelRect regionOf(ClipImage const& image) {
    return downwards(image.properties().rectangle(kOfxImagePropRegionOfDefinition));
}

/// What the render action's arguments say.
struct RenderArgs {
    double time;
    OfxRectI window;
    double scaleX, scaleY;
    std::string field;

    explicit RenderArgs(Properties const& in)
        : time(in.number(kOfxPropTime)),
          window(in.rectangle(kOfxImageEffectPropRenderWindow)),
          scaleX(in.number(kOfxImageEffectPropRenderScale, 0)),
          scaleY(in.number(kOfxImageEffectPropRenderScale, 1)),
          field(in.textOr(kOfxImageEffectPropFieldToRender, kOfxImageFieldNone)) {}
};

/// An image of another scale than the one that is rendered would land in the wrong place.
void requireScale(Properties const& image, RenderArgs const& args) {
    double const x = image.numberOr(kOfxImageEffectPropRenderScale, args.scaleX, 0);
    double const y = image.numberOr(kOfxImageEffectPropRenderScale, args.scaleY, 1);
    constexpr double kSinglePrecision = 1e-5;  // of a host that keeps one scale so
    if (!(std::abs(x - args.scaleX) <= kSinglePrecision * args.scaleX) ||
        !(std::abs(y - args.scaleY) <= kSinglePrecision * args.scaleY))
        throw OfxFailure{kOfxStatFailed, "an image has another scale than the render"};
}

HostPicture inputPicture(ClipImage const& image, RenderArgs const& args, bool isFieldImage) {
    if (!image.isThere()) return {};
    requireScale(image.properties(), args);
    if (hasHalfTheLines(image.properties()) != isFieldImage)
        throw OfxFailure{kOfxStatFailed, "an input has other fields than the output"};
    return pictureOf(image.properties());
}

PlaneScale scaleOf(Properties const& output, RenderArgs const& args, bool isFieldImage) {
    double const aspect = output.numberOr(kOfxImagePropPixelAspectRatio, 1);
    PlaneScale const scale = {args.scaleX / (aspect > 0 ? aspect : 1),
                              args.scaleY * (isFieldImage ? 0.5 : 1)};
    if (!(scale.x > 0) || !(scale.y > 0))
        throw OfxFailure{kOfxStatFailed, "the render's scale is not above 0"};
    return scale;
}

/// Offsets and Translate Y go upwards, Rotate to the left.
bool turnsRound(int index) {
    int const to = index - kParamToUpperLeftOffsetX, from = index - kParamFromUpperLeftOffsetX;
    bool const isOffsetY =
        (to >= 0 && to < 8 && to % 2 == 1) || (from >= 0 && from < 8 && from % 2 == 1);
    return isOffsetY || index == kParamTranslateY || index == kParamRotate;
}

/// Points become pixels of the plane.
PluginHost_Memory_Impl::Value valueInPixels(Instance const& instance, PlaneScale const& scale,
                                            int index, double time) {
    PluginHost_Memory_Impl::Value value = instance.parameters.at(index, time);
    if (parameterRows()[static_cast<std::size_t>(index)].kind == ParameterKind::kPoint) {
        OfxPointD const point = scale.toPixels(OfxPointD{value.x, value.y});
        value.x = point.x;
        value.y = point.y;
    }
    if (turnsRound(index)) value.x = turnedRound(value.x);
    return value;
}

/// Reposition turns in the frame's own shape. A frame that is the whole image, of square pixels,
/// has the image's.
float frameAspect(Instance const& instance, PinnedFrame const& pinned, PlaneScale const& scale) {
    OfxRectD const frame = instance.frameAt(pinned.time);
    if (isEmpty(frame) || (pinned.image == pinned.frame && scale.x == scale.y)) return 0;
    return static_cast<float>((frame.x2 - frame.x1) / (frame.y2 - frame.y1));
}

PinnedFrame pinnedFrame(Instance const& instance, RenderArgs const& args, PlaneScale const& scale) {
    PinnedFrame pinned;
    pinned.frame = scale.toPixels(instance.frameAt(args.time));
    pinned.image = scale.toPixels(instance.imageAt(args.time));
    pinned.layer = scale.toPixels(instance.layerAt(args.time));
    pinned.window = downwards(args.window);
    pinned.scale = std::min(args.scaleX, args.scaleY);
    pinned.time = args.time;
    pinned.framesPerSecond = instance.properties.numberOr(kOfxImageEffectPropFrameRate, 24);
    pinned.isStopped = [&instance] { return isStopped(instance); };
    pinned.valueOf = [&instance, scale](int index, double time) {
        return valueInPixels(instance, scale, index, time);
    };
    return pinned;
}

}  // namespace

namespace {

OfxStatus renderFrame(Instance& instance, Properties const& in) {
    RunningRender const running;
    RenderArgs const args(in);
    ClipImage const output(instance.output, args.time);
    if (!output.isThere()) return isStopped(instance) ? kOfxStatOK : kOfxStatFailed;
    requireScale(output.properties(), args);
    bool const isFieldImage = hasHalfTheLines(output.properties());
    PlaneScale const scale = scaleOf(output.properties(), args, isFieldImage);
    PinnedFrame pinned = pinnedFrame(instance, args, scale);
    pinned.output = pictureOf(output.properties());
    pinned.rows = rowsOf(args.field, isFieldImage);
    pinned.threads = running.threads();

    ClipImage const source(instance.source, args.time);
    ClipImage const plate(instance.isPlateConnected() ? instance.plate : nullptr, args.time);
    pinned.source = inputPicture(source, args, isFieldImage);
    if (instance.isPlateConnected()) pinned.plate = inputPicture(plate, args, isFieldImage);
    PixelRect const region = regionOf(output);
    pinned.image = hostHasRegions() ? settled(pinned.image, region) : region;
    if (source.isThere()) pinned.layer = settled(pinned.layer, regionOf(source));
    pinned.frame = settled(pinned.frame, pinned.image);
    pinned.frameAspect = frameAspect(instance, pinned, scale);
    // A source whose region the host can't tell has its image's.
    if (pinned.layer.isEmpty()) pinned.layer = pinned.source.at;

    switch (renderPinned(pinned)) {
        case PinnedResult::kDone:
            instance.clearError();
            return kOfxStatOK;
        case PinnedResult::kStopped:
            return kOfxStatOK;
        case PinnedResult::kNoMemory:
            throw OfxFailure{kOfxStatErrMemory};
        case PinnedResult::kFailed:
            break;
    }
    throw OfxFailure{kOfxStatFailed};
}

std::string lineOf(OfxFailure const& failure) {
    std::string const what = "Zelk Corner Pin could not render this frame";
    if (failure.status == kOfxStatErrMemory) return what + ": there is not enough memory";
    return failure.why ? what + ": " + failure.why : what;
}

}  // namespace

/// What fails once the user has given up is no failure.
OfxStatus render(Instance& instance, Properties const& in) {
    try {
        return renderFrame(instance, in);
    } catch (OfxFailure const& failure) {
        if (isStopped(instance)) return kOfxStatOK;
        instance.keepError(lineOf(failure));
        throw;
    }
}

}  // namespace zelk::bindings
