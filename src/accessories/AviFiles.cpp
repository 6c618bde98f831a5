#include "accessories/AviFiles.h"
#include "accessories/AviReader.h"

#include "platform/FileNames.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QPainter>
#include <QSaveFile>
#include <QtEndian>
#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <numbers>
#include <system_error>
#include <utility>
#include <vector>

using namespace Qt::StringLiterals;

namespace Kelvane {

namespace {

constexpr int Width = 64;
constexpr int Height = 48;
constexpr int FrameCount = 12;
constexpr quint32 MicrosecondsPerFrame = 100'000; // ten frames a second

constexpr quint32 HasIndex = 0x10; // AVIF_HASINDEX
constexpr quint32 KeyFrame = 0x10; // AVIIF_KEYFRAME

// The few colours the drawings use; every frame is painted without antialiasing, so each
// pixel is exactly one of them and the frames index this table.
constexpr QRgb Background = 0xffffffff;
constexpr QRgb Ink = 0xff000080;
constexpr QRgb Paper = 0xfffffff0;
constexpr QRgb FolderFace = 0xffe6be3c;
constexpr QRgb FolderEdge = 0xff8c6414;
constexpr QRgb Rim = 0xff282828;
constexpr QRgb Lens = 0xff78c8ff;
constexpr QRgb Shadow = 0xffc0c0c0;
constexpr std::array<QRgb, 8> Palette { Background, Ink, Paper, FolderFace, FolderEdge, Rim, Lens, Shadow };

// ----------------------------------------------------------------------------- drawing

void drawPage(QPainter& painter, QPointF topLeft)
{
    const QRectF sheet(topLeft, QSizeF(13, 17));
    painter.setPen(QPen(QColor(Ink), 1));
    painter.setBrush(QColor(Paper));
    painter.drawRect(sheet);
    for (int line = 0; line < 4; ++line) {
        const qreal y = sheet.top() + 4 + 3 * line;
        painter.drawLine(QPointF(sheet.left() + 3, y), QPointF(sheet.right() - (line == 3 ? 6 : 3), y));
    }
}

void drawFolder(QPainter& painter, const QRectF& body)
{
    painter.setPen(QPen(QColor(FolderEdge), 1));
    painter.setBrush(QColor(FolderFace));
    painter.drawRect(QRectF(body.left(), body.top() - 3, body.width() / 2.5, 3));
    painter.drawRect(body);
}

void drawMagnifier(QPainter& painter, QPointF centre)
{
    painter.setPen(QPen(QColor(Rim), 2));
    painter.setBrush(QColor(Lens));
    painter.drawEllipse(centre, 6, 6);
    painter.setPen(QPen(QColor(Rim), 3, Qt::SolidLine, Qt::RoundCap));
    painter.drawLine(centre + QPointF(5, 5), centre + QPointF(10, 10));
}

// A magnifier circling over a file.
void drawFindFile(QPainter& painter, int frame)
{
    drawPage(painter, QPointF(25, 14));
    const double angle = 2 * std::numbers::pi * frame / FrameCount;
    drawMagnifier(painter, QPointF(31 + 9 * std::cos(angle), 21 + 7 * std::sin(angle)));
}

// A magnifier sweeping over a folder's files, to the right and back.
void drawSearch(QPainter& painter, int frame)
{
    drawFolder(painter, QRectF(4, 30, 55, 15));
    for (int page = 0; page < 3; ++page)
        drawPage(painter, QPointF(10 + 16 * page, 18));
    const double sweep = (1 - std::cos(2 * std::numbers::pi * frame / FrameCount)) / 2;
    drawMagnifier(painter, QPointF(12 + 38 * sweep, 14));
}

// A page flying from one folder to the other.
void drawFileMove(QPainter& painter, int frame)
{
    drawFolder(painter, QRectF(2, 30, 18, 14));
    drawFolder(painter, QRectF(43, 30, 18, 14));
    const double progress = static_cast<double>(frame) / (FrameCount - 1);
    const double lift = 20 * std::sin(std::numbers::pi * progress);
    const QPointF page(5 + 40 * progress, 24 - lift);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(Shadow));
    painter.drawEllipse(QPointF(page.x() + 6, 46), 5 - 3 * lift / 20, 1);
    drawPage(painter, page);
}

uchar paletteIndex(QRgb colour)
{
    auto distance = [colour](QRgb entry) {
        const int red = qRed(colour) - qRed(entry);
        const int green = qGreen(colour) - qGreen(entry);
        const int blue = qBlue(colour) - qBlue(entry);
        return red * red + green * green + blue * blue;
    };
    size_t best = 0;
    for (size_t index = 1; index < Palette.size(); ++index) {
        if (distance(Palette[index]) < distance(Palette[best]))
            best = index;
    }
    return static_cast<uchar>(best);
}

// One frame as palette indexes, top row first.
QByteArray drawFrame(Animation animation, int frame)
{
    QImage canvas(Width, Height, QImage::Format_RGB32);
    canvas.fill(Background);
    {
        QPainter painter(&canvas);
        painter.setRenderHint(QPainter::Antialiasing, false);
        switch (animation) {
        case Animation::FindFile:
            drawFindFile(painter, frame);
            break;
        case Animation::Search:
            drawSearch(painter, frame);
            break;
        case Animation::FileMove:
            drawFileMove(painter, frame);
            break;
        }
    }
    QByteArray indexes(Width * Height, '\0');
    for (int y = 0; y < Height; ++y) {
        const auto* line = reinterpret_cast<const QRgb*>(canvas.constScanLine(y));
        for (int x = 0; x < Width; ++x)
            indexes[y * Width + x] = static_cast<char>(paletteIndex(line[x]));
    }
    return indexes;
}

// ----------------------------------------------------------------------------- RLE8

void appendByte(QByteArray& out, int value)
{
    out.append(static_cast<char>(value));
}

// One row: runs of two or more equal pixels as (count, index); other stretches of three or
// more pixels in absolute mode (0, count, indexes, padded to a word); shorter ones as runs of one.
void appendRle8Row(QByteArray& out, const uchar* row, int width)
{
    int x = 0;
    while (x < width) {
        int run = 1;
        while (x + run < width && run < 255 && row[x + run] == row[x])
            ++run;
        if (run >= 2) {
            appendByte(out, run);
            appendByte(out, row[x]);
            x += run;
            continue;
        }
        int end = x + 1;
        while (end < width && end - x < 255 && !(end + 1 < width && row[end] == row[end + 1]))
            ++end;
        const int count = end - x;
        if (count < 3) {
            for (; x < end; ++x) {
                appendByte(out, 1);
                appendByte(out, row[x]);
            }
            continue;
        }
        appendByte(out, 0);
        appendByte(out, count);
        out.append(reinterpret_cast<const char*>(row + x), count);
        if (count % 2 != 0)
            appendByte(out, 0);
        x = end;
    }
}

QByteArray rle8Frame(const QByteArray& indexes)
{
    QByteArray out;
    const auto* pixels = reinterpret_cast<const uchar*>(indexes.constData());
    for (int y = Height - 1; y >= 0; --y) {
        appendRle8Row(out, pixels + y * Width, Width);
        appendByte(out, 0);
        appendByte(out, y == 0 ? 1 : 0); // end of bitmap after the top row, else end of line
    }
    return out;
}

// ----------------------------------------------------------------------------- RIFF

class RiffWriter
{
public:
    void code(const char (&fourcc)[5]) { m_bytes.append(fourcc, 4); }
    void u32(quint32 value)
    {
        const quint32 stored = qToLittleEndian(value);
        m_bytes.append(reinterpret_cast<const char*>(&stored), 4);
    }
    void u16(quint16 value)
    {
        const quint16 stored = qToLittleEndian(value);
        m_bytes.append(reinterpret_cast<const char*>(&stored), 2);
    }
    void raw(const QByteArray& bytes) { m_bytes.append(bytes); }

    /// Opens a chunk (or, with a form, a RIFF or LIST) whose size end() fills in.
    qsizetype begin(const char (&fourcc)[5])
    {
        const qsizetype start = m_bytes.size();
        code(fourcc);
        u32(0);
        return start;
    }
    qsizetype begin(const char (&fourcc)[5], const char (&form)[5])
    {
        const qsizetype start = begin(fourcc);
        code(form);
        return start;
    }
    void end(qsizetype start)
    {
        const quint32 size = qToLittleEndian(static_cast<quint32>(m_bytes.size() - start - 8));
        std::memcpy(m_bytes.data() + start + 4, &size, 4);
        if (m_bytes.size() % 2 != 0)
            m_bytes.append('\0');
    }

    qsizetype size() const { return m_bytes.size(); }
    QByteArray take() { return std::move(m_bytes); }

private:
    QByteArray m_bytes;
};

QByteArray aviOf(const std::vector<QByteArray>& frames)
{
    qsizetype largest = 0;
    for (const QByteArray& frame : frames)
        largest = std::max(largest, frame.size());
    const auto count = static_cast<quint32>(frames.size());
    const auto bufferSize = static_cast<quint32>(largest);
    const quint32 framesPerSecond = 1'000'000 / MicrosecondsPerFrame;

    RiffWriter avi;
    const qsizetype riff = avi.begin("RIFF", "AVI ");
    const qsizetype headers = avi.begin("LIST", "hdrl");
    const qsizetype mainHeader = avi.begin("avih");
    for (quint32 value : { MicrosecondsPerFrame, bufferSize * framesPerSecond, 0u, HasIndex, count, 0u, 1u, bufferSize,
                           quint32 { Width }, quint32 { Height }, 0u, 0u, 0u, 0u })
        avi.u32(value);
    avi.end(mainHeader);

    const qsizetype stream = avi.begin("LIST", "strl");
    const qsizetype streamHeader = avi.begin("strh");
    avi.code("vids");
    avi.code("mrle");
    for (quint32 value : { 0u /* flags */, 0u /* priority, language */, 0u /* initial frames */, 1u /* scale */,
                           framesPerSecond /* rate */, 0u /* start */, count, bufferSize, 0xffffffffu /* quality */,
                           0u /* sample size */ })
        avi.u32(value);
    for (quint16 value : { quint16 { 0 }, quint16 { 0 }, quint16 { Width }, quint16 { Height } })
        avi.u16(value);
    avi.end(streamHeader);

    const qsizetype streamFormat = avi.begin("strf");
    for (quint32 value : { 40u, quint32 { Width }, quint32 { Height } })
        avi.u32(value);
    avi.u16(1); // planes
    avi.u16(8); // bits a pixel
    for (quint32 value : { Rle8Frames, quint32 { Width * Height }, 0u, 0u, static_cast<quint32>(Palette.size()),
                           static_cast<quint32>(Palette.size()) })
        avi.u32(value);
    for (QRgb colour : Palette)
        avi.u32(static_cast<quint32>(qBlue(colour) | qGreen(colour) << 8 | qRed(colour) << 16));
    avi.end(streamFormat);
    avi.end(stream);
    avi.end(headers);

    // The index counts each frame's offset from the "movi" code.
    const qsizetype movie = avi.begin("LIST", "movi");
    const qsizetype movieCode = movie + 8;
    std::vector<std::pair<quint32, quint32>> index;
    for (const QByteArray& frame : frames) {
        const qsizetype chunk = avi.begin("00dc");
        avi.raw(frame);
        avi.end(chunk);
        index.emplace_back(static_cast<quint32>(chunk - movieCode), static_cast<quint32>(frame.size()));
    }
    avi.end(movie);

    const qsizetype indexChunk = avi.begin("idx1");
    for (const auto& [offset, size] : index) {
        avi.code("00dc");
        avi.u32(KeyFrame);
        avi.u32(offset);
        avi.u32(size);
    }
    avi.end(indexChunk);
    avi.end(riff);
    return avi.take();
}

// The copy installed with the program (share/kelvane/AVI beside its bin folder), or the
// animation drawn afresh when there is none or it cannot be read.
QByteArray installedOrDrawn(Animation animation)
{
    if (QCoreApplication::instance() != nullptr) {
        QFile installed(QDir::cleanPath(QCoreApplication::applicationDirPath() + u"/../share/kelvane/AVI/"_s
                                        + animationFileName(animation)));
        if (installed.open(QIODevice::ReadOnly)) {
            QByteArray bytes = installed.readAll();
            if (!bytes.isEmpty())
                return bytes;
        }
    }
    return animationBytes(animation);
}

} // namespace

QString animationFileName(Animation animation)
{
    switch (animation) {
    case Animation::FindFile:
        return u"FINDFILE.AVI"_s;
    case Animation::Search:
        return u"SEARCH.AVI"_s;
    case Animation::FileMove:
        return u"FILEMOVE.AVI"_s;
    }
    return {};
}

QByteArray animationBytes(Animation animation)
{
    // Every frame is a whole picture, so each one is a key frame.
    std::vector<QByteArray> frames;
    for (int frame = 0; frame < FrameCount; ++frame)
        frames.push_back(rle8Frame(drawFrame(animation, frame)));
    return aviOf(frames);
}

std::optional<std::filesystem::path> findAnimationFolder(const std::filesystem::path& programDirectory)
{
    return findEntry(programDirectory, u"AVI"_s, EntryKind::Folder);
}

std::optional<std::filesystem::path> findAnimation(const std::filesystem::path& programDirectory, Animation animation)
{
    const std::optional<std::filesystem::path> folder = findAnimationFolder(programDirectory);
    if (!folder)
        return std::nullopt;
    return findEntry(*folder, animationFileName(animation), EntryKind::File);
}

void writeMissingAnimations(const std::filesystem::path& programDirectory)
{
    const std::filesystem::path folder = findAnimationFolder(programDirectory).value_or(programDirectory / "AVI");
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (error)
        return;
    for (Animation animation : { Animation::FindFile, Animation::Search, Animation::FileMove }) {
        if (findAnimation(programDirectory, animation))
            continue;
        const std::filesystem::path target = folder / pathFromUnicode(animationFileName(animation));
        // Written under a temporary name and renamed into place, so a failure never leaves
        // half a file that would then count as present.
        QSaveFile file(unicodeFromPath(target));
        if (!file.open(QIODevice::WriteOnly))
            continue;
        file.write(installedOrDrawn(animation));
        file.commit();
    }
}

} // namespace Kelvane
