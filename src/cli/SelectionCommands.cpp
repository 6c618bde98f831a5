#include "cli/Commands.h"
#include "cli/EditCommand.h"

#include "editor/Operations.h"

#include <CLI/CLI.hpp>

namespace Kelvane {

namespace {

// A command that runs one of the editor's operations on the named entries (or on every
// entry when none is named and the operation allows it). Entries the operation leaves
// selected are ones it could not handle: their files were not found, or its question was
// answered Cancel.
class SelectionCommand : public Command
{
public:
    SelectionCommand(const char* name,
                     const char* description,
                     NameArguments names,
                     void (*operation)(Session&, EntryTable&))
        : m_name(name)
        , m_description(description)
        , m_names(names)
        , m_operation(operation)
    {
    }

    CLI::App* setUp(CLI::App& parent) override
    {
        CLI::App* command = parent.add_subcommand(m_name, m_description);
        addEditOptions(*command, m_options, m_names);
        return command;
    }

    int run(CommandContext& context) override
    {
        return runEditCommand(context, m_options, [&](EditSession& edit) {
            edit.selectNamed(m_names == NameArguments::Optional);
            if (edit.table().anySelected()) {
                m_operation(edit.session(), edit.table());
                if (edit.table().anySelected())
                    edit.setFailed();
            }
            return edit.finish();
        });
    }

private:
    const char* m_name;
    const char* m_description;
    NameArguments m_names;
    void (*m_operation)(Session&, EntryTable&);
    EditOptions m_options;
};

class RefreshCommand : public Command
{
public:
    CLI::App* setUp(CLI::App& parent) override
    {
        CLI::App* command = parent.add_subcommand(
            "refresh", "take the entries' dates and sizes from their files (every entry when no NAME is given)");
        addEditOptions(*command, m_options, NameArguments::Optional);
        command->add_flag("--dates", m_dates, "refresh the dates");
        command->add_flag("--sizes", m_sizes, "refresh the sizes");
        return command;
    }

    int run(CommandContext& context) override
    {
        return runEditCommand(context, m_options, [&](EditSession& edit) {
            // Both (the default) in one pass over the files: each is looked up and stat'ed once.
            const bool both = m_dates == m_sizes;
            edit.selectNamed(true);
            if (edit.table().anySelected()) {
                if (both)
                    RefreshDatesAndLengths(edit.session(), edit.table());
                else if (m_dates)
                    mnuFileDate_Click(edit.session(), edit.table());
                else
                    mnuFileLength_Click(edit.session(), edit.table());
            }
            if (edit.table().anySelected())
                edit.setFailed();
            edit.table().clearSelection();
            return edit.finish();
        });
    }

private:
    EditOptions m_options;
    bool m_dates = false;
    bool m_sizes = false;
};

} // namespace

std::unique_ptr<Command> makeReadDizCommand()
{
    return std::make_unique<SelectionCommand>("read-diz",
                                              "take the named entries' descriptions from their archives' FILE_ID.DIZ",
                                              NameArguments::Required, &mnuReadDIZ_Click);
}

std::unique_ptr<Command> makeEraseCommand()
{
    return std::make_unique<SelectionCommand>("erase", "remove the named entries from the Files List; their files stay",
                                              NameArguments::Required, &mnuEraseFilesListOnly_Click);
}

std::unique_ptr<Command> makeRefreshCommand()
{
    return std::make_unique<RefreshCommand>();
}

std::unique_ptr<Command> makeStripUploadersCommand()
{
    return std::make_unique<SelectionCommand>(
        "strip-uploaders", "cut the entries' descriptions at \"Uploaded By\" (every entry when no NAME is given)",
        NameArguments::Optional, &mnuRemoveUploadBy_Click);
}

} // namespace Kelvane
