#include "cli/Commands.h"
#include "cli/EditCommand.h"

#include "board/CurrentArea.h"
#include "index/MakeIndex.h"
#include "platform/CodePage.h"

#include <CLI/CLI.hpp>

using namespace Qt::StringLiterals;

namespace Kelvane {

namespace {

class IndexCommand : public Command
{
public:
    CLI::App* setUp(CLI::App& parent) override
    {
        CLI::App* command = parent.add_subcommand("index", "rebuild the index files of the areas");
        addAreaOptions(*command, m_areas, nullptr, false);
        addMainNodeOption(*command, m_mainNode);
        command->add_flag("--yes", m_yes, "answer OK or Yes to every question");
        command->add_flag("--dry-run", m_dryRun, "print which index files would be rebuilt");
        return command;
    }

    int run(CommandContext& context) override
    {
        BoardSession board(context, m_mainNode, m_yes);
        const AreaSet set = board.areaSet(m_areas.selection());
        const CodePage& page = board.codePage();
        Session& session = board.session();
        // Areas named by number or title must have an index; --all and --match take the
        // areas that have one.
        const bool quiet = m_areas.all || !m_areas.match.empty();
        bool failed = false;
        for (const int number : set.numbers) {
            const BoardArea& area = board.board().area(number);
            if (!area.record) {
                context.err << "kelvane: " << AreaProblem { number, {}, u"its record in Farea.dat is damaged ("_s + area.damage + u')' }.line(page).toStdString() << '\n';
                failed = true;
                continue;
            }
            const AreaRecord& record = *area.record;
            if (record.index.empty()) {
                if (quiet)
                    continue;
                context.err << "kelvane: area " << number << " (" << terminalText(page, record.title)
                            << ") has no index path; skipped\n";
                failed = true;
                continue;
            }
            if (m_dryRun)
                context.out << "would rebuild " << terminalText(page, record.index) << '\n';
            else
                AddToMakeIndexList(session, number);
        }
        if (!m_dryRun && !session.makeIndexList.empty()) {
            Make_Index_File(session);
            context.out << "rebuilt the index files\n";
        }
        return failed ? ExitFailed : ExitDone;
    }

private:
    AreaOptions m_areas;
    std::optional<std::string> m_mainNode;
    bool m_yes = false;
    bool m_dryRun = false;
};

} // namespace

std::unique_ptr<Command> makeIndexCommand()
{
    return std::make_unique<IndexCommand>();
}

} // namespace Kelvane
