// Reading and applying of mattes; see mattes.h.
#include "zelk/render/mattes.h"

#include <fmt/format.h>

#include <algorithm>
#include <vector>

#include "Transform/Common/RowBands.h"
#include "zelk/pictures/world_rows.h"
#include "zelk/text/errors.h"

namespace zelk {

namespace {

UserError wrongSize(InputPicture const& file, char const* kind, PixelSize found, char const* whose,
                    PixelSize wanted) {
    return {ExitCode::kInput,
            fmt::format("{}: a {} of {}x{}, expected the {}'s {}x{}", file.name(), kind,
                        found.width, found.height, whose, wanted.width, wanted.height)};
}

PictureReader openMatte(InputPicture const& file, PixelSize layer) {
    PictureReader picture = file.open();
    if (picture.size() == layer) return picture;
    throw wrongSize(file, "matte", picture.size(), "layer", layer);
}

/// With all that the file has around its display window.
PictureReader openHoldout(InputPicture const& file, HoldoutFrame const& space) {
    ReadOptions how = file.how;
    how.keepsOverscan = true;
    PictureReader picture = file.open(how);
    if (picture.displaySize() == space.size || picture.size() == space.size + space.overscan)
        return picture;
    throw wrongSize(file, "holdout", picture.displaySize(), "frame", space.size);
}

ChannelPlane blank(PixelSize size) {
    return {size, std::vector<float>(static_cast<std::size_t>(size.width) *
                                     static_cast<std::size_t>(size.height))};
}

/// The channel that the scene names, and a warning where none is named and alpha says nothing.
ChannelPlane readMatte(PictureReader& picture, SceneMatte const& matte, char const* result,
                       std::vector<std::string>& warnings) {
    bool const isGuessed = matte.channel.empty() && picture.traits().hasAlpha;
    ChannelPlane plane = readChannel(picture, matte.channel);
    auto const isWhite = [](float value) { return value == 1; };
    if (isGuessed && std::all_of(plane.values.begin(), plane.values.end(), isWhite))
        warnings.push_back(fmt::format(
            "{}: its alpha is opaque everywhere, so that {}; where the matte is in its colours, "
            "give {}:R",
            matte.file.name(), result, matte.file.name()));
    return plane;
}

/// The plane moved to (left, top) of one of another size; 0 where it does not reach.
ChannelPlane moved(ChannelPlane const& plane, int left, int top, PixelSize size) {
    ChannelPlane result = blank(size);
    int const first = std::max(left, 0), end = std::min(left + plane.size.width, size.width);
    for (int y = std::max(top, 0); y < std::min(top + plane.size.height, size.height); ++y)
        if (first < end)
            std::copy_n(plane.row(y - top) + first - left, end - first, result.row(y) + first);
    return result;
}

}  // namespace

std::shared_ptr<ChannelPlane const> matteOf(Scene const& scene, SceneFiles const& files, int frame,
                                            PixelSize layer, std::vector<std::string>& warnings) {
    if (!files.matte) return nullptr;
    auto const file = files.matte->pictureOf(frame);
    if (!file) return std::make_shared<ChannelPlane>(blank(layer));
    PictureReader picture = openMatte(*file, layer);
    return std::make_shared<ChannelPlane>(
        readMatte(picture, *scene.matte, "nothing of the layer is hidden", warnings));
}

std::shared_ptr<ChannelPlane const> holdoutOf(Scene const& scene, SceneFiles const& files,
                                              int frame, HoldoutFrame const& space,
                                              std::vector<std::string>& warnings) {
    auto const file = files.holdout ? files.holdout->pictureOf(frame) : std::nullopt;
    if (!file) return nullptr;
    PictureReader picture = openHoldout(*file, space);
    PixelSize const whole = space.size + space.overscan;
    bool const isInPlace = picture.displaySize() != space.size;
    PixelMargins const own = isInPlace ? space.overscan : picture.overscan();
    ChannelPlane plane =
        readMatte(picture, *scene.holdout, "nothing of the layer is seen", warnings);
    if (own == space.overscan) return std::make_shared<ChannelPlane>(std::move(plane));
    return std::make_shared<ChannelPlane>(
        moved(plane, space.overscan.left - own.left, space.overscan.top - own.top, whole));
}

void checkMattes(Scene const& scene, SceneFiles const& files, int frame, PixelSize layer,
                 HoldoutFrame const& space) {
    if (files.matte)
        if (auto const file = files.matte->pictureOf(frame))
            openMatte(*file, layer).selectChannel(scene.matte->channel);
    if (files.holdout)
        if (auto const file = files.holdout->pictureOf(frame))
            openHoldout(*file, space).selectChannel(scene.holdout->channel);
}

void holdOut(World& picture, PartOf const& part, AlphaForm form, ChannelPlane const& holdout,
             int reduce) {
    ChannelPlane plane = boxReduced(holdout, reduce);
    for (float& value : plane.values) value = 1 - value;
    // Of the plane in the part.
    int const left = (part.whole.width - plane.size.width) / 2 - part.left,
              top = (part.whole.height - plane.size.height) / 2 - part.top;
    int const firstX = std::max(left, 0), firstY = std::max(top, 0);
    int const width = std::min(left + plane.size.width, picture.width()) - firstX,
              height = std::min(top + plane.size.height, picture.height()) - firstY;
    if (width <= 0) return;
    int const alphaAt = channelOrder(picture.spec()).alpha;
    withChannelOf(picture.depth(), [&](auto channel) {
        using Channel = decltype(channel);
        forEachRow(height, picture.rowBytes(), [&](int i) {
            int const y = firstY + i;
            multiplyAlpha(picture.rowAs<Channel>(y) + 4 * firstX, width,
                          plane.row(y - top) + (firstX - left), form, alphaAt);
        });
    });
}

std::uint64_t matteBytes(Scene const& scene, PixelSize layer, PixelSize frame) {
    auto const bytes = [](PixelSize size) {
        return sizeof(float) * static_cast<std::uint64_t>(size.width) *
               static_cast<std::uint64_t>(size.height);
    };
    // A holdout may be moved within the frame.
    return (scene.matte ? bytes(layer) : 0) + (scene.holdout ? 2 * bytes(frame) : 0);
}

std::string describe(SceneMatte const& matte) {
    return matte.file.name() + (matte.channel.empty() ? "" : ":" + matte.channel);
}

}  // namespace zelk
