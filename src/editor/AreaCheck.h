#pragma once

#include "board/FilesList.h"

#include <filesystem>
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

    bool clean() const
    {
        return missingFiles.empty() && unlistedFiles.empty() && listedTwice.empty() && sameContent.empty()
            && sizeMismatches.empty() && dateMismatches.empty();
    }
};

/// Checks the current area's entries against its directories. The files the new-file scan
/// would skip (the list, the index, "*.BAK", "FILES.*") are never reported as unlisted.
AreaCheckReport checkArea(Session& session, const EntryList& entries);

} // namespace Kelvane
