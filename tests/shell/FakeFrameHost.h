#pragma once

#include "board/Session.h"
#include "platform/SettingsStore.h"
#include "shell/FrameHost.h"
#include "support/TestBoard.h"

#include <QtTest>
#include <QtWidgets>

namespace Kelvane::Testing {

/// A frame for the forms to talk to: it keeps a session on a test board and a settings store
/// in the board's INI file, and records what the forms ask of it.
class FakeFrameHost : public FrameHost
{
public:
    FakeFrameHost(const TestBoard& board, UserPort& port)
        : m_session(board.session(port))
        , m_settings(QString::fromStdString((board.root() / "Vandor.ini").string()))
    {
    }

    Session& session() override { return *m_session; }
    SettingsStore& settings() override { return m_settings; }
    QtPort* qtPort() override { return nullptr; }
    QWidget* frameWindow() override { return nullptr; }
    void addChildForm(QWidget* form) override { childForms.append(form); }
    void setStatusText(const QString& text) override { statusText = text; }
    void setOpenFileAreasEnabled(bool enabled) override { openFileAreasEnabled = enabled; }
    void fillAreaBox(const QStringList& rows, int chosen) override
    {
        areaBox = rows;
        areaBoxChosen = chosen;
    }
    bool openChosenArea(const QString& title) override
    {
        openedTitles.append(title);
        return true;
    }
    bool openAreaAtEntry(int, std::size_t, const std::string&) override { return false; }
    QRect defaultPlacement() const override { return { 10, 10, 600, 400 }; }
    void resetPlacement() override { ++resets; }
    void savePlacement() override { ++placementSaves; }
    QStatusBar* editorStatusBar() override { return nullptr; }
    void setEditorToolbarsEnabled(bool) override { }
    void setToolBarShown(bool) override { }
    void setStatusBarShown(bool) override { }
    void editorClosed() override { }
    bool areaOpen() const override { return editorOpen; }
    void showHelpTopic(const QString& topic) override { help.append(topic.isEmpty() ? u"Contents"_s : topic); }
    void showHelpSearch() override { help.append(u"Search"_s); }
    void showAbout() override { help.append(u"About"_s); }
    void showTechSupport() override { help.append(u"TechSupport"_s); }

    QString setting(const QString& key, const QString& section = u"Kelvane Startup"_s)
    {
        return m_settings.GetSetting(section, key);
    }

    QList<QWidget*> childForms;
    QString statusText = u"untouched"_s;
    bool openFileAreasEnabled = false;
    QStringList areaBox;
    int areaBoxChosen = -1;
    QStringList openedTitles;
    int resets = 0;
    int placementSaves = 0;
    bool editorOpen = false;
    QStringList help; // what the help items asked for, in order

private:
    std::unique_ptr<Session> m_session;
    SettingsStore m_settings;
};

/// Lets forms that closed themselves go, as the event loop would.
inline void deleteClosedForms()
{
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

} // namespace Kelvane::Testing
