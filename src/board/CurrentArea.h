#pragma once

#include <QString>
#include <array>
#include <filesystem>

#include <string>

namespace Kelvane {

class Session;

/// Directory slots of an area: 0 is the main file directory, 1..10 the additional ones.
constexpr int DirectorySlots = 11;
using DirectoryPaths = std::array<std::filesystem::path, DirectorySlots>;

/// The area being worked on; every field is kept until the next load overwrites it.
struct CurrentArea
{
    std::filesystem::path MainNodePath;
    int AreaNumber = 0; // first record = 1
    std::string AreaTitle; // bytes in the board's code page
    std::filesystem::path FileListPath;
    DirectoryPaths FilePaths; // an unused slot is empty
    std::filesystem::path IndexPath;
    bool IsPrivate = false;
    bool IsCDRom = false;
    bool AllowAlias = false;
    bool IsOffline = false;
    bool UsesMasterIndex = false;
    bool TrackForIndex = false;
};

/// A board flag as the area loader reads it: exactly "No" is false; anything else, "no"
/// and an empty text included, is true.
inline bool isYes(const std::string& flag)
{
    return flag != "No";
}

/// Loads the record of session.area.AreaNumber into session.area, asks for an offline CD
/// when the area needs one, checks and creates its directories; true when the area may be
/// edited. A false result has shown its alert (or the user cancelled).
bool Farea_Dat_Initialize(Session& session);

/// Puts an area number on the Make Index list once; 0 does nothing.
void AddToMakeIndexList(Session& session, int areaNumber);

/// The offline-CD prompt's text. The disc number is a counter that is never given a value,
/// so the prompt always asks for disc #0.
QString offlinePromptText(const QString& areaTitle, const QString& driveRoot);

} // namespace Kelvane
