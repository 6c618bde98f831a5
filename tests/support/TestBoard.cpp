#include "support/TestBoard.h"

#include "board/BoardTool.h"
#include "platform/CodePage.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

namespace Kelvane::Testing {

namespace fs = std::filesystem;

TestBoard::TestBoard()
    : m_root(m_directory.path().toStdString())
    , m_oldSettings(qgetenv("KELVANE_SETTINGS"))
    , m_oldHome(qgetenv("KELVANE_HOME"))
{
    fs::create_directories(programDirectory());
    qputenv("KELVANE_SETTINGS", QByteArray::fromStdString((m_root / "Vandor.ini").string()));
    qputenv("KELVANE_HOME", QByteArray::fromStdString(programDirectory().string()));
    BoardTool::init(mainNode());
}

TestBoard::~TestBoard()
{
    // Read-only files and directories a test left must not stop the clean-up.
    std::error_code ignored;
    for (auto it = fs::recursive_directory_iterator(m_root, ignored); it != fs::recursive_directory_iterator();
         it.increment(ignored)) {
        fs::permissions(it->path(), fs::perms::owner_all, fs::perm_options::add | fs::perm_options::nofollow, ignored);
    }
    qputenv("KELVANE_SETTINGS", m_oldSettings);
    qputenv("KELVANE_HOME", m_oldHome);
}

AreaRecord TestBoard::simpleRecord(const std::string& name) const
{
    const fs::path files = m_root / "areas" / name;
    fs::create_directories(files);
    AreaRecord record;
    record.title = name;
    record.path = files.string();
    record.filesList = (files / "FILES.LST").string();
    return record;
}

int TestBoard::addArea(const AreaRecord& record)
{
    return BoardTool::add(mainNode(), record);
}

std::unique_ptr<Session> TestBoard::session(UserPort& port) const
{
    auto session = std::make_unique<Session>(port, programDirectory(), CodePage::windows1252());
    session->area.MainNodePath = mainNode();
    session->errorReporter().setClock([] { return QStringLiteral("11-23-26"); },
                                      [] { return QStringLiteral("14:30"); });
    return session;
}

void TestBoard::writeFile(const fs::path& path, std::string_view bytes)
{
    fs::create_directories(path.parent_path());
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    ASSERT_TRUE(out.good()) << "could not write " << path;
}

std::string TestBoard::readFile(const fs::path& path)
{
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

} // namespace Kelvane::Testing
