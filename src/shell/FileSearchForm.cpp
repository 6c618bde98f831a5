#include "shell/FileSearchForm.h"

#include "accessories/AnimationControl.h"
#include "accessories/AviFiles.h"
#include "board/FileSystem.h"
#include "board/Session.h"
#include "editor/FileScan.h"
#include "platform/FileNames.h"
#include "shell/FrameHost.h"

#include <QCloseEvent>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QStatusBar>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace Kelvane {

namespace {

/// Painted at most this often while the scan finds new files.
constexpr qint64 PaintIntervalMs = 40;

} // namespace

FileSearchForm::FileSearchForm(FrameHost& host)
    : QDialog(host.frameWindow())
    , m_host(host)
{
    setObjectName(u"frmFileSearch"_s);
    setWindowTitle(u"Searching for New Files"_s);
    setModal(false);

    const auto label = [this](const QString& name, const QString& text = {}) {
        auto* widget = new QLabel(text, this);
        widget->setObjectName(name);
        return widget;
    };
    QLabel* pathCaption = label(u"lblSearchPathCaption"_s, u"Searching Path  :"_s);
    m_path = label(u"lblSearchPath"_s);
    QLabel* foundCaption = label(u"lblFoundFileCaption"_s, u"Found New File  :"_s);
    m_found = label(u"lblFoundFile"_s);
    QLabel* countCaption = label(u"lblFileCountCaption"_s, u"Number of New Files Found:"_s);
    m_count = label(u"lblFileCount"_s, u"0"_s);
    // A long path must not widen the form while the scan runs.
    m_path->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    m_path->setMinimumWidth(320);

    m_animation = new AnimationControl(this);
    m_animation->setObjectName(u"aniSearch"_s);

    m_progress = new QProgressBar(this);
    m_progress->setObjectName(u"prbSearch"_s);
    m_progress->setRange(0, 1);
    m_progress->setValue(0);

    m_quit = new QPushButton(u"&Quit Search"_s, this);
    m_quit->setObjectName(u"cmdQuitSearch"_s);
    m_quit->setAutoDefault(false);
    connect(m_quit, &QPushButton::clicked, this, &FileSearchForm::cmdQuitSearch_Click);

    auto* statusBar = new QStatusBar(this);
    statusBar->setObjectName(u"sbSearch"_s);
    statusBar->setSizeGripEnabled(false);
    m_status = new QLabel(statusBar);
    m_status->setObjectName(u"sbSearchPane1"_s);
    statusBar->addWidget(m_status, 1);

    auto* values = new QGridLayout;
    values->addWidget(pathCaption, 0, 0);
    values->addWidget(m_path, 0, 1);
    values->addWidget(foundCaption, 1, 0);
    values->addWidget(m_found, 1, 1);
    values->addWidget(countCaption, 2, 0);
    values->addWidget(m_count, 2, 1);
    values->setColumnStretch(1, 1);
    auto* top = new QHBoxLayout;
    top->addWidget(m_animation);
    top->addLayout(values, 1);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(m_quit);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(top);
    layout->addWidget(m_progress);
    layout->addLayout(buttons);
    layout->addWidget(statusBar);
}

FileSearchForm::~FileSearchForm() = default;

std::size_t FileSearchForm::run(FrameHost& host, EntryTable& table)
{
    Session& session = host.session();
    FileSearchForm form(host);
    // A scan that cannot make its Work directory ends before its form is loaded.
    if (MakePath(session.workDirectory())) {
        form.load();
        form.show();
    }
    std::size_t added = 0;
    {
        ProgressViewScope progress(host.qtPort(), &form);
        added = mnuFileScan_Click(session, table);
    }
    form.unload();
    return added;
}

void FileSearchForm::load()
{
    m_running = true;
    Session& session = m_host.session();
    // Found whatever the case of its name, as every file of the program is.
    const auto file = findAnimation(session.programDirectory(), Animation::Search);
    if (file && m_animation->open(unicodeFromPath(*file))) {
        m_animation->play();
    } else {
        m_animation->hide();
        session.ShowAlert("NoAVISearch");
    }
    m_painted.start();
}

void FileSearchForm::unload()
{
    m_running = false;
    m_animation->stop();
    m_animation->close();
    hide();
}

void FileSearchForm::showProgressText(ProgressLine line, const QString& text)
{
    switch (line) {
    case ProgressLine::Path:
        m_path->setText(text);
        break;
    case ProgressLine::Item:
        m_found->setText(text);
        break;
    case ProgressLine::Count:
        m_count->setText(text);
        // The found file and the count are painted together at once, before the archive
        // is read, so a slow archive shows its own name.
        if (isVisible() && (!m_painted.isValid() || m_painted.elapsed() >= PaintIntervalMs)) {
            m_found->repaint();
            m_count->repaint();
            m_painted.start();
        }
        break;
    case ProgressLine::Status:
        if (m_status->text() != text)
            m_status->setText(text);
        break;
    }
}

void FileSearchForm::showProgressValue(qint64 value, qint64 maximum)
{
    showProgress(*m_progress, value, maximum);
}

void FileSearchForm::cmdQuitSearch_Click()
{
    m_host.session().SearchCancel = true;
}

void FileSearchForm::reject()
{
    if (m_running)
        cmdQuitSearch_Click();
    else
        QDialog::reject();
}

void FileSearchForm::closeEvent(QCloseEvent* event)
{
    if (m_running) {
        cmdQuitSearch_Click();
        event->ignore();
        return;
    }
    QDialog::closeEvent(event);
}

} // namespace Kelvane
