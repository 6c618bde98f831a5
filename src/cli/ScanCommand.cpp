#include "cli/Commands.h"
#include "cli/EditCommand.h"

#include "board/Alerts.h"
#include "editor/FileScan.h"

#include <algorithm>

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
        command->add_option("--exclude", m_exclude, "leave out the files whose name matches GLOB (repeatable)")
            ->type_name("GLOB");
        command->add_option("--descriptions-from", m_descriptionsFrom,
                            "a new file without a FILE_ID.DIZ takes its description from its directory's FILES.BBS "
                            "or DESCRIPT.ION (auto: either; FILES.BBS wins a name both list)")
            ->check(CLI::IsMember({ "auto", "files-bbs", "descript-ion", "none" }))
            ->default_str("none");
        return command;
    }

    int run(CommandContext& context) override
    {
        const auto leaveOut = [this](const QString& name) {
            return std::any_of(m_exclude.begin(), m_exclude.end(),
                               [&](const std::string& glob) { return matchesGlob(name, QString::fromStdString(glob)); });
        };
        return runEditCommand(context, m_options, [&](EditSession& edit) {
            Session& session = edit.session();
            session.RealFileDates = m_realDates;
            const std::size_t before = edit.table().size();
            // Over many areas the scan runs unattended: a line per area says what it found
            // instead of a box for every area without new files.
            QuietPort quiet(session.port(), alertFor("NoNewFilesFound", {})->box);
            if (!edit.single())
                session.setPort(quiet);
            mnuFileScan_Click(session, edit.table(), m_exclude.empty() ? std::function<bool(const QString&)>() : leaveOut,
                              descriptionsFrom());
            session.setPort(edit.board().port());
            edit.board().port().endProgress();
            const std::size_t added = edit.table().size() - before;
            if (!m_options.dryRun) {
                for (std::size_t i = before; i < edit.table().size(); ++i)
                    context.out << "added " << terminalText(edit.codePage(), edit.table().at(i).FileName) << '\n';
            }
            const int status = edit.finish();
            // Asked to read the lists, the operator sees what each new entry took from them.
            if (descriptionsFrom() != DescriptionsFrom::None) {
                for (std::size_t i = before; i < edit.table().size(); ++i) {
                    const Entry& entry = edit.table().at(i);
                    context.out << terminalText(edit.codePage(), entry.FileName) << ": description\n";
                    for (const std::string& line : descriptionLines(entry.Description))
                        context.out << "    " << terminalText(edit.codePage(), line) << '\n';
                }
            }
            if (!edit.single()) {
                context.out << "area " << session.area.AreaNumber << " (" << terminalText(edit.codePage(), session.area.AreaTitle)
                            << "): " << (added == 0 ? std::string("no") : std::to_string(added))
                            << (added == 1 ? " new file" : " new files") << (m_options.dryRun && added > 0 ? " would be added" : "")
                            << '\n';
            }
            return status;
        });
    }

private:
    DescriptionsFrom descriptionsFrom() const
    {
        if (m_descriptionsFrom == "auto")
            return DescriptionsFrom::Auto;
        if (m_descriptionsFrom == "files-bbs")
            return DescriptionsFrom::FilesBbs;
        if (m_descriptionsFrom == "descript-ion")
            return DescriptionsFrom::DescriptIon;
        return DescriptionsFrom::None;
    }

    // Passes every box on but one.
    class QuietPort : public UserPort
    {
    public:
        QuietPort(UserPort& inner, MessageBox skipped)
            : m_inner(inner)
            , m_skipped(std::move(skipped))
        {
        }
        Answer messageBox(const MessageBox& box) override
        {
            return box == m_skipped ? Answer::Ok : m_inner.messageBox(box);
        }
        void processEvents() override { m_inner.processEvents(); }
        void setBusy(bool busy) override { m_inner.setBusy(busy); }
        void progressText(ProgressLine line, const QString& text) override { m_inner.progressText(line, text); }
        void progressValue(qint64 value, qint64 maximum) override { m_inner.progressValue(value, maximum); }

    private:
        UserPort& m_inner;
        MessageBox m_skipped;
    };

    EditOptions m_options;
    bool m_realDates = false;
    std::vector<std::string> m_exclude;
    std::string m_descriptionsFrom = "none";
};

} // namespace

std::unique_ptr<Command> makeScanCommand()
{
    return std::make_unique<ScanCommand>();
}

} // namespace Kelvane
