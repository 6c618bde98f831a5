#include "cli/Commands.h"

#include "platform/FileNames.h"

#include <CLI/CLI.hpp>

using namespace Qt::StringLiterals;

namespace Kelvane {

namespace {

class RewriteCommand : public Command
{
public:
    CLI::App* setUp(CLI::App& parent) override
    {
        CLI::App* command = parent.add_subcommand(
            "rewrite",
            "read an area's Files List and write it back in the fixed-column layout: descriptions re-wrapped, long "
            "names written as their short aliases, FILES.BAK kept");
        addAreaOptions(*command, m_areas, nullptr, false);
        addMainNodeOption(*command, m_mainNode);
        command->add_flag("--yes", m_yes, "answer OK or Yes to every question");
        return command;
    }

    int run(CommandContext& context) override
    {
        BoardSession board(context, m_mainNode, m_yes);
        AreaRun run(context, board, m_areas.selection());
        run.forEach([&](int number) {
            const EntryList entries = board.loadArea(number);
            if (!board.save(entries)) {
                throw CommandError(u"the Files List "_s + unicodeFromPath(board.session().area.FileListPath)
                                   + u" was not saved; the previous list is kept"_s);
            }
            return ExitDone;
        });
        return run.failed() ? ExitFailed : ExitDone;
    }

private:
    AreaOptions m_areas;
    std::optional<std::string> m_mainNode;
    bool m_yes = false;
};

} // namespace

std::unique_ptr<Command> makeRewriteCommand()
{
    return std::make_unique<RewriteCommand>();
}

} // namespace Kelvane
