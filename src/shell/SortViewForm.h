#pragma once

#include "editor/EntryTable.h"

#include <QDialog>

#include <memory>

class QLabel;
class QMenu;
class QPushButton;
class QStatusBar;
class QTableView;

namespace Kelvane {

class FrameHost;
class SortTableModel;
class SortView;

/// The sort view (frmEditFileArealsv): the open area's entries in the table lsvEditFileArea,
/// re-ordered by a click on a column heading and written back into the entries' own order
/// when the view closes. It lives as long as the open area and is shown modally each time,
/// so the sort's text mode carries over from one opening to the next.
///
/// The entries may change while the view is hidden (a scan appends, an erase removes): the
/// next opening shows them as they are then.
class SortViewForm : public QDialog, private EntryTableObserver
{
    Q_OBJECT

public:
    /// Puts "Loading <area>, Please wait..." in the frame's status text; the table may be
    /// filled before or after.
    SortViewForm(FrameHost& host, EntryTable& table);
    ~SortViewForm() override;

    /// A click on the heading of column (0 File Name, 1 Size, 2 Date, 3 Description).
    void lsvEditFileArea_ColumnClick(int column);
    /// The sort behind the shown order.
    const SortView& sortView() const { return *m_sort; }

public Q_SLOTS:
    /// Every way of closing (the Close item and button, Escape, the window's close box):
    /// writes the shown order back, then hides the view.
    void reject() override;

protected:
    void showEvent(QShowEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;

private:
    void entriesReset() override;
    void entriesChanged(std::size_t first, std::size_t last) override;
    void entriesAppended(std::size_t first, std::size_t last) override;

    void buildMenus();
    void buildControls();
    /// A fresh sort over the entries as they are, when they changed since it was made.
    void followTable();
    void showStatus();

    FrameHost& m_host;
    EntryTable& m_table;
    std::unique_ptr<SortView> m_sort;
    SortTableModel* m_model = nullptr;
    QTableView* m_view = nullptr;
    QMenu* m_fileMenu = nullptr;
    QPushButton* m_close = nullptr;
    QStatusBar* m_statusBar = nullptr;
    QLabel* m_statusPane = nullptr;
    /// The entries changed behind the sort's back since it was made.
    bool m_stale = false;
    /// The write-back is re-ordering the entries: the view's own change, not a stale sort.
    bool m_writingBack = false;
};

} // namespace Kelvane
