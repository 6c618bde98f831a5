#include "cli/Commands.h"
#include "cli/EditCommand.h"

#include "clean/DescriptionCleaner.h"
#include "platform/CodePage.h"
#include "platform/FileNames.h"
#include "platform/SettingsStore.h"

#include <CLI/CLI.hpp>

#include <ostream>

using namespace Qt::StringLiterals;

namespace Kelvane {

namespace {

// A description line for the terminal, its control bytes in caret notation ("^[" for ESC),
// so a dry run shows the escape sequences it would take out instead of playing them.
std::string caretText(const CodePage& page, std::string_view line)
{
    QString text;
    for (const char byte : line) {
        const auto value = static_cast<unsigned char>(byte);
        if (value < 0x20 || value == 0x7F) {
            text += u'^';
            text += QChar(static_cast<char16_t>(value ^ 0x40));
        } else {
            text += page.character(value);
        }
    }
    return text.toStdString();
}

std::string counted(std::size_t count, const char* one)
{
    return std::to_string(count) + ' ' + one + (count == 1 ? "" : "s");
}

class CleanCommand : public Command
{
public:
    CLI::App* setUp(CLI::App& parent) override
    {
        CLI::App* command = parent.add_subcommand(
            "clean",
            "take colour codes, escape sequences, control characters, blank lines and the lines a rules "
            "file names out of descriptions (every entry when no NAME is given)");
        addEditOptions(*command, m_options, NameArguments::Optional);
        command->add_option("--rules", m_rules,
                            "a file of regular expressions, one a line: description lines that match are removed "
                            "(default: the \"Clean Rules File\" setting)");
        std::vector<std::string> names;
        for (const CleanRuleName& rule : cleanRuleNames())
            names.emplace_back(rule.name);
        command->add_option("--keep", m_keep, "leave out a built-in rule (repeatable)")
            ->type_name("RULE")
            ->check(CLI::IsMember(names));
        return command;
    }

    int run(CommandContext& context) override
    {
        const SettingsStore settings;
        DescriptionCleaner cleaner(chosenCodePage(settings));
        for (const std::string& name : m_keep)
            cleaner.setRule(*cleanRuleNamed(name), false);
        const QString rules = m_rules
            ? QString::fromStdString(*m_rules)
            : settings.GetSetting(u"Kelvane Startup"_s, QString::fromUtf16(CleanRulesSetting));
        if (!rules.isEmpty()) {
            if (const std::optional<QString> error = cleaner.addLineRulesFile(pathFromUnicode(rules))) {
                context.err << "kelvane: " << error->toStdString() << '\n';
                return ExitFailed;
            }
        }
        const int status
            = runEditCommand(context, m_options, [&](EditSession& edit) { return cleanIn(edit, context, cleaner); });
        const char* verb = m_options.dryRun ? " would change in " : " cleaned in ";
        context.out << "total: " << counted(m_changed, "description") << verb << counted(m_areasChanged, "area")
                    << '\n';
        return status;
    }

private:
    // The descriptions of entries (those of indices) that the rules would change; with
    // --dry-run each is shown before and after.
    std::size_t showChanges(std::ostream& out,
                            const CodePage& page,
                            const EntryList& entries,
                            const std::vector<std::size_t>& indices,
                            const DescriptionCleaner& cleaner) const
    {
        std::size_t changed = 0;
        for (const std::size_t index : indices) {
            const Entry& entry = entries[index];
            const std::string cleaned = cleaner.clean(entry.Description);
            if (cleaned == entry.Description)
                continue;
            ++changed;
            if (!m_options.dryRun)
                continue;
            out << terminalText(page, entry.FileName) << '\n';
            for (const std::string& line : descriptionLines(entry.Description))
                out << "  - " << caretText(page, line) << '\n';
            for (const std::string& line : descriptionLines(cleaned))
                out << "  + " << caretText(page, line) << '\n';
        }
        return changed;
    }

    static void summary(std::ostream& out,
                        const CodePage& page,
                        int number,
                        const std::string& title,
                        std::size_t changed,
                        std::size_t looked)
    {
        out << "area " << number << " (" << terminalText(page, title) << "): " << changed << " of "
            << counted(looked, "description");
    }

    int cleanIn(EditSession& edit, CommandContext& context, const DescriptionCleaner& cleaner)
    {
        edit.selectNamed(true);
        EntryTable& table = edit.table();
        const CurrentArea& area = edit.session().area;
        const CodePage& page = edit.codePage();
        const std::size_t looked = table.selectedCount();
        std::size_t changed = 0;
        // A CD-ROM or offline area is never changed: it is only told what would change.
        const bool readOnly = area.IsCDRom || area.IsOffline;
        if (m_options.dryRun || readOnly) {
            changed = showChanges(context.out, page, table.entries(), table.selectedIndices(), cleaner);
            table.clearSelection();
            edit.setChangesPrinted();
        } else if (table.anySelected()) {
            changed = mnuCleanDescriptions_Click(edit.session(), table, cleaner);
        }
        const int status = edit.finish();
        // A save that failed leaves the changes marked: the area counts as not cleaned.
        const bool saved = !m_options.dryRun && changed > 0 && !edit.session().ChangesMade;
        std::ostream& out = context.out;
        summary(out, page, area.AreaNumber, area.AreaTitle, changed, looked);
        if (readOnly) {
            out << (changed > 0 ? " would change" : " unchanged") << "; left alone, the area is on a CD-ROM or offline\n";
            return status;
        }
        if (changed == 0)
            out << " unchanged\n";
        else if (m_options.dryRun)
            out << " would change\n";
        else
            out << (saved ? " cleaned\n" : " cleaned, but the Files List was not saved\n");
        if (changed > 0 && (m_options.dryRun || saved)) {
            m_changed += changed;
            ++m_areasChanged;
        }
        return status;
    }

    EditOptions m_options;
    std::optional<std::string> m_rules;
    std::vector<std::string> m_keep;
    std::size_t m_changed = 0;
    std::size_t m_areasChanged = 0;
};

} // namespace

std::unique_ptr<Command> makeCleanCommand()
{
    return std::make_unique<CleanCommand>();
}

} // namespace Kelvane
