#pragma once

#include "shell/QtPort.h"

#include <QDialog>

#include <chrono>
#include <cstddef>

class QLabel;
class QProgressBar;
class QPushButton;

namespace Kelvane {

class AnimationControl;
class EntryTable;
class FrameHost;

/// The move's progress form (frmMoveFilesProgress): the file being moved, the count so far,
/// and cmdCancelMove to stop before the next entry. Not modal: the move lets the event loop
/// run once per entry, which is when a press of the button is seen.
class MoveFilesProgressForm : public QDialog, public ProgressView
{
    Q_OBJECT

public:
    explicit MoveFilesProgressForm(FrameHost& host);
    ~MoveFilesProgressForm() override;

    /// Moves the selected entries to the session's move target with this form up: shows it,
    /// lets the event loop run for pause so that it is drawn, moves, closes it. The number
    /// of entries moved.
    static std::size_t
    run(FrameHost& host, EntryTable& table, std::chrono::milliseconds pause = std::chrono::seconds(1));

    /// Plays FILEMOVE.AVI from the program's AVI folder (when it cannot, the NoAVIFileMove
    /// alert and no animation) and sets the busy pointer.
    void load();
    /// Hides the form, stops the animation and restores the pointer.
    void unload();

    void showProgressText(ProgressLine line, const QString& text) override;
    void showProgressValue(qint64 value, qint64 maximum) override;

public Q_SLOTS:
    void cmdCancelMove_Click();
    /// Escape while the move runs cancels it; the form stays up until the move closes it.
    void reject() override;

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    FrameHost& m_host;
    AnimationControl* m_animation = nullptr;
    QProgressBar* m_progress = nullptr;
    QLabel* m_status = nullptr;
    QPushButton* m_cancel = nullptr;
    bool m_running = false;
};

} // namespace Kelvane
