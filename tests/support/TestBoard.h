#pragma once

#include "board/AreaRecords.h"
#include "board/FilesList.h"
#include "board/Session.h"

#include <QTemporaryDir>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

namespace Kelvane::Testing {

// What nearly every test file spells out otherwise.
namespace fs = std::filesystem;
using namespace Qt::StringLiterals;
using ::testing::HasSubstr;
using ::testing::Not;

/// A board of its own in a temporary directory for one test, with the settings file and the
/// program's directory inside it (KELVANE_SETTINGS and KELVANE_HOME point there).
class TestBoard
{
public:
    TestBoard();
    ~TestBoard();

    const std::filesystem::path& root() const { return m_root; }
    std::filesystem::path mainNode() const { return m_root / "board"; }
    std::filesystem::path programDirectory() const { return m_root / "program"; }

    /// A record whose files and Files List lie in root/areas/<name>/ (directories created).
    AreaRecord simpleRecord(const std::string& name) const;
    /// Appends record to the board; its number.
    int addArea(const AreaRecord& record);
    /// A session on this board's program directory, with the current area's main node set.
    std::unique_ptr<Session> session(UserPort& port) const;

    static void writeFile(const std::filesystem::path& path, std::string_view bytes);
    static std::string readFile(const std::filesystem::path& path);

private:
    QTemporaryDir m_directory;
    std::filesystem::path m_root;
    QByteArray m_oldSettings;
    QByteArray m_oldHome;
};

/// The names of entries, in their order.
inline std::vector<std::string> namesOf(const EntryList& entries)
{
    std::vector<std::string> names;
    for (const Entry& entry : entries)
        names.push_back(entry.FileName);
    return names;
}

} // namespace Kelvane::Testing
