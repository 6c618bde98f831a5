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
        command->add_option("AREA", m_area, "the area's record number or its exact title")->required();
        addMainNodeOption(*command, m_mainNode);
        command->add_flag("--yes", m_yes, "answer OK or Yes to every question");
        return command;
    }

    int run(CommandContext& context) override
    {
        BoardSession board(context, m_mainNode, m_yes);
        const EntryList entries = board.loadArea(m_area);
        if (!board.save(entries)) {
            throw CommandError(u"the Files List "_s + unicodeFromPath(board.session().area.FileListPath)
                               + u" was not saved; the previous list is kept"_s);
        }
        return ExitDone;
    }

private:
    std::string m_area;
    std::optional<std::string> m_mainNode;
    bool m_yes = false;
};

} // namespace

std::unique_ptr<Command> makeRewriteCommand()
{
    return std::make_unique<RewriteCommand>();
}

} // namespace Kelvane
