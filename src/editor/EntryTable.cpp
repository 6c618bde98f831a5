#include "editor/EntryTable.h"

#include <algorithm>

namespace Kelvane {

EntryTable::Batch::Batch(EntryTable& table)
    : m_table(table)
{
    ++m_table.m_batchDepth;
}

EntryTable::Batch::~Batch()
{
    if (--m_table.m_batchDepth == 0)
        m_table.announce();
}

void EntryTable::announce()
{
    if (m_batchDepth > 0)
        return;
    // Observers may read the table while they are told; take the pending state first.
    const bool reset = m_pendingReset;
    const bool change = m_pendingChange && !reset;
    const bool append = m_pendingAppend && !reset;
    const bool selection = m_pendingSelection || reset;
    const std::size_t changedFirst = m_changedFirst;
    const std::size_t changedLast = m_changedLast;
    const std::size_t appendedFirst = m_appendedFirst;
    m_pendingReset = m_pendingChange = m_pendingAppend = m_pendingSelection = false;
    const std::vector<EntryTableObserver*> observers = m_observers;
    for (EntryTableObserver* observer : observers) {
        if (reset)
            observer->entriesReset();
        if (append)
            observer->entriesAppended(appendedFirst, m_entries.size() - 1);
        if (change)
            observer->entriesChanged(changedFirst, std::min(changedLast, m_entries.size() - 1));
        if (selection)
            observer->selectionChanged();
    }
}

void EntryTable::noteChanged(std::size_t first, std::size_t last)
{
    if (m_pendingAppend && first >= m_appendedFirst)
        return; // the rows are new to the observers anyway
    if (!m_pendingChange) {
        m_changedFirst = first;
        m_changedLast = last;
        m_pendingChange = true;
    } else {
        m_changedFirst = std::min(m_changedFirst, first);
        m_changedLast = std::max(m_changedLast, last);
    }
}

void EntryTable::reset(EntryList entries)
{
    m_entries = std::move(entries);
    m_selected.assign(m_entries.size(), 0);
    m_selectedCount = 0;
    m_pendingReset = true;
    announce();
}

void EntryTable::append(Entry entry)
{
    if (!m_pendingAppend) {
        m_appendedFirst = m_entries.size();
        m_pendingAppend = true;
    }
    m_entries.push_back(std::move(entry));
    m_selected.push_back(0);
    announce();
}

void EntryTable::update(std::size_t index, const std::function<void(Entry&)>& change)
{
    change(m_entries[index]);
    noteChanged(index, index);
    announce();
}

void EntryTable::removeIf(const std::function<bool(std::size_t)>& remove)
{
    std::size_t kept = 0;
    std::size_t selected = 0;
    for (std::size_t i = 0; i < m_entries.size(); ++i) {
        if (remove(i))
            continue;
        if (kept != i) {
            m_entries[kept] = std::move(m_entries[i]);
            m_selected[kept] = m_selected[i];
        }
        selected += m_selected[kept] != 0;
        ++kept;
    }
    if (kept == m_entries.size())
        return;
    m_entries.resize(kept);
    m_selected.resize(kept);
    m_selectedCount = selected;
    m_pendingReset = true;
    announce();
}

void EntryTable::reorder(const std::vector<std::size_t>& indices)
{
    EntryList ordered;
    ordered.reserve(m_entries.size());
    std::vector<char> selected;
    selected.reserve(m_entries.size());
    for (const std::size_t index : indices) {
        ordered.push_back(std::move(m_entries[index]));
        selected.push_back(m_selected[index]);
    }
    m_entries = std::move(ordered);
    m_selected = std::move(selected);
    m_pendingReset = true;
    announce();
}

void EntryTable::setSelected(std::size_t index, bool selected)
{
    if ((m_selected[index] != 0) == selected)
        return;
    m_selected[index] = selected ? 1 : 0;
    selected ? ++m_selectedCount : --m_selectedCount;
    m_pendingSelection = true;
    announce();
}

void EntryTable::selectAll()
{
    std::fill(m_selected.begin(), m_selected.end(), 1);
    m_selectedCount = m_selected.size();
    m_pendingSelection = true;
    announce();
}

void EntryTable::clearSelection()
{
    std::fill(m_selected.begin(), m_selected.end(), 0);
    m_selectedCount = 0;
    m_pendingSelection = true;
    announce();
}

std::vector<std::size_t> EntryTable::selectedIndices() const
{
    std::vector<std::size_t> indices;
    indices.reserve(m_selectedCount);
    for (std::size_t i = 0; i < m_selected.size() && indices.size() < m_selectedCount; ++i) {
        if (m_selected[i])
            indices.push_back(i);
    }
    return indices;
}

void EntryTable::addObserver(EntryTableObserver* observer)
{
    m_observers.push_back(observer);
}

void EntryTable::removeObserver(EntryTableObserver* observer)
{
    m_observers.erase(std::remove(m_observers.begin(), m_observers.end(), observer), m_observers.end());
}

} // namespace Kelvane
