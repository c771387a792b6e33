// The render action: the host's images as pictures of ours, and one frame of them.
#include <algorithm>
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
    throw OfxFailure{kOfxStatErrImageFormat};
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

int hostThreads() {
    unsigned count = 0;
    OfxMultiThreadSuiteV1 const* const suite = suites().thread;
    if (!suite || suite->multiThreadNumCPUs(&count) != kOfxStatOK) return 0;
    return static_cast<int>(std::min(count, 1024u));
}

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
    if (x != args.scaleX || y != args.scaleY) throw OfxFailure{kOfxStatFailed};
}

HostPicture inputPicture(ClipImage const& image, RenderArgs const& args) {
    if (!image.isThere()) return {};
    requireScale(image.properties(), args);
    return pictureOf(image.properties());
}

PlaneScale scaleOf(Properties const& output, RenderArgs const& args, bool isFieldImage) {
    double const aspect = output.numberOr(kOfxImagePropPixelAspectRatio, 1);
    PlaneScale const scale = {args.scaleX / (aspect > 0 ? aspect : 1),
                              args.scaleY * (isFieldImage ? 0.5 : 1)};
    if (!(scale.x > 0) || !(scale.y > 0)) throw OfxFailure{kOfxStatErrValue};
    return scale;
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
    pinned.scale = std::min(scale.x, scale.y);
    pinned.time = args.time;
    pinned.framesPerSecond = instance.properties.numberOr(kOfxImageEffectPropFrameRate, 24);
    pinned.threads = hostThreads();
    pinned.isStopped = [&instance] { return isStopped(instance); };
    pinned.valueOf = [&instance, scale](int index, double time) {
        return valueInPixels(instance, scale, index, time);
    };
    return pinned;
}

}  // namespace

OfxStatus render(Instance& instance, Properties const& in) {
    RenderArgs const args(in);
    ClipImage const output(instance.output, args.time);
    if (!output.isThere()) return isStopped(instance) ? kOfxStatOK : kOfxStatFailed;
    requireScale(output.properties(), args);
    bool const isFieldImage = hasHalfTheLines(output.properties());
    PlaneScale const scale = scaleOf(output.properties(), args, isFieldImage);
    PinnedFrame pinned = pinnedFrame(instance, args, scale);
    pinned.output = pictureOf(output.properties());
    pinned.rows = rowsOf(args.field, isFieldImage);

    ClipImage const source(instance.source, args.time);
    ClipImage const plate(instance.isPlateConnected() ? instance.plate : nullptr, args.time);
    pinned.source = inputPicture(source, args);
    if (instance.isPlateConnected()) pinned.plate = inputPicture(plate, args);
    pinned.image = settled(pinned.image, regionOf(output));
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
            return kOfxStatErrMemory;
        case PinnedResult::kFailed:
            break;
    }
    instance.keepError("Zelk Corner Pin could not render this frame.");
    return kOfxStatFailed;
}

}  // namespace zelk::bindings
