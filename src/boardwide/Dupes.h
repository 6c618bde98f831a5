#pragma once

// Duplicates over many areas: the same file name in more than one place (within an area or
// across areas), and files whose bytes are equal.
//
// A copy is a file in one of an area's directories, with the Files List entry that names it
// when the list holds one, or an entry whose file is in no directory. Names are compared as
// the Files List holds them: upper-cased in the board's code page, a name the page cannot
// show as the short alias the scan would list, and a short alias ("LONGFI~1.ZIP") as the long
// name it stands for when exactly one long name of the run has that alias. Contents are
// compared among files of the same size only, by their SHA-256, each file read at most once
// and not at all when the hash cache knows its version.

#include "boardwide/BoardReader.h"
#include "boardwide/DupesHashCache.h"

#include <QString>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace Kelvane {

enum class DupesBy { Name, Content, Both };

struct DupeCopy
{
    int area = 0; // record number
    int slot = -1; // the directory holding the file (0 the file directory); -1 for none
    int entry = -1; // the entry's position in the Files List; -1 when the list does not hold it
    std::string name; // bytes in the code page: the entry's name, else the file's
    std::filesystem::path::string_type diskName; // the file's name on disk; empty for none
    std::string date; // the entry's date; the file's for a file the list does not hold
    std::uintmax_t size = 0; // the file's size, else the entry's
    FileIdentity identity; // the file's; zero for none

    bool hasFile() const { return slot >= 0; }
    bool listed() const { return entry >= 0; }
};

struct DupeGroup
{
    enum class Kind { Name, Content };
    Kind kind = Kind::Name;
    std::string key; // the upper-case name, or the content's SHA-256 in hex
    std::vector<DupeCopy> copies; // in board order: area, then directory, then list order
};

struct DupesReport
{
    std::vector<DupeGroup> groups; // name groups, then content groups, each by first copy
    std::vector<AreaProblem> skipped;
    /// One line each: a file gone or unreadable when its turn to be hashed came, a name the
    /// code page cannot show, a hash cache ignored or not written.
    std::vector<QString> notices;
    std::size_t filesRead = 0; // files whose bytes were read for their hash
    std::size_t filesLeftOut = 0; // files gone or unreadable when they were to be hashed
    /// The bytes the copies after the first of each group take on disk, each file once, a
    /// copy that is the first copy's own file (a second link or an area sharing the
    /// directory) not counted.
    std::uintmax_t extraBytes = 0;
};

/// Reads a file's hash; the duplicate finder's only way to a file's bytes, so a test can count
/// the reads.
using DigestReader = std::function<std::optional<ContentDigest>(const std::filesystem::path&, QString& reason)>;

struct DupesOptions
{
    DupesBy by = DupesBy::Name;
    DupesHashCache* cache = nullptr; // nullptr: every file sharing its size is read
    std::function<void()> awaitCache = {}; // called before the cache is first used (one still loading)
    DigestReader readDigest = digestOfFile;
    BoardProgress* progress = nullptr;
};

/// The duplicates among the areas numbers names, in the order given.
DupesReport findDuplicates(const Board& board, const std::vector<int>& numbers, const DupesOptions& options);

/// The path of a copy's file; empty for a copy without one.
std::filesystem::path pathOf(const Board& board, const DupeCopy& copy);

enum class DupesKeep { First, Oldest, Newest };

/// What removing a group's extra copies does to one copy.
struct DupeRemoval
{
    enum class Action {
        Keep, // the copy kept
        Delete, // its file deleted and its entry erased (the editor's Delete)
        EraseEntry, // an entry whose file is in no directory, or is the kept copy's own: erased
        DeleteFile, // a file the list does not hold: deleted
        LeaveReadOnly, // in a CD-ROM or offline area: never changed
        LeaveSameFile, // the kept copy's file, or one deleted already, seen again: left as it is
    };
    Action action = Action::Keep;
    const DupeCopy* copy = nullptr;
};

/// The plan for one group: which copy stays (the first, the oldest or the newest file; an
/// entry without a file is kept only when no copy has one) and what happens to each other.
std::vector<DupeRemoval> planRemoval(const Board& board, const DupeGroup& group, DupesKeep keep);

} // namespace Kelvane
