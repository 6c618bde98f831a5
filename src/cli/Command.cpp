#include "cli/Command.h"

#include "board/CurrentArea.h"
#include "board/FilesList.h"
#include "board/ListStamp.h"
#include "boardwide/BoardProgress.h"
#include "platform/CodePage.h"
#include "platform/FileNames.h"
#include "platform/ProgramDirectory.h"

#include <CLI/CLI.hpp>

#include <charconv>

using namespace Qt::StringLiterals;

namespace Kelvane {

namespace fs = std::filesystem;

CommandError::CommandError(const QString& message)
    : std::runtime_error(message.toStdString())
{
}

std::string terminalText(const CodePage& page, std::string_view bytes)
{
    return page.toUnicode(bytes).toStdString();
}

std::string terminalText(const fs::path& path)
{
    return unicodeFromPath(path).toStdString();
}

std::vector<std::string> descriptionLines(const std::string& description)
{
    std::vector<std::string> lines;
    std::string_view rest = description;
    while (!rest.empty()) {
        const std::size_t end = rest.find("\r\n");
        lines.emplace_back(rest.substr(0, end));
        rest = end == std::string_view::npos ? std::string_view() : rest.substr(end + 2);
    }
    return lines;
}

void addMainNodeOption(CLI::App& command, std::optional<std::string>& mainNode)
{
    command.add_option("--main-node", mainNode, "the board's main node directory (default: the one set in Options)");
}

void addAreaOptions(CLI::App& command, AreaOptions& areas, std::vector<std::string>* names, bool namesRequired)
{
    if (names) {
        command.add_option("AREA", areas.word, "a record number, a range such as 3-7, an exact title, or several joined "
                                               "by commas");
        command.add_option("NAME", *names, "entries of the Files List (any case)");
    } else {
        command.add_option("AREA", areas.words, "record numbers, ranges such as 3-7, exact titles");
    }
    command.add_flag("--all", areas.all, "every area of the board");
    command.add_option("--match", areas.match, "the areas whose title matches GLOB, ignoring case (repeatable)")
        ->type_name("GLOB");
    command.final_callback([&areas, names, namesRequired] {
        const bool chosen = areas.all || !areas.match.empty();
        if (names && !areas.word.empty()) {
            if (chosen)
                names->insert(names->begin(), areas.word);
            else
                areas.words.push_back(areas.word);
        }
        if (!chosen && areas.words.empty())
            throw CLI::RequiredError("AREA");
        if (names && namesRequired && names->empty())
            throw CLI::RequiredError("NAME");
    });
}

AreaRun::AreaRun(CommandContext& context, BoardSession& board, const AreaSelection& selection)
    : m_context(context)
    , m_board(board)
    , m_set(board.areaSet(selection))
{
}

void AreaRun::forEach(const std::function<int(int number)>& work)
{
    const Board& board = m_board.board();
    const CodePage& page = m_board.codePage();
    TerminalProgress progress(m_context.err, m_context.errorIsTerminal && !m_set.single, page);
    const int count = static_cast<int>(m_set.numbers.size());
    // Over many areas the run is unattended: an offline area passed its check with its disc in.
    m_board.session().AskForOfflineDisc = m_set.single;
    for (int position = 1; position <= count; ++position) {
        const BoardArea& area = board.area(m_set.numbers[static_cast<std::size_t>(position) - 1]);
        progress.areaBegun(position, count, area);
        // Over many areas, one that cannot be opened is one line, never a question.
        const std::optional<AreaProblem> problem = m_set.single ? std::nullopt : BoardReader::check(area);
        if (problem) {
            progress.finished();
            m_context.err << "kelvane: " << problem->line(page).toStdString() << '\n';
            m_failed = true;
            continue;
        }
        try {
            if (work(area.number) != ExitDone)
                m_failed = true;
        } catch (const CommandError& error) {
            progress.finished();
            m_context.err << "kelvane: " << error.what() << '\n';
            m_failed = true;
        }
        progress.areaEnded(position, count, m_board.session().FileCount);
    }
    progress.finished();
}

BoardSession::BoardSession(CommandContext& context, const std::optional<std::string>& mainNode, bool assumeYes)
    : m_page(&chosenCodePage(m_settings))
    , m_port(context.err, context.in, context.interactive, assumeYes)
    , m_mainNodeOption(mainNode)
    , m_assumeYes(assumeYes)
{
    const fs::path program = programDirectory();
    std::error_code ignored;
    fs::create_directories(program, ignored); // the error log lives there
    m_session = std::make_unique<Session>(m_port, program, *m_page);
}

fs::path BoardSession::mainNode()
{
    const QString text = m_mainNodeOption ? QString::fromStdString(*m_mainNodeOption)
                                          : m_settings.GetSetting(u"Vandor Startup"_s, u"Vandor Main Path"_s);
    m_session->area.MainNodePath = pathFromUnicode(text);
    if (text.isEmpty()) {
        m_session->ShowAlert("NoPath");
        throw CommandError(u"no main node path: give --main-node DIR or choose it in Options"_s);
    }
    if (!findFareaFile(m_session->area.MainNodePath)) {
        m_session->ShowAlert("NoFareaDatFile");
        throw CommandError(u"no Mwork/Farea.dat under "_s + text);
    }
    return m_session->area.MainNodePath;
}

std::vector<AreaRecord> BoardSession::records()
{
    const fs::path node = mainNode();
    AreaRecordSet& set = m_session->recordSet();
    try {
        set.OpenAreas(node);
        std::vector<AreaRecord> all = set.records();
        set.CloseAreas();
        return all;
    } catch (const RunTimeError& error) {
        set.CloseAreas();
        throw CommandError(error.description());
    }
}

int BoardSession::areaNumberOf(const std::vector<AreaRecord>& records, const std::string& area) const
{
    int number = 0;
    const auto [end, error] = std::from_chars(area.data(), area.data() + area.size(), number);
    if (error == std::errc() && end == area.data() + area.size())
        return number >= 1 && static_cast<std::size_t>(number) <= records.size() ? number : 0;
    const std::string title = m_page->fromUnicode(QString::fromStdString(area));
    for (std::size_t i = 0; i < records.size(); ++i) {
        if (records[i].title == title)
            return static_cast<int>(i) + 1;
    }
    return 0;
}

AreaSet BoardSession::areaSet(const AreaSelection& selection)
{
    // One word naming one area reads the records as the one-area commands always did, so a
    // damaged Farea.dat is refused with the same line.
    if (selection.words.size() == 1 && !selection.all && selection.match.empty())
        records();
    else
        mainNode();
    try {
        m_board = Board::open(m_session->area.MainNodePath, *m_page);
        AreaSet set = resolveAreaSet(selection, m_board->titles(), *m_page);
        m_session->recordSet().setToleratesDamage(!set.single);
        return set;
    } catch (const BoardError& error) {
        throw CommandError(QString::fromStdString(error.what()));
    } catch (const AreaSetError& error) {
        throw CommandError(error.message());
    }
}

const Board& BoardSession::board()
{
    if (!m_board)
        m_board = Board::open(mainNode(), *m_page);
    return *m_board;
}

void BoardSession::chooseArea(int number)
{
    CurrentArea& current = m_session->area;
    current.AreaNumber = number;
    current.AreaTitle = board().area(number).title();
    m_session->ChangesMade = false;
    if (!Farea_Dat_Initialize(*m_session))
        throw CommandError(u"area %1 could not be opened"_s.arg(number));
}

EntryList BoardSession::loadArea(int number)
{
    chooseArea(number);
    EntryList entries;
    if (!Load_fEditFileArealsv(*m_session, entries)) {
        throw CommandError(u"the Files List "_s + unicodeFromPath(m_session->area.FileListPath)
                           + u" could not be read"_s);
    }
    return entries;
}

void BoardSession::chooseArea(const std::string& area)
{
    const std::vector<AreaRecord> all = records();
    const int number = areaNumberOf(all, area);
    if (number == 0) {
        throw CommandError(
            u"there is no area \"%1\" on this board (it has %2)"_s.arg(QString::fromStdString(area)).arg(all.size()));
    }
    CurrentArea& current = m_session->area;
    current.AreaNumber = number;
    current.AreaTitle = all[static_cast<std::size_t>(number) - 1].title;
    if (!Farea_Dat_Initialize(*m_session))
        throw CommandError(u"area %1 could not be opened"_s.arg(number));
}

EntryList BoardSession::loadArea(const std::string& area)
{
    chooseArea(area);
    EntryList entries;
    if (!Load_fEditFileArealsv(*m_session, entries)) {
        throw CommandError(u"the Files List "_s + unicodeFromPath(m_session->area.FileListPath)
                           + u" could not be read"_s);
    }
    return entries;
}

bool BoardSession::save(const EntryList& entries)
{
    const fs::path& path = m_session->area.FileListPath;
    if (!m_assumeYes && changedOnDisk(path, m_session->listStamp)) {
        throw CommandError(u"the Files List "_s + unicodeFromPath(path)
                           + u" was changed on disk since it was read; nothing was saved (--yes overwrites it)"_s);
    }
    return SaveWork(*m_session, entries);
}

} // namespace Kelvane
