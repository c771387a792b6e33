// Buffers as the picture library's inputs, and worlds as buffers; see buffer_input.h.
#include "zelk/pictures/buffer_input.h"

#include <fmt/format.h>

#include <cstdlib>
#include <cstring>
#include <utility>
#include <vector>

#include "zelk/pictures/channel_values.h"
#include "zelk/pictures/world_rows.h"
#include "zelk/text/errors.h"

namespace zelk {

namespace {

OIIO::TypeDesc typeOf(SampleType type) {
    constexpr OIIO::TypeDesc::BASETYPE kTypes[] = {OIIO::TypeDesc::UINT8, OIIO::TypeDesc::UINT16,
                                                   OIIO::TypeDesc::HALF, OIIO::TypeDesc::FLOAT};
    return kTypes[static_cast<std::size_t>(type)];
}

std::ptrdiff_t packedRowBytes(PictureBuffer const& buffer) {
    return static_cast<std::ptrdiff_t>(typeOf(buffer.type).size()) * buffer.size.width *
           buffer.channels;
}

class BufferInput : public OIIO::ImageInput {
public:
    explicit BufferInput(std::shared_ptr<PictureBuffer const> buffer)
        : m_buffer(std::move(buffer)) {
        bool const hasAlpha = m_buffer->channels % 2 == 0;
        m_spec = OIIO::ImageSpec(m_buffer->size.width, m_buffer->size.height, m_buffer->channels,
                                 typeOf(m_buffer->type));
        m_spec.alpha_channel = hasAlpha ? m_buffer->channels - 1 : -1;
        if (hasAlpha && !m_buffer->isAssociated) m_spec.attribute("oiio:UnassociatedAlpha", 1);
    }
    char const* format_name() const override { return "buffer"; }
    bool open(std::string const&, OIIO::ImageSpec&) override { return true; }
    bool close() override { return true; }
    bool read_native_scanline(int, int, int y, int, void* data) override {
        std::memcpy(data, static_cast<char const*>(m_buffer->pixels.get()) + y * rowStep(*m_buffer),
                    static_cast<std::size_t>(packedRowBytes(*m_buffer)));
        return true;
    }

private:
    std::shared_ptr<PictureBuffer const> m_buffer;
};

}  // namespace

std::ptrdiff_t rowStep(PictureBuffer const& buffer) {
    return buffer.rowBytes ? buffer.rowBytes : packedRowBytes(buffer);
}

void requireSound(PictureBuffer const& buffer) {
    auto const refuse = [&buffer](char const* wrong, std::string const& value,
                                  std::string const& expected) {
        throw UserError(ExitCode::kInput, {buffer.name, wrong, value, expected});
    };
    auto const [width, height] = buffer.size;
    if (width < 1 || height < 1 || width > kLargestPx || height > kLargestPx)
        refuse("a picture can't have the size", fmt::format("{}x{}", width, height),
               fmt::format("1 to {} pixels a side", kLargestPx));
    if (buffer.channels < 1 || buffer.channels > 4)
        refuse("a picture can't have the channels", std::to_string(buffer.channels), "1 to 4");
    if (!buffer.pixels) refuse("a picture without pixels", "", "the address of its first row");
    if (buffer.rowBytes != 0 && std::abs(buffer.rowBytes) < packedRowBytes(buffer))
        refuse("rows overlap, with bytes from row to row:", std::to_string(buffer.rowBytes),
               fmt::format("{} or more", packedRowBytes(buffer)));
}

std::unique_ptr<OIIO::ImageInput> inputOf(std::shared_ptr<PictureBuffer const> buffer) {
    return std::make_unique<BufferInput>(std::move(buffer));
}

PictureBuffer bufferOf(World const& world) {
    PictureBuffer buffer;
    buffer.size = {world.width(), world.height()};
    withChannelOf(world.depth(), [&](auto channel) {
        using Channel = decltype(channel);
        auto const rowValues = static_cast<std::size_t>(world.width()) * 4;
        auto values = std::make_shared<std::vector<Channel>>(
            rowValues * static_cast<std::size_t>(world.height()));
        for (int y = 0; y < world.height(); ++y)
            getRow(world, y, values->data() + rowValues * static_cast<std::size_t>(y));
        if constexpr (std::is_same_v<Channel, std::uint16_t>)
            for (Channel& value : *values) value = toFile(value);
        buffer.type = sizeof(Channel) == 1   ? SampleType::kUint8
                      : sizeof(Channel) == 2 ? SampleType::kUint16
                                             : SampleType::kFloat;
        buffer.pixels = std::shared_ptr<void const>(values, values->data());
    });
    return buffer;
}

}  // namespace zelk
