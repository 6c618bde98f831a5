#pragma once

#include <QByteArray>
#include <QString>
#include <filesystem>

namespace Kelvane {

/// The three animations the forms play, kept as files in the program's AVI folder.
enum class Animation { FindFile, Search, FileMove };

/// "FINDFILE.AVI", "SEARCH.AVI", "FILEMOVE.AVI".
QString animationFileName(Animation animation);

/// The bytes of an animation: a RIFF AVI of RLE8 frames drawn by the program.
QByteArray animationBytes(Animation animation);

/// Writes each animation missing from programDirectory/AVI; one that cannot be written is
/// left out (its form then shows its alert and goes on without it).
void writeMissingAnimations(const std::filesystem::path& programDirectory);

} // namespace Kelvane
