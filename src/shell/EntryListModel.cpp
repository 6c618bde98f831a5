#include "shell/EntryListModel.h"

#include "platform/CodePage.h"

#include <algorithm>

namespace Kelvane {

EntryListModel::EntryListModel(EntryTable& table, const CodePage& page, QObject* parent)
    : QAbstractListModel(parent)
    , m_table(table)
    , m_page(page)
    , m_rows(static_cast<int>(table.size()))
{
    m_table.addObserver(this);
}

EntryListModel::~EntryListModel()
{
    m_table.removeObserver(this);
}

int EntryListModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : m_rows;
}

QVariant EntryListModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid() || index.row() >= m_rows)
        return {};
    if (role == Qt::DisplayRole || role == Qt::ToolTipRole)
        return name(index.row());
    return {};
}

QString EntryListModel::name(int row) const
{
    if (row < 0 || static_cast<std::size_t>(row) >= m_table.size())
        return {};
    return m_page.toUnicode(m_table.at(static_cast<std::size_t>(row)).FileName);
}

void EntryListModel::entriesReset()
{
    beginResetModel();
    m_rows = static_cast<int>(m_table.size());
    endResetModel();
    Q_EMIT rowsReplaced();
}

void EntryListModel::entriesChanged(std::size_t first, std::size_t last)
{
    Q_EMIT dataChanged(index(static_cast<int>(first)), index(static_cast<int>(last)));
}

void EntryListModel::entriesAppended(std::size_t first, std::size_t last)
{
    // The table has grown already; the rows are announced from the count the views know.
    const int from = std::min(m_rows, static_cast<int>(first));
    const int to = static_cast<int>(last);
    if (to < from)
        return;
    beginInsertRows({}, from, to);
    m_rows = to + 1;
    endInsertRows();
}

void EntryListModel::selectionChanged()
{
    Q_EMIT tableSelectionChanged();
}

} // namespace Kelvane
