#pragma once

#include <QString>

#include <span>
#include <string>

namespace Kelvane {

enum class Buttons { Ok, OkCancel, YesNo, RetryCancel, OkHelp };
enum class Icon { None, Critical, Question, Information };
enum class Answer { Ok, Cancel, Yes, No, Retry };

/// The lines a long operation's progress shows: the folder being worked through, the item
/// in hand, a count, and a status text.
enum class ProgressLine { Path, Item, Count, Status };

/// One file the index rebuild found: the name it is indexed under (upper-case bytes of the
/// board's code page) and the slot of the area directory that holds it.
struct IndexRow
{
    std::string name;
    int slot = 0;
};

/// One modal message box. Line breaks in text are single CR characters.
struct MessageBox
{
    QString title;
    QString text;
    Buttons buttons = Buttons::Ok;
    Icon icon = Icon::None;
    int helpContext = 0; // a topic of the program's help, 0 for none

    bool operator==(const MessageBox&) const = default;
};

/// The one way the operations talk to the user. The desktop program shows message boxes,
/// the command line writes text and reads its flags, and the tests answer from a script;
/// the operations never ask which one they were given.
class UserPort
{
public:
    virtual ~UserPort() = default;

    /// Shows box modally and returns the button pressed.
    virtual Answer messageBox(const MessageBox& box) = 0;
    /// Lets the event loop run once.
    virtual void processEvents() { }
    /// The busy pointer on or off.
    virtual void setBusy(bool busy) { Q_UNUSED(busy); }
    /// One line of a long operation's progress.
    virtual void progressText(ProgressLine line, const QString& text)
    {
        Q_UNUSED(line);
        Q_UNUSED(text);
    }
    /// The position of a long operation: value of maximum.
    virtual void progressValue(qint64 value, qint64 maximum)
    {
        Q_UNUSED(value);
        Q_UNUSED(maximum);
    }
    /// Rows for the index rebuild's working list, the files of one directory at a time.
    virtual void indexRows(std::span<const IndexRow> rows) { Q_UNUSED(rows); }
    /// The index rebuild's working list emptied: an area's index was written.
    virtual void clearIndexRows() { }
    /// The platform's folder chooser: the chosen folder, or empty when cancelled.
    virtual QString browseForFolder(const QString& prompt)
    {
        Q_UNUSED(prompt);
        return {};
    }
};

/// The busy pointer for the life of a scope.
class BusyPointer
{
public:
    explicit BusyPointer(UserPort& port)
        : m_port(port)
    {
        m_port.setBusy(true);
    }
    ~BusyPointer() { m_port.setBusy(false); }
    BusyPointer(const BusyPointer&) = delete;
    BusyPointer& operator=(const BusyPointer&) = delete;

private:
    UserPort& m_port;
};

/// The answer a box gets when nobody can answer it: the one that changes nothing.
Answer safeAnswer(Buttons buttons);
/// The answer that agrees: OK, Yes, Retry.
Answer agreeingAnswer(Buttons buttons);

/// A port with nobody to ask: every box gets its safe answer (or, agreeing, the answer that
/// agrees) and nothing is shown.
class SilentPort : public UserPort
{
public:
    explicit SilentPort(bool agree = false)
        : m_agree(agree)
    {
    }
    Answer messageBox(const MessageBox& box) override
    {
        return m_agree ? agreeingAnswer(box.buttons) : safeAnswer(box.buttons);
    }

private:
    bool m_agree;
};

} // namespace Kelvane
