#pragma once

#include "shell/QtPort.h"

#include <QDialog>
#include <QElapsedTimer>

#include <cstddef>

class QLabel;
class QProgressBar;
class QPushButton;

namespace Kelvane {

class AnimationControl;
class EntryTable;
class FrameHost;

/// The search form (frmFileSearch), up while File Scan walks the area's directories: the
/// directory searched, the last new file and the count found so far, with cmdQuitSearch to
/// stop the scan before its next file. Not modal: the scan runs on the user-interface thread
/// and lets the event loop run once per file, which is when a press of the button is seen.
class FileSearchForm : public QDialog, public ProgressView
{
    Q_OBJECT

public:
    explicit FileSearchForm(FrameHost& host);
    ~FileSearchForm() override;

    /// File Scan with this form showing its progress; the number of entries added.
    static std::size_t run(FrameHost& host, EntryTable& table);

    /// Plays SEARCH.AVI from the program's AVI folder; when it cannot, the NoAVISearch alert
    /// and no animation.
    void load();
    /// Stops the animation and closes the form.
    void unload();

    void showProgressText(ProgressLine line, const QString& text) override;
    void showProgressValue(qint64 value, qint64 maximum) override;

public Q_SLOTS:
    void cmdQuitSearch_Click();
    /// Escape while the scan runs stops it, as the quit button does; the form stays up until
    /// the scan closes it.
    void reject() override;

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    FrameHost& m_host;
    AnimationControl* m_animation = nullptr;
    QLabel* m_path = nullptr;
    QLabel* m_found = nullptr;
    QLabel* m_count = nullptr;
    QProgressBar* m_progress = nullptr;
    QLabel* m_status = nullptr;
    QPushButton* m_quit = nullptr;
    bool m_running = false;
    /// Since the found file and count were last painted: painting them for every file of a
    /// large scan would cost more than the scan.
    QElapsedTimer m_painted;
};

} // namespace Kelvane
