#include "cli/Commands.h"
#include "cli/EditCommand.h"

#include "board/FileLookup.h"
#include "editor/Operations.h"
#include "platform/CodePage.h"

#include <CLI/CLI.hpp>

namespace Kelvane {

namespace {

class DeleteCommand : public Command
{
public:
    CLI::App* setUp(CLI::App& parent) override
    {
        CLI::App* command = parent.add_subcommand(
            "delete", "remove the named entries and delete their files from the area's directories");
        addEditOptions(*command, m_options, NameArguments::Required);
        return command;
    }

    int run(CommandContext& context) override
    {
        return runEditCommand(context, m_options, [&](EditSession& edit) { return deleteIn(edit, context); });
    }

private:
    int deleteIn(EditSession& edit, CommandContext& context)
    {
        edit.selectNamed(false);
        if (!edit.table().anySelected())
            return edit.finish();
        if (m_options.dryRun)
            return dryRun(edit, context);
        const DeleteReport report = mnuDeleteFiles_Click(edit.session(), edit.table());
        const CodePage& page = edit.codePage();
        for (const std::string& name : report.deleted)
            context.out << "deleted " << terminalText(page, name) << '\n';
        for (const std::string& name : report.notFound)
            context.err << "kelvane: " << terminalText(page, name)
                        << " was in no directory of the area; its entry was removed\n";
        for (const std::string& name : report.notDeleted)
            context.err << "kelvane: " << terminalText(page, name)
                        << " could not be deleted (see Kelvane.err); its entry was removed\n";
        if (!report.asked || !report.notFound.empty() || !report.notDeleted.empty())
            edit.setFailed();
        return edit.finish();
    }

    // Only says which files the look-up finds: nothing is deleted or removed.
    static int dryRun(EditSession& edit, CommandContext& context)
    {
        FileLookup lookup(edit.codePage());
        const CurrentArea& area = edit.session().area;
        if (area.IsCDRom || area.IsOffline)
            context.out << "nothing would be deleted: the area is on a CD-ROM or offline\n";
        for (const std::size_t index : edit.table().selectedIndices()) {
            const std::string& name = edit.table().at(index).FileName;
            const auto found = lookup.findInSlots(area.FilePaths, name);
            if (area.IsCDRom || area.IsOffline)
                continue;
            if (found)
                context.out << "would delete " << terminalText(found->second) << '\n';
            else
                context.out << "would remove " << terminalText(edit.codePage(), name)
                            << " (its file is in no directory)\n";
        }
        edit.table().clearSelection();
        return edit.finish();
    }

    EditOptions m_options;
};

} // namespace

std::unique_ptr<Command> makeDeleteCommand()
{
    return std::make_unique<DeleteCommand>();
}

} // namespace Kelvane
