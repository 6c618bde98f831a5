#pragma once

#include "board/FilesList.h"
#include "board/Session.h"
#include "cli/TextPort.h"
#include "platform/SettingsStore.h"

#include <QString>

#include <filesystem>
#include <iosfwd>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

namespace CLI {
class App;
}

namespace Kelvane {

/// Exit statuses of every command.
enum ExitStatus { ExitDone = 0, ExitFailed = 1, ExitUsage = 2 };

/// The streams and the terminal a command talks through; tests give string streams.
struct CommandContext
{
    std::ostream& out;
    std::ostream& err;
    std::istream& in;
    bool interactive = false; // standard input is a terminal
};

/// A failure a command reports as one line on standard error, ending with exit status 1.
class CommandError : public std::runtime_error
{
public:
    explicit CommandError(const QString& message);
};

/// One subcommand: it declares its options on the parser and runs when chosen.
class Command
{
public:
    virtual ~Command() = default;
    /// Adds the subcommand to parent and binds its options to this object's members.
    virtual CLI::App* setUp(CLI::App& parent) = 0;
    virtual int run(CommandContext& context) = 0;
};

/// What the commands that work on a board share: the settings store, the text port and a
/// session on the program's directory with the chosen code page.
class BoardSession
{
public:
    BoardSession(CommandContext& context, const std::optional<std::string>& mainNode, bool assumeYes);

    Session& session() { return *m_session; }
    TextPort& port() { return m_port; }
    const CodePage& codePage() const { return *m_page; }
    SettingsStore& settings() { return m_settings; }

    /// The main node path: the option, else the settings store's "Vandor Main Path". An
    /// unset path or a board without area records shows its alert and throws.
    std::filesystem::path mainNode();
    /// Every area record of the board.
    std::vector<AreaRecord> records();
    /// The number of the area a command names (a record number or an exact title); 0 when
    /// the board has no such area.
    int areaNumberOf(const std::vector<AreaRecord>& records, const std::string& area) const;
    /// Makes area (a record number or an exact title) the current area and loads it; the
    /// loader's alerts are shown and a failure throws.
    void chooseArea(const std::string& area);
    /// chooseArea, then reads its Files List.
    EntryList loadArea(const std::string& area);
    /// Saves entries to the current area's Files List. A list the board changed on disk
    /// since it was read is refused (a CommandError) unless --yes was given.
    bool save(const EntryList& entries);

private:
    SettingsStore m_settings;
    const CodePage* m_page;
    TextPort m_port;
    std::unique_ptr<Session> m_session;
    std::optional<std::string> m_mainNodeOption;
    bool m_assumeYes;
};

/// Text for the terminal from bytes in the code page.
std::string terminalText(const CodePage& page, std::string_view bytes);
/// A path for the terminal.
std::string terminalText(const std::filesystem::path& path);

/// A description's lines without their line ends.
std::vector<std::string> descriptionLines(const std::string& description);

/// Adds the options every board command shares.
void addMainNodeOption(CLI::App& command, std::optional<std::string>& mainNode);

} // namespace Kelvane
