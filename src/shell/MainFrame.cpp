#include "shell/MainFrame.h"

#include "accessories/Accessories.h"
#include "accessories/HelpWindow.h"
#include "board/AreaRecords.h"
#include "board/CurrentArea.h"
#include "board/FilesList.h"
#include "board/Session.h"
#include "platform/CodePage.h"
#include "platform/FileNames.h"
#include "platform/SettingsStore.h"
#include "shell/EditorForm.h"
#include "shell/FileAreaTitlesForm.h"
#include "shell/HelpMenu.h"
#include "shell/CheckAreaForm.h"
#include "shell/FindFilesForm.h"
#include "shell/FindResultsModel.h"
#include "shell/MakeIndexForm.h"
#include "shell/OptionsForm.h"
#include "shell/QtPort.h"
#include "shell/ToolbarCustomizeDialog.h"

#include <QAction>
#include <QApplication>
#include <QCloseEvent>
#include <QComboBox>
#include <QDate>
#include <QLabel>
#include <QLocale>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMenuBar>
#include <QScreen>
#include <QStatusBar>
#include <QStyle>
#include <QToolBar>
#include <QVBoxLayout>
#include <QWidgetAction>

using namespace Qt::StringLiterals;

namespace Kelvane {

namespace {

const QString MainPathKey = u"Vandor Main Path"_s;
const QString EditorCaption = u"Editing File Area: "_s;
constexpr double DesignShare = 0.75; // the frame is designed at three quarters of the screen

QIcon themeIcon(const QString& name, QStyle::StandardPixmap fallback)
{
    return QIcon::fromTheme(name, QApplication::style()->standardIcon(fallback));
}

struct EditorButton
{
    const char16_t* theme;
    QStyle::StandardPixmap fallback;
    const char16_t* statusTip;
};

// The editor toolbar's look, by key; the keys and captions are the editor's.
EditorButton editorButton(const QString& key)
{
    static const QHash<QString, EditorButton> buttons {
        { u"Close"_s, { u"window-close", QStyle::SP_TitleBarCloseButton, u"Close this File Area" } },
        { u"DownOneFile"_s, { u"go-down", QStyle::SP_ArrowDown, u"Move to the next file" } },
        { u"UpOneFile"_s, { u"go-up", QStyle::SP_ArrowUp, u"Move to the previous file" } },
        { u"SelectAllFiles"_s, { u"edit-select-all", QStyle::SP_DialogApplyButton, u"Tag every file" } },
        { u"UnselectAllFiles"_s, { u"edit-clear", QStyle::SP_DialogNoButton, u"Untag every file" } },
        { u"SaveWork"_s, { u"document-save", QStyle::SP_DialogSaveButton, u"Save the Files List" } },
        { u"DeleteFiles"_s, { u"edit-delete", QStyle::SP_TrashIcon, u"Delete the tagged files from the File Area" } },
        { u"EraseFilesListsOnly"_s,
          { u"list-remove", QStyle::SP_DialogResetButton, u"Erase the tagged entries from the Files List only" } },
        { u"FileScan"_s,
          { u"system-search", QStyle::SP_FileDialogContentsView, u"Look for new files in the File Area" } },
        { u"FileDate"_s,
          { u"x-office-calendar", QStyle::SP_FileDialogInfoView, u"Take the tagged entries' dates from their files" } },
        { u"FileLength"_s,
          { u"document-properties", QStyle::SP_FileDialogDetailedView,
            u"Take the tagged entries' sizes from their files" } },
        { u"MoveFiles"_s, { u"go-jump", QStyle::SP_DirLinkIcon, u"Move the tagged files to another File Area" } },
        { u"ReadDiz"_s,
          { u"document-open", QStyle::SP_FileIcon, u"Take descriptions from the archives' FILE_ID.DIZ" } },
        { u"RemoveUploadedBy"_s,
          { u"edit-cut", QStyle::SP_LineEditClearButton,
            u"Cut the \"Uploaded By\" lines from the tagged descriptions" } },
        { u"SortFiles"_s,
          { u"view-sort-ascending", QStyle::SP_ToolBarVerticalExtensionButton, u"Sort the Files List" } },
    };
    return buttons.value(key, { u"", QStyle::SP_FileIcon, u"" });
}

int pixelsToTwips(int pixels, int dotsPerInch)
{
    return pixels * 1440 / dotsPerInch;
}

int twipsToPixels(double twips, int dotsPerInch)
{
    return static_cast<int>(twips * dotsPerInch / 1440.0);
}

} // namespace

MainFrame::MainFrame(Session& session, QtPort& port, SettingsStore& settings)
    : m_session(session)
    , m_port(port)
    , m_settings(settings)
{
    setObjectName(u"MainFrame"_s);
    setWindowTitle(u"Kelvane"_s);
    setWindowIcon(themeIcon(u"system-file-manager"_s, QStyle::SP_DirIcon));
    m_port.setDialogParent(this);
    m_port.setHelpHandler([this](int context) {
        if (openHelp())
            HelpWindow::instance().showContext(context);
    });

    m_mdiArea = new QMdiArea(this);
    m_mdiArea->setObjectName(u"mdiArea"_s);
    auto* central = new QWidget(this);
    auto* layout = new QVBoxLayout(central);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(m_mdiArea, 1);
    m_statusBar2 = new QStatusBar(central);
    m_statusBar2->setObjectName(u"sbStatusBar2"_s);
    m_statusBar2->setSizeGripEnabled(false);
    layout->addWidget(m_statusBar2);
    setCentralWidget(central);

    buildMenus();
    buildToolBars();
    buildStatusBars();
    Load_MDIForm();
}

MainFrame::~MainFrame()
{
    if (!m_shutDown) {
        // A frame destroyed without closing (a test's end) still lets its editor unload.
        if (m_editor)
            delete m_editor;
    }
    m_port.setDialogParent(nullptr);
}

void MainFrame::buildMenus()
{
    const auto action = [this](QMenu* menu, const QString& name, const QString& caption, auto handler) {
        auto* item = menu->addAction(caption);
        item->setObjectName(name);
        connect(item, &QAction::triggered, this, handler);
        return item;
    };
    QMenu* file = menuBar()->addMenu(tr("&File"));
    file->setObjectName(u"mnuFile"_s);
    m_openFileAreas = action(file, u"mnuOpenFileAreas"_s, tr("&Open File Areas"), &MainFrame::mnuOpenFileAreas_Click);
    m_openFileAreas->setShortcut(QKeySequence::Open);
    file->addSeparator();
    QAction* exit = action(file, u"mnuExit"_s, tr("E&xit"), &MainFrame::mnuExit_Click);
    exit->setShortcut(QKeySequence::Quit);

    QMenu* view = menuBar()->addMenu(tr("&View"));
    view->setObjectName(u"mnuView"_s);
    m_viewMenu = view->menuAction();
    m_viewToolbar = view->addAction(tr("&Toolbar"));
    m_viewToolbar->setObjectName(u"mnuViewToolbar"_s);
    m_viewToolbar->setCheckable(true);
    m_viewToolbar->setChecked(true);
    m_viewStatusBar = view->addAction(tr("Status &Bar"));
    m_viewStatusBar->setObjectName(u"mnuViewStatusBar"_s);
    m_viewStatusBar->setCheckable(true);
    m_viewStatusBar->setChecked(true);
    view->addSeparator();
    action(view, u"mnuViewOptions"_s, tr("&Options..."), &MainFrame::mnuViewOptions_Click);

    buildToolsMenu();

    QMenu* help = addHelpMenu(*menuBar(), *this);
    m_helpMenu = help->menuAction();
    // F1 belongs to the frame's item only: the same key on a child form's item would make
    // the shortcut ambiguous.
    help->findChild<QAction*>(u"mnuHelpContents"_s)->setShortcut(QKeySequence::HelpContents);
}

// The board-wide tools work with or without an area open, so their menu stays in the menu
// bar in every state, after the editor's menus while they are installed.
void MainFrame::buildToolsMenu()
{
    struct Tool
    {
        const char16_t* name;
        const char* caption;
        QKeySequence shortcut;
        void (MainFrame::*handler)();
    };
    const Tool tools[] = {
        { u"mnuFindFiles", QT_TR_NOOP("&Find Files..."), QKeySequence(Qt::CTRL | Qt::Key_F),
          &MainFrame::mnuFindFiles_Click },
        { u"mnuCheckArea", QT_TR_NOOP("&Check Area..."), QKeySequence(), &MainFrame::mnuCheckArea_Click },
    };
    QMenu* menu = menuBar()->addMenu(tr("&Tools"));
    menu->setObjectName(u"mnuTools"_s);
    m_toolsMenu = menu->menuAction();
    for (const Tool& tool : tools) {
        QAction* item = menu->addAction(tr(tool.caption));
        item->setObjectName(QString::fromUtf16(tool.name));
        item->setShortcut(tool.shortcut);
        connect(item, &QAction::triggered, this, tool.handler);
    }
    if (auto* checkArea = menu->findChild<QAction*>(u"mnuCheckArea"_s))
        checkArea->setEnabled(false); // until an area is open
    // Clean Descriptions works on the editor's tagged entries.
    m_cleanDescriptions = menu->addAction(tr("C&lean Descriptions"));
    m_cleanDescriptions->setObjectName(u"mnuCleanDescriptions"_s);
    m_cleanDescriptions->setEnabled(false);
    connect(m_cleanDescriptions, &QAction::triggered, this, &MainFrame::mnuCleanDescriptions_Click);
}

void MainFrame::buildToolBars()
{
    m_toolBar1 = addToolBar(tr("Main"));
    m_toolBar1->setObjectName(u"tbToolBar1"_s);
    m_toolBar1->setToolButtonStyle(Qt::ToolButtonTextUnderIcon);
    m_openFileAreasButton
        = m_toolBar1->addAction(themeIcon(u"folder-open"_s, QStyle::SP_DirOpenIcon), tr("Open File Areas"));
    m_openFileAreasButton->setObjectName(u"OpenFileAreas"_s);
    m_openFileAreasButton->setStatusTip(tr("Choose a File Area to edit"));
    connect(m_openFileAreasButton, &QAction::triggered, this, &MainFrame::mnuOpenFileAreas_Click);
    QAction* exit = m_toolBar1->addAction(themeIcon(u"application-exit"_s, QStyle::SP_DialogCloseButton), tr("Exit"));
    exit->setObjectName(u"Exit"_s);
    connect(exit, &QAction::triggered, this, &MainFrame::mnuExit_Click);
    connect(m_viewToolbar, &QAction::toggled, m_toolBar1, &QToolBar::setVisible);

    m_toolBar2 = addToolBar(tr("Editor"));
    m_toolBar2->setObjectName(u"tbToolBar2"_s);
    for (const auto& [key, caption] : EditorForm::toolbarKeys()) {
        const EditorButton look = editorButton(key);
        QAction* button = m_toolBar2->addAction(themeIcon(QString::fromUtf16(look.theme), look.fallback), caption);
        button->setObjectName(key);
        button->setToolTip(caption);
        button->setStatusTip(QString::fromUtf16(look.statusTip));
    }
    connect(m_toolBar2, &QToolBar::actionTriggered, this, &MainFrame::tbToolBar2_ButtonClick);
    // A double click on the toolbar opens its customize dialog.
    m_toolBar2->installEventFilter(this);

    // The area box and its Switch button sit on a row of their own, so that both stay in
    // view beside the fifteen editor buttons in a narrow frame.
    addToolBarBreak();
    m_toolBar3 = addToolBar(tr("File Area"));
    m_toolBar3->setObjectName(u"tbToolBar3"_s);
    m_areaBox = new QComboBox(m_toolBar3);
    m_areaBox->setObjectName(u"cboToolbar3"_s);
    m_areaBox->setToolTip(u"Allows selection of a new File Area."_s);
    m_areaBox->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    m_areaBox->setMinimumContentsLength(30);
    auto* placeholder = new QWidgetAction(m_toolBar3);
    placeholder->setObjectName(u"cboToolBar3"_s);
    placeholder->setDefaultWidget(m_areaBox);
    m_toolBar3->addAction(placeholder);
    QAction* switchArea = m_toolBar3->addAction(themeIcon(u"view-refresh"_s, QStyle::SP_BrowserReload), tr("&Switch"));
    switchArea->setObjectName(u"SwitchArea"_s);
    switchArea->setToolTip(tr("Open the File Area chosen in the box"));
    // Any button of the toolbar starts the switch; choosing in the box alone does not, so
    // that browsing the box with the arrow keys never closes the open area.
    connect(m_toolBar3, &QToolBar::actionTriggered, this, [this](QAction* button) {
        if (button->objectName() != u"cboToolBar3")
            tbToolBar3_ButtonClick();
    });
}

void MainFrame::buildStatusBars()
{
    m_statusBar1 = statusBar();
    m_statusBar1->setObjectName(u"sbStatusBar1"_s);
    m_statusPane1 = new QLabel(m_statusBar1);
    m_statusPane1->setObjectName(u"sbStatusBar1Pane1"_s);
    m_statusBar1->addWidget(m_statusPane1, 1);
    m_datePane = new QLabel(m_statusBar1);
    m_datePane->setObjectName(u"sbStatusBar1Date"_s);
    m_statusBar1->addPermanentWidget(m_datePane);
    connect(m_viewStatusBar, &QAction::toggled, m_statusBar1, &QStatusBar::setVisible);
}

void MainFrame::Load_Status_Bar1()
{
    try {
        m_datePane->setText(QLocale().toString(QDate::currentDate(), QLocale::LongFormat));
    } catch (...) {
        m_session.ReportError("Load_Status_Bar1");
    }
}

QRect MainFrame::defaultPlacement() const
{
    const QScreen* screen = this->screen() ? this->screen() : QGuiApplication::primaryScreen();
    const QRect available = screen ? screen->availableGeometry() : QRect(0, 0, 1024, 768);
    const QSize size(static_cast<int>(available.width() * DesignShare),
                     static_cast<int>(available.height() * DesignShare));
    return QRect(available.topLeft()
                     + QPoint((available.width() - size.width()) / 2, (available.height() - size.height()) / 2),
                 size);
}

void MainFrame::Load_MDIForm()
{
    try {
        m_session.area.MainNodePath = pathFromUnicode(m_settings.GetSetting(VandorStartup, MainPathKey));
        // Placement in twips, each default worked out from the design size at this moment.
        const int dotsPerInch = logicalDpiX();
        const QRect defaults = defaultPlacement();
        const auto twips = [&](const QString& key, int pixels) {
            bool ok = false;
            const double value = m_settings.GetSetting(KelvaneStartup, key).toDouble(&ok);
            return ok ? twipsToPixels(value, dotsPerInch) : pixels;
        };
        setGeometry(twips(u"MainLeft"_s, defaults.left()), twips(u"MainTop"_s, defaults.top()),
                    twips(u"MainWidth"_s, defaults.width()), twips(u"MainHeight"_s, defaults.height()));
        m_statusBar2->hide();
        m_toolBar2->hide();
        m_toolBar3->hide();
        Load_Status_Bar1();
        m_toolBar1->setToolButtonStyle(Qt::ToolButtonTextUnderIcon);
        m_makeIndex = std::make_unique<MakeIndexForm>(*this);
        m_session.IndexPending = false;
    } catch (...) {
        m_session.ReportError("Load_MDIForm");
    }
}

void MainFrame::showAsSaved()
{
    switch (m_settings.getInt(KelvaneStartup, u"MainWindowState"_s, 0)) {
    case MainWindowState::Minimized:
        showMinimized();
        break;
    case MainWindowState::Maximized:
        showMaximized();
        break;
    default:
        show();
    }
}

void MainFrame::addChildForm(QWidget* form)
{
    QMdiSubWindow* window = m_mdiArea->addSubWindow(form);
    window->setAttribute(Qt::WA_DeleteOnClose);
    window->setWindowIcon(form->windowIcon());
    window->show();
    form->show();
}

void MainFrame::setStatusText(const QString& text)
{
    m_statusPane1->setText(text);
}

void MainFrame::setOpenFileAreasEnabled(bool enabled)
{
    m_chooserOpen = !enabled;
    updateOpenFileAreas();
}

// Open File Areas is there only with no area open and no chooser: a second chooser or a
// second editor would leave two sets of entries in one process, and one of them saved over
// the other's list.
void MainFrame::updateOpenFileAreas()
{
    const bool enabled = !m_chooserOpen && !m_editor;
    m_openFileAreas->setEnabled(enabled);
    m_openFileAreasButton->setEnabled(enabled);
    // Check Area works on the open area's entries.
    if (auto* checkArea = findChild<QAction*>(u"mnuCheckArea"_s))
        checkArea->setEnabled(m_editor != nullptr);
}

void MainFrame::mnuOpenFileAreas_Click()
{
    if (m_chooserOpen || m_editor)
        return;
    try {
        if (!boardReachable())
            return;
        BusyPointer busy(m_port);
        setStatusText(u"Loading File Area Folders, Please wait..."_s);
        setOpenFileAreasEnabled(false);
        auto* chooser = new FileAreaTitlesForm(*this);
        chooser->showInFrame();
        setStatusText(chooser->titles().value(chooser->selectedRow()));
        if (auto* ok = chooser->findChild<QWidget*>(u"cmdOK"_s))
            ok->setFocus();
    } catch (...) {
        m_session.ReportError("mnuOpenFileAreas_Click");
    }
}

// The main node path and the board's area records, checked before a form that lists the
// areas opens; each missing piece is its alert.
bool MainFrame::boardReachable()
{
    const QString mainNode = unicodeFromPath(m_session.area.MainNodePath);
    if (mainNode.isEmpty()) {
        m_session.ShowAlert("NoPath");
        return false;
    }
    if (mainNode.size() <= 3) {
        m_session.ShowAlert("InValidPath");
        return false;
    }
    if (!findFareaFile(m_session.area.MainNodePath)) {
        m_session.ShowAlert("NoFareaDatFile");
        return false;
    }
    return true;
}

void MainFrame::mnuCleanDescriptions_Click()
{
    if (m_editor)
        m_editor->mnuCleanDescriptions_Click();
}

void MainFrame::mnuFindFiles_Click()
{
    try {
        if (!m_findFiles) {
            if (!boardReachable())
                return;
            m_findFiles = new FindFilesForm(*this, this);
            m_findFiles->loadAreas();
        }
        m_findFiles->show();
        m_findFiles->raise();
        m_findFiles->activateWindow();
    } catch (...) {
        m_session.ReportError("mnuFindFiles_Click");
    }
}

void MainFrame::mnuCheckArea_Click()
{
    if (!m_editor)
        return;
    try {
        if (!m_checkArea) {
            EditorForm* editor = m_editor;
            m_checkArea = new CheckAreaForm(*this, editor->table(), [editor] { editor->Update_All_Controls(); }, this);
            m_checkArea->refreshReport();
        }
        m_checkArea->show();
        m_checkArea->raise();
        m_checkArea->activateWindow();
    } catch (...) {
        m_session.ReportError("mnuCheckArea_Click");
    }
}

bool MainFrame::openAreaAtEntry(int areaNumber, std::size_t index, const std::string& name)
{
    BusyPointer busy(m_port);
    try {
        if (m_editor && m_session.area.AreaNumber != areaNumber && !closeEditorForSwitch())
            return false;
        if (!m_editor && !openArea(areaNumber)) {
            showNoAreaState();
            return false;
        }
        raise();
        activateWindow();
        if (const int row = entryRow(m_editor->table().entries(), index, name); row >= 0)
            m_editor->selectRow(row);
        return true;
    } catch (...) {
        m_switching = false;
        m_session.ReportError("openAreaAtEntry");
        return false;
    }
}

void MainFrame::fillAreaBox(const QStringList& rows, int chosen)
{
    const QSignalBlocker blocker(m_areaBox);
    m_areaBox->clear();
    m_areaBox->addItems(rows);
    m_areaBox->setCurrentIndex(chosen);
}

bool MainFrame::openChosenArea(const QString& title)
{
    if (m_editor)
        return false; // one editor at a time: the open one keeps its area
    if (Farea_Dat_Initialize(m_session) && openEditor(title))
        return true;
    showNoAreaState();
    m_session.area.AreaNumber = 0;
    return false;
}

bool MainFrame::openArea(int areaNumber)
{
    if (m_editor)
        return false;
    try {
        AreaRecordSet& records = m_session.recordSet();
        records.OpenAreas(m_session.area.MainNodePath);
        QStringList rows;
        for (int number = 1; number <= records.AreaCount(); ++number) {
            records.SelectArea(number);
            rows.append(m_session.codePage().toUnicode(records.AreaTitle()));
        }
        records.CloseAreas();
        if (areaNumber < 1 || areaNumber > rows.size())
            return false;
        fillAreaBox(rows, areaNumber - 1);
        m_session.area.AreaNumber = areaNumber;
        return openChosenArea(rows.at(areaNumber - 1));
    } catch (...) {
        m_session.ReportError("frmFileAreaTitles_cmdOk");
        return false;
    }
}

bool MainFrame::openEditor(const QString& title)
{
    BusyPointer busy(m_port);
    setStatusText(u"Loading "_s + title + u", Please wait..."_s);
    EntryList entries;
    Load_fEditFileArealsv(m_session, entries);
    auto* editor = new EditorForm(*this, std::move(entries));
    m_editor = editor;
    updateOpenFileAreas();
    QMdiSubWindow* window = m_mdiArea->addSubWindow(editor);
    window->setAttribute(Qt::WA_DeleteOnClose);
    editor->Form_Load();
    editor->setWindowTitle(EditorCaption + title);
    m_toolBar1->hide();
    m_toolBar2->show();
    m_toolBar3->show();
    // The editor's own status bar stands in for the frame's while an area is open.
    m_statusBar1->hide();
    m_statusBar2->show();
    installEditorMenus(true);
    window->showMaximized();
    editor->selectRow(0);
    editor->setFocus();
    setStatusText({});
    return true;
}

void MainFrame::installEditorMenus(bool installed)
{
    for (QAction* menu : std::as_const(m_editorMenus))
        menuBar()->removeAction(menu);
    m_editorMenus.clear();
    // While an area is open the editor's menus stand in for the frame's View menu, as a
    // child form's menus do in a frame.
    m_viewMenu->setVisible(!installed);
    m_cleanDescriptions->setEnabled(installed && m_editor);
    if (!installed || !m_editor)
        return;
    for (QMenu* menu : m_editor->menus()) {
        menuBar()->insertAction(m_toolsMenu, menu->menuAction());
        m_editorMenus.append(menu->menuAction());
    }
}

void MainFrame::showNoAreaState()
{
    m_toolBar2->hide();
    m_toolBar3->hide();
    m_viewToolbar->setChecked(true);
    m_toolBar1->show();
    m_viewStatusBar->setChecked(true);
    m_statusBar1->show();
    m_statusBar2->hide();
}

void MainFrame::editorClosed()
{
    // The check window holds the editor's entries: it cannot outlive them.
    delete m_checkArea;
    installEditorMenus(false);
    m_editor = nullptr;
    updateOpenFileAreas();
    if (!m_switching)
        showNoAreaState();
}

bool MainFrame::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == m_toolBar2 && event->type() == QEvent::MouseButtonDblClick) {
        ToolbarCustomizeDialog customize(m_toolBar2, this);
        customize.exec();
        return true;
    }
    return QMainWindow::eventFilter(watched, event);
}

void MainFrame::tbToolBar2_ButtonClick(QAction* button)
{
    if (m_editor)
        m_editor->runToolbarKey(button->objectName());
}

void MainFrame::tbToolBar3_ButtonClick()
{
    BusyPointer busy(m_port);
    try {
        if (!closeEditorForSwitch())
            return;
        m_session.area.AreaNumber = m_areaBox->currentIndex() + 1;
        if (Farea_Dat_Initialize(m_session) && openEditor(m_areaBox->currentText()))
            return;
        showNoAreaState();
        m_session.area.AreaNumber = 0;
        m_areaBox->clear();
    } catch (...) {
        m_switching = false;
        m_session.ReportError("Unload_frmEditFileArea");
    }
}

// Unloads the open editor for a switch, whatever it asks about unsaved work included; false
// when it stayed open because its work could not be saved, and the switch is off.
bool MainFrame::closeEditorForSwitch()
{
    m_session.SwitchingAreas = true;
    m_switching = true;
    if (m_editor) {
        if (QWidget* window = m_editor->parentWidget())
            window->close();
    }
    m_switching = false;
    if (!m_editor)
        return true;
    m_session.SwitchingAreas = false;
    const QSignalBlocker blocker(m_areaBox);
    m_areaBox->setCurrentIndex(m_session.area.AreaNumber - 1);
    return false;
}

void MainFrame::setEditorToolbarsEnabled(bool enabled)
{
    m_toolBar2->setEnabled(enabled);
    m_toolBar3->setEnabled(enabled);
}

void MainFrame::setToolBarShown(bool shown)
{
    m_toolBar2->setVisible(shown);
}

void MainFrame::setStatusBarShown(bool shown)
{
    m_statusBar2->setVisible(shown);
}

void MainFrame::resetPlacement()
{
    showNormal();
    setGeometry(defaultPlacement());
}

void MainFrame::savePlacement()
{
    if (isMaximized() || isMinimized())
        return;
    const int dotsPerInch = logicalDpiX();
    const QRect placement = geometry();
    m_settings.saveInt(KelvaneStartup, u"MainLeft"_s, pixelsToTwips(placement.left(), dotsPerInch));
    m_settings.saveInt(KelvaneStartup, u"MainTop"_s, pixelsToTwips(placement.top(), dotsPerInch));
    m_settings.saveInt(KelvaneStartup, u"MainWidth"_s, pixelsToTwips(placement.width(), dotsPerInch));
    m_settings.saveInt(KelvaneStartup, u"MainHeight"_s, pixelsToTwips(placement.height(), dotsPerInch));
}

bool MainFrame::openHelp()
{
    HelpWindow& help = HelpWindow::instance();
    const std::optional<std::filesystem::path> file
        = findEntry(m_session.programDirectory(), HelpWindow::fileName(), EntryKind::File);
    if (file && help.open(unicodeFromPath(*file)))
        return true;
    help.close();
    m_session.port().messageBox({ u"Kelvane"_s,
                                  u"Unable to display Help Contents. There is no Help associated with this project."_s,
                                  Buttons::Ok, Icon::Information });
    return false;
}

void MainFrame::showHelpTopic(const QString& topic)
{
    if (!openHelp())
        return;
    if (topic.isEmpty())
        HelpWindow::instance().showContents();
    else
        HelpWindow::instance().showTopic(topic);
}

void MainFrame::showHelpSearch()
{
    if (openHelp())
        HelpWindow::instance().showSearch();
}

void MainFrame::showAbout()
{
    AboutBox box(this);
    box.exec();
}

void MainFrame::showTechSupport()
{
    TechSupportBox box(this);
    box.exec();
}

void MainFrame::mnuViewOptions_Click()
{
    OptionsForm options(*this);
    options.exec();
}

void MainFrame::mnuExit_Click()
{
    close();
}

void MainFrame::closeEvent(QCloseEvent* event)
{
    if (m_shutDown || MDIForm_Unload()) {
        event->accept();
        return;
    }
    event->ignore();
}

bool MainFrame::MDIForm_Unload()
{
    // The child forms go first: the editor's question about unsaved work comes before the
    // Make Index question. A Find window in the middle of a search stops it before its next
    // area; the program goes on closing once that window is gone.
    if (m_findFiles && !m_findFiles->close()) {
        connect(m_findFiles.data(), &QObject::destroyed, this, &MainFrame::close,
                Qt::ConnectionType(Qt::QueuedConnection | Qt::UniqueConnection));
        return false;
    }
    if (m_editor) {
        if (QWidget* window = m_editor->parentWidget())
            window->close();
        if (m_editor)
            return false; // its work could not be saved: the program stays
    }
    m_mdiArea->closeAllSubWindows();
    try {
        if (m_session.IndexPending && m_session.ShowAlert("MakeIndex"))
            m_makeIndex->run();
        m_makeIndex.reset();
        m_settings.SaveSetting(VandorStartup, MainPathKey, unicodeFromPath(m_session.area.MainNodePath));
        savePlacement();
        m_settings.sync();
        m_session.recordSet().CloseAreas();
    } catch (...) {
        m_session.ReportError("MDIForm_Unload");
    }
    m_shutDown = true;
    return true;
}

} // namespace Kelvane
