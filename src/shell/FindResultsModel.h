#pragma once

#include "boardwide/BoardSearch.h"

#include <QAbstractTableModel>
#include <QHash>

#include <cstddef>
#include <string_view>
#include <vector>

namespace Kelvane {

class CodePage;

/// lsvFindResults: what a search found, area after area, in the columns "File Area", "File
/// Name", "Size", "Date" and "Description". The rows sit in one vector and grow an area at a
/// time, one insertion per area, so a search that finds a million entries repaints its view
/// once per area; cells are decoded only when a view asks for them.
class FindResultsModel : public QAbstractTableModel
{
    Q_OBJECT

public:
    enum Column { Area = 0, FileName = 1, Size = 2, Date = 3, Description = 4, ColumnCount = 5 };

    explicit FindResultsModel(const CodePage& page, QObject* parent = nullptr);

    /// Moves the entries found in area number, titled title, to the end of the rows.
    void addArea(int number, const QString& title, std::vector<SearchHit>& hits);
    /// Forgets every row, for a new search.
    void clear();

    /// The entry of row (0 .. rowCount - 1).
    const SearchHit& hit(int row) const { return m_hits.at(static_cast<std::size_t>(row)); }
    QString areaTitle(int number) const { return m_titles.value(number); }

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;

private:
    const CodePage& m_page;
    std::vector<SearchHit> m_hits;
    QHash<int, QString> m_titles; // by record number, decoded once per area
};

/// The editor's row of the entry a search found at index of its list under name: index when
/// the list still holds that name there, else the first entry of that name (ignoring case, as
/// the entries may have been sorted or changed since), else -1.
int entryRow(const EntryList& entries, std::size_t index, std::string_view name);

} // namespace Kelvane
