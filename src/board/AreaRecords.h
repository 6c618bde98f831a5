#pragma once

#include <QString>

#include <array>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace Kelvane {

/// Where a text field lies in a 2,048-byte area record of Farea.dat: one length byte, then
/// capacity bytes of which the first length are the text.
struct FieldLayout
{
    const char* label;
    int offset;
    int capacity;
};

/// One area record, its texts as the bytes stored (in the board's code page).
struct AreaRecord
{
    static constexpr int Size = 2048;
    static constexpr int AltPathCount = 10;

    std::string title;
    std::string path;
    std::array<std::string, AltPathCount> alt;
    std::string filesList;
    std::string index;
    std::string privateFlag = "No";
    std::string cdrom = "No";
    std::string alias = "No";
    std::string offline = "No";
    std::string master = "No";
    std::int16_t disc = 0;

    bool operator==(const AreaRecord&) const = default;

    /// The text of every field with its layout, in record order.
    std::vector<std::pair<FieldLayout, const std::string*>> fields() const;
};

/// A text longer than its field: refused, never cut.
class FieldTooLong : public std::runtime_error
{
public:
    FieldTooLong(const FieldLayout& field, std::size_t length);
    const FieldLayout& field() const { return m_field; }

private:
    FieldLayout m_field;
};

namespace AreaRecordFormat {
/// The record's 2,048 bytes; throws FieldTooLong.
std::string encode(const AreaRecord& record);
/// The record in data (2,048 bytes); a length byte over its field is damage (RunTimeError).
AreaRecord decode(std::string_view data, int number);
/// Every record of the file at path; a damaged or unreadable file raises RunTimeError.
std::vector<AreaRecord> readFile(const std::filesystem::path& file);

/// One record of the file as read alone: the record, or what is wrong with it.
struct RecordRead
{
    std::optional<AreaRecord> record;
    QString damage; // empty when record holds the record
};
/// Every record of the file at path, each decoded on its own, so a damaged record costs only
/// its own area; a short piece at the end counts as one damaged record. An unreadable file
/// raises RunTimeError.
std::vector<RecordRead> readEach(const std::filesystem::path& file);
} // namespace AreaRecordFormat

/// <main node>/Mwork/Farea.dat whatever the case of its two names: the exact spelling wins,
/// then the first in sorted order.
std::optional<std::filesystem::path> findFareaFile(const std::filesystem::path& mainNode);

/// The board's area records, read through one shared record set: open a board, select a
/// record, read its fields. A failing call raises RunTimeError (source "Vandor.AreaRecords")
/// to the caller's trap and never changes the file.
class AreaRecordSet
{
public:
    /// Off (the default), one damaged record refuses the whole file, as the board library
    /// does. On, a run over many areas opens the file whole and only selecting a damaged
    /// record raises its error, so the other areas are still done.
    void setToleratesDamage(bool tolerates) { m_toleratesDamage = tolerates; }

    void OpenAreas(const std::filesystem::path& mainNode);
    int AreaCount() const;
    void SelectArea(int number);
    void OpenAreaRecord(const std::filesystem::path& mainNode, int number);
    void CloseAreas();

    const std::string& AreaTitle() const { return current().title; }
    const std::string& AreaFilePath() const { return current().path; }
    const std::string& AreaAltPath(int index) const;
    const std::string& AreaFileListPath() const { return current().filesList; }
    const std::string& AreaIndexPath() const { return current().index; }
    const std::string& AreaPrivate() const { return current().privateFlag; }
    const std::string& AreaCDRom() const { return current().cdrom; }
    const std::string& AreaAlias() const { return current().alias; }
    const std::string& AreaOffline() const { return current().offline; }
    const std::string& AreaMasterIndex() const { return current().master; }

    /// Every record of the open board.
    const std::vector<AreaRecord>& records() const;

private:
    const AreaRecord& current() const;

    std::optional<std::vector<AreaRecord>> m_records;
    std::vector<QString> m_damage; // per record when damage is tolerated; empty text for a sound one
    int m_selected = 0;
    bool m_toleratesDamage = false;
};

/// The board library's path utility.
namespace PathUtility {
/// The directory part of a full file path; "-1" for a path with no directory part, an
/// empty path or one holding NUL.
std::filesystem::path DirectoryOf(const std::filesystem::path& path);
/// The file-name part of a full file path.
std::filesystem::path FileNameOf(const std::filesystem::path& path);
/// text with every occurrence of piece removed.
std::string RemoveText(std::string_view text, std::string_view piece);
} // namespace PathUtility

} // namespace Kelvane
