#pragma once

#include <QAbstractTableModel>

#include <cstddef>
#include <functional>
#include <vector>

namespace Kelvane {

class CodePage;
class EntryTable;

/// lsvEditFileArea: the open area's entries in the sort view's shown order, in the columns
/// "File Name", "Size", "Date" and "Description". Cells are decoded when a view asks for
/// them, so 100,000 entries open at once; a description is shown on one line, its lines
/// joined by " | ".
class SortTableModel : public QAbstractTableModel
{
    Q_OBJECT

public:
    enum Column { FileName = 0, Size = 1, Date = 2, Description = 3, ColumnCount = 4 };

    SortTableModel(const EntryTable& table, const CodePage& page, QObject* parent = nullptr);

    /// Runs change, which may re-arrange the entries or their order, inside one reset of the
    /// views, and shows the entries in the order it returns: indices into the table, owned
    /// by the caller and kept as they are until the next rearrange; nullptr shows none.
    void rearrange(const std::function<const std::vector<std::size_t>*()>& change);

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;

    /// A description's lines on one line: the last line end dropped, the others shown as
    /// " | ", a lone CR or LF as a blank.
    static QString descriptionLine(QString description);

private:
    int countRows() const;

    const EntryTable& m_table;
    const CodePage& m_page;
    const std::vector<std::size_t>* m_order = nullptr;
    int m_rows = 0;
};

} // namespace Kelvane
