#pragma once

#include "board/CurrentArea.h"
#include "editor/EntryTable.h"
#include "support/ScriptedPort.h"
#include "support/TestBoard.h"

namespace Kelvane::Testing {

/// An area open in the editor: three directories (the file directory and additional ones
/// 1 and 2), its Files List beside the files, and the entries in a table.
class EditorFixture : public ::testing::Test
{
protected:
    void SetUp() override
    {
        record = board.simpleRecord("area");
        record.alt[0] = (board.root() / "areas" / "alt1").string();
        record.alt[1] = (board.root() / "areas" / "alt2").string();
        record.index = (board.root() / "index" / "AREA.IDX").string();
        std::filesystem::create_directories(record.alt[0]);
        std::filesystem::create_directories(record.alt[1]);
        files = record.path;
        open();
    }

    void open()
    {
        session = board.session(port);
        session->area.AreaNumber = board.addArea(record);
        session->area.AreaTitle = record.title;
        ASSERT_TRUE(Farea_Dat_Initialize(*session));
    }

    /// Puts entries in the table with the named ones selected.
    void load(const EntryList& entries, std::initializer_list<std::size_t> selected = {})
    {
        table.reset(entries);
        for (const std::size_t index : selected)
            table.setSelected(index, true);
    }

    std::vector<std::string> names() const { return namesOf(table.entries()); }

    static Entry entry(const std::string& name, const std::string& description = "text\r\n")
    {
        return { name, " 1", "01-01-96", description };
    }

    TestBoard board;
    ScriptedPort port;
    AreaRecord record;
    std::filesystem::path files;
    std::unique_ptr<Session> session;
    EntryTable table;
};

} // namespace Kelvane::Testing
