#include "cli/Commands.h"
#include "cli/Json.h"

#include "platform/CodePage.h"

#include <CLI/CLI.hpp>

#include <iomanip>

namespace Kelvane {

namespace {

class AreasCommand : public Command
{
public:
    CLI::App* setUp(CLI::App& parent) override
    {
        CLI::App* command = parent.add_subcommand("areas", "every area of the board: number, title, paths and flags");
        addMainNodeOption(*command, m_mainNode);
        command->add_flag("--json", m_json, "print a JSON list");
        return command;
    }

    int run(CommandContext& context) override
    {
        BoardSession board(context, m_mainNode, false);
        const std::vector<AreaRecord> records = board.records();
        if (m_json) {
            printAreaRecordsJson(context.out, records, board.codePage());
            return ExitDone;
        }
        if (records.empty())
            context.out << "The board has no areas.\n";
        for (std::size_t i = 0; i < records.size(); ++i)
            printAreaRecord(context.out, static_cast<int>(i) + 1, records[i], board.codePage());
        return ExitDone;
    }

private:
    std::optional<std::string> m_mainNode;
    bool m_json = false;
};

} // namespace

void printAreaRecord(std::ostream& out, int number, const AreaRecord& record, const CodePage& page)
{
    const auto text = [&](const std::string& bytes) { return terminalText(page, bytes); };
    out << std::setw(4) << number << "  " << text(record.title) << '\n';
    out << "      files:  " << text(record.path) << '\n';
    for (std::size_t i = 0; i < record.alt.size(); ++i) {
        if (!record.alt[i].empty())
            out << "      alt " << i + 1 << (i + 1 < 10 ? ":  " : ": ") << text(record.alt[i]) << '\n';
    }
    out << "      list:   " << text(record.filesList) << '\n';
    if (!record.index.empty())
        out << "      index:  " << text(record.index) << '\n';
    std::string flags;
    for (const auto& [label, flag] :
         { std::pair { "private", &record.privateFlag }, std::pair { "CD-ROM", &record.cdrom },
           std::pair { "alias", &record.alias }, std::pair { "offline", &record.offline },
           std::pair { "master index", &record.master } }) {
        if (*flag != "No")
            flags += (flags.empty() ? "" : ", ") + std::string(label);
    }
    if (!flags.empty())
        out << "      flags:  " << flags << '\n';
}

void printAreaRecordsJson(std::ostream& out, const std::vector<AreaRecord>& records, const CodePage& page)
{
    JsonWriter json(out);
    json.beginArray();
    for (std::size_t i = 0; i < records.size(); ++i) {
        const AreaRecord& record = records[i];
        const auto text = [&](const std::string& bytes) { json.value(page.toUnicode(bytes)); };
        json.beginObject();
        json.key("number");
        json.value(static_cast<long long>(i) + 1);
        json.key("title");
        text(record.title);
        json.key("path");
        text(record.path);
        json.key("alt");
        json.beginArray();
        for (const std::string& alt : record.alt)
            text(alt);
        json.endArray();
        json.key("files_list");
        text(record.filesList);
        json.key("index");
        text(record.index);
        json.key("private");
        text(record.privateFlag);
        json.key("cdrom");
        text(record.cdrom);
        json.key("alias");
        text(record.alias);
        json.key("offline");
        text(record.offline);
        json.key("master");
        text(record.master);
        json.key("disc");
        json.value(static_cast<long long>(record.disc));
        json.endObject();
    }
    json.endArray();
    json.finish();
}

std::unique_ptr<Command> makeAreasCommand()
{
    return std::make_unique<AreasCommand>();
}

} // namespace Kelvane
