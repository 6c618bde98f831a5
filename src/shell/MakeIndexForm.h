#pragma once

#include "shell/QtPort.h"

#include <QDialog>

#include <chrono>

class QGroupBox;
class QLabel;
class QListWidget;
class QProgressBar;
class QTreeView;

namespace Kelvane {

class FrameHost;
class IndexRowsModel;

/// The Make Index form (frmMakeIndex): made hidden at start-up and kept for the whole run,
/// shown only while the index files of the changed areas are rebuilt at shut-down. Its hidden
/// lstMakeIdx shows the areas waiting, which the session holds.
///
/// The frame is disabled while the form shows its progress, so the form is a window of its
/// own, not the frame's child.
class MakeIndexForm : public QDialog, public ProgressView
{
    Q_OBJECT

public:
    explicit MakeIndexForm(FrameHost& host);
    ~MakeIndexForm() override;

    /// Rebuilds the index of every area waiting, with the frame disabled and this form
    /// showing the progress: shows the form, lets the event loop run for pause so that it is
    /// drawn, builds, closes it. Nothing is shown when no area waits.
    void run(std::chrono::milliseconds pause = std::chrono::seconds(1));
    /// lstMakeIdx from the session's list of areas waiting.
    void refreshPendingList();

    void showProgressText(ProgressLine line, const QString& text) override;
    void showProgressValue(qint64 value, qint64 maximum) override;
    void showIndexRows(std::span<const IndexRow> rows) override;
    void clearIndexRows() override;

public Q_SLOTS:
    /// Escape does nothing while the index is built.
    void reject() override;

protected:
    void showEvent(QShowEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    void unload();

    FrameHost& m_host;
    QGroupBox* m_frame = nullptr;
    QProgressBar* m_progress = nullptr;
    IndexRowsModel* m_model = nullptr;
    QTreeView* m_rows = nullptr;
    QLabel* m_filePath = nullptr;
    QLabel* m_status = nullptr;
    QListWidget* m_pending = nullptr;
    bool m_running = false;
};

} // namespace Kelvane
