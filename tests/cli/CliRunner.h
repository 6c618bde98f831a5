#pragma once

#include "cli/CommandLine.h"

#include <sstream>
#include <string>
#include <vector>

namespace Kelvane::Testing {

struct CliResult
{
    int status;
    std::string out;
    std::string err;
};

/// Runs the command line in this process with string streams.
inline CliResult runKelvane(std::vector<std::string> arguments, const std::string& input = {}, bool interactive = false)
{
    arguments.insert(arguments.begin(), "kelvane");
    std::vector<const char*> argv;
    for (const std::string& argument : arguments)
        argv.push_back(argument.c_str());
    std::ostringstream out;
    std::ostringstream err;
    std::istringstream in(input);
    CommandContext context { out, err, in, interactive };
    const int status = runCommandLine(static_cast<int>(argv.size()), argv.data(), context);
    return { status, out.str(), err.str() };
}

/// Runs the command line on the board whose main node is node.
inline CliResult runKelvaneOn(const std::string& node, std::vector<std::string> arguments)
{
    arguments.insert(arguments.end(), { "--main-node", node });
    return runKelvane(std::move(arguments));
}

} // namespace Kelvane::Testing
