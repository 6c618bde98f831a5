#include "boardwide/BoardReader.h"

#include "board/FileLookup.h"
#include "board/FileSystem.h"
#include "board/RunTimeError.h"
#include "boardwide/BoardProgress.h"
#include "index/MakeIndex.h"
#include "platform/CodePage.h"
#include "platform/FileNames.h"

#include <future>
#include <memory>

using namespace Qt::StringLiterals;

namespace Kelvane {

namespace fs = std::filesystem;

namespace {

const std::string NoTitle;

// The record's fields as the editor's loader reads them, without its questions.
void takeRecord(BoardArea& area, const CodePage& page)
{
    const AreaRecord& record = *area.record;
    area.filesList = page.toPath(record.filesList);
    area.directories[0] = page.toPath(record.path);
    for (int i = 1; i < DirectorySlots; ++i)
        area.directories[static_cast<std::size_t>(i)] = page.toPath(record.alt[static_cast<std::size_t>(i) - 1]);
    area.index = page.toPath(record.index);
    area.isCDRom = isYes(record.cdrom);
    area.isOffline = isYes(record.offline);
    area.usesMasterIndex = isYes(record.master);
}

QString pathText(const fs::path& path)
{
    return unicodeFromPath(path);
}

// The editor's checks before it opens an area, in its order; the reason an area cannot be
// read, or nothing.
std::optional<QString> problemOf(const BoardArea& area)
{
    if (!area.record)
        return u"its record in Farea.dat is damaged (%1)"_s.arg(area.damage);
    const fs::path& files = area.directories[0];
    if (files.empty())
        return u"it has no file directory"_s;
    if (!IsValidPath(files)) {
        if (area.isOffline)
            return u"it is offline and its CD is not in the drive (%1)"_s.arg(pathText(files));
        return u"its file directory %1 cannot be found"_s.arg(pathText(files));
    }
    if (area.filesList.empty())
        return u"it has no Files List path"_s;
    const fs::path listDirectory = PathUtility::DirectoryOf(area.filesList);
    if (!IsValidPath(listDirectory))
        return u"the directory of its Files List, %1, cannot be found"_s.arg(pathText(listDirectory));
    return std::nullopt;
}

QString reasonOf(const fs::filesystem_error& error)
{
    return QString::fromStdString(error.code().message());
}

} // namespace

const std::string& BoardArea::title() const
{
    return record ? record->title : NoTitle;
}

BoardError::BoardError(const QString& message)
    : std::runtime_error(message.toStdString())
{
}

Board::Board(fs::path mainNode, const CodePage& page)
    : m_mainNode(std::move(mainNode))
    , m_page(&page)
{
}

Board Board::open(const fs::path& mainNode, const CodePage& page)
{
    const std::optional<fs::path> file = findFareaFile(mainNode);
    if (!file)
        throw BoardError(u"no Mwork/Farea.dat under "_s + pathText(mainNode));
    Board board(mainNode, page);
    std::vector<AreaRecordFormat::RecordRead> records;
    try {
        records = AreaRecordFormat::readEach(*file);
    } catch (const RunTimeError& error) {
        throw BoardError(error.description());
    }
    board.m_areas.reserve(records.size());
    for (std::size_t i = 0; i < records.size(); ++i) {
        BoardArea& area = board.m_areas.emplace_back();
        area.number = static_cast<int>(i) + 1;
        area.record = std::move(records[i].record);
        area.damage = records[i].damage;
        if (area.record)
            takeRecord(area, page);
    }
    return board;
}

std::vector<std::optional<std::string>> Board::titles() const
{
    std::vector<std::optional<std::string>> titles;
    titles.reserve(m_areas.size());
    for (const BoardArea& area : m_areas)
        titles.push_back(area.record ? std::optional<std::string>(area.record->title) : std::nullopt);
    return titles;
}

QString AreaProblem::line(const CodePage& page) const
{
    const QString name = title.empty() ? QString() : u" ("_s + page.toUnicode(title) + u')';
    return u"area %1%2: %3; skipped"_s.arg(number).arg(name, reason);
}

BoardReader::BoardReader(const Board& board, ReadOptions options)
    : m_board(board)
    , m_options(options)
{
}

std::optional<AreaProblem> BoardReader::check(const BoardArea& area)
{
    if (const std::optional<QString> reason = problemOf(area))
        return AreaProblem { area.number, area.title(), *reason };
    return std::nullopt;
}

std::optional<AreaProblem> BoardReader::readArea(const BoardArea& area, AreaContents& contents) const
{
    const auto problem = [&](const QString& reason) { return AreaProblem { area.number, area.title(), reason }; };
    if (const std::optional<QString> reason = problemOf(area))
        return problem(*reason);
    const CodePage& page = m_board.codePage();
    FileLookup lookup(page);
    if (m_options.entries) {
        std::error_code error;
        contents.listExists = fs::exists(fs::symlink_status(area.filesList, error));
        if (contents.listExists) {
            std::string data;
            try {
                data = readFilesListBytes(area.filesList);
            } catch (const fs::filesystem_error& failure) {
                return problem(u"its Files List %1 cannot be read: %2"_s.arg(pathText(area.filesList),
                                                                            reasonOf(failure)));
            }
            // An alias ("LONGNA~1.ZIP") is listed by its long name when a directory holds
            // the file, as the editor reads it; the directories are listed only then.
            const auto resolveAlias = [&](std::string_view alias) -> std::optional<std::string> {
                const QString text = page.toUnicode(alias);
                for (const fs::path& directory : area.directories) {
                    if (directory.empty())
                        break;
                    if (const std::optional<QString> longName = lookup.listing(directory).nameOfAlias(text))
                        return page.upper(page.fromUnicode(*longName));
                }
                return std::nullopt;
            };
            contents.entries = FilesListFormat::parse(data, resolveAlias).entries;
        }
    }
    if (m_options.files) {
        // The board's own files are none of the area's: its Files List, the backups and the
        // index, left out as the scan leaves them out.
        const QString listName = foldName(unicodeFromPath(PathUtility::FileNameOf(area.filesList)));
        const QString indexName = foldName(unicodeFromPath(PathUtility::FileNameOf(area.index)));
        const auto boardsOwn = [&](const QString& key) {
            const std::string upper = key.toStdString();
            return key == listName || key == indexName || matchesPattern(upper, "*.BAK")
                || matchesPattern(upper, "FILES.*");
        };
        for (int slot = 0; slot < DirectorySlots; ++slot) {
            const fs::path& directory = area.directories[static_cast<std::size_t>(slot)];
            if (directory.empty() || (slot > 0 && !IsValidPath(directory)))
                continue;
            std::vector<ListedFile> listed;
            try {
                listed = listDirectory(directory, ListingOrder::ByName,
                                       m_options.identities ? ListingDetail::Identities : ListingDetail::Names);
            } catch (const fs::filesystem_error& failure) {
                return problem(u"its directory %1 cannot be listed: %2"_s.arg(pathText(directory), reasonOf(failure)));
            }
            contents.files.reserve(contents.files.size() + listed.size());
            for (ListedFile& file : listed) {
                if (!boardsOwn(file.key))
                    contents.files.push_back({ slot, std::move(file.name), std::move(file.text), file.identity });
            }
        }
    }
    return std::nullopt;
}

ReadSummary BoardReader::read(const std::vector<int>& numbers, AreaVisitor& visitor)
{
    // The disk work of the next area (its list read and parsed, its directories listed) is
    // done on a second thread while the visitor takes the one before it; the visitor still
    // sees every area in order, on the caller's thread. One area ahead, no more: more
    // threads at once only fight over the allocator.
    struct Read
    {
        std::unique_ptr<AreaContents> contents;
        std::optional<AreaProblem> problem;
    };
    const int count = static_cast<int>(numbers.size());
    const auto begin = [&](int position) {
        const BoardArea& area = m_board.area(numbers[static_cast<std::size_t>(position) - 1]);
        return std::async(std::launch::async, [this, &area, position, count] {
            Read read { std::unique_ptr<AreaContents>(new AreaContents { area, position, count, {}, false, {} }), {} };
            read.problem = readArea(area, *read.contents);
            return read;
        });
    };
    ReadSummary summary;
    std::future<Read> next;
    if (count > 0)
        next = begin(1);
    for (int position = 1; position <= count; ++position) {
        if (visitor.stopRequested()) {
            summary.stopped = true;
            break;
        }
        const BoardArea& area = m_board.area(numbers[static_cast<std::size_t>(position) - 1]);
        if (m_progress)
            m_progress->areaBegun(position, count, area);
        Read read = next.get();
        if (position < count)
            next = begin(position + 1);
        if (read.problem) {
            visitor.areaSkipped(*read.problem);
            summary.skipped.push_back(*read.problem);
        } else {
            summary.entries += read.contents->entries.size();
            ++summary.areasRead;
            visitor.areaRead(*read.contents);
        }
        if (m_progress)
            m_progress->areaEnded(position, count, summary.entries);
    }
    if (m_progress)
        m_progress->finished();
    return summary;
}

} // namespace Kelvane
