#include "shell/SortTableModel.h"

#include "editor/EntryTable.h"
#include "platform/CodePage.h"

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace Kelvane {

SortTableModel::SortTableModel(const EntryTable& table, const CodePage& page, QObject* parent)
    : QAbstractTableModel(parent)
    , m_table(table)
    , m_page(page)
{
}

void SortTableModel::rearrange(const std::function<const std::vector<std::size_t>*()>& change)
{
    beginResetModel();
    m_order = change();
    m_rows = countRows();
    endResetModel();
}

int SortTableModel::countRows() const
{
    if (!m_order)
        return 0;
    return static_cast<int>(std::min(m_order->size(), m_table.size()));
}

int SortTableModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : m_rows;
}

int SortTableModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : ColumnCount;
}

QVariant SortTableModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid() || !m_order || index.row() >= m_rows)
        return {};
    if (role == Qt::TextAlignmentRole && index.column() == Size)
        return QVariant::fromValue(Qt::AlignRight | Qt::AlignVCenter);
    if (role != Qt::DisplayRole && !(role == Qt::ToolTipRole && index.column() == Description))
        return {};
    const std::size_t entryIndex = (*m_order)[static_cast<std::size_t>(index.row())];
    if (entryIndex >= m_table.size())
        return {};
    const Entry& entry = m_table.at(entryIndex);
    switch (index.column()) {
    case FileName:
        return m_page.toUnicode(entry.FileName);
    case Size:
        return m_page.toUnicode(entry.Size);
    case Date:
        return m_page.toUnicode(entry.Date);
    case Description:
        if (role == Qt::ToolTipRole)
            return m_page.toUnicode(entry.Description).replace(u"\r\n"_s, u"\n"_s).trimmed();
        return descriptionLine(m_page.toUnicode(entry.Description));
    default:
        return {};
    }
}

QVariant SortTableModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    static const std::array<QString, ColumnCount> titles = { u"File Name"_s, u"Size"_s, u"Date"_s, u"Description"_s };
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole || section < 0 || section >= ColumnCount)
        return QAbstractTableModel::headerData(section, orientation, role);
    return titles[static_cast<std::size_t>(section)];
}

QString SortTableModel::descriptionLine(QString description)
{
    if (description.endsWith(u"\r\n"_s))
        description.chop(2);
    description.replace(u"\r\n"_s, u" | "_s);
    description.replace(u'\r', u' ');
    description.replace(u'\n', u' ');
    return description;
}

} // namespace Kelvane
