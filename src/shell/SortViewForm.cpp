#include "shell/SortViewForm.h"

#include "board/Session.h"
#include "platform/CodePage.h"
#include "shell/FrameHost.h"
#include "shell/SortTableModel.h"
#include "sortmove/SortView.h"

#include <QAction>
#include <QContextMenuEvent>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QPushButton>
#include <QStatusBar>
#include <QTableView>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace Kelvane {

SortViewForm::SortViewForm(FrameHost& host, EntryTable& table)
    : QDialog(host.frameWindow())
    , m_host(host)
    , m_table(table)
{
    Session& session = m_host.session();
    setObjectName(u"frmEditFileArealsv"_s);
    setModal(true);
    m_host.setStatusText(u"Loading "_s + session.codePage().toUnicode(session.area.AreaTitle) + u", Please wait..."_s);
    m_sort = std::make_unique<SortView>(session, m_table);
    m_model = new SortTableModel(m_table, session.codePage(), this);
    buildMenus();
    buildControls();
    m_model->rearrange([this] { return &m_sort->shownOrder(); });
    showStatus();
    m_table.addObserver(this);
    resize(640, 420);
}

SortViewForm::~SortViewForm()
{
    m_table.removeObserver(this);
}

void SortViewForm::buildMenus()
{
    auto* bar = new QMenuBar(this);
    bar->setObjectName(u"mnuBar"_s);
    m_fileMenu = bar->addMenu(u"&File"_s);
    m_fileMenu->setObjectName(u"mnuFile"_s);
    m_fileMenu->menuAction()->setObjectName(u"mnuFile"_s);
    QMenu* sortBy = m_fileMenu->addMenu(u"Sort by"_s);
    sortBy->setObjectName(u"mnuSortby"_s);
    sortBy->menuAction()->setObjectName(u"mnuSortby"_s);
    const struct
    {
        const char16_t* name;
        const char16_t* caption;
        int column;
    } sorts[] = {
        { u"mnuFileName", u"File &Name", SortView::FileName },
        { u"mnuFileSize", u"File &Size", SortView::Size },
        { u"mnuFileDate", u"File &Date", SortView::Date },
    };
    for (const auto& sort : sorts) {
        QAction* action = sortBy->addAction(QString::fromUtf16(sort.caption));
        action->setObjectName(QString::fromUtf16(sort.name));
        const int column = sort.column;
        connect(action, &QAction::triggered, this, [this, column] { lsvEditFileArea_ColumnClick(column); });
    }
    m_fileMenu->addSeparator()->setObjectName(u"mnulsvSeperator1"_s);
    QAction* close = m_fileMenu->addAction(u"&Close"_s);
    close->setObjectName(u"mnuClose"_s);
    connect(close, &QAction::triggered, this, &SortViewForm::reject);

    QMenu* help = bar->addMenu(u"&Help"_s);
    help->setObjectName(u"mnuHelp"_s);
    help->menuAction()->setObjectName(u"mnuHelp"_s);
    QAction* about = help->addAction(u"&About Kelvane"_s);
    about->setObjectName(u"mnuHelpAbout"_s);
    connect(about, &QAction::triggered, this, [this] { m_host.showAbout(); });

    // The view's help topic: F1 anywhere on it.
    auto* topic = new QAction(this);
    topic->setObjectName(u"SmartHelp1"_s);
    topic->setShortcut(QKeySequence(Qt::Key_F1));
    topic->setShortcutContext(Qt::WindowShortcut);
    connect(topic, &QAction::triggered, this, [this] { m_host.showHelpTopic(u"Sorting"_s); });
    addAction(topic);

    auto* layout = new QVBoxLayout(this);
    layout->setMenuBar(bar);
}

void SortViewForm::buildControls()
{
    m_view = new QTableView(this);
    m_view->setObjectName(u"lsvEditFileArea"_s);
    m_view->setModel(m_model);
    m_view->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_view->setSelectionMode(QAbstractItemView::SingleSelection);
    m_view->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_view->setWordWrap(false);
    m_view->setShowGrid(false);
    m_view->setSortingEnabled(false); // the heading's click sorts, by the rules of the sort
    QHeaderView* rows = m_view->verticalHeader();
    rows->hide();
    rows->setSectionResizeMode(QHeaderView::Fixed);
    rows->setDefaultSectionSize(m_view->fontMetrics().height() + 6);
    QHeaderView* columns = m_view->horizontalHeader();
    columns->setSectionsClickable(true);
    columns->setHighlightSections(false);
    columns->setStretchLastSection(true);
    const int average = m_view->fontMetrics().averageCharWidth();
    columns->resizeSection(SortTableModel::FileName, average * 16);
    columns->resizeSection(SortTableModel::Size, average * 12);
    columns->resizeSection(SortTableModel::Date, average * 11);
    connect(columns, &QHeaderView::sectionClicked, this, &SortViewForm::lsvEditFileArea_ColumnClick);

    m_close = new QPushButton(u"&Close"_s, this);
    m_close->setObjectName(u"cmdClose"_s);
    connect(m_close, &QPushButton::clicked, this, &SortViewForm::reject);

    m_statusBar = new QStatusBar(this);
    m_statusBar->setObjectName(u"sbStatBarSort"_s);
    m_statusBar->setSizeGripEnabled(false);
    m_statusPane = new QLabel(m_statusBar);
    m_statusPane->setObjectName(u"sbStatBarSortPane1"_s);
    m_statusBar->addWidget(m_statusPane, 1);

    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(m_close);
    auto* layout = static_cast<QVBoxLayout*>(this->layout());
    layout->addWidget(m_view, 1);
    layout->addLayout(buttons);
    layout->addWidget(m_statusBar);
}

void SortViewForm::lsvEditFileArea_ColumnClick(int column)
{
    m_view->setCursor(Qt::BusyCursor);
    m_model->rearrange([this, column] {
        m_sort->columnClick(column);
        return &m_sort->shownOrder();
    });
    showStatus();
    m_view->unsetCursor();
}

void SortViewForm::reject()
{
    if (isVisible()) {
        Session& session = m_host.session();
        BusyPointer busy(session.port());
        m_view->hide();
        m_writingBack = true;
        m_model->rearrange([this] {
            m_sort->writeBack();
            return &m_sort->shownOrder();
        });
        m_writingBack = false;
        showStatus();
    }
    QDialog::reject();
}

void SortViewForm::showEvent(QShowEvent* event)
{
    followTable();
    const Session& session = m_host.session();
    setWindowTitle(u"Sort File Area: "_s + session.codePage().toUnicode(session.area.AreaTitle));
    m_view->show();
    showStatus();
    QDialog::showEvent(event);
}

void SortViewForm::contextMenuEvent(QContextMenuEvent* event)
{
    // The right button on the form, its table included, opens the File menu where it is.
    m_fileMenu->popup(event->globalPos());
    event->accept();
}

void SortViewForm::followTable()
{
    if (!m_stale && m_sort->shownOrder().size() == m_table.size())
        return;
    // The entries changed since the last opening: the shown order follows them, in text
    // order still when a name sort left the text-sort mode on.
    m_model->rearrange([this] {
        m_sort->resync();
        return &m_sort->shownOrder();
    });
    m_stale = false;
}

void SortViewForm::entriesReset()
{
    if (m_writingBack)
        return;
    m_stale = true;
    if (isVisible())
        followTable();
}

void SortViewForm::entriesChanged(std::size_t first, std::size_t last)
{
    (void)first;
    (void)last;
    if (isVisible() && !m_writingBack)
        m_model->rearrange([this] { return &m_sort->shownOrder(); });
}

void SortViewForm::entriesAppended(std::size_t first, std::size_t last)
{
    (void)first;
    (void)last;
    entriesReset();
}

void SortViewForm::showStatus()
{
    m_statusPane->setText(m_sort->status());
}

} // namespace Kelvane
