#pragma once

#include "cli/Command.h"

namespace Kelvane {

/// Parses the command line and runs the chosen command: 0 done, 1 the operation reported a
/// failure or a name was not found, 2 wrong usage. Nothing escapes: an error is one line on
/// the context's error stream.
int runCommandLine(int argc, const char* const* argv, CommandContext& context);

} // namespace Kelvane
