#include "shell/AreaListForm.h"

#include "board/BasicText.h"
#include "board/Session.h"
#include "platform/CodePage.h"
#include "platform/SettingsStore.h"
#include "shell/FrameHost.h"
#include "shell/HelpMenu.h"

#include <QAbstractTableModel>
#include <QActionGroup>
#include <QCloseEvent>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QListView>
#include <QMdiSubWindow>
#include <QMenuBar>
#include <QPushButton>
#include <QStackedWidget>
#include <QStyle>
#include <QTreeView>
#include <QVBoxLayout>

#include <cmath>

using namespace Qt::StringLiterals;

namespace Kelvane {

namespace {

const QString StartupSection = u"Kelvane Startup"_s;
constexpr double TwipsPerInch = 1440.0;
constexpr double DefaultColumnWidths[2] = { 1440.0, 720.0 };
constexpr int LargeIconSize = 32;
constexpr int SmallIconSize = 16;

/// A number kept as text, read back as the board's tools write it; the fallback when absent
/// or not a number.
double readSingle(const SettingsStore& store, const QString& key, double fallback)
{
    bool ok = false;
    const double value = store.GetSetting(StartupSection, key).trimmed().toDouble(&ok);
    return ok && std::isfinite(value) ? value : fallback;
}

} // namespace

AreaListKeys AreaListKeys::fileAreaTitles()
{
    return { u"FileAreaTitleWindowState"_s, u"FileAreaTitle_View"_s, u"FileAreaTitle_Arrange"_s,
             u"FATF.ColumnHeaders(1).Width"_s, u"FATF.ColumnHeaders(2).Width"_s };
}

AreaListKeys AreaListKeys::moveFileTitles()
{
    return { u"MoveTitleWindowState"_s, u"MoveFileTitles_View"_s, u"MoveFileTitles_Arrange"_s,
             u"MFT.ColumnHeaders(1).Width"_s, u"MFT.ColumnHeaders(2).Width"_s };
}

/// The rows of a list of areas: row r is area r + 1, its title decoded from the board's code
/// page for the screen and kept as stored for the current area.
class AreaTitlesModel : public QAbstractTableModel
{
public:
    AreaTitlesModel(const QIcon& icon, QObject* parent)
        : QAbstractTableModel(parent)
        , m_icon(icon)
    {
    }

    void setRows(std::vector<std::string> bytes, const CodePage& page)
    {
        beginResetModel();
        m_bytes = std::move(bytes);
        m_titles.clear();
        for (const std::string& title : m_bytes)
            m_titles.append(page.toUnicode(title));
        endResetModel();
    }

    const QStringList& titles() const { return m_titles; }
    const std::string& bytes(int row) const { return m_bytes.at(static_cast<std::size_t>(row)); }

    int rowCount(const QModelIndex& parent = {}) const override
    {
        return parent.isValid() ? 0 : static_cast<int>(m_titles.size());
    }
    int columnCount(const QModelIndex& parent = {}) const override { return parent.isValid() ? 0 : 2; }

    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override
    {
        if (!index.isValid() || index.row() >= m_titles.size())
            return {};
        if (role == Qt::DisplayRole || role == Qt::ToolTipRole) {
            if (index.column() == 0)
                return m_titles.at(index.row());
            return QString::fromStdString(Str(index.row() + 1));
        }
        if (role == Qt::DecorationRole && index.column() == 0)
            return m_icon;
        return {};
    }

    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override
    {
        if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
            return {};
        return section == 0 ? u"File Area Names"_s : u"Record #"_s;
    }

    Qt::ItemFlags flags(const QModelIndex& index) const override
    {
        // Dragging lets the operator place large icons by hand when nothing arranges them.
        return QAbstractTableModel::flags(index) | Qt::ItemIsDragEnabled;
    }

private:
    QIcon m_icon;
    std::vector<std::string> m_bytes;
    QStringList m_titles;
};

AreaListForm::AreaListForm(FrameHost& host, const AreaListNames& names)
    : m_host(host)
    , m_names(names)
{
    setObjectName(names.form);
    setWindowTitle(names.caption);
    setAttribute(Qt::WA_DeleteOnClose);

    m_model = new AreaTitlesModel(QIcon::fromTheme(u"folder"_s, style()->standardIcon(QStyle::SP_DirIcon)), this);

    m_list = new QStackedWidget(this);
    m_list->setObjectName(names.list);
    m_icons = new QListView(m_list);
    m_icons->setObjectName(names.list + u"Icons"_s);
    m_icons->setModel(m_model);
    m_icons->setResizeMode(QListView::Adjust);
    m_icons->setUniformItemSizes(false);
    m_details = new QTreeView(m_list);
    m_details->setObjectName(names.list + u"Details"_s);
    m_details->setModel(m_model);
    m_details->setSelectionModel(m_icons->selectionModel());
    m_details->setRootIsDecorated(false);
    m_details->setItemsExpandable(false);
    m_details->setUniformRowHeights(true);
    m_details->setAllColumnsShowFocus(true);
    m_details->header()->setStretchLastSection(false);
    for (QAbstractItemView* view :
         { static_cast<QAbstractItemView*>(m_icons), static_cast<QAbstractItemView*>(m_details) }) {
        view->setSelectionMode(QAbstractItemView::SingleSelection);
        view->setSelectionBehavior(QAbstractItemView::SelectRows);
        view->setEditTriggers(QAbstractItemView::NoEditTriggers);
        connect(view, &QAbstractItemView::doubleClicked, this, &AreaListForm::rowDoubleClicked);
    }
    m_list->addWidget(m_icons);
    m_list->addWidget(m_details);

    m_cmdOK = new QPushButton(u"&OK"_s, this);
    m_cmdOK->setObjectName(u"cmdOK"_s);
    connect(m_cmdOK, &QPushButton::clicked, this, [this] { cmdOK_Click(); });
    m_cmdCancel = new QPushButton(u"&Cancel"_s, this);
    m_cmdCancel->setObjectName(u"cmdCancel"_s);
    connect(m_cmdCancel, &QPushButton::clicked, this, [this] { cmdCancel_Click(); });

    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(m_cmdOK);
    buttons->addWidget(m_cmdCancel);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_list, 1);
    layout->addLayout(buttons);
    buildMenus();
    applyView();
    resize(520, 380);
}

AreaListForm::~AreaListForm() = default;

void AreaListForm::buildMenus()
{
    auto* menuBar = new QMenuBar(this);
    menuBar->setNativeMenuBar(false);
    static_cast<QVBoxLayout*>(layout())->setMenuBar(menuBar);

    const auto addItem = [this](QMenu* menu, const QString& name, const QString& caption) {
        QAction* item = menu->addAction(caption);
        item->setObjectName(name);
        return item;
    };

    QMenu* file = menuBar->addMenu(u"&File"_s);
    file->setObjectName(u"mnuFile"_s);
    connect(addItem(file, u"mnuRefresh"_s, u"&Refresh"_s), &QAction::triggered, this, [this] { mnuRefresh_Click(); });
    file->addSeparator();
    connect(addItem(file, u"mnuClose"_s, u"&Close"_s), &QAction::triggered, this, [this] { cmdCancel_Click(); });

    QMenu* viewMenu = menuBar->addMenu(u"&View"_s);
    viewMenu->setObjectName(u"mnuView"_s);
    m_viewItems = new QActionGroup(this);
    const std::pair<const char16_t*, const char16_t*> views[] = {
        { u"mnuLargeIcons", u"Lar&ge Icons" },
        { u"mnuSmallIcons", u"S&mall Icons" },
        { u"mnuList", u"&List" },
        { u"mnuDetails", u"&Details" },
    };
    for (int value = 0; value < 4; ++value) {
        QAction* item
            = addItem(viewMenu, QString::fromUtf16(views[value].first), QString::fromUtf16(views[value].second));
        item->setCheckable(true);
        m_viewItems->addAction(item);
        connect(item, &QAction::triggered, this, [this, value] { setView(value); });
    }
    viewMenu->addSeparator();
    QMenu* arrange = viewMenu->addMenu(u"Arrange &Icons"_s);
    arrange->setObjectName(u"mnuArrange"_s);
    m_arrangeItems = new QActionGroup(this);
    const std::pair<const char16_t*, const char16_t*> arrangements[] = {
        { u"mnuArrangeNone", u"&None" },
        { u"mnuArrangeLeft", u"&Left" },
        { u"mnuArrangeTop", u"&Top" },
    };
    for (int value = 0; value < 3; ++value) {
        QAction* item = addItem(arrange, QString::fromUtf16(arrangements[value].first),
                                QString::fromUtf16(arrangements[value].second));
        item->setCheckable(true);
        m_arrangeItems->addAction(item);
        connect(item, &QAction::triggered, this, [this, value] { setArrangement(value); });
    }

    addHelpMenu(*menuBar, m_host);
}

Session& AreaListForm::session() const
{
    return m_host.session();
}

const std::string& AreaListForm::titleBytes(int row) const
{
    return m_model->bytes(row);
}

void AreaListForm::setView(int view)
{
    m_view = view >= LargeIcons && view <= Details ? view : LargeIcons;
    applyView();
    m_viewItems->actions().at(m_view)->setChecked(true);
}

void AreaListForm::setArrangement(int arrangement)
{
    m_arrangement = arrangement >= ArrangeNone && arrangement <= ArrangeTop ? arrangement : ArrangeNone;
    applyView();
    m_arrangeItems->actions().at(m_arrangement)->setChecked(true);
}

void AreaListForm::applyView()
{
    if (m_view == Details) {
        m_list->setCurrentWidget(m_details);
        return;
    }
    m_list->setCurrentWidget(m_icons);
    const bool large = m_view == LargeIcons;
    m_icons->setViewMode(large ? QListView::IconMode : QListView::ListMode);
    const int iconSize = large ? LargeIconSize : SmallIconSize;
    m_icons->setIconSize(QSize(iconSize, iconSize));
    // Titles wrap under a large icon only; beside a small icon a title keeps to one line.
    m_icons->setWordWrap(large);
    if (large) {
        const QFontMetrics metrics = m_icons->fontMetrics();
        m_icons->setGridSize(
            QSize(std::max(112, metrics.horizontalAdvance(u'M') * 9), LargeIconSize + 3 * metrics.lineSpacing() + 8));
    } else {
        m_icons->setGridSize(QSize());
    }
    m_icons->setWrapping(true);
    if (m_view == List) {
        // A list runs down its columns whatever the arrangement says.
        m_icons->setFlow(QListView::TopToBottom);
        m_icons->setMovement(QListView::Static);
        return;
    }
    // The arrangement of the icon views:
    //  none: rows across the window in area order, and large icons may be dragged anywhere by
    //        hand; nothing puts them back until another arrangement is chosen;
    //  left: columns down the left edge, top to bottom, then the next column to the right;
    //  top:  rows along the top edge, left to right, then the next row down.
    m_icons->setFlow(m_arrangement == ArrangeLeft ? QListView::TopToBottom : QListView::LeftToRight);
    m_icons->setMovement(large && m_arrangement == ArrangeNone ? QListView::Free : QListView::Static);
}

double AreaListForm::columnWidthTwips(int column) const
{
    return std::round(m_details->columnWidth(column) * TwipsPerInch / logicalDpiX());
}

void AreaListForm::setColumnWidthTwips(int column, double twips)
{
    m_details->setColumnWidth(column, std::max(0, qRound(twips * logicalDpiX() / TwipsPerInch)));
}

QWidget* AreaListForm::frameWindow() const
{
    if (auto* window = qobject_cast<QMdiSubWindow*>(parentWidget()))
        return window;
    return const_cast<AreaListForm*>(this);
}

int AreaListForm::windowStateCode() const
{
    const Qt::WindowStates state = frameWindow()->windowState();
    if (state & Qt::WindowMinimized)
        return Minimized;
    if (state & Qt::WindowMaximized)
        return Maximized;
    return Normal;
}

int AreaListForm::selectedRow() const
{
    const QModelIndexList rows = m_icons->selectionModel()->selectedIndexes();
    return rows.isEmpty() ? -1 : rows.first().row();
}

void AreaListForm::selectRow(int row)
{
    if (row < 0 || row >= m_model->rowCount())
        return;
    const QModelIndex index = m_model->index(row, 0);
    m_icons->selectionModel()->setCurrentIndex(index, QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
    m_icons->scrollTo(index);
    m_details->scrollTo(index);
}

QStringList AreaListForm::titles() const
{
    return m_model->titles();
}

void AreaListForm::saveSettings()
{
    SettingsStore& store = m_host.settings();
    const AreaListKeys& keys = m_names.keys;
    store.saveInt(StartupSection, keys.windowState, windowStateCode());
    store.saveInt(StartupSection, keys.view, m_view);
    store.saveInt(StartupSection, keys.arrange, m_arrangement);
    store.SaveSetting(StartupSection, keys.column1Width, QString::number(columnWidthTwips(0)));
    store.SaveSetting(StartupSection, keys.column2Width, QString::number(columnWidthTwips(1)));
}

void AreaListForm::loadForm()
{
    const SettingsStore& store = m_host.settings();
    const AreaListKeys& keys = m_names.keys;
    try {
        m_savedState = store.getInt(StartupSection, keys.windowState, Normal);
        setView(store.getInt(StartupSection, keys.view, LargeIcons));
        setArrangement(store.getInt(StartupSection, keys.arrange, ArrangeNone));
        setColumnWidthTwips(0, readSingle(store, keys.column1Width, DefaultColumnWidths[0]));
        setColumnWidthTwips(1, readSingle(store, keys.column2Width, DefaultColumnWidths[1]));
        readAreas();
    } catch (...) {
        session().ReportError(m_names.loadProcedure.toStdString());
    }
}

void AreaListForm::readAreas()
{
    Session& board = session();
    CurrentArea& area = board.area;
    AreaRecordSet& records = board.recordSet();
    records.OpenAreas(area.MainNodePath);
    const int count = records.AreaCount();
    std::vector<std::string> titles;
    titles.reserve(static_cast<std::size_t>(count));
    int number = 1;
    for (; number <= count; ++number) {
        records.SelectArea(number);
        titles.push_back(records.AreaTitle());
    }
    // The area chooser's loop runs on the shared area number, which therefore holds the
    // count + 1 until OK sets it; the rest of the program has always seen it so.
    if (m_names.loopsOnAreaNumber)
        area.AreaNumber = number;
    m_model->setRows(std::move(titles), board.codePage());
    records.CloseAreas();
    selectRow(0);
    m_cmdOK->setEnabled(m_model->rowCount() > 0);
}

void AreaListForm::mnuRefresh_Click()
{
    // Refresh reads the area records again, so areas the board added or retitled while the
    // form was open show without closing it.
    try {
        readAreas();
    } catch (...) {
        session().ReportError("mnuRefresh_Click");
    }
}

void AreaListForm::rowDoubleClicked(const QModelIndex& index)
{
    if (index.isValid() && m_cmdOK->isEnabled())
        cmdOK_Click();
}

void AreaListForm::showInFrame()
{
    m_host.addChildForm(this);
    QWidget* window = frameWindow();
    if (m_savedState == Maximized)
        window->showMaximized();
    else if (m_savedState == Minimized)
        window->showMinimized();
    else
        window->show();
    m_list->currentWidget()->setFocus();
}

void AreaListForm::unload()
{
    close();
}

void AreaListForm::hideForm()
{
    frameWindow()->hide();
}

void AreaListForm::keyPressEvent(QKeyEvent* event)
{
    switch (event->key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter: {
        // A focused button takes Enter for itself, as in a dialog; anywhere else it is OK.
        auto* button = qobject_cast<QPushButton*>(focusWidget());
        if (!button)
            button = m_cmdOK;
        if (button->isEnabled())
            button->click();
        event->accept();
        return;
    }
    case Qt::Key_Escape:
        m_cmdCancel->click();
        event->accept();
        return;
    default:
        QWidget::keyPressEvent(event);
    }
}

void AreaListForm::closeEvent(QCloseEvent* event)
{
    event->accept();
    if (m_unloaded)
        return;
    m_unloaded = true;
    formUnloaded();
    // Closed directly while the frame holds it in a window of its own: that window goes too
    // (when the window is what is closing, its second close returns at once).
    if (auto* window = qobject_cast<QMdiSubWindow*>(parentWidget()))
        window->close();
}

} // namespace Kelvane
