#pragma once

#include "cli/Command.h"
#include "editor/EntryTable.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace Kelvane {

/// The options every command that edits an area shares.
struct EditOptions
{
    AreaOptions areas;
    std::optional<std::string> mainNode;
    bool yes = false;
    bool dryRun = false;
    std::vector<std::string> names;
};

enum class NameArguments { None, Optional, Required };

/// Declares AREA (with --all and --match), the entry names, --main-node, --yes and --dry-run.
void addEditOptions(CLI::App& command, EditOptions& options, NameArguments names, bool dryRun = true);

/// One area opened for editing from the command line, as the desktop program's editor holds
/// it: the entries in a table whose selection the named entries make. finish() saves the
/// list when something changed (or, with --dry-run, prints what would change) and names the
/// entries not listed; the run asks the Make Index question once, after its last area.
class EditSession
{
public:
    EditSession(CommandContext& context, const EditOptions& options, BoardSession& board, int number, bool single);

    Session& session() { return m_board.session(); }
    BoardSession& board() { return m_board; }
    EntryTable& table() { return m_table; }
    const CodePage& codePage() const { return m_board.codePage(); }
    std::ostream& out() { return m_context.out; }
    /// The run names this one area alone: its output is the one-area command's.
    bool single() const { return m_single; }

    /// Selects the entries the options name (ignoring case), or every entry when the options
    /// name none and allEntriesByDefault; names not in the list are remembered.
    void selectNamed(bool allEntriesByDefault);
    /// The operation was refused or stopped by a question: finish() ends with status 1.
    void setFailed() { m_failed = true; }
    /// The command printed what --dry-run would change itself: finish() prints nothing more.
    void setChangesPrinted() { m_changesPrinted = true; }

    int finish();
    /// The named entries this area's list does not hold.
    const std::vector<std::string>& unknownNames() const { return m_unknownNames; }

private:
    void printChanges();

    CommandContext& m_context;
    const EditOptions& m_options;
    BoardSession& m_board;
    bool m_single;
    EntryTable m_table;
    EntryList m_before;
    std::vector<std::string> m_unknownNames;
    bool m_failed = false;
    bool m_changesPrinted = false;
};

/// Runs an editing command over the areas its options name, each area in an EditSession of
/// its own on one board session: perArea does the work and returns edit.finish(). An area
/// that fails is reported on one line and skipped. A name held by none of the areas is
/// reported once. The Make Index question is asked once at the end, for every area the run
/// queued; an area whose list was not saved is taken off the queue.
int runEditCommand(CommandContext& context,
                   const EditOptions& options,
                   const std::function<int(EditSession& edit)>& perArea);

} // namespace Kelvane
