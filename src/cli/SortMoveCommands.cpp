#include "cli/Commands.h"
#include "cli/EditCommand.h"

#include "board/FileLookup.h"
#include "platform/CodePage.h"
#include "sortmove/MoveFiles.h"
#include "sortmove/SortView.h"

#include <CLI/CLI.hpp>

using namespace Qt::StringLiterals;

namespace Kelvane {

namespace {

class SortCommand : public Command
{
public:
    CLI::App* setUp(CLI::App& parent) override
    {
        CLI::App* command = parent.add_subcommand("sort", "put the area's entries in order of name, size or date");
        addEditOptions(*command, m_options, NameArguments::None);
        command->add_option("--by", m_by, "name, size or date")
            ->required()
            ->check(CLI::IsMember({ "name", "size", "date" }));
        command->add_flag("--descending", m_descending, "largest, latest or last first");
        return command;
    }

    // One or two clicks on the column heading, as the sort view would need for the order
    // asked: every click flips the direction, and a first click sorts names descending but
    // sizes and dates ascending.
    int run(CommandContext& context) override
    {
        return runEditCommand(context, m_options, [&](EditSession& edit) { return sortIn(edit); });
    }

private:
    int sortIn(EditSession& edit)
    {
        Session& session = edit.session();
        session.SortToggle = false; // every area is sorted as a first opening of the sort view would
        if (edit.table().empty()) {
            session.ShowAlert("NoFilesToSort");
            return edit.finish();
        }
        const int column = m_by == "name" ? SortView::FileName : m_by == "size" ? SortView::Size : SortView::Date;
        SortView view(session, edit.table());
        view.columnClick(column);
        const bool descending = column == SortView::FileName ? session.SortToggle : !session.SortToggle;
        if (descending != m_descending)
            view.columnClick(column);
        view.writeBack();
        return edit.finish();
    }

    EditOptions m_options;
    std::string m_by;
    bool m_descending = false;
};

class MoveCommand : public Command
{
public:
    CLI::App* setUp(CLI::App& parent) override
    {
        CLI::App* command = parent.add_subcommand(
            "move", "move the named entries' files to another area and their entries to its Files List");
        addEditOptions(*command, m_options, NameArguments::Required);
        command->add_option("--to", m_target, "the target area's record number or exact title")->required();
        return command;
    }

    int run(CommandContext& context) override
    {
        return runEditCommand(context, m_options, [&](EditSession& edit) { return moveFrom(edit, context); });
    }

private:
    int moveFrom(EditSession& edit, CommandContext& context)
    {
        edit.selectNamed(false);
        Session& session = edit.session();
        const int target = targetNumber(edit);
        if (!edit.table().anySelected())
            return edit.finish();
        if (!acceptMoveTarget(session, target)) {
            edit.setFailed();
            return edit.finish();
        }
        if (m_options.dryRun) {
            FileLookup lookup(edit.codePage());
            for (const std::size_t index : edit.table().selectedIndices()) {
                const std::string& name = edit.table().at(index).FileName;
                context.out << "would move " << terminalText(edit.codePage(), name) << " to "
                            << terminalText(session.target.TargetFilePath)
                            << (lookup.findInSlots(session.area.FilePaths, name) ? ""
                                                                                 : " (its file is in no directory)")
                            << '\n';
            }
            edit.table().clearSelection();
            return edit.finish();
        }
        const std::size_t moved = MoveFiles(session, edit.table());
        edit.board().port().endProgress();
        context.out << "moved " << moved << (moved == 1 ? " entry" : " entries") << " to "
                    << terminalText(session.target.TargetFileListPath) << '\n';
        return edit.finish();
    }

    int targetNumber(EditSession& edit)
    {
        const int number = edit.board().areaNumberOf(edit.board().records(), m_target);
        if (number == 0)
            throw CommandError(
                u"there is no area \"%1\" to move to on this board"_s.arg(QString::fromStdString(m_target)));
        return number;
    }

    EditOptions m_options;
    std::string m_target;
};

} // namespace

std::unique_ptr<Command> makeSortCommand()
{
    return std::make_unique<SortCommand>();
}

std::unique_ptr<Command> makeMoveCommand()
{
    return std::make_unique<MoveCommand>();
}

} // namespace Kelvane
