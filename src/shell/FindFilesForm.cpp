#include "shell/FindFilesForm.h"

#include "board/Session.h"
#include "boardwide/BoardReader.h"
#include "platform/CodePage.h"
#include "shell/FindResultsModel.h"
#include "shell/FrameHost.h"

#include <QApplication>
#include <QCloseEvent>
#include <QComboBox>
#include <QElapsedTimer>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QLocale>
#include <QProgressBar>
#include <QPushButton>
#include <QStringList>
#include <QStyle>
#include <QTableView>
#include <QVBoxLayout>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace Kelvane {

namespace {

constexpr int AllAreas = 0; // the area box's first row

QString areaTitle(const BoardArea& area, const CodePage& page)
{
    if (!area.record)
        return u"File Area %1 (damaged record)"_s.arg(area.number);
    return page.toUnicode(area.title());
}

QString filesFound(std::size_t count)
{
    return count == 1 ? u"1 file found"_s : u"%1 files found"_s.arg(QLocale().toString(static_cast<qulonglong>(count)));
}

} // namespace

FindFilesForm::FindFilesForm(FrameHost& host, QWidget* parent)
    : QWidget(parent, Qt::Window)
    , m_host(host)
    , m_results(std::make_unique<FindResultsModel>(host.session().codePage()))
{
    setObjectName(u"frmFindFiles"_s);
    setWindowTitle(u"Kelvane - Find Files"_s);
    setWindowIcon(
        QIcon::fromTheme(u"system-search"_s, QApplication::style()->standardIcon(QStyle::SP_FileDialogContentsView)));
    setAttribute(Qt::WA_DeleteOnClose);
    buildControls();
    setSearching(false);
    resize(860, 520);
}

FindFilesForm::~FindFilesForm() = default;

void FindFilesForm::buildControls()
{
    m_pattern = new QLineEdit(this);
    m_pattern->setObjectName(u"txtPattern"_s);
    m_pattern->setPlaceholderText(u"*.ZIP, or words of a description"_s);
    m_pattern->setToolTip(u"A name with * and ? as wildcards, or a text found in descriptions; case is ignored."_s);
    connect(m_pattern, &QLineEdit::returnPressed, this, &FindFilesForm::cmdFind_Click);

    m_searchIn = new QComboBox(this);
    m_searchIn->setObjectName(u"cboSearchIn"_s);
    m_searchIn->addItems({ u"File names"_s, u"Descriptions"_s, u"File names and descriptions"_s });

    m_areas = new QComboBox(this);
    m_areas->setObjectName(u"cboFileAreas"_s);
    m_areas->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    m_areas->setMinimumContentsLength(30);
    m_areas->addItem(u"All File Areas"_s, 0);

    m_find = new QPushButton(u"&Find"_s, this);
    m_find->setObjectName(u"cmdFind"_s);
    m_find->setDefault(true);
    connect(m_find, &QPushButton::clicked, this, &FindFilesForm::cmdFind_Click);
    m_cancel = new QPushButton(u"&Cancel"_s, this);
    m_cancel->setObjectName(u"cmdCancel"_s);
    connect(m_cancel, &QPushButton::clicked, this, &FindFilesForm::cmdCancel_Click);

    m_table = new QTableView(this);
    m_table->setObjectName(u"lsvFindResults"_s);
    m_table->setModel(m_results.get());
    m_table->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_table->setSelectionMode(QAbstractItemView::SingleSelection);
    m_table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_table->setAlternatingRowColors(true);
    m_table->setWordWrap(false);
    m_table->verticalHeader()->hide();
    // A million rows: every row the same height and the columns sized once, never measured
    // against their contents.
    m_table->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    m_table->verticalHeader()->setDefaultSectionSize(m_table->fontMetrics().height() + 6);
    QHeaderView* columns = m_table->horizontalHeader();
    columns->setHighlightSections(false);
    columns->setStretchLastSection(true);
    const QFontMetrics metrics = m_table->fontMetrics();
    const int padding = 2 * metrics.horizontalAdvance(u'M');
    m_table->setColumnWidth(FindResultsModel::Area, 16 * metrics.horizontalAdvance(u'M'));
    m_table->setColumnWidth(FindResultsModel::FileName, metrics.horizontalAdvance(u"WWWWWWWW.WWW"_s) + padding / 2);
    m_table->setColumnWidth(FindResultsModel::Size, metrics.horizontalAdvance(u"000000000"_s) + padding);
    m_table->setColumnWidth(FindResultsModel::Date, metrics.horizontalAdvance(u"00-00-00"_s) + padding);
    connect(m_table, &QTableView::doubleClicked, this, [this](const QModelIndex& index) {
        if (index.isValid())
            lsvFindResults_DblClick(index.row());
    });

    m_progress = new QProgressBar(this);
    m_progress->setObjectName(u"prbFindFiles"_s);
    m_progress->setTextVisible(false);
    m_progress->setMaximumWidth(160);
    m_status = new QLabel(this);
    m_status->setObjectName(u"lblStatus"_s);
    // A long area title must not widen the window while the search runs.
    m_status->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    m_status->setText(u"Type a name or a text and press Find."_s);

    auto* form = new QFormLayout;
    form->addRow(u"&Look for:"_s, m_pattern);
    auto* where = new QHBoxLayout;
    where->addWidget(m_searchIn);
    auto* areasLabel = new QLabel(u"in &area:"_s, this);
    areasLabel->setBuddy(m_areas);
    where->addWidget(areasLabel);
    where->addWidget(m_areas, 1);
    auto* searchInLabel = new QLabel(u"&Search in:"_s, this);
    searchInLabel->setBuddy(m_searchIn);
    form->addRow(searchInLabel, where);

    auto* buttons = new QVBoxLayout;
    buttons->addWidget(m_find);
    buttons->addWidget(m_cancel);
    buttons->addStretch(1);
    auto* top = new QHBoxLayout;
    top->addLayout(form, 1);
    top->addLayout(buttons);

    auto* statusLine = new QHBoxLayout;
    statusLine->addWidget(m_status, 1);
    statusLine->addWidget(m_progress);

    auto* layout = new QVBoxLayout(this);
    layout->addLayout(top);
    layout->addWidget(m_table, 1);
    layout->addLayout(statusLine);
}

void FindFilesForm::loadAreas()
{
    Session& state = m_host.session();
    try {
        const Board board = Board::open(state.area.MainNodePath, state.codePage());
        const QSignalBlocker blocker(m_areas);
        m_areas->clear();
        m_areas->addItem(u"All File Areas"_s, 0);
        for (const BoardArea& area : board.areas())
            m_areas->addItem(u"%1  %2"_s.arg(area.number).arg(areaTitle(area, state.codePage())), area.number);
    } catch (const BoardError& error) {
        m_status->setText(QString::fromStdString(error.what()));
    } catch (...) {
        state.ReportError("Load_frmFindFiles");
    }
}

/// Hands each area's hits to the table and turns the event loop, so the table grows and
/// Cancel is seen between areas.
class FindFilesForm::Sink : public SearchSink
{
public:
    Sink(FindFilesForm& form, const CodePage& page)
        : m_form(form)
        , m_page(page)
    {
    }

    void areaSearched(const BoardArea& area, int position, int count, std::vector<SearchHit>& hits) override
    {
        m_form.m_results->addArea(area.number, areaTitle(area, m_page), hits);
        m_done = position;
        turnEventLoop(count);
    }

    void areaSkipped(const AreaProblem& problem) override
    {
        m_skipped.append(problem.line(m_page));
        ++m_done;
        turnEventLoop(0);
    }

    bool cancelRequested() override { return m_form.m_cancelRequested; }

    const QStringList& skipped() const { return m_skipped; }

private:
    // A turn repaints the table and the status line: after the first area, so the first
    // results show at once, and then at most every TurnInterval, so that a hundred small
    // areas are not a hundred repaints while Cancel is still seen within a blink.
    void turnEventLoop(int count)
    {
        if (m_turns > 0 && !m_sinceTurn.hasExpired(TurnInterval))
            return;
        ++m_turns;
        m_form.m_progress->setValue(m_done);
        m_form.m_status->setText(u"Searched %1 of %2 File Areas: %3"_s.arg(m_done)
                                     .arg(count > 0 ? count : m_form.m_progress->maximum())
                                     .arg(filesFound(m_form.m_results->rowCount())));
        m_form.m_host.session().port().processEvents();
        m_sinceTurn.start();
    }

    static constexpr int TurnInterval = 50; // ms

    FindFilesForm& m_form;
    const CodePage& m_page;
    QStringList m_skipped;
    QElapsedTimer m_sinceTurn;
    int m_turns = 0;
    int m_done = 0;
};

void FindFilesForm::cmdFind_Click()
{
    if (m_searching)
        return;
    Session& state = m_host.session();
    const CodePage& page = state.codePage();
    try {
        const Board board = Board::open(state.area.MainNodePath, page);
        const SearchPattern pattern(m_pattern->text(), searchIn(), page);
        std::vector<int> numbers;
        const int chosen = m_areas->currentData().toInt();
        if (chosen == AllAreas) {
            for (const BoardArea& area : board.areas())
                numbers.push_back(area.number);
        } else if (chosen <= board.count()) {
            numbers.push_back(chosen);
        }
        BusyPointer busy(state.port());
        m_results->clear();
        m_cancelRequested = false;
        m_progress->setRange(0, std::max<int>(1, static_cast<int>(numbers.size())));
        m_progress->setValue(0);
        m_status->setToolTip({});
        setSearching(true);
        Sink sink(*this, page);
        BoardSearch search(board, pattern);
        SearchSummary summary;
        try {
            summary = search.run(numbers, sink);
        } catch (...) {
            setSearching(false);
            throw;
        }
        setSearching(false);
        m_status->setText(summaryLine(summary, static_cast<int>(numbers.size())));
        m_status->setToolTip(sink.skipped().join(u'\n'));
        if (m_results->rowCount() > 0 && !m_table->currentIndex().isValid())
            m_table->setCurrentIndex(m_results->index(0, FindResultsModel::FileName));
    } catch (const BoardError& error) {
        m_status->setText(QString::fromStdString(error.what()));
    } catch (const SearchPatternError& error) {
        m_status->setText(QString::fromStdString(error.what()));
    } catch (...) {
        state.ReportError("cmdFind_Click");
    }
    if (m_closeRequested)
        close();
}

SearchIn FindFilesForm::searchIn() const
{
    switch (m_searchIn->currentIndex()) {
    case 1:
        return SearchIn::Descriptions;
    case 2:
        return SearchIn::Both;
    default:
        return SearchIn::Names;
    }
}

QString FindFilesForm::summaryLine(const SearchSummary& summary, int areaCount) const
{
    const QString found = filesFound(summary.hits);
    const int looked = summary.areasSearched + static_cast<int>(summary.skipped.size());
    QString line = summary.cancelled
        ? u"Stopped after %1 of %2 File Areas: %3"_s.arg(looked).arg(areaCount).arg(found)
        : u"%1 in %2"_s.arg(found, areaCount == 1 ? u"1 File Area"_s : u"%1 File Areas"_s.arg(areaCount));
    if (!summary.skipped.empty())
        line += u"; %1 could not be read"_s.arg(
            summary.skipped.size() == 1 ? u"1 File Area"_s : u"%1 File Areas"_s.arg(summary.skipped.size()));
    return line;
}

void FindFilesForm::lsvFindResults_DblClick(int row)
{
    // Opening an area asks about unsaved work; never in the middle of a turn of the search.
    if (m_searching || row < 0 || row >= m_results->rowCount())
        return;
    const SearchHit hit = m_results->hit(row);
    try {
        if (!m_host.openAreaAtEntry(hit.area, hit.index, hit.name))
            m_status->setText(u"%1 was not opened."_s.arg(m_results->areaTitle(hit.area)));
    } catch (...) {
        m_host.session().ReportError("lsvFindResults_DblClick");
    }
}

void FindFilesForm::setSearching(bool searching)
{
    m_searching = searching;
    m_find->setEnabled(!searching);
    m_pattern->setReadOnly(searching);
    m_searchIn->setEnabled(!searching);
    m_areas->setEnabled(!searching);
    m_progress->setVisible(searching);
}

void FindFilesForm::cmdCancel_Click()
{
    if (m_searching)
        m_cancelRequested = true;
    else
        close();
}

void FindFilesForm::closeEvent(QCloseEvent* event)
{
    if (m_searching) {
        // The search is inside a turn of the event loop: it stops before its next area and
        // the window goes then.
        m_cancelRequested = true;
        m_closeRequested = true;
        event->ignore();
        return;
    }
    event->accept();
}

} // namespace Kelvane
