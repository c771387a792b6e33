// Which images are views of the host's, and what becomes of points; see pinned_frame.h.
#include "bindings/common/pinned_frame.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

#include "Transform/Common/PopupEntries.h"
#include "Transform/Common/ResampleOptions.h"
#include "Transform/Common/RowBands.h"
#include "Transform/Common/SaturatingCast.h"
#include "Transform/Common/Transform_Core_Render/PlateRows.h"
#include "Transform/Common/Transform_Core_Render/ompc.h"
#include "effect/Render.h"
#include "params/ParamIndex.h"
#include "params/TransferMenu.h"

namespace zelk {

namespace {

using Value = PluginHost_Memory_Impl::Value;
using Image = PluginRaster_Memory_Impl;

/// The clock that the pipeline counts the shutter's moments by: units to a frame.
constexpr int kTimeStep = 1000;

/// Of an input without pixels the layer's rows are asked for where the pipeline copies it.
class PinningHost final : public PluginHost_Memory_Impl {
public:
    using TakeLayer = std::function<void(RasterInfo const& to)>;

    PinningHost(RasterInfo const& input, RasterInfo const& output, MemoryHostFamily family,
                TakeLayer takeLayer, std::function<bool()> const& isStopped)
        : PluginHost_Memory_Impl(input, output, family),
          m_hasPixels(input.data != nullptr),
          m_takeLayer(std::move(takeLayer)),
          m_isStopped(isStopped) {}
    int doAbort() override { return m_isStopped && m_isStopped() ? 1 : 0; }
    using PluginHost_Memory_Impl::copy;
    int copy(PluginRaster_API* from, PluginRaster_API* to) override {
        RasterInfo source{}, copied{};
        getRasterInfo(from, &source);
        if (m_hasPixels || source.data) return PluginHost_Memory_Impl::copy(from, to);
        getRasterInfo(to, &copied);
        m_takeLayer(copied);
        return 0;
    }
    int copyInputToOutput() override {
        if (m_hasPixels) return PluginHost_Memory_Impl::copyInputToOutput();
        RasterInfo output{};
        getOutputRasterInfo(&output);
        m_takeLayer(output);
        return 0;
    }

private:
    bool m_hasPixels;
    TakeLayer m_takeLayer;
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
        if (!isSeen || m_ownOutput) write(isSeen);
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
        QV_RasterInfo info = infoOf(part);
        info.data = picture.pixel(part.left, part.top);
        info.rowBytes = static_cast<std::int32_t>(picture.rowBytes);
        return info;
    }

    /// Of an image without pixels.
    static QV_RasterInfo infoOf(PixelRect const& part) {
        return {nullptr,
                Trait::kFormat,
                part.width(),
                part.height(),
                part.width() * Trait::kPixelBytes,
                Trait::kPixelBytes,
                1.0f,
                1.0f,
                0};
    }

    QV_RasterInfo layerImage() const {
        HostPicture const& source = m_frame.source;
        bool const isView = source.alpha != AlphaState::kOpaque && canBeView(source, m_layer);
        return isView ? view(source, m_layer) : infoOf(m_layer);
    }

    /// The layer's upper left part, as far as `to` reaches, into an image of the engine's; what of
    /// that lies beyond the layer or its picture is cleared.
    void takeLayer(QV_RasterInfo const& to) const {
        HostPicture const& source = m_frame.source;
        PixelRect const part = intersection(
            intersection(source.at, m_layer),
            {m_layer.left, m_layer.top, m_layer.left + to.width, m_layer.top + to.height});
        forEachRow(to.height, std::int64_t{to.width} * Trait::kPixelBytes, [&](int i) {
            int const y = m_layer.top + i;
            auto* const row =
                static_cast<unsigned char*>(to.data) + std::ptrdiff_t{i} * to.rowBytes;
            auto const at = [&](int x) { return row + std::ptrdiff_t{x} * Trait::kPixelBytes; };
            bool const hasPixels = !part.isEmpty() && y >= part.top && y < part.bottom;
            int const left = hasPixels ? part.left - m_layer.left : to.width;
            int const right = hasPixels ? part.right - m_layer.left : to.width;
            std::memset(row, 0, static_cast<std::size_t>(at(left) - row));
            std::memset(at(right), 0, static_cast<std::size_t>(at(to.width) - at(right)));
            if (hasPixels)
                takeRow<Trait>(source, part.left, y, part.width(), m_isStraight,
                               reinterpret_cast<Channel*>(at(left)));
        });
    }

    QV_RasterInfo outputImage() {
        HostPicture const& output = m_frame.output;
        if (!m_frame.plate && m_frame.window == m_frame.image && m_frame.rows == FieldRows::kAll &&
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
        PinningHost host(
            layer, output, family(), [this](QV_RasterInfo const& to) { takeLayer(to); },
            m_frame.isStopped);
        ResampleOptions options;
        options.edges = Trait::kIsFloat ? EdgeCoverage::kExact : EdgeCoverage::kGrid;
        options.frameAspect = m_frame.frameAspect;
        host.setResampleOptions(&options);
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

    void write(bool isSeen) const {
        PixelRect const window = intersection(m_frame.window, m_frame.output.at);
        if (window.isEmpty()) return;
        PixelRect const part =
            isSeen || m_frame.plate ? intersection(window, m_frame.image) : PixelRect{};
        forEachRow(window.height(), std::int64_t{window.width()} * Trait::kPixelBytes, [&](int i) {
            int const y = window.top + i;
            if (!isWritten(y)) return;
            if (part.isEmpty() || y < part.top || y >= part.bottom)
                return clear(window.left, window.right, y);
            clear(window.left, part.left, y);
            clear(part.right, window.right, y);
            if (m_frame.plate)
                writeOverPlate(part, y, isSeen);
            else
                giveRow<Trait>(pixelOf(*m_ownOutput, m_frame.image, part.left, y), m_isStraight,
                               m_frame.output, part.left, y, part.width());
        });
    }

    void clear(int left, int right, int y) const {
        HostPicture const& output = m_frame.output;
        std::memset(
            output.pixel(left, y), 0,
            static_cast<std::size_t>(right - left) * static_cast<std::size_t>(output.pixelBytes()));
    }

    /// In pieces; what the plate's picture doesn't cover is transparent.
    void writeOverPlate(PixelRect const& part, int y, bool isSeen) const {
        if constexpr (std::is_same_v<Trait, PIXEL_ARGB32>) {
            constexpr int kPiece = 256;
            HostPicture const& plate = *m_frame.plate;
            int const mode = transferModeOfEntry(m_mode.transferMode);
            for (int left = part.left; left < part.right; left += kPiece) {
                int const count = std::min(kPiece, part.right - left);
                float pixels[4 * kPiece], under[4 * kPiece];
                if (isSeen)
                    std::copy_n(pixelOf(*m_ownOutput, m_frame.image, left, y), 4 * count, pixels);
                else
                    std::fill_n(pixels, 4 * count, 0.0f);
                PixelRect const has = intersection(plate.at, {left, y, left + count, y + 1});
                if (!plate.topRow || has.width() < count) std::fill_n(under, 4 * count, 0.0f);
                if (plate.topRow && !has.isEmpty())
                    takeRow<Trait>(plate, has.left, y, has.width(), false,
                                   under + 4 * (has.left - left));
                layOverPlate(pixels, under, count, mode);
                giveRow<Trait>(pixels, false, m_frame.output, left, y, count);
            }
        }
    }

    PinnedFrame const& m_frame;
    Mode m_mode;
    bool m_isStraight;
    PixelRect m_layer;  ///< that the layer's image has
    std::unique_ptr<Image> m_ownOutput;
};

PinnedResult renderByFormat(PinnedFrame const& frame) {
    Mode const mode = {truncatedToInt32(frame.valueOf(kParamTransferMode, frame.time).x),
                       frame.valueOf(kParamCornerPinOpacity, frame.time).x};
    bool const isPlain = mode.transferMode == kTransferNone;
    if (frame.plate) return PinnedRender<PIXEL_ARGB32>(frame, mode).run();
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

}  // namespace zelk
