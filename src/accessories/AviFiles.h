#pragma once

#include <QByteArray>
#include <QString>
#include <filesystem>
#include <optional>

namespace Kelvane {

/// The three animations the forms play, kept as files in the program's AVI folder.
enum class Animation { FindFile, Search, FileMove };

/// "FINDFILE.AVI", "SEARCH.AVI", "FILEMOVE.AVI".
QString animationFileName(Animation animation);

/// The bytes of an animation: a RIFF AVI of RLE8 frames drawn by the program.
QByteArray animationBytes(Animation animation);

/// The program's AVI folder, found whatever the case of its name; nothing when there is none.
std::optional<std::filesystem::path> findAnimationFolder(const std::filesystem::path& programDirectory);

/// The file of an animation in the program's AVI folder, folder and file found whatever the
/// case of their names; nothing when either is missing.
std::optional<std::filesystem::path> findAnimation(const std::filesystem::path& programDirectory, Animation animation);

/// Writes each animation missing from the program's AVI folder (whatever the case of the names
/// on disk), making the folder when there is none; one that cannot be written is left out
/// (its form then shows its alert and goes on without it).
void writeMissingAnimations(const std::filesystem::path& programDirectory);

} // namespace Kelvane
