#pragma once

#include "boardwide/BoardSearch.h"

#include <QWidget>

#include <memory>

class QComboBox;
class QLabel;
class QLineEdit;
class QProgressBar;
class QPushButton;
class QTableView;

namespace Kelvane {

class FindResultsModel;
class FrameHost;

/// frmFindFiles: searches the board's areas for entries by name or description and opens
/// the area of a result in the editor, with that entry highlighted. A window of its own
/// beside the frame, so that the operator can go back to its results while an area is open.
///
/// The search runs on the user-interface thread and turns the event loop between areas, so
/// the table grows area by area and Cancel stops it before the next one.
class FindFilesForm : public QWidget
{
    Q_OBJECT

public:
    explicit FindFilesForm(FrameHost& host, QWidget* parent = nullptr);
    ~FindFilesForm() override;

    /// Fills the area box from the board's records.
    void loadAreas();

    FindResultsModel& results() { return *m_results; }
    bool searching() const { return m_searching; }

    void cmdFind_Click();
    void cmdCancel_Click();
    /// Opens the area of the result in row with its entry highlighted.
    void lsvFindResults_DblClick(int row);

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    class Sink;

    void buildControls();
    void setSearching(bool searching);
    SearchIn searchIn() const;
    QString summaryLine(const SearchSummary& summary, int areaCount) const;

    FrameHost& m_host;
    std::unique_ptr<FindResultsModel> m_results;

    QLineEdit* m_pattern = nullptr;
    QComboBox* m_searchIn = nullptr;
    QComboBox* m_areas = nullptr;
    QPushButton* m_find = nullptr;
    QPushButton* m_cancel = nullptr;
    QTableView* m_table = nullptr;
    QProgressBar* m_progress = nullptr;
    QLabel* m_status = nullptr;

    bool m_searching = false;
    bool m_cancelRequested = false;
    bool m_closeRequested = false; // closed mid-search: the window goes when the search has stopped
};

} // namespace Kelvane
