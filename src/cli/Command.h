#pragma once

#include "board/FilesList.h"
#include "board/Session.h"
#include "boardwide/AreaSet.h"
#include "boardwide/BoardReader.h"
#include "cli/TextPort.h"
#include "platform/SettingsStore.h"

#include <QString>

#include <filesystem>
#include <functional>
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
    bool errorIsTerminal = false; // standard error is a terminal: progress is shown there
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
    /// The areas a selection names (an unknown one throws). A run over more than one area
    /// has one damaged record skip only its own area.
    AreaSet areaSet(const AreaSelection& selection);
    /// The board's records, read one by one (after areaSet).
    const Board& board();
    /// Makes area (a record number or an exact title) the current area and loads it; the
    /// loader's alerts are shown and a failure throws.
    void chooseArea(const std::string& area);
    void chooseArea(int number);
    /// chooseArea, then reads its Files List.
    EntryList loadArea(const std::string& area);
    EntryList loadArea(int number);
    /// Saves entries to the current area's Files List. A list the board changed on disk
    /// since it was read is refused (a CommandError) unless --yes was given.
    bool save(const EntryList& entries);

private:
    SettingsStore m_settings;
    const CodePage* m_page;
    TextPort m_port;
    std::unique_ptr<Session> m_session;
    std::optional<Board> m_board;
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

/// How a command's areas were given on its command line.
struct AreaOptions
{
    std::vector<std::string> words;
    std::string word; // the one AREA of a command whose entry names follow it
    bool all = false;
    std::vector<std::string> match;

    AreaSelection selection() const { return { words, all, match }; }
};

/// Declares AREA, --all and --match GLOB (repeatable) on command. Without names, AREA is one
/// or more words; with names, it is one word and the names follow it, and after --all or
/// --match every word is a name. AREA is required unless --all or --match is given, and
/// names when namesRequired.
void addAreaOptions(CLI::App& command, AreaOptions& areas, std::vector<std::string>* names, bool namesRequired);

/// Each area of a set in turn: the set's areas in record order; one that fails is reported
/// on one line and skipped, and the run ends with status 1. A run over more than one area
/// shows its progress on a terminal.
class AreaRun
{
public:
    AreaRun(CommandContext& context, BoardSession& board, const AreaSelection& selection);

    const AreaSet& set() const { return m_set; }
    bool single() const { return m_set.single; }
    /// Calls work for each area; work's status, a CommandError it throws (its line printed)
    /// or a check that fails before (a damaged record, a missing directory) count as failures.
    void forEach(const std::function<int(int number)>& work);
    bool failed() const { return m_failed; }
    void setFailed() { m_failed = true; }

private:
    CommandContext& m_context;
    BoardSession& m_board;
    AreaSet m_set;
    bool m_failed = false;
};

} // namespace Kelvane
