#pragma once

#include <QRect>
#include <QString>
#include <QStringList>

#include <cstddef>
#include <string>

class QStatusBar;
class QWidget;

namespace Kelvane {

class QtPort;
class Session;
class SettingsStore;

/// What the forms may ask of the main frame. The chooser, Options, the editor and the other
/// forms know the frame only through this, so none of them includes the frame's header.
class FrameHost
{
public:
    virtual ~FrameHost() = default;

    virtual Session& session() = 0;
    virtual SettingsStore& settings() = 0;
    /// The port the forms show their boxes and progress through; nullptr when the session
    /// talks to something other than the desktop (never in the program itself).
    virtual QtPort* qtPort() = 0;
    /// The frame's window, parent of the modal forms.
    virtual QWidget* frameWindow() = 0;

    /// Shows form as a child of the frame (not modal).
    virtual void addChildForm(QWidget* form) = 0;
    /// Pane 1 of sbStatusBar1.
    virtual void setStatusText(const QString& text) = 0;

    // The area chooser.
    /// Open File Areas (button and menu item) on or off: off while a chooser is up.
    virtual void setOpenFileAreasEnabled(bool enabled) = 0;
    /// Fills the area box cboToolbar3 with rows and chooses index chosen.
    virtual void fillAreaBox(const QStringList& rows, int chosen) = 0;
    /// Loads area areaNumber (already set in the session) and opens its editor, or returns
    /// the frame to its no-area state; true when the editor is open.
    virtual bool openChosenArea(const QString& title) = 0;

    /// Opens area areaNumber through the chooser's path, switching from the open area as the
    /// area box does (its question about unsaved work included), and highlights the entry a
    /// search found at index of its list under name (bytes in the code page); false when the
    /// area did not open or the open one stayed.
    virtual bool openAreaAtEntry(int areaNumber, std::size_t index, const std::string& name) = 0;

    // Options.
    /// The frame's placement at its defaults: centred, three quarters of the screen.
    virtual QRect defaultPlacement() const = 0;
    /// Moves and sizes the frame to its defaults.
    virtual void resetPlacement() = 0;
    /// Writes MainLeft, MainTop, MainWidth and MainHeight when the frame is neither
    /// maximized nor minimized.
    virtual void savePlacement() = 0;

    // The editor.
    /// The editor's status bar, sbStatusBar2, for its panes.
    virtual QStatusBar* editorStatusBar() = 0;
    /// tbToolBar2 and tbToolBar3 on or off (off while the move chooser is up).
    virtual void setEditorToolbarsEnabled(bool enabled) = 0;
    /// The frame's toolbar and status bar toggles, for the editor's View menu.
    virtual void setToolBarShown(bool shown) = 0;
    virtual void setStatusBarShown(bool shown) = 0;
    /// The editor has gone: back to the no-area state, unless an area switch is under way.
    virtual void editorClosed() = 0;
    /// Whether an area is open in the editor.
    virtual bool areaOpen() const = 0;

    // Help.
    /// The help's topic of that name; its contents for an empty one.
    virtual void showHelpTopic(const QString& topic) = 0;
    virtual void showHelpSearch() = 0;
    virtual void showAbout() = 0;
    virtual void showTechSupport() = 0;
};

} // namespace Kelvane
