#pragma once

#include "board/FilesList.h"

#include <cstddef>
#include <functional>
#include <vector>

namespace Kelvane {

/// Told of every change of an entry table, once per change however many entries it touched.
class EntryTableObserver
{
public:
    virtual ~EntryTableObserver() = default;
    /// The entries were replaced, re-ordered or removed: read them again.
    virtual void entriesReset() { }
    /// Entries first..last (inclusive) changed their fields.
    virtual void entriesChanged(std::size_t first, std::size_t last)
    {
        (void)first;
        (void)last;
    }
    /// Entries first..last (inclusive) were appended.
    virtual void entriesAppended(std::size_t first, std::size_t last)
    {
        (void)first;
        (void)last;
    }
    /// The selection changed.
    virtual void selectionChanged() { }
};

/// The open area's entries and which of them are selected: the one list the editor, the sort
/// view and every operation share. An operation works on the selected entries in list order.
///
/// Changes made inside a Batch reach the observers once, when the batch ends, so an
/// operation over 100,000 entries repaints a view once, not 100,000 times.
class EntryTable
{
public:
    const EntryList& entries() const { return m_entries; }
    const Entry& at(std::size_t index) const { return m_entries[index]; }
    std::size_t size() const { return m_entries.size(); }
    bool empty() const { return m_entries.empty(); }

    /// Replaces every entry; nothing is selected afterwards.
    void reset(EntryList entries);
    void append(Entry entry);
    /// Changes the entry at index in place and announces it.
    void update(std::size_t index, const std::function<void(Entry&)>& change);
    /// Removes every entry whose index remove answers true for, in one pass; the survivors
    /// keep their order and their selection.
    void removeIf(const std::function<bool(std::size_t)>& remove);
    /// Puts the entries in the order of indices (a permutation of 0..size-1).
    void reorder(const std::vector<std::size_t>& indices);

    bool isSelected(std::size_t index) const { return m_selected[index] != 0; }
    void setSelected(std::size_t index, bool selected);
    void selectAll();
    void clearSelection();
    std::size_t selectedCount() const { return m_selectedCount; }
    bool anySelected() const { return m_selectedCount > 0; }
    std::vector<std::size_t> selectedIndices() const;

    void addObserver(EntryTableObserver* observer);
    void removeObserver(EntryTableObserver* observer);

    /// Holds back the announcements of changes until it ends; batches nest.
    class Batch
    {
    public:
        explicit Batch(EntryTable& table);
        ~Batch();
        Batch(const Batch&) = delete;
        Batch& operator=(const Batch&) = delete;

    private:
        EntryTable& m_table;
    };

private:
    void announce();
    void noteChanged(std::size_t first, std::size_t last);

    EntryList m_entries;
    std::vector<char> m_selected;
    std::size_t m_selectedCount = 0;
    std::vector<EntryTableObserver*> m_observers;

    int m_batchDepth = 0;
    bool m_pendingReset = false;
    bool m_pendingSelection = false;
    std::size_t m_changedFirst = 0;
    std::size_t m_changedLast = 0;
    bool m_pendingChange = false;
    std::size_t m_appendedFirst = 0;
    bool m_pendingAppend = false;
};

} // namespace Kelvane
