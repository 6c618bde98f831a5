#include "cli/Commands.h"
#include "cli/EditCommand.h"

#include "editor/FileScan.h"

#include <CLI/CLI.hpp>

namespace Kelvane {

namespace {

class ScanCommand : public Command
{
public:
    CLI::App* setUp(CLI::App& parent) override
    {
        CLI::App* command = parent.add_subcommand(
            "scan", "add an entry for every file of the area's directories that the Files List does not hold yet");
        addEditOptions(*command, m_options, NameArguments::None);
        command->add_flag("--real-dates", m_realDates, "date new entries by their files, not today");
        return command;
    }

    int run(CommandContext& context) override
    {
        EditSession edit(context, m_options);
        edit.session().RealFileDates = m_realDates;
        const std::size_t before = edit.table().size();
        mnuFileScan_Click(edit.session(), edit.table());
        edit.board().port().endProgress();
        if (!m_options.dryRun) {
            for (std::size_t i = before; i < edit.table().size(); ++i)
                context.out << "added " << terminalText(edit.codePage(), edit.table().at(i).FileName) << '\n';
        }
        return edit.finish();
    }

private:
    EditOptions m_options;
    bool m_realDates = false;
};

} // namespace

std::unique_ptr<Command> makeScanCommand()
{
    return std::make_unique<ScanCommand>();
}

} // namespace Kelvane
