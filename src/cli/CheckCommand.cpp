#include "cli/Commands.h"
#include "cli/EditCommand.h"
#include "cli/Json.h"

#include "board/CurrentArea.h"
#include "editor/AreaCheck.h"
#include "editor/AreaRepair.h"
#include "platform/CodePage.h"
#include "platform/FileNames.h"

#include <CLI/CLI.hpp>

#include <optional>

using namespace Qt::StringLiterals;

namespace Kelvane {

namespace {

// "1 missing file", "2 missing files".
std::string counted(std::size_t count, const char* one, const char* many)
{
    return std::to_string(count) + ' ' + (count == 1 ? one : many);
}

// Where an area's Files List and its directories disagree, and with fixes, what the check
// changes about it: the plan first, applied only with --yes.
class CheckCommand : public Command
{
public:
    CLI::App* setUp(CLI::App& parent) override
    {
        CLI::App* command = parent.add_subcommand(
            "check", "report where an area's Files List and its directories disagree, and repair it when asked");
        addEditOptions(*command, m_options, NameArguments::None);
        command->add_flag("--json", m_json, "print one JSON object");
        command->add_flag("--erase-missing", m_choice.eraseMissing,
                          "erase the entries whose file is in no directory (the files are not touched)");
        command->add_flag("--zero-as-missing", m_choice.zeroAsMissing,
                          "with --erase-missing, an entry whose file is empty counts as missing");
        command->add_flag("--adopt", m_choice.adopt, "add the files the list does not hold, as the scan adds them");
        command->add_flag("--real-dates", m_realDates, "with --adopt, date new entries by their files, not today");
        command->add_flag("--refresh", m_choice.refresh, "take the differing sizes and dates from the files");
        command->add_flag("--test-archives", m_testArchives,
                          "read every archive to its end and report the damaged, encrypted and unreadable ones");
        return command;
    }

    int run(CommandContext& context) override
    {
        m_choice.zeroAsMissing = m_choice.zeroAsMissing && m_choice.eraseMissing;
        std::optional<JsonList> list;
        std::size_t areas = 0;
        Totals totals;
        bool unapplied = false;
        const int status = runEditCommand(context, m_options, [&](EditSession& edit) {
            if (!list)
                list.emplace(context.out, m_json && !edit.single());
            ++areas;
            const int areaStatus = checkOne(context, edit, *list, totals);
            unapplied = unapplied || (m_choice.any() && !m_options.yes && !m_options.dryRun && totals.lastPlanned > 0);
            return areaStatus;
        });
        if (list)
            list->finish();
        // After a JSON document the lines for the operator go to standard error, so the
        // output still parses.
        std::ostream& lines = m_json ? context.err : context.out;
        if (areas > 1)
            lines << "total: " << areas << " areas: " << totals.text(m_choice.any(), applying()) << '\n';
        if (unapplied) {
            context.err << "kelvane: nothing was changed: the repairs need --yes (--dry-run shows the plan)\n";
            return ExitFailed;
        }
        return status;
    }

private:
    struct Totals
    {
        std::size_t missing = 0, unlisted = 0, sizes = 0, dates = 0, twice = 0, same = 0;
        std::size_t archives = 0, badArchives = 0, changes = 0, lastPlanned = 0;
        bool testedArchives = false;

        std::string text(bool repairing, bool applied) const
        {
            std::vector<std::string> parts;
            const auto add = [&](std::size_t count, const char* one, const char* many) {
                if (count > 0)
                    parts.push_back(counted(count, one, many));
            };
            add(missing, "missing file", "missing files");
            add(unlisted, "unlisted file", "unlisted files");
            add(sizes, "size that differs", "sizes that differ");
            add(dates, "date that differs", "dates that differ");
            add(twice, "name listed twice", "names listed twice");
            add(same, "group of identical files", "groups of identical files");
            if (testedArchives)
                parts.push_back(std::to_string(badArchives) + " of " + counted(archives, "archive", "archives") + " bad");
            std::string line;
            for (const std::string& part : parts)
                line += (line.empty() ? "" : ", ") + part;
            if (line.empty())
                line = "nothing found";
            if (repairing)
                line += "; " + counted(changes, "change", "changes") + (applied ? " made" : " planned");
            return line;
        }
    };

    bool applying() const { return m_choice.any() && m_options.yes && !m_options.dryRun; }

    int checkOne(CommandContext& context, EditSession& edit, JsonList& list, Totals& totals)
    {
        Session& session = edit.session();
        const CodePage& page = edit.codePage();
        const CurrentArea& area = session.area;
        const AreaCheckReport report = checkArea(session, edit.table().entries());
        std::optional<AreaArchiveReport> archives;
        if (m_testArchives)
            archives = testAreaArchives(session);
        const RepairPlan plan = m_choice.any() ? planRepair(session, report, m_choice) : RepairPlan {};
        const std::size_t planned = plan.readOnly ? 0 : plan.erase.size() + plan.adopt.size() + plan.sizes.size() + plan.dates.size();

        // The plan is shown before anything is changed, whether it is then applied or not.
        std::ostringstream planText;
        if (m_choice.any())
            printPlan(planText, plan, page);
        if (m_json) {
            list.add([&](std::ostream& out) {
                printJson(out, report, archives, m_choice.any() ? &plan : nullptr, page, edit.single() ? nullptr : &area);
            });
            context.err << planText.str();
        } else {
            if (!edit.single())
                context.out << "Area " << area.AreaNumber << ": " << terminalText(page, area.AreaTitle) << '\n';
            printText(context.out, report, page);
            if (archives)
                printArchives(context.out, *archives);
            context.out << planText.str();
        }

        RepairOutcome outcome;
        const bool apply = applying() && planned > 0;
        if (apply) {
            session.RealFileDates = m_realDates;
            outcome = applyRepair(session, edit.table(), plan);
            for (const QString& line : outcome.leftAlone)
                context.err << "kelvane: " << line.toStdString() << '\n';
        }
        int status = m_options.dryRun ? ExitDone : edit.finish();

        const std::size_t changes = apply ? outcome.erased + outcome.added + outcome.sizes + outcome.dates : planned;
        Totals mine;
        mine.missing = report.missingFiles.size();
        mine.unlisted = report.unlistedFiles.size();
        mine.sizes = report.sizeMismatches.size();
        mine.dates = report.dateMismatches.size();
        mine.twice = report.listedTwice.size();
        mine.same = report.sameContent.size();
        mine.testedArchives = archives.has_value();
        if (archives) {
            mine.archives = archives->tested;
            mine.badArchives = archives->bad.size();
        }
        mine.changes = changes;
        totals.missing += mine.missing;
        totals.unlisted += mine.unlisted;
        totals.sizes += mine.sizes;
        totals.dates += mine.dates;
        totals.twice += mine.twice;
        totals.same += mine.same;
        totals.testedArchives = totals.testedArchives || mine.testedArchives;
        totals.archives += mine.archives;
        totals.badArchives += mine.badArchives;
        totals.changes += changes;
        totals.lastPlanned = planned;
        std::ostream& lines = m_json ? context.err : context.out;
        lines << "area " << area.AreaNumber << " (" << terminalText(page, area.AreaTitle)
              << "): " << mine.text(m_choice.any(), apply) << (plan.readOnly && m_choice.any() ? ", CD-ROM or offline" : "")
              << '\n';

        // What is still wrong after the repairs decides the status.
        const bool archivesBad = archives && !archives->bad.empty();
        bool remaining = !report.clean() || archivesBad;
        if (apply) {
            remaining = archivesBad || !report.listedTwice.empty() || !report.sameContent.empty()
                || !outcome.leftAlone.empty() || (!report.missingFiles.empty() && !m_choice.eraseMissing)
                || (!report.unlistedFiles.empty() && !m_choice.adopt)
                || ((!report.sizeMismatches.empty() || !report.dateMismatches.empty()) && !m_choice.refresh);
        }
        if (remaining)
            status = ExitFailed;
        return status;
    }

    void printPlan(std::ostream& out, const RepairPlan& plan, const CodePage& page) const
    {
        if (plan.readOnly) {
            if (!plan.empty())
                out << "The area is on a CD-ROM or offline: it is reported, never changed.\n";
            return;
        }
        if (plan.empty()) {
            out << "Nothing would change.\n";
            return;
        }
        for (const RepairPlan::Erasure& erasure : plan.erase)
            out << "would erase the entry " << terminalText(page, erasure.name)
                << (erasure.emptyFile ? " (its file is empty)\n" : " (its file is in no directory)\n");
        for (const auto& mismatch : plan.sizes)
            out << "would take the size of " << terminalText(page, mismatch.name) << " from its file: "
                << terminalText(page, mismatch.listed) << " -> " << mismatch.onDisk << '\n';
        for (const auto& mismatch : plan.dates)
            out << "would take the date of " << terminalText(page, mismatch.name) << " from its file: "
                << terminalText(page, mismatch.listed) << " -> " << mismatch.onDisk << '\n';
        for (const auto& file : plan.adopt)
            out << "would add " << terminalText(file) << '\n';
    }

    static void printArchives(std::ostream& out, const AreaArchiveReport& archives)
    {
        if (archives.bad.empty()) {
            out << "Every archive read through to its end (" << counted(archives.tested, "archive", "archives")
                << ").\n";
            return;
        }
        out << "Archives that do not read through to their end:\n";
        for (const ArchiveFinding& finding : archives.bad)
            out << "  " << terminalText(finding.file) << ": " << archiveStateText(finding.test.state) << ", "
                << finding.test.reason << '\n';
    }

    static void printText(std::ostream& out, const AreaCheckReport& report, const CodePage& page)
    {
        if (report.clean()) {
            out << "The Files List and the area's directories agree.\n";
            return;
        }
        const auto names = [&](const char* heading, const std::vector<std::string>& list) {
            if (list.empty())
                return;
            out << heading << '\n';
            for (const std::string& name : list)
                out << "  " << terminalText(page, name) << '\n';
        };
        names("Entries whose file is in no directory:", report.missingFiles);
        if (!report.unlistedFiles.empty()) {
            out << "Files the Files List does not hold:\n";
            for (const auto& file : report.unlistedFiles)
                out << "  " << terminalText(file) << '\n';
        }
        names("Names listed more than once:", report.listedTwice);
        for (const auto& group : report.sameContent) {
            out << "Files of identical content:\n";
            for (const auto& file : group)
                out << "  " << terminalText(file) << '\n';
        }
        const auto mismatches = [&](const char* heading, const std::vector<AreaCheckReport::Mismatch>& list) {
            if (list.empty())
                return;
            out << heading << '\n';
            for (const auto& mismatch : list) {
                out << "  " << terminalText(page, mismatch.name) << ": listed " << terminalText(page, mismatch.listed)
                    << ", file " << mismatch.onDisk << '\n';
            }
        };
        mismatches("Sizes that differ from the file's:", report.sizeMismatches);
        mismatches("Dates that differ from the file's:", report.dateMismatches);
    }

    // Over many areas each report names its area.
    void printJson(std::ostream& out,
                   const AreaCheckReport& report,
                   const std::optional<AreaArchiveReport>& archives,
                   const RepairPlan* plan,
                   const CodePage& page,
                   const CurrentArea* area) const
    {
        JsonWriter json(out);
        const auto names = [&](const char* key, const std::vector<std::string>& list) {
            json.key(key);
            json.beginArray();
            for (const std::string& name : list)
                json.value(page.toUnicode(name));
            json.endArray();
        };
        const auto paths = [&](const std::vector<std::filesystem::path>& list) {
            json.beginArray();
            for (const auto& file : list)
                json.value(unicodeFromPath(file));
            json.endArray();
        };
        const auto mismatches = [&](const char* key, const std::vector<AreaCheckReport::Mismatch>& list) {
            json.key(key);
            json.beginArray();
            for (const auto& mismatch : list) {
                json.beginObject();
                json.key("name");
                json.value(page.toUnicode(mismatch.name));
                json.key("listed");
                json.value(page.toUnicode(mismatch.listed));
                json.key("file");
                json.value(QString::fromStdString(mismatch.onDisk));
                json.endObject();
            }
            json.endArray();
        };
        json.beginObject();
        if (area) {
            json.key("number");
            json.value(static_cast<long long>(area->AreaNumber));
            json.key("title");
            json.value(page.toUnicode(area->AreaTitle));
        }
        json.key("clean");
        json.value(report.clean());
        names("missing_files", report.missingFiles);
        json.key("unlisted_files");
        paths(report.unlistedFiles);
        names("listed_twice", report.listedTwice);
        json.key("same_content");
        json.beginArray();
        for (const auto& group : report.sameContent)
            paths(group);
        json.endArray();
        mismatches("size_mismatches", report.sizeMismatches);
        mismatches("date_mismatches", report.dateMismatches);
        if (archives) {
            json.key("archives_tested");
            json.value(static_cast<long long>(archives->tested));
            json.key("bad_archives");
            json.beginArray();
            for (const ArchiveFinding& finding : archives->bad) {
                json.beginObject();
                json.key("file");
                json.value(unicodeFromPath(finding.file));
                json.key("state");
                json.value(QString::fromLatin1(archiveStateText(finding.test.state)));
                json.key("reason");
                json.value(QString::fromStdString(finding.test.reason));
                json.endObject();
            }
            json.endArray();
        }
        if (plan) {
            json.key("repairs");
            json.beginObject();
            json.key("read_only");
            json.value(plan->readOnly);
            json.key("applied");
            json.value(applying() && !plan->readOnly && !plan->empty());
            json.key("erase");
            json.beginArray();
            for (const RepairPlan::Erasure& erasure : plan->erase) {
                json.beginObject();
                json.key("name");
                json.value(page.toUnicode(erasure.name));
                json.key("empty_file");
                json.value(erasure.emptyFile);
                json.endObject();
            }
            json.endArray();
            json.key("add");
            paths(plan->adopt);
            mismatches("sizes", plan->sizes);
            mismatches("dates", plan->dates);
            json.endObject();
        }
        json.endObject();
        json.finish();
    }

    EditOptions m_options;
    RepairChoice m_choice;
    bool m_json = false;
    bool m_testArchives = false;
    bool m_realDates = false;
};

} // namespace

std::unique_ptr<Command> makeCheckCommand()
{
    return std::make_unique<CheckCommand>();
}

} // namespace Kelvane
