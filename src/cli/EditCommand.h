#pragma once

#include "cli/Command.h"
#include "editor/EntryTable.h"

#include <optional>
#include <string>
#include <vector>

namespace Kelvane {

/// The options every command that edits an area shares.
struct EditOptions
{
    std::string area;
    std::optional<std::string> mainNode;
    bool yes = false;
    bool dryRun = false;
    std::vector<std::string> names;
};

enum class NameArguments { None, Optional, Required };

/// Declares AREA, the entry names, --main-node, --yes and --dry-run on command.
void addEditOptions(CLI::App& command, EditOptions& options, NameArguments names, bool dryRun = true);

/// One area opened for editing from the command line, as the desktop program's editor holds
/// it: the entries in a table whose selection the named entries make. finish() saves the
/// list when something changed (or, with --dry-run, prints what would change), names the
/// entries not listed, and asks the Make Index question when an index waits.
class EditSession
{
public:
    EditSession(CommandContext& context, const EditOptions& options);

    Session& session() { return m_board.session(); }
    BoardSession& board() { return m_board; }
    EntryTable& table() { return m_table; }
    const CodePage& codePage() const { return m_board.codePage(); }
    std::ostream& out() { return m_context.out; }

    /// Selects the entries the options name (ignoring case), or every entry when the options
    /// name none and allEntriesByDefault; names not in the list are remembered.
    void selectNamed(bool allEntriesByDefault);
    /// The operation was refused or stopped by a question: finish() ends with status 1.
    void setFailed() { m_failed = true; }

    int finish();

private:
    void printChanges();
    void rebuildPendingIndexes();

    CommandContext& m_context;
    const EditOptions& m_options;
    BoardSession m_board;
    EntryTable m_table;
    EntryList m_before;
    std::vector<std::string> m_unknownNames;
    bool m_failed = false;
};

} // namespace Kelvane
