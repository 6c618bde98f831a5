#pragma once

#include "board/Alerts.h"
#include "board/UserPort.h"

#include <deque>
#include <functional>
#include <string_view>
#include <vector>

namespace Kelvane::Testing {

/// The tests' user port: it answers the boxes a test expects, in order, and fails the test
/// on any box it did not expect or any expected box that never came.
class ScriptedPort : public UserPort
{
public:
    ~ScriptedPort() override;

    /// The box exactly.
    ScriptedPort& expect(const MessageBox& box, Answer answer = Answer::Ok);
    /// The alert of key, as the catalogue builds it with context.
    ScriptedPort& expectAlert(std::string_view key, Answer answer = Answer::Ok, const AlertContext& context = {});
    /// The error box of a trap in procedure.
    ScriptedPort& expectError(std::string_view procedure, Answer answer = Answer::Cancel);
    /// A box with this title whose text contains part.
    ScriptedPort& expectContaining(const QString& title, const QString& part, Answer answer = Answer::Ok);

    Answer messageBox(const MessageBox& box) override;
    QString browseForFolder(const QString& prompt) override;

    /// Every box shown, expected or not.
    const std::vector<MessageBox>& shown() const { return m_shown; }
    bool done() const { return m_expected.empty(); }
    void setFolder(const QString& folder) { m_folder = folder; }
    void processEvents() override
    {
        ++eventTurns;
        if (onEvents)
            onEvents(eventTurns);
    }

    /// How often the event loop was let run, and what a test does at each turn (a press of
    /// a stop button, say).
    int eventTurns = 0;
    std::function<void(int turn)> onEvents;

private:
    struct Expected
    {
        std::function<bool(const MessageBox&)> matches;
        QString description;
        Answer answer;
    };

    std::deque<Expected> m_expected;
    std::vector<MessageBox> m_shown;
    QString m_folder;
};

} // namespace Kelvane::Testing
