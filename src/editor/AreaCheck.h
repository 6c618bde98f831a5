#pragma once

#include "board/FilesList.h"
#include "platform/Archives.h"

#include <cstddef>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace Kelvane {

class Session;

/// What an operator wants to know before cleaning up an area: where the Files List and the
/// area's directories disagree. Nothing is changed.
struct AreaCheckReport
{
    struct Mismatch
    {
        std::string name; // as listed
        std::string listed; // the list's value
        std::string onDisk; // the file's value
    };

    std::vector<std::string> missingFiles; // entries whose file is in no directory
    std::vector<std::filesystem::path> unlistedFiles; // files the list does not hold
    std::vector<std::string> listedTwice; // names with more than one entry
    std::vector<std::vector<std::filesystem::path>> sameContent; // groups of identical files
    std::vector<Mismatch> sizeMismatches;
    std::vector<Mismatch> dateMismatches;
    std::vector<std::string> emptyFiles; // entries whose file holds no byte (not a fault alone)

    bool clean() const
    {
        return missingFiles.empty() && unlistedFiles.empty() && listedTwice.empty() && sameContent.empty()
            && sizeMismatches.empty() && dateMismatches.empty();
    }
};

/// Checks the current area's entries against its directories. The files the new-file scan
/// would skip (the list, the index, "*.BAK", "FILES.*") are never reported as unlisted.
AreaCheckReport checkArea(Session& session, const EntryList& entries);

/// An archive of the area that did not read through to its end.
struct ArchiveFinding
{
    std::filesystem::path file;
    ArchiveTest test;
};

struct AreaArchiveReport
{
    std::size_t tested = 0;
    std::vector<ArchiveFinding> bad; // in the order of the area's directories, then by name
    bool stopped = false; // progress asked to stop before the last archive
};

/// Reads every archive of the current area's directories through to its end (the names
/// Read DIZ takes for archives). progress hears before each archive how many were done of
/// how many, and stops the run by answering false.
AreaArchiveReport testAreaArchives(
    Session& session,
    const std::function<bool(std::size_t done, std::size_t total, const std::filesystem::path& file)>& progress = {});

/// A few words for the state of a tested archive, as the reports show it.
const char* archiveStateText(ArchiveTest::State state);

} // namespace Kelvane
