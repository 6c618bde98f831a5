#pragma once

#include <QString>

#include <filesystem>

namespace Kelvane {

/// The program's directory, which holds "Kelvane.err", "Work", "AVI" and the help: the folder
/// named by KELVANE_HOME, else the user's data directory for the application
/// (QStandardPaths::AppDataLocation: ~/.local/share/Kelvane on Linux). Not created here.
std::filesystem::path programDirectory();

/// directory + separator + part, as text: a directory that already ends in a separator
/// gives a doubled one, as the program's paths have always been joined.
QString joinProgramPath(const QString& directory, const QString& part);

} // namespace Kelvane
