#include "board/AreaRecords.h"

#include "board/RunTimeError.h"
#include "platform/FileNames.h"

#include <QString>

#include <algorithm>
#include <fstream>
#include <iterator>

using namespace Qt::StringLiterals;

namespace Kelvane {

namespace fs = std::filesystem;

namespace {

constexpr FieldLayout Title { "Title", 0, 60 };
constexpr FieldLayout FilePath { "File path", 61, 127 };
constexpr FieldLayout FilesList { "Files List path", 1469, 127 };
constexpr FieldLayout Index { "Index path", 1597, 127 };
constexpr FieldLayout Private { "Private", 1725, 3 };
constexpr FieldLayout CDRom { "CD-ROM", 1729, 3 };
constexpr FieldLayout Alias { "Alias", 1733, 3 };
constexpr FieldLayout Offline { "Offline", 1737, 3 };
constexpr FieldLayout Master { "Master index", 1741, 3 };
constexpr int DiscOffset = 1745;

constexpr std::array<const char*, AreaRecord::AltPathCount> AltLabels
    = { "Additional path 1", "Additional path 2", "Additional path 3", "Additional path 4", "Additional path 5",
        "Additional path 6", "Additional path 7", "Additional path 8", "Additional path 9", "Additional path 10" };

FieldLayout altLayout(int index)
{
    return { AltLabels[static_cast<std::size_t>(index)], 189 + index * 128, 127 };
}

RunTimeError damaged(const QString& what)
{
    return RunTimeError::areaRecords(u"Farea.dat is damaged: "_s + what);
}

} // namespace

std::vector<std::pair<FieldLayout, const std::string*>> AreaRecord::fields() const
{
    std::vector<std::pair<FieldLayout, const std::string*>> result = { { Title, &title }, { FilePath, &path } };
    for (int i = 0; i < AltPathCount; ++i)
        result.emplace_back(altLayout(i), &alt[static_cast<std::size_t>(i)]);
    result.insert(result.end(),
                  { { FilesList, &filesList },
                    { Index, &index },
                    { Private, &privateFlag },
                    { CDRom, &cdrom },
                    { Alias, &alias },
                    { Offline, &offline },
                    { Master, &master } });
    return result;
}

FieldTooLong::FieldTooLong(const FieldLayout& field, std::size_t length)
    : std::runtime_error(std::string(field.label) + " is " + std::to_string(length)
                         + " characters long; the field holds at most " + std::to_string(field.capacity))
    , m_field(field)
{
}

std::string AreaRecordFormat::encode(const AreaRecord& record)
{
    std::string data(AreaRecord::Size, '\0');
    for (const auto& [layout, text] : record.fields()) {
        if (text->size() > static_cast<std::size_t>(layout.capacity))
            throw FieldTooLong(layout, text->size());
        data[static_cast<std::size_t>(layout.offset)] = static_cast<char>(text->size());
        std::copy(text->begin(), text->end(), data.begin() + layout.offset + 1);
    }
    const auto disc = static_cast<std::uint16_t>(record.disc);
    data[DiscOffset] = static_cast<char>(disc & 0xFF);
    data[DiscOffset + 1] = static_cast<char>(disc >> 8);
    return data;
}

AreaRecord AreaRecordFormat::decode(std::string_view data, int number)
{
    const auto text = [&](const FieldLayout& layout) {
        const auto length = static_cast<unsigned char>(data[static_cast<std::size_t>(layout.offset)]);
        if (length > layout.capacity) {
            throw damaged(u"record %1, field %2, holds a length of %3 where at most %4 fits"_s.arg(number)
                              .arg(QString::fromLatin1(layout.label))
                              .arg(length)
                              .arg(layout.capacity));
        }
        return std::string(data.substr(static_cast<std::size_t>(layout.offset) + 1, length));
    };
    AreaRecord record;
    record.title = text(Title);
    record.path = text(FilePath);
    for (int i = 0; i < AreaRecord::AltPathCount; ++i)
        record.alt[static_cast<std::size_t>(i)] = text(altLayout(i));
    record.filesList = text(FilesList);
    record.index = text(Index);
    record.privateFlag = text(Private);
    record.cdrom = text(CDRom);
    record.alias = text(Alias);
    record.offline = text(Offline);
    record.master = text(Master);
    record.disc = static_cast<std::int16_t>(static_cast<unsigned char>(data[DiscOffset])
                                            | static_cast<unsigned char>(data[DiscOffset + 1]) << 8);
    return record;
}

namespace {

std::string readRecordFile(const fs::path& file)
{
    std::error_code error;
    if (!fs::is_regular_file(file, error)) {
        throw RunTimeError::areaRecords(u"Unable to read "_s + unicodeFromPath(file) + u": it is not a file"_s);
    }
    std::ifstream stream(file, std::ios::binary);
    std::string data((std::istreambuf_iterator<char>(stream)), std::istreambuf_iterator<char>());
    if (!stream.good() && !stream.eof())
        throw RunTimeError::areaRecords(u"Unable to read "_s + unicodeFromPath(file));
    return data;
}

} // namespace

std::vector<AreaRecordFormat::RecordRead> AreaRecordFormat::readEach(const fs::path& file)
{
    const std::string data = readRecordFile(file);
    std::vector<RecordRead> records;
    records.reserve(data.size() / AreaRecord::Size + 1);
    for (std::size_t at = 0; at < data.size(); at += AreaRecord::Size) {
        const int number = static_cast<int>(at / AreaRecord::Size) + 1;
        RecordRead& read = records.emplace_back();
        if (data.size() - at < static_cast<std::size_t>(AreaRecord::Size)) {
            read.damage = damaged(u"record %1 is cut short: %2 of its %3 bytes"_s.arg(number)
                                      .arg(data.size() - at)
                                      .arg(AreaRecord::Size))
                              .description();
            continue;
        }
        try {
            read.record = decode(std::string_view(data).substr(at, AreaRecord::Size), number);
        } catch (const RunTimeError& error) {
            read.damage = error.description();
        }
    }
    return records;
}

std::vector<AreaRecord> AreaRecordFormat::readFile(const fs::path& file)
{
    const std::string data = readRecordFile(file);
    if (data.size() % AreaRecord::Size != 0) {
        throw damaged(u"its size, %1 bytes, is not a whole number of %2-byte area records"_s.arg(data.size())
                          .arg(AreaRecord::Size));
    }
    std::vector<AreaRecord> records;
    records.reserve(data.size() / AreaRecord::Size);
    for (std::size_t at = 0; at < data.size(); at += AreaRecord::Size) {
        records.push_back(
            decode(std::string_view(data).substr(at, AreaRecord::Size), static_cast<int>(at / AreaRecord::Size) + 1));
    }
    return records;
}

std::optional<fs::path> findFareaFile(const fs::path& mainNode)
{
    if (mainNode.empty() || mainNode.native().find('\0') != std::string::npos)
        return std::nullopt;
    std::error_code error;
    const fs::path exact = mainNode / "Mwork" / "Farea.dat";
    if (fs::is_regular_file(exact, error))
        return exact;
    // Names spelled otherwise: the exact spelling first, then sorted order.
    const auto spellings = [](const fs::path& directory, const QString& folded, const char* exactName,
                              bool wantDirectory) {
        std::vector<fs::path> found;
        std::error_code listError;
        for (fs::directory_iterator it(directory, listError), end; !listError && it != end; it.increment(listError)) {
            std::error_code typeError;
            const bool isDirectory = it->is_directory(typeError);
            if (isDirectory == wantDirectory && (wantDirectory || it->is_regular_file(typeError))
                && foldName(fileNameText(it->path())) == folded)
                found.push_back(it->path().filename());
        }
        std::sort(found.begin(), found.end(), [exactName](const fs::path& a, const fs::path& b) {
            const bool aExact = a == exactName;
            const bool bExact = b == exactName;
            return aExact != bExact ? aExact : a.native() < b.native();
        });
        return found;
    };
    for (const fs::path& work : spellings(mainNode, u"MWORK"_s, "Mwork", true)) {
        const std::vector<fs::path> files = spellings(mainNode / work, u"FAREA.DAT"_s, "Farea.dat", false);
        if (!files.empty())
            return mainNode / work / files.front();
    }
    return std::nullopt;
}

void AreaRecordSet::OpenAreas(const fs::path& mainNode)
{
    m_records.reset();
    m_selected = 0;
    const std::optional<fs::path> file = findFareaFile(mainNode);
    if (!file) {
        throw RunTimeError::areaRecords(u"Unable to find "_s + unicodeFromPath(mainNode / "Mwork" / "Farea.dat"));
    }
    m_damage.clear();
    if (!m_toleratesDamage) {
        m_records = AreaRecordFormat::readFile(*file);
        return;
    }
    std::vector<AreaRecord> records;
    for (AreaRecordFormat::RecordRead& read : AreaRecordFormat::readEach(*file)) {
        records.push_back(read.record ? std::move(*read.record) : AreaRecord {});
        m_damage.push_back(read.damage);
    }
    m_records = std::move(records);
}

int AreaRecordSet::AreaCount() const
{
    return static_cast<int>(records().size());
}

void AreaRecordSet::SelectArea(int number)
{
    if (number < 1 || number > AreaCount()) {
        throw RunTimeError::areaRecords(
            u"Area record %1 does not exist; the board has %2 area records"_s.arg(number).arg(AreaCount()));
    }
    const QString damage = static_cast<std::size_t>(number) <= m_damage.size()
        ? m_damage[static_cast<std::size_t>(number) - 1]
        : QString();
    if (!damage.isEmpty())
        throw RunTimeError::areaRecords(damage);
    m_selected = number;
}

void AreaRecordSet::OpenAreaRecord(const fs::path& mainNode, int number)
{
    OpenAreas(mainNode);
    SelectArea(number);
}

void AreaRecordSet::CloseAreas()
{
    m_records.reset();
    m_selected = 0;
}

const std::string& AreaRecordSet::AreaAltPath(int index) const
{
    if (index < 1 || index > AreaRecord::AltPathCount)
        throw RunTimeError(9, QString::fromUtf16(RunTimeError::ProgramSource), u"Subscript out of range"_s);
    return current().alt[static_cast<std::size_t>(index - 1)];
}

const std::vector<AreaRecord>& AreaRecordSet::records() const
{
    if (!m_records)
        throw RunTimeError::areaRecords(u"The area records are not open"_s);
    return *m_records;
}

const AreaRecord& AreaRecordSet::current() const
{
    if (m_selected == 0)
        throw RunTimeError::areaRecords(u"No area record is selected"_s);
    return records()[static_cast<std::size_t>(m_selected - 1)];
}

fs::path PathUtility::DirectoryOf(const fs::path& path)
{
    const auto& text = path.native();
    if (text.empty() || text.find(fs::path::value_type('\0')) != fs::path::string_type::npos || !path.has_parent_path()
        || !path.has_filename())
        return fs::path("-1");
    return path.parent_path();
}

fs::path PathUtility::FileNameOf(const fs::path& path)
{
    return path.filename();
}

std::string PathUtility::RemoveText(std::string_view text, std::string_view piece)
{
    std::string result(text);
    if (piece.empty())
        return result;
    for (std::size_t at = result.find(piece); at != std::string::npos; at = result.find(piece, at))
        result.erase(at, piece.size());
    return result;
}

} // namespace Kelvane
