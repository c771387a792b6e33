// Packing of strips and their look-over; see png_data.h.
#include "zelk/pictures/png_data.h"

#include <OpenImageIO/imageio.h>
#include <OpenImageIO/parallel.h>
#include <zlib.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <exception>
#include <fstream>
#include <mutex>
#include <new>
#include <optional>
#include <span>
#include <vector>

#include "zelk/pictures/png_filter.h"

namespace zelk {

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t kStripBytes = 1 << 20;  ///< of rows, about
constexpr std::size_t kChunkRest = 12;        ///< length, name and checksum
constexpr std::uint8_t kZlibHeader[] = {0x78, 0x01};

void putBigEndian(std::uint32_t value, std::uint8_t* to) {
    for (int i = 0; i < 4; ++i) to[i] = static_cast<std::uint8_t>(value >> (24 - 8 * i));
}

std::uint32_t bigEndian(std::uint8_t const* from) {
    std::uint32_t value = 0;
    for (int i = 0; i < 4; ++i) value = value << 8 | from[i];
    return value;
}

/// Calls work(i) for each i below `count`, on the picture library's threads; the first exception
/// comes back when all have ended.
template <class Work>
void forEachInParallel(std::size_t count, Work const& work) {
    int threads = 1;
    OIIO::getattribute("threads", threads);
    std::atomic<std::size_t> next = 0;
    std::exception_ptr fault;
    std::mutex mutex;
    auto const share = [&](std::int64_t) {
        try {
            for (std::size_t i = next++; i < count; i = next++) work(i);
        } catch (...) {
            std::lock_guard const lock(mutex);
            if (!fault) fault = std::current_exception();
            next = count;
        }
    };
    auto const shares = std::min(static_cast<std::size_t>(std::max(threads, 1)), count);
    OIIO::parallel_for(std::int64_t{0}, static_cast<std::int64_t>(shares), share);
    if (fault) std::rethrow_exception(fault);
}

struct Method {
    int level, strategy;
};

/// How the fast level packs a strip: camera's pictures want a code for each difference, and matches
/// only cost time and size; flat graphics want matches, and those are found there at once.
constexpr Method kRuns = {1, Z_RLE}, kMatches = {4, Z_DEFAULT_STRATEGY};

/// A compressor without zlib's header.
class Deflater {
public:
    explicit Deflater(Method const& method) {
        if (deflateInit2(&m_stream, method.level, Z_DEFLATED, -MAX_WBITS, 9, method.strategy) !=
            Z_OK)
            throw std::bad_alloc();
    }
    ~Deflater() { deflateEnd(&m_stream); }
    Deflater(Deflater const&) = delete;

    std::size_t bound(std::size_t size) { return deflateBound(&m_stream, size) + 16; }
    /// Packs `from` into `to`, which has room for its bound; returns the packed size.
    std::size_t pack(std::uint8_t const* from, std::size_t size, int flush, std::uint8_t* to) {
        m_stream.next_in = const_cast<std::uint8_t*>(from);
        m_stream.avail_in = static_cast<uInt>(size);
        m_stream.next_out = to;
        m_stream.avail_out = static_cast<uInt>(bound(size));
        deflate(&m_stream, flush);
        return m_stream.total_out;
    }

private:
    z_stream m_stream{};
};

/// A strip's chunk behind its head, without checksums.
Bytes packed(std::span<std::uint8_t const> rows, Method const& method, Bytes const& head,
             int flush) {
    Deflater deflater(method);
    Bytes chunk = head;
    chunk.resize(head.size() + deflater.bound(rows.size()));
    chunk.resize(head.size() +
                 deflater.pack(rows.data(), rows.size(), flush, chunk.data() + head.size()));
    return chunk;
}

/// A sixteenth of the strip, from its middle, decides.
Method fastMethod(std::span<std::uint8_t const> rows) {
    std::size_t const size =
        std::min(rows.size(), std::max<std::size_t>(rows.size() / 16, 1 << 14));
    auto const sample = rows.subspan((rows.size() - size) / 2, size);
    auto const sizeBy = [&](Method const& method) {
        return packed(sample, method, {}, Z_FINISH).size();
    };
    return sizeBy(kRuns) < sizeBy(kMatches) ? kRuns : kMatches;
}

struct Strip {
    Bytes chunk;  ///< whole, but for the stream's checksum and, of the last one, its own
    uLong adler = 0;
    std::size_t filteredBytes = 0;
};

class PngPacker {
public:
    PngPacker(PngImage const& image, int level, std::ostream& out)
        : m_image(image),
          m_level(level),
          m_out(out),
          m_rowBytes(static_cast<std::size_t>(image.width) *
                     static_cast<std::size_t>(image.pixelBytes)),
          m_stripRows(static_cast<int>(std::clamp<std::size_t>(
              kStripBytes / m_rowBytes, 1, static_cast<std::size_t>(image.height)))),
          m_strips((static_cast<std::size_t>(image.height - 1) / m_stripRows) + 1) {}

    int run() {
        forEachInParallel(m_strips.size(), [this](std::size_t i) {
            if (m_fault == 0) take(i, pack(i));
        });
        return m_fault;
    }

private:
    bool isLast(std::size_t i) const { return i + 1 == m_strips.size(); }

    /// Differences need the row above the strip, which is made once more.
    Bytes filtered(std::size_t i) const {
        int const first = static_cast<int>(i) * m_stripRows;
        int const end = std::min(first + m_stripRows, m_image.height);
        auto const pixel = static_cast<std::size_t>(m_image.pixelBytes);
        Bytes row(pixel + m_rowBytes), above = row, all;
        all.resize(static_cast<std::size_t>(end - first) * (1 + m_rowBytes));
        if (first > 0) m_image.rows(first - 1, first, &above[pixel]);
        std::uint8_t* to = all.data();
        for (int y = first; y < end; ++y, to += 1 + m_rowBytes) {
            m_image.rows(y, y + 1, &row[pixel]);
            filterPngRow({&row[pixel], &above[pixel], m_rowBytes, pixel}, to);
            row.swap(above);
        }
        return all;
    }

    static Bytes headOf(std::size_t i) {
        Bytes head = {0, 0, 0, 0, 'I', 'D', 'A', 'T'};
        if (i == 0) head.insert(head.end(), std::begin(kZlibHeader), std::end(kZlibHeader));
        return head;
    }

    Strip pack(std::size_t i) const {
        Bytes const rows = filtered(i);
        Strip strip;
        strip.filteredBytes = rows.size();
        strip.adler = adler32_z(adler32(0, nullptr, 0), rows.data(), rows.size());
        Bytes const head = headOf(i);
        int const flush = isLast(i) ? Z_FINISH : Z_SYNC_FLUSH;
        Method const method =
            m_level == kFastPngLevel ? fastMethod(rows) : Method{m_level, Z_DEFAULT_STRATEGY};
        strip.chunk = packed(rows, method, head, flush);
        if (!isLast(i)) end(strip.chunk);
        return strip;
    }

    /// Length and checksum.
    static void end(Bytes& chunk) {
        putBigEndian(static_cast<std::uint32_t>(chunk.size() - 8), chunk.data());
        std::uint32_t const checksum =
            static_cast<std::uint32_t>(crc32_z(0, &chunk[4], chunk.size() - 4));
        chunk.resize(chunk.size() + 4);
        putBigEndian(checksum, &chunk[chunk.size() - 4]);
    }

    /// Keeps a strip and writes those whose turn it is.
    void take(std::size_t i, Strip strip) {
        std::lock_guard const lock(m_mutex);
        m_strips[i] = std::move(strip);
        for (; m_written < m_strips.size() && m_strips[m_written]; ++m_written) {
            write(*m_strips[m_written], isLast(m_written));
            m_strips[m_written].emplace().chunk.shrink_to_fit();
        }
    }

    void write(Strip& strip, bool isTheLast) {
        m_adler = adler32_combine(m_adler, strip.adler, static_cast<z_off_t>(strip.filteredBytes));
        if (isTheLast) {
            strip.chunk.resize(strip.chunk.size() + 4);
            putBigEndian(static_cast<std::uint32_t>(m_adler), &strip.chunk[strip.chunk.size() - 4]);
            end(strip.chunk);
            Bytes tail(8);
            std::memcpy(&tail[4], "IEND", 4);
            end(tail);
            strip.chunk.insert(strip.chunk.end(), tail.begin(), tail.end());
        }
        errno = 0;
        m_out.write(reinterpret_cast<char const*>(strip.chunk.data()),
                    static_cast<std::streamsize>(strip.chunk.size()));
        if (!m_out.flush()) m_fault = errno != 0 ? errno : EIO;
    }

    PngImage const& m_image;
    int m_level;
    std::ostream& m_out;
    std::size_t m_rowBytes;
    int m_stripRows;
    std::mutex m_mutex;
    std::vector<std::optional<Strip>> m_strips;  ///< empty again once written
    std::size_t m_written = 0;
    uLong m_adler = adler32(0, nullptr, 0);
    std::atomic<int> m_fault = 0;  ///< of the stream
};

/// Where a chunk's bytes stand in the file.
struct ChunkPlace {
    std::streamoff data;
    std::uint32_t bytes;
};

/// What a chunk of image data holds.
struct Unpacked {
    bool isSound = false;
    uLong adler = 0;
    std::uint64_t bytes = 0;
};

/// `head` and `tail` bytes of the chunk are not packed rows.
Unpacked unpacked(Bytes const& chunk, std::size_t head, std::size_t tail, bool isTheLast) {
    Unpacked result;
    if (chunk.size() < head + tail) return result;
    z_stream stream{};
    if (inflateInit2(&stream, -MAX_WBITS) != Z_OK) throw std::bad_alloc();
    Bytes rows(1 << 16);
    stream.next_in = const_cast<std::uint8_t*>(chunk.data()) + head;
    stream.avail_in = static_cast<uInt>(chunk.size() - head - tail);
    result.adler = adler32(0, nullptr, 0);
    int state = Z_OK;
    while (state == Z_OK) {
        stream.next_out = rows.data();
        stream.avail_out = static_cast<uInt>(rows.size());
        state = inflate(&stream, Z_NO_FLUSH);
        std::size_t const found = rows.size() - stream.avail_out;
        result.adler = adler32_z(result.adler, rows.data(), found);
        result.bytes += found;
    }
    // Without an end the input runs out at a flush.
    result.isSound = stream.avail_in == 0 && state == (isTheLast ? Z_STREAM_END : Z_BUF_ERROR);
    inflateEnd(&stream);
    return result;
}

class PngLook {
public:
    explicit PngLook(std::filesystem::path const& file)
        : m_file(file), m_stream(file, std::ios::binary) {}

    std::string fault(int width, int height) {
        std::vector<ChunkPlace> const data = places();
        if (m_rowBytes == 0 || m_width != width || m_height != height) return "another size";
        if (data.empty() || !m_isEnded) return "a chunk is missing";
        std::vector<Unpacked> strips(data.size());
        std::atomic<bool> isDamaged = false;
        forEachInParallel(data.size(), [&](std::size_t i) {
            bool const isTheLast = i + 1 == data.size();
            Bytes const chunk = chunkAt(data[i]);
            strips[i] =
                unpacked(chunk, i == 0 ? 4 + sizeof kZlibHeader : 4, isTheLast ? 8 : 4, isTheLast);
            if (!strips[i].isSound)
                isDamaged = true;
            else if (isTheLast)
                m_adler = bigEndian(&chunk[chunk.size() - 8]);
        });
        if (isDamaged) return "a chunk is damaged";
        uLong adler = adler32(0, nullptr, 0);
        std::uint64_t bytes = 0;
        for (Unpacked const& strip : strips) {
            adler = adler32_combine(adler, strip.adler, static_cast<z_off_t>(strip.bytes));
            bytes += strip.bytes;
        }
        bool const isWhole = adler == m_adler && bytes == (1 + m_rowBytes) * std::uint64_t(height);
        return isWhole ? std::string() : "rows are missing";
    }

private:
    /// Of the image data; the header's fields are noted on the way.
    std::vector<ChunkPlace> places() {
        std::vector<ChunkPlace> data;
        std::uint8_t head[8];
        std::streamoff at = 8;  // behind the signature
        while (!m_isEnded && m_stream.seekg(at) && read(head, sizeof head)) {
            ChunkPlace const place{at + 8, bigEndian(head)};
            if (std::memcmp(head + 4, "IHDR", 4) == 0) readHeader();
            if (std::memcmp(head + 4, "IDAT", 4) == 0) data.push_back(place);
            m_isEnded = std::memcmp(head + 4, "IEND", 4) == 0;
            at += static_cast<std::streamoff>(kChunkRest) + place.bytes;
        }
        return data;
    }

    void readHeader() {
        constexpr std::uint8_t kChannels[] = {1, 0, 3, 1, 2, 0, 4};  // by the type of colour
        std::uint8_t header[10];
        if (!read(header, sizeof header) || header[9] >= sizeof kChannels) return;
        m_width = static_cast<int>(bigEndian(header));
        m_height = static_cast<int>(bigEndian(header + 4));
        m_rowBytes = std::uint64_t(m_width) * kChannels[header[9]] * header[8] / 8;
    }

    /// A chunk's name, data and checksum; nothing when that is wrong.
    Bytes chunkAt(ChunkPlace const& place) const {
        std::ifstream stream(m_file, std::ios::binary);
        Bytes chunk(std::size_t{place.bytes} + 8);
        stream.seekg(place.data - 4);
        if (!stream.read(reinterpret_cast<char*>(chunk.data()),
                         static_cast<std::streamsize>(chunk.size())))
            return {};
        std::size_t const end = chunk.size() - 4;
        return crc32_z(0, chunk.data(), end) == bigEndian(&chunk[end]) ? chunk : Bytes();
    }

    bool read(std::uint8_t* to, std::size_t size) {
        return bool(m_stream.read(reinterpret_cast<char*>(to), static_cast<std::streamsize>(size)));
    }

    std::filesystem::path m_file;
    std::ifstream m_stream;
    int m_width = 0, m_height = 0;
    std::uint64_t m_rowBytes = 0;
    bool m_isEnded = false;
    uLong m_adler = 0;  ///< that the file states
};

}  // namespace

int writePngData(PngImage const& image, int level, std::ostream& out) {
    return PngPacker(image, level, out).run();
}

std::string faultOfPng(std::filesystem::path const& file, int width, int height) {
    return PngLook(file).fault(width, height);
}

}  // namespace zelk
