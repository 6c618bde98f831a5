#include "shell/FindResultsModel.h"

#include "platform/CodePage.h"

#include <algorithm>
#include <iterator>

using namespace Qt::StringLiterals;

namespace Kelvane {

FindResultsModel::FindResultsModel(const CodePage& page, QObject* parent)
    : QAbstractTableModel(parent)
    , m_page(page)
{
}

void FindResultsModel::addArea(int number, const QString& title, std::vector<SearchHit>& hits)
{
    m_titles.insert(number, title);
    if (hits.empty())
        return;
    const int first = rowCount();
    beginInsertRows({}, first, first + static_cast<int>(hits.size()) - 1);
    m_hits.insert(m_hits.end(), std::make_move_iterator(hits.begin()), std::make_move_iterator(hits.end()));
    endInsertRows();
    hits.clear();
}

void FindResultsModel::clear()
{
    beginResetModel();
    m_hits.clear();
    m_hits.shrink_to_fit();
    m_titles.clear();
    endResetModel();
}

int FindResultsModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_hits.size());
}

int FindResultsModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : ColumnCount;
}

QVariant FindResultsModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid() || index.row() >= rowCount())
        return {};
    const SearchHit& found = m_hits[static_cast<std::size_t>(index.row())];
    if (role == Qt::TextAlignmentRole && index.column() == Size)
        return QVariant::fromValue(Qt::AlignRight | Qt::AlignVCenter);
    if (role == Qt::ToolTipRole && index.column() == Area)
        return u"File Area %1"_s.arg(found.area);
    if (role != Qt::DisplayRole)
        return {};
    switch (index.column()) {
    case Area:
        return m_titles.value(found.area);
    case FileName:
        return m_page.toUnicode(found.name);
    case Size:
        return QString::number(found.size);
    case Date:
        return m_page.toUnicode(found.date);
    case Description:
        return m_page.toUnicode(found.firstLine);
    default:
        return {};
    }
}

QVariant FindResultsModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return QAbstractTableModel::headerData(section, orientation, role);
    switch (section) {
    case Area:
        return u"File Area"_s;
    case FileName:
        return u"File Name"_s;
    case Size:
        return u"Size"_s;
    case Date:
        return u"Date"_s;
    case Description:
        return u"Description"_s;
    default:
        return {};
    }
}

int entryRow(const EntryList& entries, std::size_t index, std::string_view name)
{
    if (index < entries.size() && entries[index].FileName == name)
        return static_cast<int>(index);
    const auto sameName = [name](const Entry& entry) {
        return std::ranges::equal(entry.FileName, name, [](char a, char b) {
            const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
            return lower(a) == lower(b);
        });
    };
    const auto found = std::ranges::find_if(entries, sameName);
    return found == entries.end() ? -1 : static_cast<int>(found - entries.begin());
}

} // namespace Kelvane
