#include "editor/EditorFixture.h"

#include "sortmove/SortView.h"

namespace Kelvane::Testing {
namespace {

class SortViewTest : public EditorFixture
{
protected:
    std::vector<std::string> shown(const SortView& view) const
    {
        std::vector<std::string> result;
        for (const std::size_t index : view.shownOrder())
            result.push_back(table.at(index).FileName);
        return result;
    }
};

TEST_F(SortViewTest, DescriptionsReorderOnlyInTextSortModeAndColumnsSortByTheBoardsRules)
{
    load({ { "B", " 1", "", "zebra\r\n" }, { "A", " 2", "", "apple\r\n" }, { "C", " 3", "", "mango\r\n" } });
    SortView view(*session, table);
    view.columnClick(SortView::Description);
    EXPECT_EQ(view.status(), u"Can not Sort File Descriptions!"_s);
    EXPECT_EQ(shown(view), (std::vector<std::string> { "B", "A", "C" }));
    EXPECT_FALSE(session->ChangesMade);
    view.columnClick(SortView::FileName); // toggle false now: ascending
    EXPECT_EQ(shown(view), (std::vector<std::string> { "A", "B", "C" }));
    view.columnClick(SortView::Description); // text-sort mode is still on: by description
    EXPECT_EQ(view.status(), u"Can not Sort File Descriptions!"_s);
    EXPECT_EQ(shown(view), (std::vector<std::string> { "A", "C", "B" }));

    // Written back, then an entry appended and one removed: the text order holds on.
    view.writeBack();
    table.append({ "D", " 4", "", "banana\r\n" });
    table.removeIf([&](std::size_t index) { return table.at(index).FileName == "C"; });
    view.resync();
    EXPECT_EQ(shown(view), (std::vector<std::string> { "A", "D", "B" }));

    // Equal values answer 1, which puts the right element first in every merge.
    std::vector<std::size_t> order = { 0, 1, 2, 3, 4 };
    SortView::mergeSort(order, [](std::size_t, std::size_t) { return 1; });
    EXPECT_EQ(order, (std::vector<std::size_t> { 4, 3, 2, 1, 0 }));
    order = { 0, 1, 2, 3, 4 };
    SortView::mergeSort(order, [](std::size_t, std::size_t) { return 0; });
    EXPECT_EQ(order, (std::vector<std::size_t> { 0, 1, 2, 3, 4 }));
    EXPECT_EQ(SortView::compare(true, 1, 2), 0);
    EXPECT_EQ(SortView::compare(false, 1, 2), 2);
    EXPECT_EQ(SortView::compare(false, 3, 3), 1);

    // The entries, the headings clicked, the order shown; a bad cell is reported.
    const std::tuple<EntryList, std::vector<SortView::Column>, std::vector<std::string>, bool> cases[] = {
        { { { "first", " 5", "", "" }, { "second", " 5", "", "" }, { "third", " 5", "", "" } },
          { SortView::Size },
          { "third", "second", "first" },
          false },
        // The second click: toggle false, dates descending; an empty date is the zero date.
        { { { "y2029", " 1", "06-01-29", "" }, { "y1930", " 1", "06-01-30", "" }, { "empty", " 1", "", "" },
            { "y1996", " 1", "12-31-1996", "" } },
          { SortView::Size, SortView::Date },
          { "y2029", "y1996", "y1930", "empty" },
          false },
        { { { "big", " 9", "", "" }, { "bad", "lots", "", "" }, { "small", " 1", "", "" } },
          { SortView::Size },
          { "bad", "small", "big" },
          true },
    };
    for (const auto& [entries, clicks, expected, badCell] : cases) {
        SCOPED_TRACE(expected.front());
        load(entries);
        session->SortToggle = false; // a fresh start
        if (badCell)
            port.expectError("lsvEditFileArea_GetItemValueStr");
        SortView view(*session, table);
        for (const SortView::Column column : clicks)
            view.columnClick(column);
        EXPECT_EQ(shown(view), expected);
    }
    EXPECT_EQ(sizeSortValue(" 12345"), 12345);
    EXPECT_EQ(sizeSortValue("2147483648"), std::nullopt);
    EXPECT_EQ(sizeSortValue("12x"), std::nullopt);
}

} // namespace
} // namespace Kelvane::Testing
