#include "cli/Commands.h"
#include "cli/Json.h"

#include "boardwide/BoardProgress.h"
#include "boardwide/BoardSearch.h"
#include "platform/CodePage.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <map>

using namespace Qt::StringLiterals;

namespace Kelvane {

namespace {

// A byte count with thousands separators, as the file lists show sizes: "1,234,567".
std::string grouped(long long number)
{
    std::string digits = std::to_string(number < 0 ? -number : number);
    for (int at = static_cast<int>(digits.size()) - 3; at > 0; at -= 3)
        digits.insert(static_cast<std::size_t>(at), 1, ',');
    return number < 0 ? '-' + digits : digits;
}

// Prints each area's hits as they come: under the area's heading for people, or as the
// objects of one JSON list.
class HitPrinter : public SearchSink
{
public:
    HitPrinter(CommandContext& context, const CodePage& page, bool json)
        : m_context(context)
        , m_page(page)
        , m_json(json ? std::make_unique<JsonWriter>(context.out) : nullptr)
    {
        if (m_json)
            m_json->beginArray();
    }

    void areaSearched(const BoardArea& area, int, int, std::vector<SearchHit>& hits) override
    {
        if (hits.empty())
            return;
        m_progressLine.finished(); // the line is drawn again below the hits
        ++m_areasWithHits;
        m_hits += hits.size();
        const QString title = m_page.toUnicode(area.title());
        if (!m_json)
            m_context.out << "Area " << area.number << ": " << title.toStdString() << '\n';
        for (const SearchHit& hit : hits) {
            if (m_json) {
                m_json->beginObject();
                m_json->key("area");
                m_json->value(static_cast<long long>(hit.area));
                m_json->key("title");
                m_json->value(title);
                m_json->key("name");
                m_json->value(m_page.toUnicode(hit.name));
                m_json->key("size");
                m_json->value(hit.size);
                m_json->key("date");
                m_json->value(m_page.toUnicode(hit.date));
                m_json->key("description");
                m_json->value(m_page.toUnicode(hit.firstLine));
                m_json->endObject();
                continue;
            }
            char sizeColumn[32];
            std::snprintf(sizeColumn, sizeof sizeColumn, "%13s", grouped(hit.size).c_str());
            QString name = m_page.toUnicode(hit.name);
            if (name.size() < 12)
                name = name.leftJustified(12);
            m_context.out << "  " << name.toStdString() << sizeColumn << "  " << terminalText(m_page, hit.date)
                          << "  " << terminalText(m_page, hit.firstLine) << '\n';
        }
    }

    void areaSkipped(const AreaProblem& problem) override
    {
        m_progressLine.finished();
        m_context.err << "kelvane: " << problem.line(m_page).toStdString() << '\n';
    }

    void finish()
    {
        if (m_json) {
            m_json->endArray();
            m_json->finish();
            return;
        }
        m_context.out << (m_hits == 1 ? "1 file" : grouped(static_cast<long long>(m_hits)) + " files") << " found";
        if (m_hits > 0)
            m_context.out << " in " << m_areasWithHits << (m_areasWithHits == 1 ? " area" : " areas");
        m_context.out << '\n';
    }

    BoardProgress& progress() { return m_progressLine; }

private:
    CommandContext& m_context;
    const CodePage& m_page;
    std::unique_ptr<JsonWriter> m_json;
    std::size_t m_hits = 0;
    int m_areasWithHits = 0;
    TerminalProgress m_progressLine { m_context.err, m_context.errorIsTerminal, m_page };
};

class FindCommand : public Command
{
public:
    CLI::App* setUp(CLI::App& parent) override
    {
        CLI::App* command = parent.add_subcommand("find", "search many areas for entries by name or description");
        command->add_option("PATTERN", m_pattern,
                            "a wildcard on names ignoring case (* and ?; without them a part of the name), or a "
                            "text found in descriptions ignoring case")
            ->required();
        addAreaOptions(*command, m_areas, nullptr, false);
        addMainNodeOption(*command, m_mainNode);
        command->add_option("--in", m_in, "where to look: names, descriptions or both (default)")
            ->check(CLI::IsMember({ "names", "descriptions", "both" }));
        command->add_flag("--json", m_json, "the results as a JSON list");
        return command;
    }

    int run(CommandContext& context) override
    {
        CommandContext quiet { context.out, context.err, context.in, false, context.errorIsTerminal };
        BoardSession board(quiet, m_mainNode, false);
        const AreaSet set = board.areaSet(m_areas.selection());
        const Board& whole = board.board();
        const CodePage& page = board.codePage();
        const SearchIn in = m_in == "names"          ? SearchIn::Names
                          : m_in == "descriptions" ? SearchIn::Descriptions
                                                     : SearchIn::Both;
        std::optional<SearchPattern> pattern;
        try {
            pattern.emplace(QString::fromStdString(m_pattern), in, page);
        } catch (const SearchPatternError& error) {
            throw CommandError(QString::fromStdString(error.what()));
        }
        HitPrinter printer(quiet, page, m_json);
        BoardSearch search(whole, *pattern);
        search.setProgress(&printer.progress());
        const SearchSummary summary = search.run(set.numbers, printer);
        printer.finish();
        return summary.skipped.empty() ? ExitDone : ExitFailed;
    }

private:
    std::string m_pattern;
    AreaOptions m_areas;
    std::optional<std::string> m_mainNode;
    std::string m_in = "both";
    bool m_json = false;
};

} // namespace

std::unique_ptr<Command> makeFindCommand()
{
    return std::make_unique<FindCommand>();
}

} // namespace Kelvane
