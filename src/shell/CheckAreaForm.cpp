#include "shell/CheckAreaForm.h"

#include "board/Session.h"
#include "editor/AreaRepair.h"
#include "editor/EntryTable.h"
#include "platform/CodePage.h"
#include "platform/FileNames.h"
#include "shell/FrameHost.h"

#include <QCheckBox>
#include <QCoreApplication>
#include <QFontDatabase>
#include <QHBoxLayout>
#include <QLabel>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QVBoxLayout>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace Kelvane {

CheckAreaForm::CheckAreaForm(FrameHost& host, EntryTable& table, std::function<void()> changed, QWidget* parent)
    : QWidget(parent, Qt::Window)
    , m_host(host)
    , m_table(table)
    , m_changed(std::move(changed))
{
    setObjectName(u"frmCheckArea"_s);
    setAttribute(Qt::WA_DeleteOnClose);
    const CurrentArea& area = host.session().area;
    setWindowTitle(u"Kelvane - Check Area - "_s + host.session().codePage().toUnicode(area.AreaTitle));
    m_readOnly = area.IsCDRom || area.IsOffline;
    buildControls();
    resize(720, 520);
}

void CheckAreaForm::buildControls()
{
    m_text = new QPlainTextEdit(this);
    m_text->setObjectName(u"txtCheckReport"_s);
    m_text->setReadOnly(true);
    m_text->setLineWrapMode(QPlainTextEdit::NoWrap);
    m_text->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));

    const auto box = [this](const char16_t* name, const QString& caption) {
        auto* check = new QCheckBox(caption, this);
        check->setObjectName(QString::fromUtf16(name));
        connect(check, &QCheckBox::toggled, this, &CheckAreaForm::updateControls);
        return check;
    };
    m_eraseMissing = box(u"chkEraseMissing", u"&Erase the entries whose file is in no directory (the files stay)"_s);
    m_zeroAsMissing = box(u"chkZeroAsMissing", u"Count an empty file as &missing"_s);
    m_adopt = box(u"chkAdopt", u"Add the &unlisted files, as File Scan adds them"_s);
    m_refresh = box(u"chkRefresh", u"Take the differing &sizes and dates from the files"_s);
    m_testArchives = box(u"chkTestArchives", u"&Test every archive to its end"_s);

    m_progress = new QProgressBar(this);
    m_progress->setObjectName(u"prbCheckArea"_s);
    m_progress->hide();
    m_status = new QLabel(this);
    m_status->setObjectName(u"lblCheckStatus"_s);

    m_apply = new QPushButton(u"&Apply"_s, this);
    m_apply->setObjectName(u"cmdApply"_s);
    connect(m_apply, &QPushButton::clicked, this, &CheckAreaForm::cmdApply_Click);
    m_close = new QPushButton(u"&Close"_s, this);
    m_close->setObjectName(u"cmdClose"_s);
    connect(m_close, &QPushButton::clicked, this, &QWidget::close);

    auto* buttons = new QHBoxLayout;
    buttons->addWidget(m_status, 1);
    buttons->addWidget(m_apply);
    buttons->addWidget(m_close);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_text, 1);
    for (QCheckBox* check : { m_eraseMissing, m_zeroAsMissing, m_adopt, m_refresh, m_testArchives })
        layout->addWidget(check);
    layout->addWidget(m_progress);
    layout->addLayout(buttons);
}

void CheckAreaForm::updateControls()
{
    // A CD-ROM or offline area is reported, never changed: only the archive test is offered.
    for (QCheckBox* fix : { m_eraseMissing, m_adopt, m_refresh })
        fix->setEnabled(!m_readOnly);
    m_zeroAsMissing->setEnabled(!m_readOnly && m_eraseMissing->isChecked());
    const bool fixing = !m_readOnly && (m_eraseMissing->isChecked() || m_adopt->isChecked() || m_refresh->isChecked());
    m_apply->setEnabled(fixing || m_testArchives->isChecked());
}

void CheckAreaForm::refreshReport()
{
    Session& session = m_host.session();
    try {
        m_report = checkArea(session, m_table.entries());
    } catch (...) {
        session.ReportError("frmCheckArea_Load");
    }
    m_text->setPlainText(reportText());
    updateControls();
}

QString CheckAreaForm::reportText() const
{
    const CodePage& page = m_host.session().codePage();
    QString text;
    const auto names = [&](const QString& heading, const std::vector<std::string>& list) {
        if (list.empty())
            return;
        text += heading + u'\n';
        for (const std::string& name : list)
            text += u"  "_s + page.toUnicode(name) + u'\n';
    };
    const auto paths = [&](const QString& heading, const std::vector<std::filesystem::path>& list) {
        text += heading + u'\n';
        for (const auto& file : list)
            text += u"  "_s + unicodeFromPath(file) + u'\n';
    };
    const auto mismatches = [&](const QString& heading, const std::vector<AreaCheckReport::Mismatch>& list) {
        if (list.empty())
            return;
        text += heading + u'\n';
        for (const auto& mismatch : list)
            text += u"  %1: listed %2, file %3\n"_s.arg(page.toUnicode(mismatch.name), page.toUnicode(mismatch.listed),
                                                          QString::fromStdString(mismatch.onDisk));
    };
    if (m_report.clean())
        text += u"The Files List and the area's directories agree.\n"_s;
    names(u"Entries whose file is in no directory:"_s, m_report.missingFiles);
    names(u"Entries whose file is empty:"_s, m_report.emptyFiles);
    if (!m_report.unlistedFiles.empty())
        paths(u"Files the Files List does not hold:"_s, m_report.unlistedFiles);
    names(u"Names listed more than once:"_s, m_report.listedTwice);
    for (const auto& group : m_report.sameContent)
        paths(u"Files of identical content:"_s, group);
    mismatches(u"Sizes that differ from the file's:"_s, m_report.sizeMismatches);
    mismatches(u"Dates that differ from the file's:"_s, m_report.dateMismatches);
    if (m_archives) {
        if (m_archives->bad.empty())
            text += u"Every archive read through to its end (%1 tested).\n"_s.arg(m_archives->tested);
        else
            text += u"Archives that do not read through to their end:\n"_s;
        for (const ArchiveFinding& finding : m_archives->bad)
            text += u"  %1: %2, %3\n"_s.arg(unicodeFromPath(finding.file),
                                              QString::fromLatin1(archiveStateText(finding.test.state)),
                                              QString::fromStdString(finding.test.reason));
    }
    if (m_readOnly)
        text += u"The area is on a CD-ROM or offline: it is reported, never changed.\n"_s;
    return text;
}

// Archives are read one after another on this thread; the bar moves and the window repaints
// between them.
void CheckAreaForm::testArchives()
{
    m_progress->setValue(0);
    m_progress->show();
    m_apply->setEnabled(false);
    m_archives = testAreaArchives(m_host.session(), [this](std::size_t done, std::size_t total, const auto& file) {
        m_progress->setMaximum(static_cast<int>(std::max<std::size_t>(total, 1)));
        m_progress->setValue(static_cast<int>(done));
        m_status->setText(u"Testing "_s + unicodeFromPath(file.filename()));
        QCoreApplication::processEvents();
        return isVisible();
    });
    m_progress->hide();
}

void CheckAreaForm::cmdApply_Click()
{
    Session& session = m_host.session();
    try {
        if (m_testArchives->isChecked())
            testArchives();
        RepairChoice choice;
        choice.eraseMissing = m_eraseMissing->isChecked();
        choice.zeroAsMissing = choice.eraseMissing && m_zeroAsMissing->isChecked();
        choice.adopt = m_adopt->isChecked();
        choice.refresh = m_refresh->isChecked();
        RepairOutcome outcome;
        if (choice.any() && !m_readOnly) {
            outcome = applyRepair(session, m_table, planRepair(session, m_report, choice));
            if (m_changed)
                m_changed();
        }
        for (QCheckBox* fix : { m_eraseMissing, m_zeroAsMissing, m_adopt, m_refresh })
            fix->setChecked(false);
        refreshReport();
        const std::size_t changes = outcome.erased + outcome.added + outcome.sizes + outcome.dates;
        QString status;
        if (choice.any())
            status = (changes == 1 ? u"1 change made"_s : u"%1 changes made"_s.arg(changes))
                + (changes > 0 ? u"; nothing is saved until Save Work."_s : u"."_s);
        for (const QString& line : outcome.leftAlone)
            m_text->appendPlainText(line);
        m_status->setText(status);
    } catch (...) {
        session.ReportError("frmCheckArea_cmdApply_Click");
    }
}

} // namespace Kelvane
