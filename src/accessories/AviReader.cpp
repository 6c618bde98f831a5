#include "accessories/AviReader.h"

#include <QtEndian>
#include <algorithm>
#include <cstring>

namespace Kelvane {

namespace {

// An animation control plays small pictures: anything larger is no file of ours, and the
// limits keep a damaged header from asking for gigabytes.
constexpr qint64 MaximumSide = 4096;
constexpr qint64 MaximumPixels = 16 * 1024 * 1024; // over all the frames together
constexpr int MaximumNesting = 8;

constexpr quint32 PlainFrames = 0; // BI_RGB
constexpr qint64 BitmapHeaderSize = 40;

struct VideoFormat
{
    int width = 0;
    int height = 0;
    bool topDown = false;
    int bitCount = 0;
    quint32 compression = PlainFrames;
    QList<QRgb> palette;
};

class AviParser
{
public:
    explicit AviParser(QByteArrayView bytes)
        : m_bytes(bytes)
    {
    }

    std::optional<AviClip> parse()
    {
        if (!isCode(0, "RIFF") || !isCode(8, "AVI "))
            return std::nullopt;
        const qint64 end = std::min<qint64>(m_bytes.size(), 8 + qint64 { u32(4) });
        walk(12, end, 0);
        if (!m_format || m_clip.frames.empty())
            return std::nullopt;
        return std::move(m_clip);
    }

private:
    bool has(qint64 at, qint64 count) const
    {
        return at >= 0 && count >= 0 && at <= m_bytes.size() && count <= m_bytes.size() - at;
    }
    quint32 u32(qint64 at) const { return has(at, 4) ? qFromLittleEndian<quint32>(m_bytes.data() + at) : 0; }
    quint16 u16(qint64 at) const { return has(at, 2) ? qFromLittleEndian<quint16>(m_bytes.data() + at) : 0; }
    uchar byte(qint64 at) const { return has(at, 1) ? static_cast<uchar>(m_bytes[at]) : 0; }
    bool isCode(qint64 at, const char (&code)[5]) const
    {
        return has(at, 4) && std::memcmp(m_bytes.data() + at, code, 4) == 0;
    }

    // The chunks between at and end. A chunk claiming more bytes than its list holds ends
    // the walk there, and a list cut short is read as far as it goes, so a cut-off file
    // still plays the frames before the cut.
    void walk(qint64 at, qint64 end, int depth)
    {
        while (at + 8 <= end && !m_full) {
            const qint64 size = u32(at + 4);
            const qint64 body = at + 8;
            const bool cut = size > end - body;
            if (isCode(at, "LIST") || isCode(at, "RIFF")) {
                if (depth < MaximumNesting && body + 4 <= end) {
                    if (isCode(body, "strl"))
                        ++m_streamCount;
                    walk(body + 4, cut ? end : body + size, depth + 1);
                }
            } else if (cut) {
                return;
            } else if (isCode(at, "avih") && size >= 4) {
                m_clip.microsecondsPerFrame = u32(body);
            } else if (isCode(at, "strh") && size >= 4) {
                if (m_videoStream < 0 && m_streamCount >= 0 && isCode(body, "vids"))
                    m_videoStream = m_streamCount;
            } else if (isCode(at, "strf")) {
                if (!m_format && m_videoStream >= 0 && m_streamCount == m_videoStream)
                    readFormat(body, size);
            } else if (isVideoFrame(at)) {
                addFrame(m_bytes.sliced(body, size));
            }
            if (cut)
                return;
            at = body + size + (size & 1);
        }
    }

    // "00dc" (compressed) or "00db" (plain), numbered by the video stream.
    bool isVideoFrame(qint64 at) const
    {
        if (m_videoStream < 0 || m_videoStream > 99 || !has(at, 4))
            return false;
        const char* code = m_bytes.data() + at;
        const char number[2]
            = { static_cast<char>('0' + m_videoStream / 10), static_cast<char>('0' + m_videoStream % 10) };
        return code[0] == number[0] && code[1] == number[1] && code[2] == 'd' && (code[3] == 'b' || code[3] == 'c');
    }

    void readFormat(qint64 body, qint64 size)
    {
        if (size < BitmapHeaderSize)
            return;
        const qint64 headerSize = u32(body);
        const qint64 width = static_cast<qint32>(u32(body + 4));
        const qint64 height = static_cast<qint32>(u32(body + 8));
        const int bitCount = u16(body + 14);
        const quint32 compression = u32(body + 16);
        const quint32 coloursUsed = u32(body + 32);
        if (width < 1 || width > MaximumSide || height == 0 || std::abs(height) > MaximumSide)
            return;
        const bool plain = compression == PlainFrames && (bitCount == 8 || bitCount == 24 || bitCount == 32);
        const bool rle = compression == Rle8Frames && bitCount == 8 && height > 0;
        if (!plain && !rle)
            return;
        VideoFormat format;
        format.width = static_cast<int>(width);
        format.height = static_cast<int>(std::abs(height));
        format.topDown = height < 0;
        format.bitCount = bitCount;
        format.compression = compression;
        if (bitCount == 8) {
            const qint64 colours = coloursUsed == 0 ? 256 : std::min<qint64>(coloursUsed, 256);
            const qint64 start = body + std::clamp(headerSize, BitmapHeaderSize, size);
            for (qint64 index = 0; index < colours && start + 4 * index + 4 <= body + size; ++index) {
                const qint64 at = start + 4 * index;
                format.palette.append(qRgb(byte(at + 2), byte(at + 1), byte(at)));
            }
            // Indexes past the file's colours show black instead of reading past the table.
            format.palette.resize(256, qRgb(0, 0, 0));
        }
        m_format = std::move(format);
    }

    void addFrame(QByteArrayView data)
    {
        if (!m_format)
            return;
        const VideoFormat& format = *m_format;
        const qint64 pixels = qint64 { format.width } * format.height;
        if (m_pixels + pixels > MaximumPixels) {
            m_full = true;
            return;
        }
        // An empty chunk holds the previous picture a frame longer.
        if (data.isEmpty()) {
            if (!m_clip.frames.empty()) {
                m_clip.frames.push_back(m_clip.frames.back());
                m_pixels += pixels;
            }
            return;
        }
        QImage frame = format.compression == Rle8Frames ? rle8Frame(data) : plainFrame(data);
        if (frame.isNull())
            return;
        m_pixels += pixels;
        m_clip.frames.push_back(std::move(frame));
    }

    QImage plainFrame(QByteArrayView data) const
    {
        const VideoFormat& format = *m_format;
        const qint64 rowBytes = qint64 { format.width } * format.bitCount / 8;
        const qint64 stride = (rowBytes + 3) & ~qint64 { 3 };
        if (data.size() < stride * format.height)
            return {};
        const QImage::Format layout = format.bitCount == 8 ? QImage::Format_Indexed8
            : format.bitCount == 24                        ? QImage::Format_BGR888
                                                           : QImage::Format_RGB32;
        QImage frame(format.width, format.height, layout);
        if (frame.isNull())
            return {};
        if (format.bitCount == 8)
            frame.setColorTable(format.palette);
        for (int y = 0; y < format.height; ++y) {
            const int stored = format.topDown ? y : format.height - 1 - y;
            std::memcpy(frame.scanLine(y), data.data() + stored * stride, static_cast<size_t>(rowBytes));
            if (format.bitCount == 32) {
                // The fourth byte of a stored pixel is padding, not an alpha.
                auto* line = reinterpret_cast<QRgb*>(frame.scanLine(y));
                for (int x = 0; x < format.width; ++x)
                    line[x] |= 0xff000000u;
            }
        }
        return frame;
    }

    // RLE8 rows run from the bottom up. A frame changes the one before it (runs may skip
    // pixels with a delta or end early), so it starts as a copy of the previous picture.
    // Pixels past the right edge or the top are dropped; a stream cut short ends the frame.
    QImage rle8Frame(QByteArrayView data) const
    {
        const VideoFormat& format = *m_format;
        QImage frame;
        if (!m_clip.frames.empty() && m_clip.frames.back().format() == QImage::Format_Indexed8)
            frame = m_clip.frames.back().copy();
        if (frame.isNull()) {
            frame = QImage(format.width, format.height, QImage::Format_Indexed8);
            if (frame.isNull())
                return {};
            frame.setColorTable(format.palette);
            frame.fill(0);
        }
        const int width = format.width;
        const int height = format.height;
        const auto* bytes = reinterpret_cast<const uchar*>(data.data());
        const qint64 size = data.size();
        qint64 x = 0;
        qint64 y = 0;
        auto put = [&](uchar value) {
            if (x < width)
                frame.scanLine(static_cast<int>(height - 1 - y))[x] = value;
            x = std::min<qint64>(x + 1, width);
        };
        qint64 at = 0;
        while (at + 2 <= size && y < height) {
            const uchar count = bytes[at];
            const uchar value = bytes[at + 1];
            at += 2;
            if (count > 0) {
                for (int i = 0; i < count; ++i)
                    put(value);
            } else if (value == 0) {
                x = 0;
                ++y;
            } else if (value == 1) {
                break;
            } else if (value == 2) {
                if (at + 2 > size)
                    break;
                x = std::min<qint64>(x + bytes[at], width);
                y += bytes[at + 1];
                at += 2;
            } else {
                if (value > size - at)
                    break;
                for (int i = 0; i < value; ++i)
                    put(bytes[at + i]);
                at += value + (value & 1);
            }
        }
        return frame;
    }

    QByteArrayView m_bytes;
    AviClip m_clip;
    std::optional<VideoFormat> m_format;
    int m_streamCount = -1;
    int m_videoStream = -1;
    qint64 m_pixels = 0;
    bool m_full = false;
};

} // namespace

std::optional<AviClip> decodeAvi(QByteArrayView bytes)
{
    return AviParser(bytes).parse();
}

} // namespace Kelvane
