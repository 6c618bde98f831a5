#include "cli/Commands.h"

#include "board/FileDates.h"
#include "boardwide/BoardProgress.h"
#include "boardwide/FileListWriter.h"
#include "platform/CodePage.h"
#include "platform/DurableFile.h"
#include "platform/FileNames.h"

#include <CLI/CLI.hpp>

#include <ostream>

using namespace Qt::StringLiterals;

namespace Kelvane {

namespace fs = std::filesystem;

namespace {

// The writer fed by the reader, with each skipped area's line on standard error.
class ListRun : public AreaVisitor
{
public:
    ListRun(FileListWriter& writer, CommandContext& context, TerminalProgress& progress, const CodePage& page)
        : m_writer(writer)
        , m_context(context)
        , m_progress(progress)
        , m_page(page)
    {
    }

    void areaRead(AreaContents& contents) override { m_writer.areaRead(contents); }
    void areaSkipped(const AreaProblem& problem) override
    {
        m_progress.finished();
        m_context.err << "kelvane: " << problem.line(m_page).toStdString() << '\n';
    }

private:
    FileListWriter& m_writer;
    CommandContext& m_context;
    TerminalProgress& m_progress;
    const CodePage& m_page;
};

class AllFilesCommand : public Command
{
public:
    CLI::App* setUp(CLI::App& parent) override
    {
        CLI::App* command = parent.add_subcommand("allfiles", "the file list callers download, of many areas");
        addAreaOptions(*command, m_areas, nullptr, false);
        addMainNodeOption(*command, m_mainNode);
        command->add_option("--format", m_format, "text (the Files List's columns), html (one web page) or json")
            ->required()
            ->check(CLI::IsMember({ "text", "html", "json" }));
        command->add_option("--encoding", m_encoding, "the text list's characters (default: the board's code page)")
            ->check(CLI::IsMember({ "cp437", "windows-1252", "utf-8" }));
        CLI::Option* days = command->add_option("--new", m_newDays, "only the entries of the last DAYS days (NEWFILES)")
                                ->type_name("DAYS")
                                ->check(CLI::Range(0, 36500));
        command->add_option("--since", m_since, "only the entries dated on or after MM-DD-YY")
            ->type_name("MM-DD-YY")
            ->excludes(days);
        command->add_option("--output", m_output, "the file to write whole (default or \"-\": standard output)");
        command->add_option("--title", m_title, "the board's name at the top (default: Board Name in the settings)");
        return command;
    }

    int run(CommandContext& context) override
    {
        CommandContext quiet { context.out, context.err, context.in, false, context.errorIsTerminal };
        BoardSession board(quiet, m_mainNode, false);
        const AreaSet set = board.areaSet(m_areas.selection());
        const Board& whole = board.board();
        const CodePage& page = board.codePage();

        FileListOptions options;
        options.format = m_format == "html" ? ListFormat::Html : m_format == "json" ? ListFormat::Json : ListFormat::Text;
        if (m_encoding && options.format != ListFormat::Text)
            throw CommandError(u"--encoding is for --format text; web pages and JSON are always UTF-8"_s);
        options.encoding = !m_encoding                 ? &page
                         : *m_encoding == "utf-8"      ? nullptr
                         : *m_encoding == "cp437"      ? CodePage::named(u"cp437")
                                                       : &CodePage::windows1252();
        options.date = QDate::currentDate();
        if (m_newDays)
            options.since = options.date.addDays(-*m_newDays);
        if (m_since) {
            options.since = parseListDate(*m_since);
            if (!options.since)
                throw CommandError(u"--since takes a date as MM-DD-YY, not \"%1\""_s.arg(QString::fromStdString(*m_since)));
        }
        options.title = m_title ? QString::fromStdString(*m_title)
                                : board.settings().GetSetting(u"Vandor Startup"_s, u"Board Name"_s);
        if (options.title.isEmpty())
            options.title = unicodeFromPath(whole.mainNode().filename());

        const bool toFile = m_output && *m_output != "-";
        const fs::path target = toFile ? pathFromUnicode(QString::fromStdString(*m_output)) : fs::path();
        std::optional<TemporaryFile> file;
        try {
            if (toFile)
                file.emplace(target);
            TerminalProgress progress(context.err, context.errorIsTerminal, page);
            FileListWriter writer(
                page, options,
                [&](std::string_view bytes) {
                    if (file)
                        file->write(bytes);
                    else
                        context.out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
                },
                [&](const QString& line) {
                    progress.finished();
                    context.err << "kelvane: " << line.toStdString() << '\n';
                });
            ListRun visitor(writer, context, progress, page);
            BoardReader reader(whole, { .entries = true, .files = false });
            reader.setProgress(&progress);
            const ReadSummary summary = reader.read(set.numbers, visitor);
            writer.finish();
            if (file) {
                file->finish();
                file->renameTo(target);
            }
            return summary.skipped.empty() ? ExitDone : ExitFailed;
        } catch (const fs::filesystem_error& error) {
            throw CommandError(u"could not write "_s + unicodeFromPath(target) + u": "_s
                               + QString::fromStdString(error.code().message()));
        }
    }

private:
    AreaOptions m_areas;
    std::optional<std::string> m_mainNode;
    std::string m_format;
    std::optional<std::string> m_encoding;
    std::optional<int> m_newDays;
    std::optional<std::string> m_since;
    std::optional<std::string> m_output;
    std::optional<std::string> m_title;
};

} // namespace

std::unique_ptr<Command> makeAllFilesCommand()
{
    return std::make_unique<AllFilesCommand>();
}

} // namespace Kelvane
