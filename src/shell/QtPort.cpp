#include "shell/QtPort.h"

#include <QApplication>
#include <QEventLoop>
#include <QFileDialog>
#include <QMessageBox>
#include <QProgressBar>
#include <QPushButton>
#include <QTimer>

#include <algorithm>
#include <limits>

using namespace Qt::StringLiterals;

namespace Kelvane {

namespace {

QMessageBox::Icon boxIcon(Icon icon)
{
    switch (icon) {
    case Icon::Critical:
        return QMessageBox::Critical;
    case Icon::Question:
        return QMessageBox::Question;
    case Icon::Information:
        return QMessageBox::Information;
    case Icon::None:
        break;
    }
    return QMessageBox::NoIcon;
}

struct ButtonSet
{
    QMessageBox::StandardButtons buttons;
    QMessageBox::StandardButton defaultButton;
    QMessageBox::StandardButton escapeButton;
};

ButtonSet buttonSet(Buttons buttons)
{
    switch (buttons) {
    case Buttons::OkCancel:
        return { QMessageBox::Ok | QMessageBox::Cancel, QMessageBox::Ok, QMessageBox::Cancel };
    case Buttons::YesNo:
        return { QMessageBox::Yes | QMessageBox::No, QMessageBox::Yes, QMessageBox::No };
    case Buttons::RetryCancel:
        return { QMessageBox::Retry | QMessageBox::Cancel, QMessageBox::Retry, QMessageBox::Cancel };
    case Buttons::OkHelp:
        return { QMessageBox::Ok | QMessageBox::Help, QMessageBox::Ok, QMessageBox::Ok };
    case Buttons::Ok:
        break;
    }
    return { QMessageBox::Ok, QMessageBox::Ok, QMessageBox::Ok };
}

} // namespace

std::unique_ptr<QMessageBox> QtPort::buildBox(const MessageBox& message, QWidget* parent)
{
    auto box = std::make_unique<QMessageBox>(parent);
    box->setObjectName(u"MsgBox"_s);
    box->setWindowTitle(message.title);
    // The catalogue breaks lines with single CRs; a CR LF pair is one break as well.
    QString text = message.text;
    text.replace(u"\r\n"_s, u"\n"_s);
    text.replace(u'\r', u'\n');
    box->setTextFormat(Qt::PlainText);
    box->setText(text);
    box->setIcon(boxIcon(message.icon));
    const ButtonSet set = buttonSet(message.buttons);
    box->setStandardButtons(set.buttons);
    box->setDefaultButton(set.defaultButton);
    box->setEscapeButton(set.escapeButton);
    return box;
}

Answer QtPort::execBox(QMessageBox& box, const MessageBox& message)
{
    int button = box.exec();
    // Help opens the topic and leaves the question standing, as a Help button does.
    while (button == QMessageBox::Help) {
        if (m_help)
            m_help(message.helpContext);
        button = box.exec();
    }
    switch (button) {
    case QMessageBox::Cancel:
        return Answer::Cancel;
    case QMessageBox::Yes:
        return Answer::Yes;
    case QMessageBox::No:
        return Answer::No;
    case QMessageBox::Retry:
        return Answer::Retry;
    default:
        return Answer::Ok;
    }
}

Answer QtPort::messageBox(const MessageBox& message)
{
    // A box shown during a long operation must not wear the busy pointer.
    const int busy = m_busyDepth;
    while (m_busyDepth > 0)
        setBusy(false);
    QWidget* parent = m_parent ? m_parent->window() : QApplication::activeWindow();
    const auto box = buildBox(message, parent);
    const Answer answer = execBox(*box, message);
    while (m_busyDepth < busy)
        setBusy(true);
    return answer;
}

void QtPort::processEvents()
{
    QCoreApplication::processEvents();
}

void QtPort::setBusy(bool busy)
{
    if (busy) {
        QApplication::setOverrideCursor(Qt::WaitCursor);
        ++m_busyDepth;
    } else if (m_busyDepth > 0) {
        QApplication::restoreOverrideCursor();
        --m_busyDepth;
    }
}

void QtPort::progressText(ProgressLine line, const QString& text)
{
    if (m_progress)
        m_progress->showProgressText(line, text);
}

void QtPort::progressValue(qint64 value, qint64 maximum)
{
    if (m_progress)
        m_progress->showProgressValue(value, maximum);
}

void QtPort::indexRows(std::span<const IndexRow> rows)
{
    if (m_progress)
        m_progress->showIndexRows(rows);
}

void QtPort::clearIndexRows()
{
    if (m_progress)
        m_progress->clearIndexRows();
}

QString QtPort::browseForFolder(const QString& prompt)
{
    QWidget* parent = m_parent ? m_parent->window() : QApplication::activeWindow();
    return QFileDialog::getExistingDirectory(parent, prompt);
}

void showProgress(QProgressBar& bar, qint64 value, qint64 maximum)
{
    const auto clamped = [](qint64 number) {
        return static_cast<int>(std::clamp<qint64>(number, 0, std::numeric_limits<int>::max()));
    };
    const int top = clamped(maximum);
    if (bar.maximum() != top)
        bar.setRange(0, top);
    bar.setValue(clamped(value));
}

void letEventLoopRun(std::chrono::milliseconds duration)
{
    QEventLoop wait;
    QTimer::singleShot(duration, &wait, &QEventLoop::quit);
    wait.exec();
}

ProgressViewScope::ProgressViewScope(QtPort* port, ProgressView* view)
    : m_port(port)
{
    if (m_port) {
        m_previous = m_port->progressView();
        m_port->setProgressView(view);
    }
}

ProgressViewScope::~ProgressViewScope()
{
    if (m_port)
        m_port->setProgressView(m_previous);
}

} // namespace Kelvane
