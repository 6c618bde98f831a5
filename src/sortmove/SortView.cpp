#include "sortmove/SortView.h"

#include "board/BasicText.h"
#include "board/FileDates.h"
#include "board/RunTimeError.h"
#include "board/Session.h"
#include "editor/EntryTable.h"
#include "platform/CodePage.h"

#include <algorithm>
#include <cmath>
#include <limits>

using namespace Qt::StringLiterals;

namespace Kelvane {

namespace {

constexpr std::size_t CellLimit = 31; // a size or date cell is read into 32 characters
constexpr std::size_t WriteBackLimit = 1023;
const QString ReadyText = u"Click Title Column Bar above to sort that area"_s;

// Days since 30 December 1899, the date's value in comparisons.
double dateValue(const QDate& date)
{
    static const qint64 epoch = QDate(1899, 12, 30).toJulianDay();
    return static_cast<double>(date.toJulianDay() - epoch);
}

const std::string& cellText(const Entry& entry, int column)
{
    switch (column) {
    case SortView::FileName:
        return entry.FileName;
    case SortView::Size:
        return entry.Size;
    case SortView::Date:
        return entry.Date;
    default:
        return entry.Description;
    }
}

} // namespace

std::optional<std::int32_t> sizeSortValue(std::string_view text)
{
    text = trimSpaces(text);
    if (text.empty())
        return std::nullopt;
    std::size_t at = text.front() == '-' || text.front() == '+' ? 1 : 0;
    if (at == text.size())
        return std::nullopt;
    long long value = 0;
    for (; at < text.size(); ++at) {
        if (text[at] < '0' || text[at] > '9')
            return std::nullopt;
        value = value * 10 + (text[at] - '0');
        if (value > std::numeric_limits<std::int32_t>::max() + 1LL)
            return std::nullopt;
    }
    if (text.front() == '-')
        value = -value;
    if (value > std::numeric_limits<std::int32_t>::max())
        return std::nullopt;
    return static_cast<std::int32_t>(value);
}

SortView::SortView(Session& session, EntryTable& table)
    : m_session(session)
    , m_table(table)
    , m_status(ReadyText)
{
    resync();
}

int SortView::compare(bool sortToggle, double a, double b)
{
    if (sortToggle)
        return a < b ? 0 : a == b ? 1 : 2;
    return a < b ? 2 : a == b ? 1 : 0;
}

void SortView::mergeSort(std::vector<std::size_t>& order, const std::function<int(std::size_t, std::size_t)>& compare)
{
    std::vector<std::size_t> scratch(order.size());
    // Top-down: a range of n splits at n/2, so the first half holds n/2 entries.
    const std::function<void(std::size_t, std::size_t)> sort = [&](std::size_t begin, std::size_t end) {
        const std::size_t n = end - begin;
        if (n < 2)
            return;
        const std::size_t middle = begin + n / 2;
        sort(begin, middle);
        sort(middle, end);
        std::size_t left = begin;
        std::size_t right = middle;
        std::size_t out = begin;
        while (left < middle && right < end)
            scratch[out++] = compare(order[left], order[right]) > 0 ? order[right++] : order[left++];
        while (left < middle)
            scratch[out++] = order[left++];
        while (right < end)
            scratch[out++] = order[right++];
        std::copy(scratch.begin() + static_cast<std::ptrdiff_t>(begin),
                  scratch.begin() + static_cast<std::ptrdiff_t>(end),
                  order.begin() + static_cast<std::ptrdiff_t>(begin));
    };
    sort(0, order.size());
}

void SortView::columnClick(int column)
{
    try {
        m_session.SortToggle = !m_session.SortToggle;
        // The key is set before the branch, for every column: with text-sort mode still on
        // from a name sort, a click on Description re-orders by description text.
        setTextSortKey(column);
        switch (column) {
        case FileName:
            m_status = u"Sorting by File Name"_s;
            setTextSortKey(FileName);
            setTextSortOrder(m_session.SortToggle ? 1 : 0);
            setTextSortOn(true);
            m_session.ChangesMade = true;
            m_status = u"Last Item Sorted: File Name"_s;
            break;
        case Size:
            m_status = u"Sorting by File Size"_s;
            setTextSortOn(false);
            sortByKeys(sizeKeys());
            m_status = u"Last Item Sorted: File Size"_s;
            m_session.ChangesMade = true;
            break;
        case Date:
            m_status = u"Sorting by File Date"_s;
            setTextSortOn(false);
            sortByKeys(dateKeys());
            m_status = u"Last Item Sorted: File Date"_s;
            m_session.ChangesMade = true;
            break;
        default:
            m_status = u"Can not Sort File Descriptions!"_s;
            break;
        }
    } catch (...) {
        m_session.ReportError("lsvEditFileArea_ColumnClick");
    }
}

void SortView::resync()
{
    m_shown.resize(m_table.size());
    for (std::size_t i = 0; i < m_shown.size(); ++i)
        m_shown[i] = i;
    if (m_textSortOn)
        textSort();
}

void SortView::setTextSortKey(int key)
{
    const bool changed = key != m_textSortKey;
    m_textSortKey = key;
    if (changed && m_textSortOn)
        textSort();
}

void SortView::setTextSortOrder(int order)
{
    const bool changed = order != m_textSortOrder;
    m_textSortOrder = order;
    if (changed && m_textSortOn)
        textSort();
}

void SortView::setTextSortOn(bool on)
{
    m_textSortOn = on;
    if (on)
        textSort();
}

// The table's own text order of the key column: case-insensitive and stable.
void SortView::textSort()
{
    const CodePage& page = m_session.codePage();
    std::vector<QString> keys(m_table.size());
    for (const std::size_t index : m_shown)
        keys[index] = page.toUnicode(cellText(m_table.at(index), m_textSortKey)).toCaseFolded();
    const bool descending = m_textSortOrder == 1;
    std::stable_sort(m_shown.begin(), m_shown.end(),
                     [&](std::size_t a, std::size_t b) { return descending ? keys[b] < keys[a] : keys[a] < keys[b]; });
}

void SortView::sortByKeys(const std::vector<double>& keys)
{
    const bool toggle = m_session.SortToggle;
    mergeSort(m_shown, [&](std::size_t a, std::size_t b) { return compare(toggle, keys[a], keys[b]); });
}

// Each entry's key is read once, not once per comparison; a cell that is no number is
// reported under the look-up's name and counts as 0.
std::vector<double> SortView::sizeKeys()
{
    std::vector<double> keys(m_table.size(), 0.0);
    for (std::size_t i = 0; i < keys.size(); ++i) {
        const std::string_view cell = std::string_view(m_table.at(i).Size).substr(0, CellLimit);
        if (cell.empty())
            continue;
        if (const std::optional<std::int32_t> value = sizeSortValue(cell)) {
            keys[i] = *value;
        } else {
            m_session.errorReporter().ReportError(
                "lsvEditFileArea_GetItemValueStr",
                RunTimeError(13, QString::fromUtf16(RunTimeError::ProgramSource), u"Type mismatch"_s));
        }
    }
    return keys;
}

std::vector<double> SortView::dateKeys()
{
    std::vector<double> keys(m_table.size(), 0.0);
    for (std::size_t i = 0; i < keys.size(); ++i) {
        const std::string_view cell = std::string_view(m_table.at(i).Date).substr(0, CellLimit);
        if (cell.empty())
            continue; // the zero date
        if (const std::optional<QDate> date = parseListDate(cell)) {
            keys[i] = dateValue(*date);
        } else {
            m_session.errorReporter().ReportError(
                "lsvEditFileArea_GetItemDate",
                RunTimeError(13, QString::fromUtf16(RunTimeError::ProgramSource), u"Type mismatch"_s));
        }
    }
    return keys;
}

void SortView::writeBack()
{
    try {
        m_table.reorder(m_shown);
        EntryTable::Batch batch(m_table);
        for (std::size_t i = 0; i < m_table.size(); ++i) {
            const Entry& entry = m_table.at(i);
            const bool longCell = entry.FileName.size() > WriteBackLimit || entry.Size.size() > WriteBackLimit
                || entry.Date.size() > WriteBackLimit || entry.Description.size() > WriteBackLimit;
            const bool trailingBlank = !entry.Description.empty() && entry.Description.back() == ' ';
            if (!longCell && !trailingBlank)
                continue;
            m_table.update(i, [](Entry& cut) {
                for (std::string* cell : { &cut.FileName, &cut.Size, &cut.Date, &cut.Description }) {
                    if (cell->size() > WriteBackLimit)
                        cell->resize(WriteBackLimit);
                }
                cut.Description.resize(rtrimSpaces(cut.Description).size());
            });
        }
        m_table.clearSelection();
        for (std::size_t i = 0; i < m_shown.size(); ++i)
            m_shown[i] = i;
        m_status = ReadyText;
    } catch (...) {
        m_session.ReportError("Update_lsvEditFileArealsv");
    }
}

} // namespace Kelvane
