#pragma once

#include "accessories/Accessories.h"
#include "board/Session.h"
#include "platform/SettingsStore.h"
#include "shell/EditorForm.h"
#include "shell/MainFrame.h"
#include "shell/ScriptedQtPort.h"
#include "support/TestBoard.h"

#include <QtTest>
#include <QtWidgets>

namespace Kelvane::Testing {

/// The desktop program on a board of its own: the real main frame over a scripted port, the
/// settings store in the board's directory, the animations and the help in place.
class FrameFixture : public ::testing::Test
{
protected:
    void SetUp() override
    {
        setUpProgramDirectory(board.programDirectory());
        session = board.session(port);
        settings = std::make_unique<SettingsStore>();
        settings->SaveSetting(QStringLiteral("Vandor Startup"), QStringLiteral("Vandor Main Path"),
                              QString::fromStdString(board.mainNode().string()));
    }

    void TearDown() override
    {
        frame.reset();
        EXPECT_TRUE(port.script.done()) << "a box the test expected never came";
    }

    void makeFrame()
    {
        frame = std::make_unique<MainFrame>(*session, port, *settings);
        frame->show();
        // Shortcuts reach only the active window.
        frame->activateWindow();
        EXPECT_TRUE(QTest::qWaitForWindowActive(frame.get()));
    }

    /// An area named name whose Files List lists the given lines and whose directory holds
    /// files (name, contents).
    int addArea(const std::string& name,
                const std::string& list,
                const std::vector<std::pair<std::string, std::string>>& files = {})
    {
        AreaRecord record = board.simpleRecord(name);
        for (const auto& [file, contents] : files)
            TestBoard::writeFile(std::filesystem::path(record.path) / file, contents);
        TestBoard::writeFile(record.filesList, list);
        return board.addArea(record);
    }

    std::filesystem::path areaDirectory(const std::string& name) const { return board.root() / "areas" / name; }

    /// One Files List line as Kelvane writes it: name, size, date and a one-line
    /// description in its 45 columns.
    static std::string line(const std::string& name, long size, std::string description)
    {
        std::string text = name;
        text.resize(12, ' ');
        const std::string sizeText = std::to_string(size);
        description.resize(std::max<std::size_t>(description.size(), 45), ' ');
        return text + std::string(9 - sizeText.size(), ' ') + sizeText + " 01-02-96 " + description + "\r\n";
    }

    /// Lets the forms that closed be deleted, as the event loop would.
    static void settle() { QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete); }

    EditorForm* openArea(int number)
    {
        if (!frame)
            makeFrame();
        EXPECT_TRUE(frame->openArea(number));
        return frame->editor();
    }

    template <typename Widget> Widget* find(const QString& name) const
    {
        auto* widget = frame->findChild<Widget*>(name);
        EXPECT_NE(widget, nullptr) << name.toStdString();
        return widget;
    }

    QAction* action(const QString& name) const { return find<QAction>(name); }

    /// Types text over the description of the current entry, as a user would.
    void typeDescription(const QString& text)
    {
        auto* box = find<QPlainTextEdit>(u"txtFileDescription"_s);
        box->setFocus();
        box->selectAll();
        QTest::keyClicks(box, text);
    }

    /// Clicks row of the editor's list as a user would.
    void clickRow(int row, Qt::KeyboardModifiers modifiers = {})
    {
        auto* names = find<QListView>(QStringLiteral("lstFileNames"));
        const QRect rect = names->visualRect(names->model()->index(row, 0));
        QTest::mouseClick(names->viewport(), Qt::LeftButton, modifiers, rect.center());
    }

    TestBoard board;
    ScriptedQtPort port;
    std::unique_ptr<Session> session;
    std::unique_ptr<SettingsStore> settings;
    std::unique_ptr<MainFrame> frame;
};

} // namespace Kelvane::Testing
