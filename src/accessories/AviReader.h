#pragma once

#include <QByteArrayView>
#include <QImage>
#include <optional>
#include <vector>

namespace Kelvane {

/// The compression code (BI_RLE8) of 8-bit frames stored as runs.
inline constexpr quint32 Rle8Frames = 1;

/// The video of an AVI file, decoded: every frame as a whole picture, in play order.
struct AviClip
{
    std::vector<QImage> frames;
    /// From the main header; 0 when the file does not say.
    quint32 microsecondsPerFrame = 0;
};

/// Decodes the first video stream of an AVI held in bytes: 8-bit palette frames stored plainly
/// or as RLE8, and plain 24- and 32-bit frames. Nothing, when the bytes are no such AVI or
/// hold no frame. Every read is bounded: damaged bytes give nothing or fewer frames.
std::optional<AviClip> decodeAvi(QByteArrayView bytes);

} // namespace Kelvane
