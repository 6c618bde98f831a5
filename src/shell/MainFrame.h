#pragma once

#include "shell/FrameHost.h"

#include <QMainWindow>
#include <QPointer>
#include <memory>

class QAction;
class QComboBox;
class QLabel;
class QMdiArea;
class QToolBar;

namespace Kelvane {

class CheckAreaForm;
class EditorForm;
class FindFilesForm;
class MakeIndexForm;
class QtPort;

/// Kelvane's one top-level window: the menus, the three toolbars, the two status bars and
/// the child forms. It keeps its placement and the board's main node path in the settings
/// store, opens the area chooser, switches areas from the area box, hands the editor
/// toolbar's keys to the editor and offers Make Index when it closes.
class MainFrame : public QMainWindow, public FrameHost
{
    Q_OBJECT

public:
    /// A frame over session, whose port is port (the frame shows its boxes through it).
    MainFrame(Session& session, QtPort& port, SettingsStore& settings);
    ~MainFrame() override;

    /// Shows the frame in the state the settings store keeps.
    void showAsSaved();

    /// Opens area areaNumber as the chooser's OK would; false when it could not be opened.
    bool openArea(int areaNumber);

    EditorForm* editor() const { return m_editor; }

    // FrameHost
    Session& session() override { return m_session; }
    SettingsStore& settings() override { return m_settings; }
    QtPort* qtPort() override { return &m_port; }
    QWidget* frameWindow() override { return this; }
    void addChildForm(QWidget* form) override;
    void setStatusText(const QString& text) override;
    void setOpenFileAreasEnabled(bool enabled) override;
    void fillAreaBox(const QStringList& rows, int chosen) override;
    bool openChosenArea(const QString& title) override;
    bool openAreaAtEntry(int areaNumber, std::size_t index, const std::string& name) override;
    QRect defaultPlacement() const override;
    void resetPlacement() override;
    void savePlacement() override;
    QStatusBar* editorStatusBar() override { return m_statusBar2; }
    void setEditorToolbarsEnabled(bool enabled) override;
    void setToolBarShown(bool shown) override;
    void setStatusBarShown(bool shown) override;
    void editorClosed() override;
    bool areaOpen() const override { return m_editor != nullptr; }
    void showHelpTopic(const QString& topic) override;
    void showHelpSearch() override;
    void showAbout() override;
    void showTechSupport() override;

    void mnuOpenFileAreas_Click();
    void mnuExit_Click();
    void mnuViewOptions_Click();
    void mnuFindFiles_Click();
    void mnuCleanDescriptions_Click();
    void mnuCheckArea_Click();
    void tbToolBar2_ButtonClick(QAction* button);
    void tbToolBar3_ButtonClick();

protected:
    void closeEvent(QCloseEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void Load_MDIForm();
    void buildMenus();
    void buildToolsMenu();
    void buildToolBars();
    void buildStatusBars();
    void Load_Status_Bar1();
    void showNoAreaState();
    /// Reads the help from the program's directory; when it is not there, says so and false.
    bool openHelp();
    bool openEditor(const QString& title);
    void installEditorMenus(bool installed);
    bool MDIForm_Unload();
    bool boardReachable();
    bool closeEditorForSwitch();
    void updateOpenFileAreas();

    Session& m_session;
    QtPort& m_port;
    SettingsStore& m_settings;

    QMdiArea* m_mdiArea = nullptr;
    QToolBar* m_toolBar1 = nullptr;
    QToolBar* m_toolBar2 = nullptr;
    QToolBar* m_toolBar3 = nullptr;
    QComboBox* m_areaBox = nullptr;
    QStatusBar* m_statusBar1 = nullptr;
    QStatusBar* m_statusBar2 = nullptr;
    QLabel* m_statusPane1 = nullptr;
    QLabel* m_datePane = nullptr;
    QAction* m_openFileAreas = nullptr;
    QAction* m_openFileAreasButton = nullptr;
    QAction* m_viewMenu = nullptr;
    QAction* m_helpMenu = nullptr;
    QAction* m_toolsMenu = nullptr;
    QAction* m_cleanDescriptions = nullptr; // Tools > Clean Descriptions: only while an area is open
    QAction* m_viewToolbar = nullptr;
    QAction* m_viewStatusBar = nullptr;
    QList<QAction*> m_editorMenus;

    EditorForm* m_editor = nullptr; // cleared by editorClosed() when the editor unloads
    QPointer<FindFilesForm> m_findFiles; // one Find window, brought forward when asked again
    QPointer<CheckAreaForm> m_checkArea; // the open area's check window; it goes with the editor
    std::unique_ptr<MakeIndexForm> m_makeIndex; // hidden from start-up on: it holds no list of its own
    bool m_chooserOpen = false; // the area chooser is open
    bool m_switching = false; // an area switch is replacing the editor
    bool m_shutDown = false;
};

} // namespace Kelvane
