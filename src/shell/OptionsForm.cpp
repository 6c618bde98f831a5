#include "shell/OptionsForm.h"

#include "board/FileSystem.h"
#include "board/Session.h"
#include "platform/CodePage.h"
#include "platform/FileNames.h"
#include "platform/SettingsStore.h"
#include "shell/FrameHost.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include <filesystem>
#include <optional>

using namespace Qt::StringLiterals;

namespace Kelvane {

namespace fs = std::filesystem;

namespace {

/// The entry of directory called name whatever its case, the exact spelling first.
std::optional<fs::path> entryNamed(const fs::path& directory, const QString& name, bool directoriesOnly)
{
    std::error_code error;
    if (directory.empty() || !fs::is_directory(directory, error))
        return std::nullopt;
    const fs::path exact = directory / pathFromUnicode(name);
    if (fs::exists(exact, error) && (!directoriesOnly || fs::is_directory(exact, error)))
        return exact;
    const QString wanted = foldName(name);
    std::optional<fs::path> found;
    for (fs::directory_iterator it(directory, error), end; !error && it != end; it.increment(error)) {
        std::error_code typeError;
        if (directoriesOnly && !it->is_directory(typeError))
            continue;
        if (foldName(fileNameText(it->path())) == wanted && (!found || it->path() < *found))
            found = it->path();
    }
    return found;
}

/// Whether the main node holds MWORK\FAREA.DAT in any case of its names. The board's own
/// check was a directory listing that also shows folders, so a folder of that name counts.
bool areaRecordFileFound(const fs::path& mainNode)
{
    const std::optional<fs::path> work = entryNamed(mainNode, u"MWORK"_s, true);
    return work && entryNamed(*work, u"FAREA.DAT"_s, false);
}

/// The path without its last separator; a lone "/" is the root and stays.
QString withoutTrailingSeparator(const QString& path)
{
    if (path.endsWith(u'\\') || (path.endsWith(u'/') && path != u"/"_s))
        return path.chopped(1);
    return path;
}

QString rightTrimmed(QString text)
{
    while (text.endsWith(u' '))
        text.chop(1);
    return text;
}

} // namespace

OptionsForm::OptionsForm(FrameHost& host)
    : QDialog(host.frameWindow())
    , m_host(host)
{
    setObjectName(u"frmOptions"_s);
    setWindowTitle(u"Options"_s);

    m_txtMainNode = new QLineEdit(this);
    m_txtMainNode->setObjectName(u"txtMainNode"_s);
    connect(m_txtMainNode, &QLineEdit::textEdited, this, &OptionsForm::enableApply);
    m_cmdBrowseForFolder = new QPushButton(u"&Browse..."_s, this);
    m_cmdBrowseForFolder->setObjectName(u"cmdBrowseForFolder"_s);
    m_cmdBrowseForFolder->setAutoDefault(false);
    connect(m_cmdBrowseForFolder, &QPushButton::clicked, this, &OptionsForm::cmdBrowseForFolder_Click);
    m_check1 = new QCheckBox(u"Start Kelvane &Maximized"_s, this);
    m_check1->setObjectName(u"Check1"_s);
    connect(m_check1, &QCheckBox::toggled, this, &OptionsForm::enableApply);
    m_check2 = new QCheckBox(u"Use Real File Dates when adding New Files"_s, this);
    m_check2->setObjectName(u"Check2"_s);
    connect(m_check2, &QCheckBox::toggled, this, &OptionsForm::enableApply);
    m_cboCodePage = new QComboBox(this);
    m_cboCodePage->setObjectName(u"cboCodePage"_s);
    m_cboCodePage->addItems(CodePage::names());
    connect(m_cboCodePage, &QComboBox::activated, this, &OptionsForm::enableApply);

    m_cmdOK = new QPushButton(u"OK"_s, this);
    m_cmdOK->setObjectName(u"cmdOK"_s);
    m_cmdOK->setDefault(true);
    connect(m_cmdOK, &QPushButton::clicked, this, &OptionsForm::cmdOK_Click);
    m_cmdCancel = new QPushButton(u"Cancel"_s, this);
    m_cmdCancel->setObjectName(u"cmdCancel"_s);
    connect(m_cmdCancel, &QPushButton::clicked, this, &QDialog::reject);
    m_cmdApply = new QPushButton(u"&Apply"_s, this);
    m_cmdApply->setObjectName(u"cmdApply"_s);
    connect(m_cmdApply, &QPushButton::clicked, this, &OptionsForm::UpDate_TBMainNode);
    m_cmdReset = new QPushButton(u"R&eset"_s, this);
    m_cmdReset->setObjectName(u"cmdReset"_s);
    m_cmdReset->setToolTip(u"Centre the main window at three quarters of the screen"_s);
    connect(m_cmdReset, &QPushButton::clicked, this, &OptionsForm::cmdReset_Click);

    auto* node = new QGroupBox(u"Vandor Main Node"_s, this);
    auto* nodeRow = new QHBoxLayout(node);
    nodeRow->addWidget(m_txtMainNode, 1);
    nodeRow->addWidget(m_cmdBrowseForFolder);
    auto* startup = new QGroupBox(u"Kelvane Startup"_s, this);
    auto* startupLayout = new QFormLayout(startup);
    startupLayout->addRow(m_check1);
    startupLayout->addRow(m_check2);
    startupLayout->addRow(u"&Code page of the board's files:"_s, m_cboCodePage);
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(m_cmdReset);
    buttons->addStretch(1);
    for (QPushButton* button : { m_cmdOK, m_cmdCancel, m_cmdApply })
        buttons->addWidget(button);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(node);
    layout->addWidget(startup);
    layout->addLayout(buttons);
    resize(560, sizeHint().height());

    formLoad();
}

void OptionsForm::formLoad()
{
    Session& session = m_host.session();
    const SettingsStore& store = m_host.settings();
    try {
        m_cmdApply->setEnabled(false);
        m_txtMainNode->setText(unicodeFromPath(session.area.MainNodePath));
        // Only the two states Options writes move the box; any other keeps it as it is.
        const int state = store.getInt(KelvaneStartup, u"MainWindowState"_s, MainWindowState::Normal);
        if (state == MainWindowState::Normal)
            m_check1->setChecked(false);
        else if (state == MainWindowState::Maximized)
            m_check1->setChecked(true);
        // The scan's real-file-dates switch gets its value here, not at start-up: until
        // Options is first opened in a run the scan goes without it.
        session.RealFileDates = store.getBool(KelvaneStartup, u"RealFileDates"_s, false);
        m_check2->setChecked(session.RealFileDates);
        m_cboCodePage->setCurrentIndex(std::max(0, m_cboCodePage->findText(session.codePage().name())));
        // An open Files List is written back in the page it was read in, so the page only
        // changes while no area is open.
        const bool areaOpen = m_host.areaOpen();
        m_cboCodePage->setEnabled(!areaOpen);
        m_cboCodePage->setToolTip(areaOpen ? u"Close the open File Area to change the code page."_s
                                           : u"The character set of the board's Files Lists and area records."_s);
        m_cmdApply->setEnabled(false);
    } catch (...) {
        session.ReportError("Load_frmOptions");
    }
}

void OptionsForm::enableApply()
{
    m_cmdApply->setEnabled(true);
}

void OptionsForm::cmdBrowseForFolder_Click()
{
    Session& session = m_host.session();
    try {
        // The box takes what the browser gives, so a cancelled browser empties it and Apply
        // then refuses the empty path.
        m_txtMainNode->setText(
            BrowseForFolder(session.port(), u"Select the Folder that Vandor Main Node is located."_s));
        if (!m_txtMainNode->text().isEmpty())
            m_cmdApply->setEnabled(true);
    } catch (...) {
        session.ReportError("cmdBrowseForFolder_Click");
    }
}

void OptionsForm::cmdReset_Click()
{
    try {
        m_check1->setChecked(false);
        m_host.resetPlacement();
        m_resetPressed = true;
        m_cmdApply->setEnabled(true);
    } catch (...) {
        m_host.session().ReportError("cmdReset_Click");
    }
}

void OptionsForm::cmdOK_Click()
{
    // A refused folder keeps the form open with the box emptied, for another choice.
    if (UpDate_TBMainNode())
        accept();
}

bool OptionsForm::UpDate_TBMainNode()
{
    Session& session = m_host.session();
    SettingsStore& store = m_host.settings();
    try {
        const QString path = withoutTrailingSeparator(m_txtMainNode->text());
        if (!areaRecordFileFound(pathFromUnicode(path))) {
            const QString separator = QDir::separator();
            const QString tested = path + separator + u"MWORK"_s + separator + u"FAREA.DAT"_s;
            session.port().messageBox({ u"Kelvane"_s,
                                        u"Can Not find the Path to the needed file "_s + u'\r' + tested.toUpper()
                                            + u'\r' + u"Please select another folder!"_s,
                                        Buttons::Ok, Icon::Critical });
            m_txtMainNode->clear();
            m_cmdApply->setEnabled(false);
            return false;
        }
        const QString stored = rightTrimmed(path);
        session.area.MainNodePath = pathFromUnicode(stored);
        store.SaveSetting(VandorStartup, u"Vandor Main Path"_s, stored);
        store.saveInt(KelvaneStartup, u"MainWindowState"_s,
                      m_check1->isChecked() ? MainWindowState::Maximized : MainWindowState::Normal);
        session.RealFileDates = m_check2->isChecked();
        store.saveBool(KelvaneStartup, u"RealFileDates"_s, session.RealFileDates);
        if (m_cboCodePage->isEnabled()) {
            if (const CodePage* page = CodePage::named(m_cboCodePage->currentText())) {
                store.SaveSetting(KelvaneStartup, u"CodePage"_s, page->name());
                session.setCodePage(*page);
            }
        }
        if (m_resetPressed)
            m_host.savePlacement(); // the frame writes it only when neither maximized nor minimized
        m_resetPressed = false;
        m_cmdApply->setEnabled(false);
        return true;
    } catch (...) {
        session.ReportError("UpDate_TBMainNode");
        return false;
    }
}

} // namespace Kelvane
