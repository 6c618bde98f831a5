#pragma once

#include "board/UserPort.h"

#include <QPointer>
#include <QWidget>
#include <chrono>
#include <functional>
#include <memory>

class QMessageBox;
class QProgressBar;

namespace Kelvane {

/// Where a long operation's progress is shown: the form that runs it (the scan's search
/// form, the move's progress form, the Make Index form) while it is up.
class ProgressView
{
public:
    virtual ~ProgressView() = default;
    virtual void showProgressText(ProgressLine line, const QString& text) = 0;
    virtual void showProgressValue(qint64 value, qint64 maximum) = 0;
    /// The index rebuild's working list; only the Make Index form shows one.
    virtual void showIndexRows(std::span<const IndexRow> rows) { Q_UNUSED(rows); }
    virtual void clearIndexRows() { }
};

/// The desktop program's user port: every message box of Kelvane is built here, as a
/// QMessageBox with its title, text, icon and buttons, and opened modally.
class QtPort : public UserPort
{
public:
    QtPort() = default;

    Answer messageBox(const MessageBox& box) override;
    void processEvents() override;
    void setBusy(bool busy) override;
    void progressText(ProgressLine line, const QString& text) override;
    void progressValue(qint64 value, qint64 maximum) override;
    void indexRows(std::span<const IndexRow> rows) override;
    void clearIndexRows() override;
    QString browseForFolder(const QString& prompt) override;

    /// The window the boxes belong to.
    void setDialogParent(QWidget* parent) { m_parent = parent; }
    /// What a box's Help button opens: the help topic of its context number.
    void setHelpHandler(std::function<void(int context)> handler) { m_help = std::move(handler); }
    /// The form that shows progress now; nullptr for none.
    void setProgressView(ProgressView* view) { m_progress = view; }
    ProgressView* progressView() const { return m_progress; }

    /// The QMessageBox of box, ready to exec(); line breaks are the box's CRs.
    static std::unique_ptr<QMessageBox> buildBox(const MessageBox& box, QWidget* parent);

protected:
    /// Runs a built box and answers its button; the tests answer from a script instead.
    virtual Answer execBox(QMessageBox& box, const MessageBox& message);

private:
    QPointer<QWidget> m_parent;
    std::function<void(int)> m_help;
    ProgressView* m_progress = nullptr;
    int m_busyDepth = 0;
};

/// Puts a long operation's position on bar (a position beyond the bar's range is clamped).
void showProgress(QProgressBar& bar, qint64 value, qint64 maximum);

/// Lets the event loop run for duration: a form just shown is drawn, its animation started,
/// before the work begins.
void letEventLoopRun(std::chrono::milliseconds duration);

/// Shows progress in view while it lives, then in whatever showed it before.
class ProgressViewScope
{
public:
    ProgressViewScope(QtPort* port, ProgressView* view);
    ~ProgressViewScope();
    ProgressViewScope(const ProgressViewScope&) = delete;
    ProgressViewScope& operator=(const ProgressViewScope&) = delete;

private:
    QtPort* m_port;
    ProgressView* m_previous = nullptr;
};

} // namespace Kelvane
