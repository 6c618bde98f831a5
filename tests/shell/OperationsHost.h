#pragma once

#include "platform/SettingsStore.h"
#include "shell/FrameHost.h"
#include "shell/ScriptedQtPort.h"
#include "support/TestBoard.h"

#include <QtTest>
#include <QtWidgets>

#include <memory>

namespace Kelvane::Testing {

/// A frame for the forms of the long operations and the sort view: a session on a board of
/// its own, a scripted desktop port, and a record of what the forms asked of the frame.
class OperationsHost : public FrameHost
{
public:
    OperationsHost()
        : m_session(board.session(port))
    {
        port.setDialogParent(&frame);
    }

    Session& session() override { return *m_session; }
    SettingsStore& settings() override { return m_settings; }
    QtPort* qtPort() override { return &port; }
    QWidget* frameWindow() override { return &frame; }

    void addChildForm(QWidget* form) override { form->show(); }
    void setStatusText(const QString& text) override { statusText = text; }
    void setOpenFileAreasEnabled(bool) override { }
    void fillAreaBox(const QStringList&, int) override { }
    bool openChosenArea(const QString&) override { return false; }
    bool openAreaAtEntry(int, std::size_t, const std::string&) override { return false; }
    QRect defaultPlacement() const override { return { 0, 0, 800, 600 }; }
    void resetPlacement() override { }
    void savePlacement() override { }
    QStatusBar* editorStatusBar() override { return nullptr; }
    void setEditorToolbarsEnabled(bool) override { }
    void setToolBarShown(bool) override { }
    void setStatusBarShown(bool) override { }
    void editorClosed() override { }
    bool areaOpen() const override { return false; }
    void showHelpTopic(const QString& topic) override { helpTopics.append(topic); }
    void showHelpSearch() override { }
    void showAbout() override { ++aboutShown; }
    void showTechSupport() override { }

    TestBoard board;
    ScriptedQtPort port;
    QWidget frame;
    QString statusText;
    QStringList helpTopics;
    int aboutShown = 0;

private:
    std::unique_ptr<Session> m_session;
    SettingsStore m_settings;
};

} // namespace Kelvane::Testing
