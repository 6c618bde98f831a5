#pragma once

#include <QString>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string_view>
#include <vector>

namespace Kelvane {

class EntryTable;
class Session;

/// The sort view's table over the open area's entries: a shown order that the column
/// clicks re-arrange, written back into the entries' own order when the view closes.
///
/// Names sort in the table's text-sort mode (case-insensitive, stable); sizes and dates by a
/// merge sort whose comparisons answer 0, 1 or 2, "1 or more" putting the second entry
/// first, so entries of equal keys come out as that rule makes them. The direction comes
/// from SortToggle, which every click flips and nothing resets: the same value sorts names
/// descending but sizes and dates ascending.
class SortView
{
public:
    enum Column { FileName = 0, Size = 1, Date = 2, Description = 3 };

    SortView(Session& session, EntryTable& table);

    /// A click on a column heading (lsvEditFileArea_ColumnClick).
    void columnClick(int column);
    /// The shown order: indices into the table.
    const std::vector<std::size_t>& shownOrder() const { return m_shown; }
    /// Takes the entries as they are now, after an operation added, removed or re-ordered
    /// some: the shown order starts again from the entries' order and, while the text-sort
    /// mode is on, is kept in text order, as the table keeps itself.
    void resync();
    /// The status bar's text.
    const QString& status() const { return m_status; }
    /// Writes the shown order back into the table (Update_lsvEditFileArealsv): descriptions
    /// are cut to 1,023 characters and right-trimmed, and the selection is cleared.
    void writeBack();

    bool textSortOn() const { return m_textSortOn; }
    int textSortKey() const { return m_textSortKey; }
    int textSortOrder() const { return m_textSortOrder; }

    /// The answer of a comparison of a with b under SortToggle: 0 keeps a first, 1 or 2
    /// puts b first.
    static int compare(bool sortToggle, double a, double b);

    /// Sorts order by a top-down merge sort that splits a range of n at n/2 and takes the
    /// right element first whenever compare(left, right) answers more than 0.
    static void mergeSort(std::vector<std::size_t>& order, const std::function<int(std::size_t, std::size_t)>& compare);

private:
    void setTextSortKey(int key);
    void setTextSortOrder(int order);
    void setTextSortOn(bool on);
    void textSort();
    void sortByKeys(const std::vector<double>& keys);
    std::vector<double> sizeKeys();
    std::vector<double> dateKeys();

    Session& m_session;
    EntryTable& m_table;
    std::vector<std::size_t> m_shown;
    QString m_status;
    bool m_textSortOn = false;
    int m_textSortKey = 0;
    int m_textSortOrder = 0;
};

/// The 32-bit value of a Size text, as the size sort reads it; nothing for text that is
/// no whole number or does not fit.
std::optional<std::int32_t> sizeSortValue(std::string_view text);

} // namespace Kelvane
