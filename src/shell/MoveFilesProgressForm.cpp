#include "shell/MoveFilesProgressForm.h"

#include "accessories/AnimationControl.h"
#include "accessories/AviFiles.h"
#include "board/Session.h"
#include "platform/FileNames.h"
#include "shell/FrameHost.h"
#include "sortmove/MoveFiles.h"

#include <QCloseEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QStatusBar>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace Kelvane {

MoveFilesProgressForm::MoveFilesProgressForm(FrameHost& host)
    : QDialog(host.frameWindow())
    , m_host(host)
{
    setObjectName(u"frmMoveFilesProgress"_s);
    setWindowTitle(u"Kelvane - Move Files"_s);
    setModal(false);

    m_animation = new AnimationControl(this);
    m_animation->setObjectName(u"aniFileMove"_s);

    m_progress = new QProgressBar(this);
    m_progress->setObjectName(u"prbFileMove"_s);
    m_progress->setRange(0, 1);
    m_progress->setValue(0);
    m_progress->setMinimumWidth(320);

    m_cancel = new QPushButton(u"&Cancel"_s, this);
    m_cancel->setObjectName(u"cmdCancelMove"_s);
    m_cancel->setAutoDefault(false);
    connect(m_cancel, &QPushButton::clicked, this, &MoveFilesProgressForm::cmdCancelMove_Click);

    auto* statusBar = new QStatusBar(this);
    statusBar->setObjectName(u"sbFileMove"_s);
    statusBar->setSizeGripEnabled(false);
    m_status = new QLabel(statusBar);
    m_status->setObjectName(u"sbFileMovePane1"_s);
    // A long name must not widen the form while the move runs.
    m_status->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    statusBar->addWidget(m_status, 1);

    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(m_cancel);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_animation, 0, Qt::AlignHCenter);
    layout->addWidget(m_progress);
    layout->addLayout(buttons);
    layout->addWidget(statusBar);
}

MoveFilesProgressForm::~MoveFilesProgressForm()
{
    unload();
}

std::size_t MoveFilesProgressForm::run(FrameHost& host, EntryTable& table, std::chrono::milliseconds pause)
{
    MoveFilesProgressForm form(host);
    form.load();
    form.show();
    // The form and its animation are drawn before the first file moves.
    letEventLoopRun(pause);
    std::size_t moved = 0;
    {
        ProgressViewScope progress(host.qtPort(), &form);
        moved = MoveFiles(host.session(), table);
    }
    form.unload();
    return moved;
}

void MoveFilesProgressForm::load()
{
    if (m_running)
        return;
    m_running = true;
    Session& session = m_host.session();
    // Found whatever the case of its name, as every file of the program is.
    const auto file = findAnimation(session.programDirectory(), Animation::FileMove);
    if (file && m_animation->open(unicodeFromPath(*file))) {
        m_animation->play();
    } else {
        m_animation->hide();
        session.ShowAlert("NoAVIFileMove");
    }
    session.port().setBusy(true);
    m_cancel->setFocus();
}

void MoveFilesProgressForm::unload()
{
    if (!m_running)
        return;
    m_running = false;
    hide();
    m_animation->stop();
    m_animation->close();
    m_host.session().port().setBusy(false);
}

void MoveFilesProgressForm::showProgressText(ProgressLine line, const QString& text)
{
    if (line != ProgressLine::Status)
        return;
    m_status->setText(text);
    if (isVisible())
        m_status->repaint();
}

void MoveFilesProgressForm::showProgressValue(qint64 value, qint64 maximum)
{
    showProgress(*m_progress, value, maximum);
}

void MoveFilesProgressForm::cmdCancelMove_Click()
{
    m_host.session().CancelMove = true;
}

void MoveFilesProgressForm::reject()
{
    if (m_running)
        cmdCancelMove_Click();
    else
        QDialog::reject();
}

void MoveFilesProgressForm::closeEvent(QCloseEvent* event)
{
    if (m_running) {
        cmdCancelMove_Click();
        event->ignore();
        return;
    }
    QDialog::closeEvent(event);
}

} // namespace Kelvane
