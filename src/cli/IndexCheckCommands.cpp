#include "cli/Commands.h"
#include "cli/EditCommand.h"
#include "cli/Json.h"

#include "board/CurrentArea.h"
#include "editor/AreaCheck.h"
#include "index/MakeIndex.h"
#include "platform/CodePage.h"
#include "platform/FileNames.h"

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

class CheckCommand : public Command
{
public:
    CLI::App* setUp(CLI::App& parent) override
    {
        CLI::App* command = parent.add_subcommand(
            "check", "report where an area's Files List and its directories disagree; changes nothing");
        addEditOptions(*command, m_options, NameArguments::None, false);
        command->add_flag("--json", m_json, "print one JSON object");
        return command;
    }

    int run(CommandContext& context) override
    {
        BoardSession board(context, m_options.mainNode, m_options.yes);
        AreaRun run(context, board, m_options.areas.selection());
        JsonList list(context.out, m_json && !run.single());
        run.forEach([&](int number) {
            const EntryList entries = board.loadArea(number);
            const AreaCheckReport report = checkArea(board.session(), entries);
            const CodePage& page = board.codePage();
            const CurrentArea& area = board.session().area;
            if (m_json) {
                list.add([&](std::ostream& out) { printJson(out, report, page, run.single() ? nullptr : &area); });
            } else {
                if (!run.single())
                    context.out << "Area " << area.AreaNumber << ": " << terminalText(page, area.AreaTitle) << '\n';
                printText(context.out, report, page);
            }
            return report.clean() ? ExitDone : ExitFailed;
        });
        list.finish();
        return run.failed() ? ExitFailed : ExitDone;
    }

private:
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
    static void printJson(std::ostream& out,
                          const AreaCheckReport& report,
                          const CodePage& page,
                          const CurrentArea* area)
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
        json.endObject();
        json.finish();
    }

    EditOptions m_options;
    bool m_json = false;
};

} // namespace

std::unique_ptr<Command> makeIndexCommand()
{
    return std::make_unique<IndexCommand>();
}

std::unique_ptr<Command> makeCheckCommand()
{
    return std::make_unique<CheckCommand>();
}

} // namespace Kelvane
