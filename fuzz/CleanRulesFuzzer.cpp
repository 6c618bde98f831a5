// Cleans a description with a rules file, both from the input: the bytes before the first
// NUL are the rules file, the rest the description; the first byte also leaves out built-in
// rules. An invalid expression refuses the whole file and leaves the description alone; a
// description no rule changes comes back byte for byte; the code page's own bytes (128 and
// up) are never touched while no line is removed; and with every rule on no escape byte is
// left.

#include "Check.h"

#include "clean/DescriptionCleaner.h"
#include "platform/CodePage.h"

#include <cstdint>
#include <string>
#include <string_view>

using namespace Kelvane;
using Kelvane::Fuzz::check;

namespace {

std::string highBytes(std::string_view text)
{
    std::string high;
    for (const char byte : text) {
        if (static_cast<unsigned char>(byte) >= 0x80)
            high.push_back(byte);
    }
    return high;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    const std::size_t split = input.find('\0');
    const std::string_view rules = input.substr(0, split);
    const std::string description(split == std::string_view::npos ? input : input.substr(split + 1));

    DescriptionCleaner cleaner(size % 2 == 0 ? CodePage::windows1252() : *CodePage::named(u"CP437"));
    const unsigned keep = rules.empty() ? 0U : static_cast<unsigned char>(rules.front());
    const auto& names = cleanRuleNames();
    for (std::size_t i = 0; i < names.size(); ++i)
        cleaner.setRule(names[i].rule, (keep & (1U << i)) == 0);
    const bool refused = cleaner.addLineRules(rules, QStringLiteral("RULES.TXT")).has_value();
    check(!refused || cleaner.lineRuleCount() == 0, "an invalid rules file takes no expression");

    const std::string cleaned = cleaner.clean(description);
    if (cleaned != description) {
        check(cleaned.size() < 2 || cleaned.ends_with("\r\n"), "a changed description ends its lines with CR LF");
    }
    if (cleaner.lineRuleCount() == 0)
        check(highBytes(cleaned) == highBytes(description), "the code page's own bytes stay as they were");
    if ((keep & 0x05U) == 0)
        check(cleaned.find('\x1B') == std::string::npos, "no escape byte is left");

    DescriptionCleaner nothing(CodePage::windows1252());
    for (const CleanRuleName& rule : cleanRuleNames())
        nothing.setRule(rule.rule, false);
    check(nothing.clean(description) == description, "with no rule on, nothing changes");
    return 0;
}
