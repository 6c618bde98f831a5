#pragma once

#include <QString>
#include <QStringList>
#include <QWidget>

#include <string>
#include <vector>

class QAbstractItemView;
class QActionGroup;
class QListView;
class QModelIndex;
class QPushButton;
class QStackedWidget;
class QTreeView;

namespace Kelvane {

class AreaTitlesModel;
class FrameHost;
class Session;

/// Where a list of areas keeps its look in section "Kelvane Startup": its window state, view
/// mode, arrangement and the widths of its two columns (in twips).
struct AreaListKeys
{
    QString windowState;
    QString view;
    QString arrange;
    QString column1Width;
    QString column2Width;

    /// The keys of the area chooser (frmFileAreaTitles).
    static AreaListKeys fileAreaTitles();
    /// The keys of the move-target chooser (frmMoveFileTitles).
    static AreaListKeys moveFileTitles();
};

/// What tells one list of areas from the other.
struct AreaListNames
{
    QString form; // the form's objectName
    QString caption;
    QString list; // the list's objectName
    QString loadProcedure; // the name Load reports its errors under
    AreaListKeys keys;
    /// The area chooser fills its list on the shared area number, which it sets itself on
    /// OK; the move chooser must leave it alone, since it names the area being moved from.
    bool loopsOnAreaNumber = false;
};

/// A form that lists every file area of the board, one row per area record in area-number
/// order ("File Area Names" and "Record #"), for the operator to pick one: the base of the
/// area chooser and of the move-target chooser.
///
/// The list shows one model in four view modes; the icon modes are a QListView and the
/// details mode a QTreeView with columns, sharing one selection, so the chosen row is the same
/// whichever mode shows. Enter is OK, Escape is Cancel, a double click on a row is OK.
class AreaListForm : public QWidget
{
    Q_OBJECT

public:
    enum View { LargeIcons = 0, SmallIcons = 1, List = 2, Details = 3 };
    enum Arrangement { ArrangeNone = 0, ArrangeLeft = 1, ArrangeTop = 2 };
    enum WindowState { Normal = 0, Minimized = 1, Maximized = 2 };

    ~AreaListForm() override;

    /// Hands the form to the frame as a child form and shows it in its saved window state.
    void showInFrame();
    /// Closes the form (and the frame's window around it); it deletes itself.
    void unload();
    /// Hides the form (and the frame's window around it) without closing it.
    void hideForm();

    int view() const { return m_view; }
    /// Sets the view mode and checks its menu item; an unknown mode gives large icons.
    void setView(int view);
    int arrangement() const { return m_arrangement; }
    /// Sets the arrangement and checks its menu item; an unknown one gives none.
    void setArrangement(int arrangement);
    /// A column's width in twips (column 0 "File Area Names", 1 "Record #").
    double columnWidthTwips(int column) const;
    void setColumnWidthTwips(int column, double twips);
    /// The state the form is in now: normal, minimized or maximized.
    int windowStateCode() const;

    /// The selected row (first = 0), -1 when none.
    int selectedRow() const;
    void selectRow(int row);
    /// Every row's title, in list order.
    QStringList titles() const;

    /// Writes the window state, view, arrangement and column widths under the form's keys.
    void saveSettings();

protected:
    AreaListForm(FrameHost& host, const AreaListNames& names);

    /// Reads the saved look and fills the list; derived forms call it at the end of their
    /// constructors. Errors are reported under the form's load procedure name.
    void loadForm();
    /// Reads every area record's title into the list and selects the first row.
    void readAreas();

    FrameHost& host() const { return m_host; }
    Session& session() const;
    /// The title of row as stored in the record, in the board's code page.
    const std::string& titleBytes(int row) const;
    QPushButton* okButton() const { return m_cmdOK; }

    virtual void cmdOK_Click() = 0;
    virtual void cmdCancel_Click() = 0;
    /// What closing the form gives back to the rest of the program; runs once.
    virtual void formUnloaded() = 0;

    void keyPressEvent(QKeyEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    void buildMenus();
    void applyView();
    void rowDoubleClicked(const QModelIndex& index);
    void mnuRefresh_Click();
    QWidget* frameWindow() const;

    FrameHost& m_host;
    AreaListNames m_names;
    AreaTitlesModel* m_model = nullptr;
    QStackedWidget* m_list = nullptr;
    QListView* m_icons = nullptr;
    QTreeView* m_details = nullptr;
    QPushButton* m_cmdOK = nullptr;
    QPushButton* m_cmdCancel = nullptr;
    QActionGroup* m_viewItems = nullptr;
    QActionGroup* m_arrangeItems = nullptr;
    int m_view = LargeIcons;
    int m_arrangement = ArrangeNone;
    int m_savedState = Normal;
    bool m_unloaded = false;
};

} // namespace Kelvane
