#pragma once

#include "editor/EntryTable.h"

#include <QAbstractListModel>

namespace Kelvane {

class CodePage;

/// The names of the open area's entries, one row per entry in list order: the model behind
/// lstFileNames. Rows are decoded when a view asks for them, so an area of 100,000 entries
/// costs nothing until it is scrolled; a change of the table reaches the views once.
class EntryListModel : public QAbstractListModel, public EntryTableObserver
{
    Q_OBJECT

public:
    EntryListModel(EntryTable& table, const CodePage& page, QObject* parent = nullptr);
    ~EntryListModel() override;

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;

    /// The name of row, empty outside the list.
    QString name(int row) const;

    void entriesReset() override;
    void entriesChanged(std::size_t first, std::size_t last) override;
    void entriesAppended(std::size_t first, std::size_t last) override;
    void selectionChanged() override;

Q_SIGNALS:
    /// The table's own selection changed (an operation tagged or untagged entries).
    void tableSelectionChanged();
    /// The rows were replaced, re-ordered or removed.
    void rowsReplaced();

private:
    EntryTable& m_table;
    const CodePage& m_page;
    int m_rows = 0;
};

} // namespace Kelvane
