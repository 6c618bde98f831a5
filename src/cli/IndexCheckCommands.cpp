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
        command->add_option("AREA", m_areas, "record numbers or exact titles")->required();
        addMainNodeOption(*command, m_mainNode);
        command->add_flag("--yes", m_yes, "answer OK or Yes to every question");
        command->add_flag("--dry-run", m_dryRun, "print which index files would be rebuilt");
        return command;
    }

    int run(CommandContext& context) override
    {
        BoardSession board(context, m_mainNode, m_yes);
        const std::vector<AreaRecord> records = board.records();
        const CodePage& page = board.codePage();
        Session& session = board.session();
        bool failed = false;
        for (const std::string& area : m_areas) {
            const int number = board.areaNumberOf(records, area);
            if (number == 0) {
                context.err << "kelvane: there is no area " << area << " on this board\n";
                failed = true;
                continue;
            }
            const AreaRecord& record = records[static_cast<std::size_t>(number) - 1];
            if (record.index.empty()) {
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
    std::vector<std::string> m_areas;
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
        const EntryList entries = board.loadArea(m_options.area);
        const AreaCheckReport report = checkArea(board.session(), entries);
        const CodePage& page = board.codePage();
        if (m_json)
            printJson(context.out, report, page);
        else
            printText(context.out, report, page);
        return report.clean() ? ExitDone : ExitFailed;
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

    static void printJson(std::ostream& out, const AreaCheckReport& report, const CodePage& page)
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
