#include "cli/Commands.h"

#include "board/BoardTool.h"
#include "board/DemoBoard.h"
#include "platform/CodePage.h"
#include "platform/FileNames.h"

#include <CLI/CLI.hpp>

using namespace Qt::StringLiterals;

namespace Kelvane {

namespace fs = std::filesystem;

namespace {

// The record fields the board tool's add and set take; an option not given keeps the
// record's text ("No" for a flag of a new record).
struct RecordOptions
{
    std::optional<std::string> title;
    std::optional<std::string> path;
    std::vector<std::string> alt;
    std::optional<std::string> filesList;
    std::optional<std::string> index;
    std::optional<std::string> privateFlag;
    std::optional<std::string> cdrom;
    std::optional<std::string> alias;
    std::optional<std::string> offline;
    std::optional<std::string> master;
    std::optional<int> disc;

    void declare(CLI::App& command, bool titleAndPathRequired)
    {
        CLI::Option* titleOption = command.add_option("--title", title, "the area's title");
        CLI::Option* pathOption = command.add_option("--path", path, "the area's file directory");
        if (titleAndPathRequired) {
            titleOption->required();
            pathOption->required();
        }
        command.add_option("--alt", alt, "an additional file directory (up to ten, in order)");
        command.add_option("--list", filesList, "the Files List's path (default: FILES.LST in the file directory)");
        command.add_option("--index", index, "the area's index path");
        command.add_option("--private", privateFlag, "the Private flag's text (Yes or No)");
        command.add_option("--cdrom", cdrom, "the CD-ROM flag's text (Yes or No)");
        command.add_option("--alias", alias, "the Alias flag's text (Yes or No)");
        command.add_option("--offline", offline, "the Offline flag's text (Yes or No)");
        command.add_option("--master", master, "the Master index flag's text (Yes or No)");
        command.add_option("--disc", disc, "the CD disc number")->check(CLI::Range(-32768, 32767));
    }

    // Texts are stored exactly as given, in the board's code page; one the page cannot hold
    // is refused naming its field.
    void applyTo(AreaRecord& record, const CodePage& page, bool fresh) const
    {
        const auto store = [&](const std::optional<std::string>& given, std::string& field, const char* label) {
            if (!given)
                return;
            const QString text = QString::fromStdString(*given);
            for (const QChar ch : text) {
                if (page.byteOf(ch.unicode()) < 0) {
                    throw CommandError(u"%1 holds \"%2\" (U+%3), which the code page %4 cannot store"_s
                                           .arg(QString::fromLatin1(label), QString(ch))
                                           .arg(static_cast<int>(ch.unicode()), 4, 16, QChar(u'0'))
                                           .arg(page.name()));
                }
            }
            field = page.fromUnicode(text);
        };
        store(title, record.title, "Title");
        store(path, record.path, "File path");
        if (alt.size() > record.alt.size())
            throw CommandError(u"an area has at most %1 additional paths"_s.arg(record.alt.size()));
        if (!alt.empty() || fresh) {
            for (std::size_t i = 0; i < record.alt.size(); ++i) {
                record.alt[i].clear();
                if (i < alt.size())
                    store(alt[i], record.alt[i], "Additional path");
            }
        }
        if (filesList) {
            store(filesList, record.filesList, "Files List path");
        } else if (fresh && path) {
            record.filesList = page.fromPath(pathFromUnicode(QString::fromStdString(*path)) / "FILES.LST");
        }
        store(index, record.index, "Index path");
        store(privateFlag, record.privateFlag, "Private");
        store(cdrom, record.cdrom, "CD-ROM");
        store(alias, record.alias, "Alias");
        store(offline, record.offline, "Offline");
        store(master, record.master, "Master index");
        if (disc)
            record.disc = static_cast<std::int16_t>(*disc);
    }
};

fs::path pathOf(const std::string& text)
{
    return pathFromUnicode(QString::fromStdString(text));
}

class BoardCommand : public Command
{
public:
    CLI::App* setUp(CLI::App& parent) override
    {
        CLI::App* board = parent.add_subcommand("board", "create and edit a board's area records (Mwork/Farea.dat)");
        board->require_subcommand(1);

        m_init = board->add_subcommand("init", "create a board with no areas");
        m_init->add_option("MAINNODE", m_mainNode, "the board's main node directory")->required();

        m_add = board->add_subcommand("add", "append an area record and print its number");
        m_add->add_option("MAINNODE", m_mainNode, "the board's main node directory")->required();
        m_addOptions.declare(*m_add, true);

        m_set = board->add_subcommand("set", "change fields of area record N");
        m_set->add_option("MAINNODE", m_mainNode, "the board's main node directory")->required();
        m_set->add_option("N", m_number, "the record's number")->required();
        m_setOptions.declare(*m_set, false);

        m_show = board->add_subcommand("show", "print every area record");
        m_show->add_option("MAINNODE", m_mainNode, "the board's main node directory")->required();
        m_show->add_flag("--json", m_json, "print a JSON list");

        m_demo = board->add_subcommand("demo", "build a complete sample board in DIR and print its main node path");
        m_demo->add_option("DIR", m_mainNode, "where to build it")->required();
        return board;
    }

    int run(CommandContext& context) override
    {
        SettingsStore settings;
        const CodePage& page = chosenCodePage(settings);
        const fs::path node = pathOf(m_mainNode);
        try {
            if (m_init->parsed()) {
                BoardTool::init(node);
            } else if (m_add->parsed()) {
                AreaRecord record;
                m_addOptions.applyTo(record, page, true);
                context.out << BoardTool::add(node, record) << '\n';
            } else if (m_set->parsed()) {
                std::vector<AreaRecord> records = BoardTool::read(node);
                if (m_number < 1 || static_cast<std::size_t>(m_number) > records.size())
                    throw CommandError(
                        u"there is no area %1 on this board (it has %2)"_s.arg(m_number).arg(records.size()));
                AreaRecord record = records[static_cast<std::size_t>(m_number) - 1];
                m_setOptions.applyTo(record, page, false);
                BoardTool::set(node, m_number, record);
            } else if (m_show->parsed()) {
                const std::vector<AreaRecord> records = BoardTool::read(node);
                if (m_json) {
                    printAreaRecordsJson(context.out, records, page);
                } else {
                    if (records.empty())
                        context.out << "The board has no areas.\n";
                    for (std::size_t i = 0; i < records.size(); ++i)
                        printAreaRecord(context.out, static_cast<int>(i) + 1, records[i], page);
                }
            } else if (m_demo->parsed()) {
                context.out << terminalText(DemoBoard::build(node, page)) << '\n';
            }
        } catch (const FieldTooLong& tooLong) {
            throw CommandError(QString::fromStdString(tooLong.what()));
        } catch (const RunTimeError& error) {
            throw CommandError(error.description());
        } catch (const fs::filesystem_error& error) {
            throw CommandError(RunTimeError::from(std::current_exception()).description());
        }
        return ExitDone;
    }

private:
    CLI::App* m_init = nullptr;
    CLI::App* m_add = nullptr;
    CLI::App* m_set = nullptr;
    CLI::App* m_show = nullptr;
    CLI::App* m_demo = nullptr;
    std::string m_mainNode;
    int m_number = 0;
    bool m_json = false;
    RecordOptions m_addOptions;
    RecordOptions m_setOptions;
};

} // namespace

std::unique_ptr<Command> makeBoardCommand()
{
    return std::make_unique<BoardCommand>();
}

} // namespace Kelvane
