#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace Kelvane {

/// What became of an attempt to extract an archive's description member.
enum class ExtractResult {
    Extracted, // the member was written to the destination
    NoMember, // the archive was read and holds no such member (or only an encrypted one)
    Unreadable, // not an archive, damaged, or of a method nothing here can read
};

/// The readers extractMember may try.
enum class ArchiveReaders {
    WithSevenZip, // the archive library, then 7-Zip for what it cannot read
    InProcessOnly, // the archive library alone: no program is ever started
};

/// The unzip facility: extracts the first member of archive whose file name (whatever its
/// case, whatever folder holds it) is memberName, written flat into destination under
/// memberName. Archives are read in-process; members of methods the archive library cannot
/// read are extracted with 7-Zip when it is installed, stopped after 10 seconds.
///
/// Nothing is ever written outside destination, no link is followed, at most the first
/// 1 MiB of the member is kept, and an encrypted member gives nothing.
ExtractResult extractMember(const std::filesystem::path& archive,
                            const std::filesystem::path& destination,
                            std::string_view memberName,
                            ArchiveReaders readers = ArchiveReaders::WithSevenZip);

/// A member read into memory instead of written: what extractMember would have written
/// (data), and the result it would have given.
struct MemberRead
{
    ExtractResult result = ExtractResult::Unreadable;
    std::string data; // the member's first MemberLimit bytes when result is Extracted
};

/// The reading half of extractMember: the same member, found by the same readers under the
/// same rules, kept in memory.
MemberRead readMember(const std::filesystem::path& archive,
                      std::string_view memberName,
                      ArchiveReaders readers = ArchiveReaders::WithSevenZip);

/// What reading a whole archive found.
struct ArchiveTest
{
    enum class State {
        Good, // every member read to its end and its checksum agreed
        Damaged, // a member's data is cut short, fails its checksum, or cannot be unpacked
        Encrypted, // a member needs a password: its data cannot be checked
        Unreadable, // not an archive, or of a kind nothing here reads
    };
    State state = State::Unreadable;
    std::string reason; // empty when good: the member and what was wrong with it
};

/// Reads every member of archive through to its end, so that the archive's own checksums
/// are verified, without writing anything anywhere: the data passes through one fixed buffer
/// and is dropped, so a member of gigabytes costs no memory. An archive the archive library
/// cannot read (a format or a method it lacks) goes to 7-Zip when readers allows it.
ArchiveTest testArchive(const std::filesystem::path& archive, ArchiveReaders readers = ArchiveReaders::WithSevenZip);

/// The most of a member that is kept.
constexpr std::size_t MemberLimit = 1 << 20;

} // namespace Kelvane
