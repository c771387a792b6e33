// Which images are views of the host's, and what becomes of points; see pinned_frame.h.
#include "bindings/common/pinned_frame.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <new>
#include <type_traits>
#include <vector>

#include "Transform/Common/PopupEntries.h"
#include "Transform/Common/ResampleOptions.h"
#include "Transform/Common/RowBands.h"
#include "Transform/Common/SaturatingCast.h"
#include "Transform/Common/Transform_Core_Render/PixelRows.h"
#include "Transform/Common/Transform_Core_Render/PlateRows.h"
#include "Transform/Common/Transform_Core_Render/ompc.h"
#include "effect/Render.h"
#include "params/ParamIndex.h"
#include "params/TransferMenu.h"

namespace zelk::bindings {

namespace {

using Value = PluginHost_Memory_Impl::Value;
using Image = PluginRaster_Memory_Impl;

/// The clock that the pipeline counts the shutter's moments by: units to a frame.
constexpr int kTimeStep = 1000;

class PinningHost final : public PluginHost_Memory_Impl {
public:
    PinningHost(RasterInfo const& input, RasterInfo const& output, MemoryHostFamily family,
                std::function<bool()> const& isStopped)
        : PluginHost_Memory_Impl(input, output, family), m_isStopped(isStopped) {}
    int doAbort() override { return m_isStopped && m_isStopped() ? 1 : 0; }

private:
    std::function<bool()> const& m_isStopped;
};

bool contains(PixelRect const& outer, PixelRect const& inner) {
    return intersection(outer, inner) == inner;
}

bool isAligned(HostPicture const& picture, std::size_t bytes) {
    return reinterpret_cast<std::uintptr_t>(picture.topRow) % bytes == 0 &&
           picture.rowBytes % static_cast<std::ptrdiff_t>(bytes) == 0;
}

bool isIn(int index, int first, int count) { return index >= first && index < first + count; }

bool isFullOpacity(double percent) { return percent == 100; }

/// What decides how a frame is rendered, at its own time.
struct Mode {
    int transferMode;
    double opacity;
};

template <class Trait>
class PinnedRender {
public:
    using Channel = typename Trait::Channel;

    PinnedRender(PinnedFrame const& frame, Mode const& mode)
        : m_frame(frame),
          m_mode(mode),
          m_isStraight(!Trait::kIsFloat && frame.output.channels == ChannelSet::kRGBA &&
                       frame.output.alpha == AlphaState::kStraight),
          m_layer(laysOverSource() ? frame.image : frame.layer) {}

    PinnedResult run() {
        bool const isSeen = m_frame.source.topRow && !m_layer.isEmpty() && !m_frame.image.isEmpty();
        if (isSeen) {
            if (const PF_Err code = render(layerImage(), outputImage()))
                return code == kRenderStopped ? PinnedResult::kStopped : PinnedResult::kFailed;
        }
        if (!isSeen || m_ownOutput)
            write(isSeen);
        else if (m_frame.plate)
            layInPlace();
        return PinnedResult::kDone;
    }

private:
    bool laysOverSource() const { return m_mode.transferMode != kTransferNone && !m_frame.plate; }

    /// The engine's channel order has a name only for four of the host's; colour channels are
    /// treated alike where alpha is the last.
    bool canBeView(HostPicture const& picture, PixelRect const& part) const {
        bool const isStraight = picture.alpha == AlphaState::kStraight;
        SampleType const samples = Trait::kIsFloat ? SampleType::kFloat : SampleType::kByte;
        return Trait::kAlpha == 3 && picture.samples == samples &&
               picture.channels == ChannelSet::kRGBA && isStraight == m_isStraight &&
               contains(picture.at, part) && isAligned(picture, sizeof(Channel));
    }

    QV_RasterInfo view(HostPicture const& picture, PixelRect const& part) const {
        return {picture.pixel(part.left, part.top),
                Trait::kFormat,
                part.width(),
                part.height(),
                static_cast<std::int32_t>(picture.rowBytes),
                Trait::kPixelBytes,
                1.0f,
                1.0f,
                0};
    }

    QV_RasterInfo layerImage() {
        HostPicture const& source = m_frame.source;
        if (source.alpha != AlphaState::kOpaque && canBeView(source, m_layer))
            return view(source, m_layer);
        PixelRect const part = intersection(source.at, m_layer);
        m_ownLayer = std::make_unique<Image>(
            Trait::kFormat, m_layer.width(), m_layer.height(), 0,
            part == m_layer ? PixelMemory::Start::kAnything : PixelMemory::Start::kZeroed);
        if (part.isEmpty()) return m_ownLayer->info();
        forEachRow(part.height(), std::int64_t{part.width()} * Trait::kPixelBytes, [&](int y) {
            takeRow<Trait>(source, part.left, part.top + y, part.width(), m_isStraight,
                           pixelOf(*m_ownLayer, m_layer, part.left, part.top + y));
        });
        return m_ownLayer->info();
    }

    QV_RasterInfo outputImage() {
        HostPicture const& output = m_frame.output;
        if (m_frame.window == m_frame.image && m_frame.rows == FieldRows::kAll &&
            canBeView(output, m_frame.image))
            return view(output, m_frame.image);
        m_ownOutput =
            std::make_unique<Image>(Trait::kFormat, m_frame.image.width(), m_frame.image.height(),
                                    0, PixelMemory::Start::kAnything);
        return m_ownOutput->info();
    }

    Channel* pixelOf(Image const& image, PixelRect const& at, int x, int y) const {
        return reinterpret_cast<Channel*>(image.pixel(x - at.left, y - at.top));
    }

    /// Bytes that no step needs straight are resampled as they are: the way to straight colour and
    /// back would cost white its last bit.
    MemoryHostFamily family() const {
        if (m_isStraight) return MemoryHostFamily::kStraight;
        bool const staysAsItIs =
            !Trait::kIsFloat && !laysOverSource() && isFullOpacity(m_mode.opacity);
        return staysAsItIs ? MemoryHostFamily::kNone : MemoryHostFamily::kFXPLUG;
    }

    Value pointWithin(Value const& point, PixelRect const& rect) const {
        return {(point.x - rect.left) / rect.width(), (point.y - rect.top) / rect.height()};
    }

    /// Hundredths of `whole` as those of the image that has it inside.
    static double offsetWithin(double value, bool isX, PixelRect const& whole,
                               PixelRect const& image) {
        double const part = isX ? whole.width() : whole.height();
        return value * (part / (isX ? image.width() : image.height()));
    }

    Value valueAt(int index, double time) const {
        if (index == kParamTransferMode && m_frame.plate) return {kTransferNone};
        Value value = m_frame.valueOf(index, time);
        if (isIn(index, kParamToUpperLeft, 4)) return pointWithin(value, m_frame.image);
        if (isIn(index, kParamFromUpperLeft, 4)) return pointWithin(value, m_layer);
        if (int const i = index - kParamToUpperLeftOffsetX; i >= 0 && i < 8)
            value.x = offsetWithin(value.x, i % 2 == 0, m_frame.frame, m_frame.image);
        if (int const i = index - kParamFromUpperLeftOffsetX; i >= 0 && i < 8)
            value.x = offsetWithin(value.x, i % 2 == 0, m_frame.layer, m_layer);
        return value;
    }

    PF_Err render(QV_RasterInfo const& layer, QV_RasterInfo const& output) const {
        PinningHost host(layer, output, family(), m_frame.isStopped);
        ResampleOptions options;
        options.edges = Trait::kIsFloat ? EdgeCoverage::kExact : EdgeCoverage::kGrid;
        options.frameAspect = m_frame.frameAspect;
        host.setResampleOptions(&options);
        // A host that renders in place has its input overwritten as it is read.
        host.setLendsInput(!mayOverlap(layer, output));
        host.setScale(m_frame.scale, m_frame.scale);
        int const now = truncatedToInt32(std::nearbyint(m_frame.time * kTimeStep));
        for (int index = kParamInputLayer + 1; index < kParamCount; ++index) {
            host.setAnimated(index, [this, index, now](auto const& at) {
                double const late = static_cast<double>(at.time) - now;
                return valueAt(index, m_frame.time + late / kTimeStep);
            });
        }
        host.setTime({now, kTimeStep, truncatedToInt32(m_frame.framesPerSecond * kTimeStep + 0.5)});
        return Render(&host);
    }

    bool isWritten(int y) const {
        if (m_frame.rows == FieldRows::kAll) return true;
        return ((-1 - y) % 2 == 0) == (m_frame.rows == FieldRows::kEven);
    }

    /// A plate reaches beyond what is rendered.
    void write(bool isSeen) const {
        PixelRect const window = intersection(m_frame.window, m_frame.output.at);
        if (window.isEmpty()) return;
        PixelRect const part = isSeen ? intersection(window, m_frame.image) : PixelRect{};
        forEachRow(window.height(), std::int64_t{window.width()} * Trait::kPixelBytes, [&](int i) {
            int const y = window.top + i;
            if (!isWritten(y)) return;
            bool const isDrawn = y >= part.top && y < part.bottom && !part.isEmpty();
            if (m_frame.plate) return writeOverPlate(window, y, isDrawn ? part : PixelRect{});
            if (!isDrawn) return clear(window.left, window.right, y);
            clear(window.left, part.left, y);
            clear(part.right, window.right, y);
            giveRow<Trait>(pixelOf(*m_ownOutput, m_frame.image, part.left, y), m_isStraight,
                           m_frame.output, part.left, y, part.width());
        });
    }

    void clear(int left, int right, int y) const {
        HostPicture const& output = m_frame.output;
        if (right <= left) return;
        std::memset(
            output.pixel(left, y), 0,
            static_cast<std::size_t>(right - left) * static_cast<std::size_t>(output.pixelBytes()));
    }

    /// Pixels of the plate from `left` on, where they stand or in `own`; transparent where its
    /// picture has none.
    float const* plateRow(int left, int y, int count, float* own) const {
        HostPicture const& plate = *m_frame.plate;
        PixelRect const all = {left, y, left + count, y + 1};
        if (plate.topRow && plate.alpha == AlphaState::kPremultiplied && canBeView(plate, all))
            return reinterpret_cast<float const*>(plate.pixel(left, y));
        std::fill_n(own, 4 * count, 0.0f);
        PixelRect const has = intersection(plate.at, all);
        if (plate.topRow && !has.isEmpty())
            takeRow<Trait>(plate, has.left, y, has.width(), false, own + 4 * (has.left - left));
        return own;
    }

    void lay(float* pixels, int left, int y, int count) const {
        float own[4 * kPiece];
        float const* const under = plateRow(left, y, count, own);
        if constexpr (Trait::kAlpha == 0)
            layOverPlate(pixels, under, count, transferModeOfEntry(m_mode.transferMode));
        else
            layOverPlateNormally(pixels, under, count, Trait::kAlpha);
    }

    void writeOverPlate(PixelRect const& window, int y, PixelRect const& drawn) const {
        if constexpr (Trait::kIsFloat) {
            for (int left = window.left; left < window.right; left += kPiece) {
                int const count = std::min(kPiece, window.right - left);
                float pixels[4 * kPiece] = {};
                PixelRect const has = intersection(drawn, {left, y, left + count, y + 1});
                if (!has.isEmpty())
                    std::copy_n(pixelOf(*m_ownOutput, m_frame.image, has.left, y), 4 * has.width(),
                                pixels + 4 * (has.left - left));
                lay(pixels, left, y, count);
                giveRow<Trait>(pixels, false, m_frame.output, left, y, count);
            }
        }
    }

    void layInPlace() const {
        if constexpr (Trait::kIsFloat) {
            PixelRect const& image = m_frame.image;
            forEachRow(image.height(), std::int64_t{image.width()} * Trait::kPixelBytes,
                       [&](int i) {
                           for (int left = image.left; left < image.right; left += kPiece) {
                               int const y = image.top + i;
                               lay(reinterpret_cast<float*>(m_frame.output.pixel(left, y)), left, y,
                                   std::min(kPiece, image.right - left));
                           }
                       });
        }
    }

    static constexpr int kPiece = 256;  ///< pixels at a time

    PinnedFrame const& m_frame;
    Mode m_mode;
    bool m_isStraight;
    PixelRect m_layer;  ///< that the layer's image has
    std::unique_ptr<Image> m_ownLayer, m_ownOutput;
};

PinnedResult renderByFormat(PinnedFrame const& frame) {
    Mode const mode = {truncatedToInt32(frame.valueOf(kParamTransferMode, frame.time).x),
                       frame.valueOf(kParamCornerPinOpacity, frame.time).x};
    bool const isPlain = mode.transferMode == kTransferNone;
    if (frame.plate && transferModeOfEntry(mode.transferMode) != PF_Xfer_IN_FRONT)
        return PinnedRender<PIXEL_ARGB32>(frame, mode).run();
    if (frame.plate) return PinnedRender<PIXEL_BGRA32>(frame, mode).run();
    switch (frame.output.samples) {
        case SampleType::kByte:
            return isPlain ? PinnedRender<PIXEL_BGRA8>(frame, mode).run()
                           : PinnedRender<PIXEL_ARGB8>(frame, mode).run();
        case SampleType::kShort:
            return PinnedRender<PIXEL_ARGB15>(frame, mode).run();
        default:
            return isPlain ? PinnedRender<PIXEL_BGRA32>(frame, mode).run()
                           : PinnedRender<PIXEL_ARGB32>(frame, mode).run();
    }
}

}  // namespace

PinnedResult renderPinned(PinnedFrame const& frame) {
    OmpcThreadScope const threads;
    if (frame.threads > 0) ompc_set_num_threads(frame.threads);
    try {
        return renderByFormat(frame);
    } catch (std::bad_alloc const&) {
        return PinnedResult::kNoMemory;
    }
}

}  // namespace zelk::bindings
