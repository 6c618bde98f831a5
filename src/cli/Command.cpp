#include "cli/Command.h"

#include "board/CurrentArea.h"
#include "board/FilesList.h"
#include "board/ListStamp.h"
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
