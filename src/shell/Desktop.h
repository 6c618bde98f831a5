#pragma once

namespace Kelvane {

/// Whether the arguments start the desktop program: none at all, or the command "open".
bool startsDesktop(int argc, const char* const* argv);

/// The desktop program: the splash, then the main frame until it closes. "open AREA
/// [--main-node PATH]" opens that area (a record number or an exact title) at once. Returns
/// the exit status.
int runDesktop(int argc, char* argv[]);

} // namespace Kelvane
