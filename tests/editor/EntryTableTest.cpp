#include "editor/EntryTable.h"

#include <gtest/gtest.h>

namespace Kelvane {
namespace {

struct Recorder : EntryTableObserver
{
    std::vector<std::string> heard;
    void entriesReset() override { heard.push_back("reset"); }
    void entriesChanged(std::size_t first, std::size_t last) override
    {
        heard.push_back("changed " + std::to_string(first) + "-" + std::to_string(last));
    }
    void entriesAppended(std::size_t first, std::size_t last) override
    {
        heard.push_back("appended " + std::to_string(first) + "-" + std::to_string(last));
    }
    void selectionChanged() override { heard.push_back("selection"); }
};

EntryList entries(int count)
{
    EntryList list;
    for (int i = 0; i < count; ++i)
        list.push_back({ "F" + std::to_string(i), " 1", "", "" });
    return list;
}

TEST(EntryTable, AnOperationOverManyEntriesIsAnnouncedOnceAndARemovalKeepsTheOrderAndSelection)
{
    EntryTable table;
    Recorder recorder;
    table.addObserver(&recorder);
    table.reset(entries(100000));
    {
        EntryTable::Batch batch(table);
        for (std::size_t i = 10; i < 90000; ++i) {
            table.update(i, [](Entry& entry) { entry.Date = "01-01-96"; });
            table.setSelected(i, true);
        }
        table.append({ "NEW", " 1", "", "" });
        table.append({ "NEWER", " 1", "", "" });
    }
    EXPECT_EQ(
        recorder.heard,
        (std::vector<std::string> { "reset", "selection", "appended 100000-100001", "changed 10-89999", "selection" }));
    EXPECT_EQ(table.selectedCount(), 89990u);
    table.removeObserver(&recorder);

    // A removal keeps the order and the selection of the rest.
    table.reset(entries(6));
    for (std::size_t i : { 1, 2, 4 })
        table.setSelected(i, true);
    Recorder removal;
    table.addObserver(&removal);
    table.removeIf([](std::size_t index) { return index % 2 == 0; });
    ASSERT_EQ(table.size(), 3u);
    EXPECT_EQ(table.at(0).FileName, "F1");
    EXPECT_EQ(table.at(2).FileName, "F5");
    EXPECT_EQ(table.selectedIndices(), std::vector<std::size_t> { 0 });
    EXPECT_EQ(removal.heard, (std::vector<std::string> { "reset", "selection" }));

    table.reorder({ 2, 0, 1 });
    EXPECT_EQ(table.at(0).FileName, "F5");
    EXPECT_EQ(table.selectedIndices(), std::vector<std::size_t> { 1 });
    table.removeObserver(&removal);
}

} // namespace
} // namespace Kelvane
