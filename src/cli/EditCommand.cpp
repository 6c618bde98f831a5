#include "cli/EditCommand.h"

#include "index/MakeIndex.h"
#include "platform/CodePage.h"
#include "platform/FileNames.h"

#include <CLI/CLI.hpp>

#include <QHash>
#include <QSet>

#include <ostream>

using namespace Qt::StringLiterals;

namespace Kelvane {

void addEditOptions(CLI::App& command, EditOptions& options, NameArguments names, bool dryRun)
{
    addAreaOptions(command, options.areas, names == NameArguments::None ? nullptr : &options.names,
                   names == NameArguments::Required);
    addMainNodeOption(command, options.mainNode);
    command.add_flag("--yes", options.yes, "answer OK or Yes to every question");
    if (dryRun)
        command.add_flag("--dry-run", options.dryRun, "print what would be done and change nothing");
}

EditSession::EditSession(CommandContext& context,
                         const EditOptions& options,
                         BoardSession& board,
                         int number,
                         bool single)
    : m_context(context)
    , m_options(options)
    , m_board(board)
    , m_single(single)
{
    m_board.port().setShowProgress(context.interactive);
    m_table.reset(m_board.loadArea(number));
    m_before = m_table.entries();
}

int runEditCommand(CommandContext& context,
                   const EditOptions& options,
                   const std::function<int(EditSession& edit)>& perArea)
{
    BoardSession board(context, options.mainNode, options.yes);
    AreaRun run(context, board, options.areas.selection());
    Session& session = board.session();
    // The names no area held so far; the first area's unknown names start it.
    std::optional<std::vector<std::string>> unknown;
    run.forEach([&](int number) {
        const std::vector<int> queuedBefore = session.makeIndexList;
        try {
            EditSession edit(context, options, board, number, run.single());
            const int status = perArea(edit);
            std::vector<std::string> still;
            for (const std::string& name : edit.unknownNames()) {
                if (!unknown || std::find(unknown->begin(), unknown->end(), name) != unknown->end())
                    still.push_back(name);
            }
            unknown = std::move(still);
            if (session.ChangesMade && !options.dryRun)
                session.makeIndexList = queuedBefore; // not saved: nothing to index
            return status;
        } catch (...) {
            session.makeIndexList = queuedBefore;
            throw;
        }
    });
    if (!run.single() && unknown) {
        for (const std::string& name : *unknown)
            context.err << "kelvane: " << name << " is in none of these areas' Files Lists\n";
        if (!unknown->empty())
            run.setFailed();
    }
    session.IndexPending = !session.makeIndexList.empty();
    if (session.IndexPending && !options.dryRun) {
        // The desktop program asks this at its end; a command ends the same way.
        if (session.ShowAlert("MakeIndex")) {
            Make_Index_File(session);
        } else {
            QStringList numbers;
            for (const int number : session.makeIndexList)
                numbers.append(QString::number(number));
            context.err << "The index files were not rebuilt; kelvane index " << numbers.join(u' ').toStdString()
                        << " rebuilds them later.\n";
        }
    }
    return run.failed() ? ExitFailed : ExitDone;
}

void EditSession::selectNamed(bool allEntriesByDefault)
{
    m_unknownNames.clear();
    if (m_options.names.empty()) {
        if (allEntriesByDefault)
            m_table.selectAll();
        return;
    }
    const CodePage& page = codePage();
    QHash<QString, std::vector<std::size_t>> byName;
    for (std::size_t i = 0; i < m_table.size(); ++i)
        byName[foldName(page.toUnicode(m_table.at(i).FileName))].push_back(i);
    EntryTable::Batch batch(m_table);
    for (const std::string& name : m_options.names) {
        const auto found = byName.constFind(foldName(QString::fromStdString(name)));
        if (found == byName.cend()) {
            m_unknownNames.push_back(name);
            continue;
        }
        for (const std::size_t index : *found)
            m_table.setSelected(index, true);
    }
}

int EditSession::finish()
{
    Session& session = m_board.session();
    if (m_single) {
        for (const std::string& name : m_unknownNames)
            m_context.err << "kelvane: " << name << " is not in the Files List\n";
    }
    if (m_options.dryRun) {
        if (!m_changesPrinted)
            printChanges();
    } else if (session.ChangesMade) {
        if (!m_board.save(m_table.entries()))
            m_failed = true;
        else
            session.ChangesMade = false;
    }
    return m_failed || (m_single && !m_unknownNames.empty()) ? ExitFailed : ExitDone;
}

void EditSession::printChanges()
{
    const CodePage& page = codePage();
    const EntryList& after = m_table.entries();
    const auto name = [&](const Entry& entry) { return terminalText(page, entry.FileName); };
    std::ostream& out = m_context.out;
    if (!m_board.session().ChangesMade && after == m_before) {
        out << "Nothing would change.\n";
        return;
    }
    if (after.size() > m_before.size() && std::equal(m_before.begin(), m_before.end(), after.begin())) {
        for (std::size_t i = m_before.size(); i < after.size(); ++i)
            out << "would add " << name(after[i]) << '\n';
        return;
    }
    if (after.size() < m_before.size()) {
        QHash<QString, int> kept;
        for (const Entry& entry : after)
            ++kept[page.toUnicode(entry.FileName)];
        for (const Entry& entry : m_before) {
            int& count = kept[page.toUnicode(entry.FileName)];
            if (count > 0)
                --count;
            else
                out << "would remove " << name(entry) << '\n';
        }
        return;
    }
    bool reordered = false;
    for (std::size_t i = 0; i < after.size() && !reordered; ++i)
        reordered = after[i].FileName != m_before[i].FileName;
    if (reordered) {
        out << "would put the entries in this order:\n";
        for (const Entry& entry : after)
            out << "  " << name(entry) << '\n';
        return;
    }
    for (std::size_t i = 0; i < after.size(); ++i) {
        const Entry& old = m_before[i];
        const Entry& now = after[i];
        if (old.Size != now.Size)
            out << name(now) << ": size " << terminalText(page, old.Size) << " -> " << terminalText(page, now.Size)
                << '\n';
        if (old.Date != now.Date)
            out << name(now) << ": date " << terminalText(page, old.Date) << " -> " << terminalText(page, now.Date)
                << '\n';
        if (old.Description != now.Description) {
            out << name(now) << ": description\n";
            for (const std::string& line : descriptionLines(now.Description))
                out << "    " << terminalText(page, line) << '\n';
        }
    }
}

} // namespace Kelvane
