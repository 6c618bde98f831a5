#include "cli/Commands.h"
#include "cli/Json.h"

#include "board/BasicText.h"
#include "board/FileLookup.h"
#include "editor/DescriptionLists.h"
#include "platform/ShortNames.h"
#include "platform/CodePage.h"
#include "platform/DurableFile.h"
#include "platform/FileNames.h"

#include <CLI/CLI.hpp>

#include <fstream>
#include <iterator>
#include <sstream>

using namespace Qt::StringLiterals;

namespace Kelvane {

namespace fs = std::filesystem;

namespace {

// A CSV field: quoted when it holds a comma, a quote, CR or LF, its quotes doubled.
std::string csvField(const std::string& text)
{
    if (text.find_first_of(",\"\r\n") == std::string::npos)
        return text;
    std::string quoted = "\"";
    for (const char ch : text) {
        if (ch == '"')
            quoted += '"';
        quoted += ch;
    }
    return quoted + '"';
}

// One row per entry under a header; rows end with CR LF, a description's lines are joined
// with LF inside their field.
// Over many areas each row starts with its area's number.
void printCsv(std::ostream& out, const EntryList& entries, const CodePage& page, int area, bool header)
{
    if (header)
        out << (area ? "area," : "") << "name,size,date,description\r\n";
    for (const Entry& entry : entries) {
        if (area)
            out << area << ',';
        std::string description;
        const std::vector<std::string> lines = descriptionLines(entry.Description);
        for (std::size_t i = 0; i < lines.size(); ++i)
            description += (i == 0 ? "" : "\n") + terminalText(page, lines[i]);
        out << csvField(terminalText(page, entry.FileName)) << ',' << static_cast<long long>(Val(entry.Size)) << ','
            << csvField(terminalText(page, entry.Date)) << ',' << csvField(description) << "\r\n";
    }
}

// The list other boards and file managers read, in the board's code page. FILES.BBS ends a
// name at its first blank, so a name holding one is written as its file's short alias (the
// alias it would have alone in a directory when no directory of the area holds it).
void printDescriptionList(std::ostream& out, const EntryList& entries, const CurrentArea& area, const CodePage& page,
                          bool filesBbs)
{
    if (!filesBbs) {
        std::vector<DescriptionLists::Listed> listed;
        for (const Entry& entry : entries)
            listed.push_back({ entry.FileName, entry.Description });
        out << DescriptionLists::formatDescriptIon(listed);
        return;
    }
    FileLookup lookup(page);
    std::vector<DescriptionLists::FilesBbsLine> lines;
    for (const Entry& entry : entries) {
        std::string name = entry.FileName;
        if (name.find_first_of(" \t") != std::string::npos) {
            if (const std::optional<std::pair<int, fs::path>> found = lookup.findInSlots(area.FilePaths, name)) {
                const fs::path directory = area.FilePaths[static_cast<std::size_t>(found->first)];
                name = page.upper(page.fromUnicode(lookup.listing(directory).aliasOf(fileNameText(found->second))));
            } else {
                name = page.upper(page.fromUnicode(DirectoryAliases::aliasAmong({}, page.toUnicode(name), page)));
            }
        }
        lines.push_back({ std::move(name), static_cast<long long>(Val(entry.Size)), entry.Date, entry.Description });
    }
    out << DescriptionLists::formatFilesBbs(lines);
}

class ExportCommand : public Command
{
public:
    CLI::App* setUp(CLI::App& parent) override
    {
        CLI::App* command = parent.add_subcommand("export", "an area's entries as JSON, CSV or the Files List's text");
        addAreaOptions(*command, m_areas, nullptr, false);
        addMainNodeOption(*command, m_mainNode);
        command->add_option("--format", m_format, "json (as \"show --json\"), csv, text (the Files List as read), "
                            "files-bbs or descript-ion (the lists other boards read, in the code page)")
            ->required()
            ->check(CLI::IsMember({ "json", "csv", "text", "files-bbs", "descript-ion" }));
        command->add_option("--output", m_output, "the file to write whole (default or \"-\": standard output)");
        return command;
    }

    int run(CommandContext& context) override
    {
        // Without a terminal every box gets the answer that changes nothing: export asks nothing.
        CommandContext quiet { context.out, context.err, context.in, false };
        BoardSession board(quiet, m_mainNode, false);
        AreaRun run(quiet, board, m_areas.selection());
        Session& session = board.session();
        const CodePage& page = board.codePage();
        std::ostringstream document;
        JsonList json(document, !run.single());
        bool first = true;
        run.forEach([&](int number) {
            board.chooseArea(number);
            const fs::path& list = session.area.FileListPath;
            std::error_code ignored;
            const bool listed = fs::exists(fs::symlink_status(list, ignored)); // a missing list is not created
            if (m_format == "text") {
                document << terminalText(page, listed ? readList(list) : std::string());
            } else {
                EntryList entries;
                if (listed && !Load_fEditFileArealsv(session, entries))
                    throw CommandError(unreadable(list));
                if (m_format == "json")
                    json.add([&](std::ostream& out) { printAreaJson(out, session.area, entries, page); });
                else if (m_format == "csv")
                    printCsv(document, entries, page, run.single() ? 0 : number, first);
                else
                    printDescriptionList(document, entries, session.area, page, m_format == "files-bbs");
            }
            first = false;
            return ExitDone;
        });
        if (m_format == "json")
            json.finish();
        // A run that skipped an area writes no file: a partial list is no list.
        if (run.failed() && m_output && *m_output != "-")
            return ExitFailed;

        if (!m_output || *m_output == "-") {
            context.out << document.str();
            return run.failed() ? ExitFailed : ExitDone;
        }
        const fs::path target = pathFromUnicode(QString::fromStdString(*m_output));
        try {
            TemporaryFile file(target);
            file.write(document.str());
            file.finish();
            file.renameTo(target);
        } catch (const fs::filesystem_error& error) {
            throw CommandError(u"could not write "_s + unicodeFromPath(target) + u": "_s
                               + QString::fromStdString(error.code().message()));
        }
        return ExitDone;
    }

private:
    static QString unreadable(const fs::path& list)
    {
        return u"the Files List "_s + unicodeFromPath(list) + u" could not be read"_s;
    }

    static std::string readList(const fs::path& list)
    {
        std::ifstream in(list, std::ios::binary);
        std::string bytes(std::istreambuf_iterator<char>(in), {});
        if (!in.is_open() || in.bad() || fs::is_directory(list))
            throw CommandError(unreadable(list));
        return bytes;
    }

    AreaOptions m_areas;
    std::optional<std::string> m_mainNode;
    std::string m_format;
    std::optional<std::string> m_output;
};

} // namespace

std::unique_ptr<Command> makeExportCommand()
{
    return std::make_unique<ExportCommand>();
}

} // namespace Kelvane
