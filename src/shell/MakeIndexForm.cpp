#include "shell/MakeIndexForm.h"

#include "board/Session.h"
#include "index/MakeIndex.h"
#include "platform/CodePage.h"
#include "shell/FrameHost.h"

#include <QAbstractTableModel>

#include <QCloseEvent>
#include <QGroupBox>
#include <QLabel>
#include <QListWidget>
#include <QProgressBar>
#include <QTreeView>
#include <QVBoxLayout>

#include <vector>

using namespace Qt::StringLiterals;

namespace Kelvane {

/// lsvMakeIdx's rows: each file of the area being indexed, its name and the slot of its
/// directory ("Area"). A directory's files arrive together and go in with one insertion.
class IndexRowsModel : public QAbstractTableModel
{
public:
    using QAbstractTableModel::QAbstractTableModel;

    void append(std::span<const IndexRow> rows, const CodePage& page)
    {
        if (rows.empty())
            return;
        const auto first = static_cast<int>(m_rows.size());
        beginInsertRows({}, first, first + static_cast<int>(rows.size()) - 1);
        m_rows.reserve(m_rows.size() + rows.size());
        for (const IndexRow& row : rows)
            m_rows.push_back({ page.toUnicode(row.name), QString::number(row.slot) });
        endInsertRows();
    }

    void clear()
    {
        beginResetModel();
        m_rows.clear();
        endResetModel();
    }

    int rowCount(const QModelIndex& parent = {}) const override
    {
        return parent.isValid() ? 0 : static_cast<int>(m_rows.size());
    }
    int columnCount(const QModelIndex& parent = {}) const override { return parent.isValid() ? 0 : 2; }

    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override
    {
        if (role != Qt::DisplayRole || !index.isValid() || index.row() >= rowCount())
            return {};
        const Row& row = m_rows[static_cast<std::size_t>(index.row())];
        return index.column() == 0 ? row.name : row.area;
    }

    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override
    {
        if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
            return {};
        return section == 0 ? u"FileName"_s : u"Area"_s;
    }

private:
    struct Row
    {
        QString name;
        QString area;
    };
    std::vector<Row> m_rows;
};

MakeIndexForm::MakeIndexForm(FrameHost& host)
    : QDialog(nullptr)
    , m_host(host)
{
    setObjectName(u"frmMakeIndex"_s);
    setWindowTitle(u"Kelvane - Make Index"_s);
    setModal(false);

    m_frame = new QGroupBox(this);
    m_frame->setObjectName(u"FraMakeIdx"_s);
    m_progress = new QProgressBar(m_frame);
    m_progress->setObjectName(u"prbMakeIdx"_s);
    m_progress->setRange(0, 1);
    m_progress->setValue(0);
    m_filePath = new QLabel(m_frame);
    m_filePath->setObjectName(u"lblFilePath"_s);
    m_status = new QLabel(m_frame);
    m_status->setObjectName(u"lblStatus"_s);
    for (QLabel* label : { m_filePath, m_status }) {
        // A long path must not resize the form while the texts change.
        label->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    }
    m_model = new IndexRowsModel(this);
    m_rows = new QTreeView(m_frame);
    m_rows->setObjectName(u"lsvMakeIdx"_s);
    m_rows->setModel(m_model);
    m_rows->setRootIsDecorated(false);
    m_rows->setUniformRowHeights(true);
    m_rows->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_pending = new QListWidget(m_frame);
    m_pending->setObjectName(u"lstMakeIdx"_s);
    m_pending->setVisible(false);

    auto* frameLayout = new QVBoxLayout(m_frame);
    frameLayout->addWidget(m_filePath);
    frameLayout->addWidget(m_status);
    frameLayout->addWidget(m_progress);
    frameLayout->addWidget(m_rows, 1);
    frameLayout->addWidget(m_pending);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_frame);
    resize(480, 360);
}

MakeIndexForm::~MakeIndexForm() = default;

void MakeIndexForm::run(std::chrono::milliseconds pause)
{
    Session& session = m_host.session();
    if (session.makeIndexList.empty()) {
        session.IndexPending = false;
        refreshPendingList();
        return;
    }
    m_running = true;
    // The form stands on its own, not as a child of the frame, which is disabled while the
    // index is built.
    QWidget* frame = m_host.frameWindow();
    if (frame) {
        frame->setEnabled(false);
        move(frame->geometry().center() - rect().center());
    }
    show();
    letEventLoopRun(pause);
    {
        ProgressViewScope progress(m_host.qtPort(), this);
        Make_Index_File(session);
    }
    unload();
    if (frame)
        frame->setEnabled(true);
}

void MakeIndexForm::unload()
{
    m_running = false;
    hide();
    m_model->clear();
    m_filePath->clear();
    m_status->clear();
    m_progress->setRange(0, 1);
    m_progress->setValue(0);
    refreshPendingList();
}

void MakeIndexForm::refreshPendingList()
{
    m_pending->clear();
    for (const int area : m_host.session().makeIndexList)
        m_pending->addItem(QString::number(area));
}

void MakeIndexForm::showProgressText(ProgressLine line, const QString& text)
{
    if (line == ProgressLine::Path)
        m_filePath->setText(text);
    else if (line == ProgressLine::Status)
        m_status->setText(text);
}

void MakeIndexForm::showProgressValue(qint64 value, qint64 maximum)
{
    showProgress(*m_progress, value, maximum);
}

void MakeIndexForm::showIndexRows(std::span<const IndexRow> rows)
{
    m_model->append(rows, m_host.session().codePage());
}

void MakeIndexForm::clearIndexRows()
{
    m_model->clear();
}

void MakeIndexForm::reject()
{
    if (!m_running)
        QDialog::reject();
}

void MakeIndexForm::showEvent(QShowEvent* event)
{
    refreshPendingList();
    QDialog::showEvent(event);
}

void MakeIndexForm::closeEvent(QCloseEvent* event)
{
    if (m_running) {
        event->ignore();
        return;
    }
    QDialog::closeEvent(event);
}

} // namespace Kelvane
