#include "accessories/AnimationControl.h"

#include "accessories/AviReader.h"

#include <QFile>
#include <algorithm>

using namespace Qt::StringLiterals;

namespace Kelvane {

namespace {

// The forms' animations are a few kilobytes; a file far larger is not one to load whole.
constexpr qint64 LargestFile = 64 * 1024 * 1024;
constexpr int DefaultInterval = 100;

} // namespace

AnimationControl::AnimationControl(QWidget* parent)
    : QLabel(parent)
    , m_timer(this)
{
    setAlignment(Qt::AlignCenter);
    m_timer.setObjectName(u"animationFrameTimer"_s);
    connect(&m_timer, &QTimer::timeout, this, [this] {
        if (!m_frames.empty())
            showFrame((m_current + 1) % frameCount());
    });
}

bool AnimationControl::open(const QString& path)
{
    close();
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly) || file.size() > LargestFile)
        return false;
    const QByteArray bytes = file.readAll();
    std::optional<AviClip> clip = decodeAvi(bytes);
    if (!clip)
        return false;
    m_frames.reserve(clip->frames.size());
    for (const QImage& frame : clip->frames)
        m_frames.push_back(QPixmap::fromImage(frame));
    // The file's rate rounded to whole milliseconds; a file that gives none plays at ten a second.
    const quint64 milliseconds = (quint64 { clip->microsecondsPerFrame } + 500) / 1000;
    m_timer.setInterval(clip->microsecondsPerFrame == 0 ? DefaultInterval
                                                        : static_cast<int>(std::max<quint64>(1, milliseconds)));
    setFixedSize(m_frames.front().deviceIndependentSize().toSize());
    showFrame(0);
    return true;
}

void AnimationControl::play()
{
    if (frameCount() > 1)
        m_timer.start();
}

void AnimationControl::stop()
{
    m_timer.stop();
    if (!m_frames.empty())
        showFrame(0);
}

void AnimationControl::close()
{
    m_timer.stop();
    m_frames.clear();
    m_current = 0;
    clear();
}

void AnimationControl::showFrame(int index)
{
    m_current = index;
    setPixmap(m_frames[static_cast<size_t>(index)]);
}

} // namespace Kelvane
