#include "cli/Commands.h"
#include "cli/Json.h"

#include "board/BasicText.h"
#include "platform/CodePage.h"
#include "platform/FileNames.h"

#include <CLI/CLI.hpp>

#include <iomanip>

namespace Kelvane {

namespace {

class ShowCommand : public Command
{
public:
    CLI::App* setUp(CLI::App& parent) override
    {
        CLI::App* command = parent.add_subcommand("show", "an area's Files List entries as read");
        addAreaOptions(*command, m_areas, nullptr, false);
        addMainNodeOption(*command, m_mainNode);
        command->add_flag("--yes", m_yes, "answer OK or Yes to every question");
        command->add_flag("--json", m_json, "print one JSON object");
        return command;
    }

    int run(CommandContext& context) override
    {
        BoardSession board(context, m_mainNode, m_yes);
        AreaRun run(context, board, m_areas.selection());
        JsonList list(context.out, m_json && !run.single());
        run.forEach([&](int number) {
            const EntryList entries = board.loadArea(number);
            if (m_json)
                list.add([&](std::ostream& out) { printAreaJson(out, board.session().area, entries, board.codePage()); });
            else
                print(context.out, board.session().area, entries, board.codePage());
            return ExitDone;
        });
        list.finish();
        return run.failed() ? ExitFailed : ExitDone;
    }

private:
    static void print(std::ostream& out, const CurrentArea& area, const EntryList& entries, const CodePage& page)
    {
        out << "Area " << area.AreaNumber << ": " << terminalText(page, area.AreaTitle) << "  ("
            << terminalText(area.FileListPath) << ")\n";
        if (entries.empty())
            out << "The Files List holds no entries.\n";
        for (const Entry& entry : entries) {
            std::vector<std::string> lines = descriptionLines(entry.Description);
            if (lines.empty())
                lines.emplace_back();
            out << std::left << std::setw(12) << terminalText(page, entry.FileName) << ' ' << std::right << std::setw(9)
                << static_cast<long long>(Val(entry.Size)) << ' ' << std::setw(8) << terminalText(page, entry.Date)
                << "  " << terminalText(page, lines.front()) << '\n';
            for (std::size_t i = 1; i < lines.size(); ++i)
                out << std::string(34, ' ') << terminalText(page, lines[i]) << '\n';
        }
    }

    AreaOptions m_areas;
    std::optional<std::string> m_mainNode;
    bool m_yes = false;
    bool m_json = false;
};

} // namespace

void printAreaJson(std::ostream& out, const CurrentArea& area, const EntryList& entries, const CodePage& page)
{
    JsonWriter json(out);
    json.beginObject();
    json.key("number");
    json.value(static_cast<long long>(area.AreaNumber));
    json.key("title");
    json.value(page.toUnicode(area.AreaTitle));
    json.key("files_list");
    json.value(unicodeFromPath(area.FileListPath));
    json.key("entries");
    json.beginArray();
    for (const Entry& entry : entries) {
        json.beginObject();
        json.key("name");
        json.value(page.toUnicode(entry.FileName));
        json.key("size");
        json.value(static_cast<long long>(Val(entry.Size)));
        json.key("date");
        json.value(page.toUnicode(entry.Date));
        json.key("description");
        json.beginArray();
        for (const std::string& line : descriptionLines(entry.Description))
            json.value(page.toUnicode(line));
        json.endArray();
        json.endObject();
    }
    json.endArray();
    json.endObject();
    json.finish();
}

std::unique_ptr<Command> makeShowCommand()
{
    return std::make_unique<ShowCommand>();
}

} // namespace Kelvane
