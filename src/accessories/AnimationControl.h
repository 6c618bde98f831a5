#pragma once

#include <QLabel>
#include <QPixmap>
#include <QTimer>
#include <vector>

namespace Kelvane {

/// The forms' animation control: opens an AVI file (uncompressed or RLE8 frames) and plays
/// its frames in a loop at the file's own rate.
class AnimationControl : public QLabel
{
    Q_OBJECT

public:
    explicit AnimationControl(QWidget* parent = nullptr);

    /// Reads every frame of the AVI file at path; false, with nothing open, when the file is
    /// missing or is no AVI the control can play.
    bool open(const QString& path);
    void play();
    void stop();
    /// Stops and forgets the frames.
    void close();

    bool isOpen() const { return !m_frames.empty(); }
    bool isPlaying() const { return m_timer.isActive(); }
    int frameCount() const { return static_cast<int>(m_frames.size()); }
    int currentFrame() const { return m_current; }

private:
    void showFrame(int index);

    std::vector<QPixmap> m_frames;
    QTimer m_timer;
    int m_current = 0;
};

} // namespace Kelvane
