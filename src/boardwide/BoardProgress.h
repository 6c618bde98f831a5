#pragma once

#include <chrono>
#include <cstddef>
#include <iosfwd>
#include <string>

namespace Kelvane {

struct BoardArea;
class CodePage;

/// Told how a run over many areas goes: a terminal line, or a window's progress bar.
class BoardProgress
{
public:
    virtual ~BoardProgress() = default;
    /// Area position of count (from 1) begins.
    virtual void areaBegun(int position, int count, const BoardArea& area) = 0;
    /// Area position of count is done; files is the number of entries done in the run so far.
    virtual void areaEnded(int position, int count, std::size_t files) = 0;
    /// The run is over: the progress disappears.
    virtual void finished() = 0;
};

/// The progress of a run over many areas as one line on a terminal's standard error,
/// rewritten in place: "area 3 of 100  Utilities  21,400 files  about 5 s left". Off (no
/// terminal, or output into a file or a pipe), it writes nothing at all.
class TerminalProgress : public BoardProgress
{
public:
    TerminalProgress(std::ostream& err, bool isTerminal, const CodePage& page);

    void areaBegun(int position, int count, const BoardArea& area) override;
    void areaEnded(int position, int count, std::size_t files) override;
    void finished() override;

    /// The line for area position of count after elapsed: the time left is the time the
    /// areas done took on average, times the areas still to do.
    static std::string line(int position,
                            int count,
                            const std::string& title,
                            std::size_t files,
                            std::chrono::duration<double> elapsed,
                            int areasDone);

private:
    void draw(bool always);

    std::ostream& m_err;
    bool m_on;
    const CodePage& m_page;
    std::chrono::steady_clock::time_point m_start;
    std::chrono::steady_clock::time_point m_lastDrawn;
    int m_position = 0;
    int m_count = 0;
    int m_done = 0;
    std::size_t m_files = 0;
    std::string m_title;
    bool m_shown = false;
};

} // namespace Kelvane
