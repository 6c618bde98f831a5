#include "shell/EditorForm.h"

#include "accessories/AnimationControl.h"
#include "accessories/AviFiles.h"
#include "board/BasicText.h"
#include "board/Session.h"
#include "clean/DescriptionCleaner.h"
#include "editor/Description.h"
#include "editor/Operations.h"
#include "editor/Selection.h"
#include "platform/CodePage.h"
#include "platform/FileNames.h"
#include "platform/ProgramDirectory.h"
#include "platform/SettingsStore.h"
#include "shell/EntryListModel.h"
#include "shell/FileSearchForm.h"
#include "shell/FrameHost.h"
#include "shell/MoveFileTitlesForm.h"
#include "shell/MoveFilesProgressForm.h"
#include "shell/SortViewForm.h"

#include <QAction>
#include <QCloseEvent>
#include <QDate>
#include <QFontDatabase>
#include <QFormLayout>
#include <QFrame>
#include <QHBoxLayout>
#include <QItemSelection>
#include <QKeyEvent>
#include <QKeySequence>
#include <QLabel>
#include <QListView>
#include <QLocale>
#include <QMenu>
#include <QMouseEvent>
#include <QPlainTextEdit>
#include <QSplitter>
#include <QStatusBar>
#include <QTextDocument>
#include <QTime>
#include <QVBoxLayout>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace Kelvane {

namespace {

const QString CaptionPrefix = u"Editing File Area: "_s;
constexpr int FlagPaneTwips = 1300;
constexpr int ClockPaneTwips = 1050;

int twipsToPixels(int twips, int dotsPerInch)
{
    return twips * dotsPerInch / 1440;
}

QString yesNo(bool flag)
{
    return flag ? u"Yes"_s : u"No"_s;
}

// The box shows each CR LF of a description as a new paragraph, and a lone LF (a byte the
// board's list may hold inside a line) as a line separator, so both come back as they were.
// Every other character, the no-break space and the tab included, passes through as is.
QString descriptionToBox(const QString& description)
{
    QString text;
    text.reserve(description.size());
    for (qsizetype i = 0; i < description.size(); ++i) {
        const QChar c = description.at(i);
        if (c == u'\r' && i + 1 < description.size() && description.at(i + 1) == u'\n') {
            text.append(u'\n');
            ++i;
        } else if (c == u'\n') {
            text.append(QChar(QChar::LineSeparator));
        } else {
            text.append(c);
        }
    }
    return text;
}

// rawText is the document's own text: paragraphs end in U+2029 and nothing has been turned
// into a blank (the plain-text view of a document gives every no-break space as a space).
QString boxToDescription(QString rawText)
{
    rawText.replace(u"\n"_s, u"\r\n"_s);
    rawText.replace(QChar::ParagraphSeparator, u"\r\n"_s);
    rawText.replace(QChar::LineSeparator, u'\n');
    return rawText;
}

// "No Description" stands in for a text that holds nothing but line ends and blanks.
bool holdsNoDescription(const QString& description)
{
    const QString text = QString(description).remove(u"\r\n"_s);
    return std::all_of(text.cbegin(), text.cend(), [](QChar c) { return c == u' '; });
}

} // namespace

const QList<std::pair<QString, QString>>& EditorForm::toolbarKeys()
{
    static const QList<std::pair<QString, QString>> keys {
        { u"Close"_s, u"Close"_s },
        { u"DownOneFile"_s, u"Down One File"_s },
        { u"UpOneFile"_s, u"Up One File"_s },
        { u"SelectAllFiles"_s, u"Select all Files"_s },
        { u"UnselectAllFiles"_s, u"No Select all Files"_s },
        { u"SaveWork"_s, u"Save Work"_s },
        { u"DeleteFiles"_s, u"Delete Files"_s },
        { u"EraseFilesListsOnly"_s, u"Erase File / List Only"_s },
        { u"FileScan"_s, u"File Scan"_s },
        { u"FileDate"_s, u"File Date"_s },
        { u"FileLength"_s, u"File Length"_s },
        { u"MoveFiles"_s, u"Move Files"_s },
        { u"ReadDiz"_s, u"Read DIZ"_s },
        { u"RemoveUploadedBy"_s, u"Remove \"Uploaded By\""_s },
        { u"SortFiles"_s, u"Sort Files"_s },
    };
    return keys;
}

EditorForm::EditorForm(FrameHost& host, EntryList entries, QWidget* parent)
    : QWidget(parent)
    , m_host(host)
{
    setObjectName(u"frmEditFileArea"_s);
    setAttribute(Qt::WA_DeleteOnClose);
    // The entries go back only to the list they were read from, whatever area the session
    // holds by the time they are saved.
    m_origin = session().listStamp;
    if (m_origin.list.empty())
        m_origin.list = session().area.FileListPath;
    m_table.reset(std::move(entries));
    m_model = std::make_unique<EntryListModel>(m_table, session().codePage());
    m_keyHandlers = {
        { u"Close"_s, &EditorForm::mnuClose_Click },
        { u"DownOneFile"_s, &EditorForm::mnuDownOneFile_Click },
        { u"UpOneFile"_s, &EditorForm::mnuUpOneFile_Click },
        { u"SelectAllFiles"_s, &EditorForm::mnuSelectAllFiles_Click },
        { u"UnselectAllFiles"_s, &EditorForm::mnuNoSelectAllFiles_Click },
        { u"SaveWork"_s, &EditorForm::mnuSaveWork_Click },
        { u"DeleteFiles"_s, &EditorForm::mnuDeleteFiles_Click },
        { u"EraseFilesListsOnly"_s, &EditorForm::mnuEraseFilesListOnly_Click },
        { u"FileScan"_s, &EditorForm::mnuFileScan_Click },
        { u"FileDate"_s, &EditorForm::mnuFileDate_Click },
        { u"FileLength"_s, &EditorForm::mnuFileLength_Click },
        { u"MoveFiles"_s, &EditorForm::mnuMoveFiles_Click },
        { u"ReadDiz"_s, &EditorForm::mnuReadDIZ_Click },
        { u"RemoveUploadedBy"_s, &EditorForm::mnuRemoveUploadBy_Click },
        { u"SortFiles"_s, &EditorForm::mnuSortFile_Click },
    };
    buildControls();
    buildMenus();
    // The sort view is loaded with the area and stays, hidden, until the area closes.
    m_sortView = new SortViewForm(m_host, m_table);
    m_clock.setObjectName(u"tmrClock"_s);
    m_clock.setInterval(1000);
    connect(&m_clock, &QTimer::timeout, this, &EditorForm::updateClock);
}

EditorForm::~EditorForm()
{
    Form_Unload();
    delete m_sortView;
}

Session& EditorForm::session() const
{
    return m_host.session();
}

void EditorForm::buildControls()
{
    m_names = new QListView(this);
    m_names->setObjectName(u"lstFileNames"_s);
    m_names->setModel(m_model.get());
    m_names->setUniformItemSizes(true);
    m_names->setSelectionMode(QAbstractItemView::ExtendedSelection);
    m_names->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_names->setLayoutMode(QListView::Batched);
    m_names->setBatchSize(2000);
    m_names->viewport()->installEventFilter(this);
    connect(m_names->selectionModel(), &QItemSelectionModel::currentChanged, this, [this] { lstFileNames_Click(); });
    connect(m_names->selectionModel(), &QItemSelectionModel::selectionChanged, this, &EditorForm::viewSelectionChanged);
    connect(m_model.get(), &EntryListModel::tableSelectionChanged, this, &EditorForm::applyTableSelection);
    connect(m_model.get(), &EntryListModel::rowsReplaced, this, &EditorForm::rowsReplaced);
    connect(m_model.get(), &QAbstractItemModel::rowsInserted, this, &EditorForm::refreshCounts);
    connect(m_model.get(), &QAbstractItemModel::dataChanged, this,
            [this](const QModelIndex& first, const QModelIndex& last) {
                if (m_position >= first.row() && m_position <= last.row() && !m_descriptionChanged)
                    Update_All_Controls();
            });

    const auto label = [this](const QString& name) {
        auto* widget = new QLabel(this);
        widget->setObjectName(name);
        widget->setTextInteractionFlags(Qt::TextSelectableByMouse);
        return widget;
    };
    m_fileName = label(u"lblFileName"_s);
    m_fileSize = label(u"lblFileSize"_s);
    m_fileDate = label(u"lblFileDate"_s);
    m_totalCount = label(u"lblTotalFileCt"_s);
    m_taggedCount = label(u"lblFilesTagged"_s);

    m_description = new QPlainTextEdit(this);
    m_description->setObjectName(u"txtFileDescription"_s);
    m_description->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    m_description->setLineWrapMode(QPlainTextEdit::NoWrap);
    m_description->setTabChangesFocus(true);
    // A description line holds 45 characters; the box is made wide enough to show them.
    m_description->setMinimumWidth(m_description->fontMetrics().horizontalAdvance(QString(47, u'M')));
    m_description->installEventFilter(this);
    connect(m_description, &QPlainTextEdit::textChanged, this, [this] {
        if (!m_quiet)
            m_descriptionChanged = true;
    });

    m_animation = new AnimationControl(this);
    m_animation->setObjectName(u"aniFindFile"_s);

    auto* details = new QWidget(this);
    auto* form = new QFormLayout;
    form->addRow(tr("File Name:"), m_fileName);
    form->addRow(tr("File Size:"), m_fileSize);
    form->addRow(tr("File Date:"), m_fileDate);
    auto* detailsLayout = new QVBoxLayout(details);
    detailsLayout->addLayout(form);
    detailsLayout->addWidget(new QLabel(tr("File Description:"), details));
    detailsLayout->addWidget(m_description, 1);
    auto* counts = new QFormLayout;
    counts->addRow(tr("Total Files:"), m_totalCount);
    counts->addRow(tr("Files Tagged:"), m_taggedCount);
    auto* bottom = new QHBoxLayout;
    bottom->addLayout(counts, 1);
    bottom->addWidget(m_animation, 0, Qt::AlignRight | Qt::AlignBottom);
    detailsLayout->addLayout(bottom);

    auto* splitter = new QSplitter(this);
    splitter->addWidget(m_names);
    splitter->addWidget(details);
    splitter->setStretchFactor(0, 1);
    splitter->setStretchFactor(1, 2);
    splitter->setChildrenCollapsible(false);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(splitter);
    setFocusProxy(m_names);
    setTabOrder(m_names, m_description);
}

QAction* EditorForm::addOperation(const QString& name, const QString& caption, void (EditorForm::*handler)())
{
    auto* action = new QAction(caption, this);
    action->setObjectName(name);
    connect(action, &QAction::triggered, this, handler);
    m_operations->addAction(action);
    return action;
}

void EditorForm::buildMenus()
{
    m_operations = new QMenu(tr("File &Operations"), this);
    m_operations->setObjectName(u"mnuFileOperations"_s);
    addOperation(u"mnuFileScan"_s, u"File S&can"_s, &EditorForm::mnuFileScan_Click);
    addOperation(u"mnuReadDIZ"_s, u"&Read DIZ"_s, &EditorForm::mnuReadDIZ_Click);
    addOperation(u"mnuFileDate"_s, u"File &Date"_s, &EditorForm::mnuFileDate_Click);
    addOperation(u"mnuFileLength"_s, u"File &Length"_s, &EditorForm::mnuFileLength_Click);
    m_operations->addSeparator();
    QAction* erase = addOperation(u"mnuEraseFilesListOnly"_s, u"Erase File / L&ist Only"_s,
                                  &EditorForm::mnuEraseFilesListOnly_Click);
    // Delete in the name list erases the tagged entries (after the question); in the
    // description box it stays an editing key.
    erase->setShortcut(QKeySequence::Delete);
    erase->setShortcutContext(Qt::WidgetShortcut);
    m_names->addAction(erase);
    addOperation(u"mnuDeleteFiles"_s, u"&Delete Files"_s, &EditorForm::mnuDeleteFiles_Click);
    addOperation(u"mnuMoveFiles"_s, u"&Move Files"_s, &EditorForm::mnuMoveFiles_Click);
    addOperation(u"mnuRemoveUploadBy"_s, u"Remove \"&Uploaded By\""_s, &EditorForm::mnuRemoveUploadBy_Click);
    m_operations->addSeparator();
    addOperation(u"mnuSelectAllFiles"_s, u"Select all Files"_s, &EditorForm::mnuSelectAllFiles_Click);
    addOperation(u"mnuNoSelectAllFiles"_s, u"No Select all Files"_s, &EditorForm::mnuNoSelectAllFiles_Click);
    addOperation(u"mnuSortFile"_s, u"&Sort Files"_s, &EditorForm::mnuSortFile_Click);
    m_operations->addSeparator();
    addOperation(u"mnuDefaultArchiveType"_s, u"Default &Archive Type"_s, &EditorForm::mnuNotAvailable_Click);
    addOperation(u"mnuVirusCheck"_s, u"&Virus Check"_s, &EditorForm::mnuNotAvailable_Click);
    addOperation(u"mnuWriteNewDIZ"_s, u"&Write New DIZ"_s, &EditorForm::mnuNotAvailable_Click);
    m_operations->addSeparator();
    QAction* save = addOperation(u"mnuSaveWork"_s, u"&Save Work"_s, &EditorForm::mnuSaveWork_Click);
    save->setShortcut(QKeySequence::Save);
    save->setShortcutContext(Qt::WidgetWithChildrenShortcut);
    addAction(save);
    addOperation(u"mnuClose"_s, u"&Close"_s, &EditorForm::mnuClose_Click);

    m_view = new QMenu(tr("&View"), this);
    m_view->setObjectName(u"mnuEditorView"_s);
    auto* toolBar = m_view->addAction(tr("&Toolbar"));
    toolBar->setObjectName(u"mnuToolBar"_s);
    toolBar->setCheckable(true);
    toolBar->setChecked(true);
    connect(toolBar, &QAction::toggled, this, [this](bool shown) { m_host.setToolBarShown(shown); });
    auto* statusBar = m_view->addAction(tr("Status &Bar"));
    statusBar->setObjectName(u"mnuStatusBar"_s);
    statusBar->setCheckable(true);
    statusBar->setChecked(true);
    connect(statusBar, &QAction::toggled, this, [this](bool shown) { m_host.setStatusBarShown(shown); });
}

QList<QMenu*> EditorForm::menus() const
{
    return { m_operations, m_view };
}

// While the move chooser stands in for the hidden editor, nothing may run on the editor's
// entries: its menus go grey with its toolbars, shortcuts included.
void EditorForm::setMenusEnabled(bool enabled)
{
    for (QMenu* menu : menus()) {
        menu->menuAction()->setEnabled(enabled);
        for (QAction* item : menu->actions())
            item->setEnabled(enabled);
    }
}

void EditorForm::Form_Load()
{
    Session& state = session();
    try {
        Load_Status_Bar2();
        if (state.ListIsEmpty) {
            m_fileName->clear();
            m_fileDate->clear();
            m_fileSize->setText(u"0"_s);
            m_totalCount->setText(u"0"_s);
            m_taggedCount->setText(u"0"_s);
            m_description->setReadOnly(true);
        } else {
            GetFileNames();
            m_description->setReadOnly(false);
        }
        setWindowTitle(CaptionPrefix + state.codePage().toUnicode(state.area.AreaTitle));
        state.ChangesMade = false;
        loadAnimation();
    } catch (...) {
        state.ReportError("Load_frmEditFileArea");
    }
}

void EditorForm::loadAnimation()
{
    Session& state = session();
    const auto found = findAnimation(state.programDirectory(), Animation::FindFile);
    if (found && m_animation->open(unicodeFromPath(*found))) {
        m_animation->setFixedSize(m_animation->sizeHint());
        return;
    }
    m_animation->hide();
    const QString path = joinProgramPath(joinProgramPath(state.programDirectoryText(), u"AVI"_s), u"FINDFILE.AVI"_s);
    state.port().messageBox({ u"Kelvane Alert Message!"_s,
                              u"Unable to Find/Open \r"_s + path + u"\r\rKelvane will skip this operation!"_s,
                              Buttons::Ok, Icon::Information });
}

void EditorForm::GetFileNames()
{
    try {
        if (session().ListIsEmpty)
            return;
        if (m_model->rowCount() > 0)
            m_names->selectionModel()->setCurrentIndex(m_model->index(0), QItemSelectionModel::NoUpdate);
        Update_All_Controls();
    } catch (...) {
        session().ReportError("GetFileNames");
    }
}

void EditorForm::Load_Status_Bar2()
{
    try {
        QStatusBar* bar = m_host.editorStatusBar();
        for (QLabel* pane : std::as_const(m_panes)) {
            bar->removeWidget(pane);
            pane->deleteLater();
        }
        m_panes.clear();
        const CurrentArea& area = session().area;
        const int dotsPerInch = bar->logicalDpiX();
        const std::pair<QString, QString> flags[] = {
            { u"Private:  "_s + yesNo(area.IsPrivate), u"Shows if this is a Private File Area."_s },
            { u"CDRom:  "_s + yesNo(area.IsCDRom), u"Shows if this is a CDROM File Area."_s },
            { u"Alias:  "_s + yesNo(area.AllowAlias), u"Shows if Alias Names are allowed for File Area."_s },
            { u"Offline:  "_s + yesNo(area.IsOffline), u"Shows if this is an Offline File Area."_s },
            { u"Master:  "_s + yesNo(area.UsesMasterIndex), u"Shows if File Area uses the Master Index System."_s },
            { {}, u"Displays System's current Date."_s },
            { {}, u"Displays System's current Time."_s },
        };
        int number = 0;
        for (const auto& [text, tip] : flags) {
            ++number;
            auto* pane = new QLabel(text, bar);
            pane->setObjectName(u"sbStatusBar2Pane%1"_s.arg(number));
            pane->setToolTip(tip);
            pane->setFrameStyle(QFrame::Panel | QFrame::Sunken);
            if (number >= 2 && number <= 5)
                pane->setMinimumWidth(twipsToPixels(FlagPaneTwips, dotsPerInch));
            if (number >= 6) {
                pane->setMinimumWidth(twipsToPixels(ClockPaneTwips, dotsPerInch));
                pane->setAlignment(Qt::AlignCenter);
            }
            bar->addWidget(pane, number == 1 ? 1 : 0);
            m_panes.append(pane);
        }
        updateClock();
        m_clock.start();
    } catch (...) {
        session().ReportError("Load_Status_Bar2");
    }
}

void EditorForm::updateClock()
{
    if (m_panes.size() != 7)
        return;
    // The short month of the user's language, a point, the day and the year: "Nov. 23, 2026";
    // a month whose short name ends in a point already ("nov.") takes no second one.
    const QLocale locale;
    const QDate today = QDate::currentDate();
    QString month = locale.monthName(today.month(), QLocale::ShortFormat);
    if (!month.endsWith(u'.'))
        month += u'.';
    m_panes[5]->setText(month + locale.toString(today, u" d, yyyy"_s));
    m_panes[6]->setText(locale.toString(QTime::currentTime(), QLocale::ShortFormat));
}

void EditorForm::Update_All_Controls()
{
    try {
        const int count = m_model->rowCount();
        m_description->setReadOnly(count == 0);
        const int row = currentRow();
        if (!m_table.empty()) {
            const int position = std::clamp(row, 0, static_cast<int>(m_table.size()) - 1);
            const Entry& entry = m_table.at(static_cast<std::size_t>(position));
            const CodePage& page = session().codePage();
            m_fileSize->setText(QString::fromStdString(plainNumber(Val(entry.Size))));
            m_fileDate->setText(page.toUnicode(entry.Date));
            setBoxText(descriptionToBox(page.toUnicode(entry.Description)));
            m_position = position;
        } else {
            m_fileSize->setText(u"0"_s);
            m_fileDate->clear();
            setBoxText({});
            m_position = -1;
        }
        m_fileName->setText(m_model->name(row));
        refreshCounts();
        m_descriptionChanged = false;
    } catch (...) {
        session().ReportError("Update_All_Controls");
    }
}

void EditorForm::refreshCounts()
{
    m_totalCount->setText(QString::number(m_model->rowCount()));
    m_taggedCount->setText(QString::number(m_table.selectedCount()));
}

void EditorForm::setBoxText(const QString& text)
{
    m_quiet = true;
    m_description->setPlainText(text);
    m_quiet = false;
}

void EditorForm::Description_Update()
{
    Session& state = session();
    try {
        if (m_table.empty()) {
            setBoxText({});
            return;
        }
        QString text = boxToDescription(m_description->document()->toRawText());
        if (holdsNoDescription(text)) {
            text = QString::fromLatin1(NoDescription.data(), static_cast<qsizetype>(NoDescription.size()));
            setBoxText(text);
        }
        if (m_position < 0 || static_cast<std::size_t>(m_position) >= m_table.size())
            return;
        std::string bytes = state.codePage().fromUnicode(text);
        m_quiet = true; // the entry's own change must not refill the box being edited
        m_table.update(static_cast<std::size_t>(m_position),
                       [&](Entry& entry) { entry.Description = std::move(bytes); });
        m_quiet = false;
        state.ChangesMade = true;
    } catch (...) {
        m_quiet = false;
        state.ReportError("Description_Update");
    }
}

void EditorForm::writeBackPending()
{
    // Once written back, the edit is no longer pending: a later click must not mark the
    // work changed again.
    if (m_descriptionChanged && m_model->rowCount() > 0) {
        Description_Update();
        m_descriptionChanged = false;
    }
}

void EditorForm::lstFileNames_Click()
{
    try {
        if (m_model->rowCount() > 0 && m_descriptionChanged)
            Description_Update();
        Update_All_Controls();
    } catch (...) {
        session().ReportError("lstFileNames_Click");
    }
}

int EditorForm::currentRow() const
{
    const QModelIndex current = m_names->currentIndex();
    return current.isValid() ? current.row() : (m_model->rowCount() > 0 ? 0 : -1);
}

void EditorForm::selectRow(int row)
{
    if (row < 0 || row >= m_model->rowCount())
        return;
    m_names->setFocus();
    m_names->selectionModel()->setCurrentIndex(m_model->index(row), QItemSelectionModel::ClearAndSelect);
    m_names->scrollTo(m_model->index(row));
}

void EditorForm::viewSelectionChanged(const QItemSelection& selected, const QItemSelection& deselected)
{
    if (m_syncingSelection)
        return;
    m_syncingSelection = true;
    {
        EntryTable::Batch batch(m_table);
        for (const QItemSelectionRange& range : deselected) {
            for (int row = range.top(); row <= range.bottom(); ++row)
                m_table.setSelected(static_cast<std::size_t>(row), false);
        }
        for (const QItemSelectionRange& range : selected) {
            for (int row = range.top(); row <= range.bottom(); ++row)
                m_table.setSelected(static_cast<std::size_t>(row), true);
        }
    }
    m_syncingSelection = false;
    refreshCounts();
}

void EditorForm::applyTableSelection()
{
    if (m_syncingSelection)
        return;
    m_syncingSelection = true;
    // The table's selection as runs of neighbouring rows, applied as one change.
    QItemSelection selection;
    const int count = m_model->rowCount();
    for (int row = 0; row < count;) {
        if (!m_table.isSelected(static_cast<std::size_t>(row))) {
            ++row;
            continue;
        }
        const int first = row;
        while (row < count && m_table.isSelected(static_cast<std::size_t>(row)))
            ++row;
        selection.append(QItemSelectionRange(m_model->index(first), m_model->index(row - 1)));
    }
    m_names->selectionModel()->select(selection, QItemSelectionModel::ClearAndSelect);
    m_syncingSelection = false;
    refreshCounts();
}

void EditorForm::rowsReplaced()
{
    // A reset forgets the highlight and the tags: put them back from the table.
    const int count = m_model->rowCount();
    if (count > 0) {
        const int row = std::clamp(m_position, 0, count - 1);
        m_syncingSelection = true;
        m_names->selectionModel()->setCurrentIndex(m_model->index(row), QItemSelectionModel::NoUpdate);
        m_syncingSelection = false;
    }
    applyTableSelection();
}

void EditorForm::runOperation(const std::function<void()>& operation)
{
    writeBackPending();
    if (m_animation->isOpen())
        m_animation->play();
    operation();
    m_animation->stop();
    Update_All_Controls();
}

bool EditorForm::runToolbarKey(const QString& key)
{
    const auto handler = m_keyHandlers.constFind(key);
    if (handler == m_keyHandlers.cend())
        return false;
    (this->*handler.value())();
    return true;
}

void EditorForm::mnuSaveWork_Click()
{
    Session& state = session();
    if (m_descriptionChanged) {
        Description_Update();
        m_descriptionChanged = false;
        state.ChangesMade = true;
    }
    if (!state.ChangesMade)
        return;
    // A list that could not be written stays marked changed, so closing still asks.
    if (SaveWork(state, m_table.entries(), m_origin))
        state.ChangesMade = false;
}

void EditorForm::mnuFileScan_Click()
{
    runOperation([this] { FileSearchForm::run(m_host, m_table); });
}

void EditorForm::mnuReadDIZ_Click()
{
    runOperation([this] { Kelvane::mnuReadDIZ_Click(session(), m_table); });
}

void EditorForm::mnuFileDate_Click()
{
    runOperation([this] { Kelvane::mnuFileDate_Click(session(), m_table); });
}

void EditorForm::mnuFileLength_Click()
{
    runOperation([this] { Kelvane::mnuFileLength_Click(session(), m_table); });
}

void EditorForm::mnuEraseFilesListOnly_Click()
{
    runOperation([this] { Kelvane::mnuEraseFilesListOnly_Click(session(), m_table); });
}

void EditorForm::mnuDeleteFiles_Click()
{
    runOperation([this] { Kelvane::mnuDeleteFiles_Click(session(), m_table); });
}

void EditorForm::mnuRemoveUploadBy_Click()
{
    runOperation([this] { Kelvane::mnuRemoveUploadBy_Click(session(), m_table); });
}

void EditorForm::mnuCleanDescriptions_Click()
{
    writeBackPending();
    DescriptionCleaner cleaner(session().codePage());
    const QString rules = m_host.settings().GetSetting(u"Kelvane Startup"_s, QString::fromUtf16(CleanRulesSetting));
    if (!rules.isEmpty()) {
        // A rules file that cannot be used stops the clean-up before any description changes.
        if (const std::optional<QString> error = cleaner.addLineRulesFile(pathFromUnicode(rules))) {
            session().port().messageBox({ u"Kelvane Alert Message!"_s, *error, Buttons::Ok, Icon::Information });
            return;
        }
    }
    runOperation([&] { Kelvane::mnuCleanDescriptions_Click(session(), m_table, cleaner); });
}

void EditorForm::mnuSelectAllFiles_Click()
{
    runOperation([this] { Kelvane::mnuSelectAllFiles_Click(m_table); });
}

void EditorForm::mnuNoSelectAllFiles_Click()
{
    runOperation([this] { Kelvane::mnuNoSelectAllFiles_Click(m_table); });
}

void EditorForm::mnuNotAvailable_Click()
{
    showNotAvailable(session());
}

void EditorForm::mnuSortFile_Click()
{
    writeBackPending();
    if (m_model->rowCount() == 0) {
        session().ShowAlert("NoFilesToSort");
        return;
    }
    m_sortView->exec();
    Update_All_Controls();
    if (m_model->rowCount() > 0)
        m_names->selectionModel()->setCurrentIndex(m_model->index(0), QItemSelectionModel::NoUpdate);
}

void EditorForm::mnuMoveFiles_Click()
{
    writeBackPending();
    if (nothingSelected(session(), m_table))
        return;
    if (m_moveChooser)
        return;
    window()->setFocus();
    if (QWidget* frame = parentWidget(); frame && frame->inherits("QMdiSubWindow"))
        frame->hide();
    else
        hide();
    m_host.setEditorToolbarsEnabled(false);
    setMenusEnabled(false);
    m_moveChooser = new MoveFileTitlesForm(m_host);
    connect(m_moveChooser, &MoveFileTitlesForm::moveAccepted, this, &EditorForm::moveAccepted);
    connect(m_moveChooser, &MoveFileTitlesForm::closed, this, &EditorForm::moveChooserClosed);
    m_moveChooser->showInFrame();
}

void EditorForm::moveAccepted()
{
    runOperation([this] { MoveFilesProgressForm::run(m_host, m_table); });
    if (m_moveChooser)
        m_moveChooser->unload();
}

void EditorForm::moveChooserClosed()
{
    m_host.setEditorToolbarsEnabled(true);
    setMenusEnabled(true);
    if (QWidget* frame = parentWidget(); frame && frame->inherits("QMdiSubWindow"))
        frame->show();
    show();
    Update_All_Controls();
    m_names->setFocus();
}

void EditorForm::stepHighlight(int delta)
{
    const int count = m_model->rowCount();
    if (count == 0)
        return;
    selectRow(std::clamp(currentRow() + delta, 0, count - 1));
}

void EditorForm::mnuDownOneFile_Click()
{
    stepHighlight(1);
}

void EditorForm::mnuUpOneFile_Click()
{
    stepHighlight(-1);
}

void EditorForm::mnuClose_Click()
{
    session().SwitchingAreas = false;
    if (QWidget* frame = parentWidget(); frame && frame->inherits("QMdiSubWindow"))
        frame->close();
    else
        close();
}

void EditorForm::closeEvent(QCloseEvent* event)
{
    // The question about unsaved work comes first, so that a save that did not happen (a
    // list the board changed meanwhile, kept; a full disk) leaves the editor open with the
    // work still in it instead of dropping it.
    if (!m_unloaded) {
        writeBackPending();
        Session& state = session();
        if (state.ChangesMade && state.ShowAlert("ChangesMade")) {
            if (!SaveWork(state, m_table.entries(), m_origin)) {
                event->ignore();
                return;
            }
        }
        state.ChangesMade = false;
    }
    Form_Unload();
    event->accept();
}

void EditorForm::Form_Unload()
{
    if (m_unloaded)
        return;
    m_unloaded = true;
    Session& state = session();
    try {
        writeBackPending();
        m_clock.stop();
        if (QStatusBar* bar = m_host.editorStatusBar()) {
            for (QLabel* pane : std::as_const(m_panes)) {
                bar->removeWidget(pane);
                delete pane;
            }
        }
        m_panes.clear();
        m_animation->stop();
        if (m_moveChooser)
            m_moveChooser->unload();
        m_host.editorClosed();
        unloadSortView();
        state.area.AreaNumber = 0;
    } catch (...) {
        state.ReportError("Unload_frmEditFileArea");
    }
    Q_EMIT unloaded();
}

void EditorForm::unloadSortView()
{
    Session& state = session();
    if (state.ChangesMade && state.ShowAlert("ChangesMade"))
        SaveWork(state, m_table.entries(), m_origin);
    state.ChangesMade = false;
    m_names->setModel(nullptr);
    m_table.reset({});
}

bool EditorForm::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == m_description && event->type() == QEvent::FocusOut) {
        // txtFileDescription_LostFocus
        writeBackPending();
    } else if (watched == m_description && event->type() == QEvent::KeyPress) {
        // Shift+Enter starts a new line like Enter: the box's line separator stands for a
        // lone LF kept from the list, never for a line the operator typed.
        auto* key = static_cast<QKeyEvent*>(event);
        if ((key->key() == Qt::Key_Return || key->key() == Qt::Key_Enter)
            && key->modifiers().testFlag(Qt::ShiftModifier) && !m_description->isReadOnly()) {
            m_description->textCursor().insertBlock();
            return true;
        }
    } else if (watched == m_names->viewport() && event->type() == QEvent::MouseButtonPress) {
        auto* mouse = static_cast<QMouseEvent*>(event);
        if (mouse->button() != Qt::LeftButton) {
            // lstFileNames_MouseDown: the right button neither moves the highlight nor
            // changes the tags; it opens File Operations where it was pressed.
            m_names->setFocus();
            if (mouse->button() == Qt::RightButton)
                m_operations->popup(mouse->globalPosition().toPoint());
            return true;
        }
    }
    return QWidget::eventFilter(watched, event);
}

} // namespace Kelvane
