// Rows of a world to a buffer; see stored_picture.h.
#include "zelk/pictures/stored_picture.h"

#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

#include "zelk/pictures/stored_rows.h"
#include "zelk/pictures/world_rows.h"

namespace zelk {

namespace {

SampleType sampleTypeOf(WriteRequest const& request) {
    switch (request.depth) {
        case Depth::k8:
            return SampleType::kUint8;
        case Depth::k16:
            return SampleType::kUint16;
        default:
            return request.traits.isHalf ? SampleType::kHalf : SampleType::kFloat;
    }
}

SampleType sampleTypeOf(OIIO::TypeDesc type) {
    if (type == OIIO::TypeUInt8) return SampleType::kUint8;
    if (type == OIIO::TypeUInt16) return SampleType::kUint16;
    return type == OIIO::TypeHalf ? SampleType::kHalf : SampleType::kFloat;
}

RowPlan planOf(WriteRequest const& request, StoredForm const& form) {
    constexpr OIIO::TypeDesc::BASETYPE kTypes[] = {OIIO::TypeDesc::UINT8, OIIO::TypeDesc::UINT16,
                                                   OIIO::TypeDesc::HALF, OIIO::TypeDesc::FLOAT};
    bool const isAll = request.channels == OutputChannels::kAll;
    RowPlan plan;
    if (request.opaque && !isAll) plan.channels = 3;
    if (request.channels == OutputChannels::kColors) plan.channels = 3;
    if (request.channels == OutputChannels::kAlpha) plan.channels = 1;
    plan.isStraight = plan.channels == 4 && !form.isAssociated;
    plan.fromStraight = request.form == AlphaForm::kStraight;
    plan.keepsUncovered = !plan.fromStraight || request.traits.isAssociated;
    plan.type = kTypes[static_cast<std::size_t>(sampleTypeOf(request))];
    return plan;
}

/// Floats are rounded as the writers of files do it.
template <class Stored>
void toType(Stored const* from, std::size_t count, OIIO::TypeDesc type, std::byte* to) {
    if constexpr (std::is_same_v<Stored, float>)
        if (type == OIIO::TypeHalf)
            return vectorRows().toHalf(from, count, reinterpret_cast<std::uint16_t*>(to));
    OIIO::convert_pixel_values(OIIO::BaseTypeFromC<Stored>::value, from, type, to,
                               static_cast<int>(count));
}

/// The red of each pixel, and its alpha where there is one.
template <class Stored>
void keepGrey(std::vector<Stored>& row, int width, int channels) {
    int const kept = channels == 4 ? 2 : 1;
    for (int x = 0; x < width; ++x) {
        row[static_cast<std::size_t>(x * kept)] = row[static_cast<std::size_t>(x * channels)];
        if (kept == 2)
            row[static_cast<std::size_t>(x * kept + 1)] =
                row[static_cast<std::size_t>(x * channels + 3)];
    }
}

PictureBuffer bufferOf(World const& world, RowPlan const& plan, bool isGrey) {
    PictureBuffer buffer;
    buffer.size = {world.width(), world.height()};
    buffer.channels = isGrey ? plan.channels - 2 : plan.channels;
    buffer.type = sampleTypeOf(plan.type);
    buffer.isAssociated = plan.channels == 4 && !plan.isStraight;
    auto const count =
        static_cast<std::size_t>(world.width()) * static_cast<std::size_t>(buffer.channels);
    std::size_t const rowBytes = count * plan.type.size();
    buffer.rowBytes = static_cast<std::ptrdiff_t>(rowBytes);
    auto pixels = std::make_shared_for_overwrite<std::byte[]>(
        rowBytes * static_cast<std::size_t>(world.height()));
    withStored(world, plan, [&](auto channel, auto stored) {
        using Channel = decltype(channel);
        using Stored = decltype(stored);
        std::vector<Channel> rgba(static_cast<std::size_t>(world.width()) * 4);
        std::vector<Stored> row(static_cast<std::size_t>(world.width() * plan.channels));
        for (int y = 0; y < world.height(); ++y) {
            getRow(world, y, rgba.data());
            storeRow(rgba.data(), world.width(), plan, row.data());
            if (isGrey) keepGrey(row, world.width(), plan.channels);
            if constexpr (std::is_same_v<Stored, float>)
                if (plan.bits > 0) roundToBits(plan.bits, row);
            toType(row.data(), count, plan.type,
                   pixels.get() + rowBytes * static_cast<std::size_t>(y));
        }
    });
    buffer.pixels = std::shared_ptr<void const>(pixels, pixels.get());
    return buffer;
}

}  // namespace

PictureBuffer storedPicture(World const& world, WriteRequest const& request,
                            StoredForm const& form) {
    RowPlan const plan = planOf(request, form);
    PictureBuffer buffer = bufferOf(world, plan, form.isGrey && plan.channels >= 3);
    buffer.isAssociated = form.isAssociated;
    return buffer;
}

PictureBuffer storedPicture(World const& world, WriteRequest const& request,
                            std::filesystem::path const& target) {
    return bufferOf(world, fileRows(target, request), false);
}

}  // namespace zelk
