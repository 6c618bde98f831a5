#pragma once

#include "board/ListStamp.h"
#include "editor/EntryTable.h"

#include <QHash>
#include <QPointer>
#include <QTimer>
#include <QWidget>
#include <functional>
#include <memory>

class QAction;
class QItemSelection;
class QLabel;
class QListView;
class QMenu;
class QPlainTextEdit;

namespace Kelvane {

class AnimationControl;
class EntryListModel;
class FrameHost;
class MoveFileTitlesForm;
class Session;
class SortViewForm;

/// The Files List editor (frmEditFileArea): the open area's names in lstFileNames, the
/// highlighted entry's name, size, date and description beside them, and every File
/// Operation on the tagged names. The entries live in one EntryTable shared with the sort
/// view and the operations; lstFileNames is a view of it and its selection is the table's.
class EditorForm : public QWidget
{
    Q_OBJECT

public:
    /// An editor over entries, read by the caller after the area was loaded.
    EditorForm(FrameHost& host, EntryList entries, QWidget* parent = nullptr);
    ~EditorForm() override;

    /// Opening: status panes, names, caption, the animation.
    void Form_Load();

    EntryTable& table() { return m_table; }
    /// File Operations and View, for the frame's menu bar while the editor is open.
    QList<QMenu*> menus() const;
    /// The File Operations menu (also the list's right-button menu).
    QMenu* fileOperationsMenu() const { return m_operations; }

    /// Runs the command of an editor toolbar key; false when the key names none.
    bool runToolbarKey(const QString& key);
    /// The editor toolbar's keys, in the toolbar's order, with their captions.
    static const QList<std::pair<QString, QString>>& toolbarKeys();

    /// Highlights row (the only one selected) and gives the list the focus.
    void selectRow(int row);
    /// The highlighted row, -1 when there is none.
    int currentRow() const;

    void GetFileNames();
    void Update_All_Controls();
    void Description_Update();
    void Load_Status_Bar2();

    void mnuSaveWork_Click();
    void mnuFileScan_Click();
    void mnuReadDIZ_Click();
    void mnuFileDate_Click();
    void mnuFileLength_Click();
    void mnuEraseFilesListOnly_Click();
    void mnuDeleteFiles_Click();
    void mnuMoveFiles_Click();
    void mnuRemoveUploadBy_Click();
    /// Tools > Clean Descriptions on the tagged entries, with the rules file the settings name.
    void mnuCleanDescriptions_Click();
    void mnuSelectAllFiles_Click();
    void mnuNoSelectAllFiles_Click();
    void mnuSortFile_Click();
    void mnuDownOneFile_Click();
    void mnuUpOneFile_Click();
    void mnuNotAvailable_Click();
    void mnuClose_Click();

Q_SIGNALS:
    /// The editor has unloaded: its question about unsaved work is answered.
    void unloaded();

protected:
    void closeEvent(QCloseEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void buildControls();
    void buildMenus();
    QAction* addOperation(const QString& name, const QString& caption, void (EditorForm::*handler)());
    void loadAnimation();
    void setMenusEnabled(bool enabled);
    void runOperation(const std::function<void()>& operation);
    void writeBackPending();
    void Form_Unload();
    void unloadSortView();
    void lstFileNames_Click();
    void viewSelectionChanged(const QItemSelection& selected, const QItemSelection& deselected);
    void applyTableSelection();
    void rowsReplaced();
    void refreshCounts();
    void setBoxText(const QString& text);
    void stepHighlight(int delta);
    void moveChooserClosed();
    void moveAccepted();
    void updateClock();
    Session& session() const;

    FrameHost& m_host;
    EntryTable m_table;
    ListStamp m_origin; // the list the entries were read from, as it was then
    std::unique_ptr<EntryListModel> m_model;

    QListView* m_names = nullptr;
    QLabel* m_fileName = nullptr;
    QLabel* m_fileSize = nullptr;
    QLabel* m_fileDate = nullptr;
    QLabel* m_totalCount = nullptr;
    QLabel* m_taggedCount = nullptr;
    QPlainTextEdit* m_description = nullptr;
    AnimationControl* m_animation = nullptr;
    QMenu* m_operations = nullptr;
    QMenu* m_view = nullptr;
    QList<QLabel*> m_panes;
    QTimer m_clock;

    QHash<QString, void (EditorForm::*)()> m_keyHandlers;
    SortViewForm* m_sortView = nullptr;
    QPointer<MoveFileTitlesForm> m_moveChooser;

    int m_position = -1; // the entry whose description the box shows
    bool m_descriptionChanged = false;
    bool m_quiet = false; // the box is being filled, not typed into
    bool m_syncingSelection = false;
    bool m_unloaded = false;
};

} // namespace Kelvane
