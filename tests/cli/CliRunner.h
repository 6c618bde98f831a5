#pragma once

#include "board/DemoBoard.h"
#include "cli/CommandLine.h"
#include "platform/CodePage.h"
#include "support/TestBoard.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <sstream>

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

/// Every file under a directory with its bytes and mode, to tell whether anything changed.
inline std::map<std::string, std::string> snapshot(const fs::path& root)
{
    std::map<std::string, std::string> files;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(root)) {
        const std::string mode = std::to_string(static_cast<int>(entry.symlink_status().permissions()));
        files[entry.path().string()] = entry.is_regular_file() ? mode + ':' + TestBoard::readFile(entry.path()) : mode;
    }
    return files;
}

/// The command line on a board of the test's own; kelvane() names its main node.
class CliTest : public ::testing::Test
{
protected:
    CliResult kelvane(std::vector<std::string> arguments) const { return runKelvaneOn(node, std::move(arguments)); }

    TestBoard board;
    std::string node = board.mainNode().string();
};

/// The command line on the demo board, built afresh for each test.
class DemoCliTest : public CliTest
{
protected:
    void SetUp() override { node = DemoBoard::build(demo, CodePage::windows1252()).string(); }

    fs::path demo = board.root() / "demo";
    fs::path utils = demo / "files" / "utils";
    fs::path cdrom = demo / "files" / "cdrom";
};

} // namespace Kelvane::Testing
