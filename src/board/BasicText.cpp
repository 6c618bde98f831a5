#include "board/BasicText.h"

#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <string>

namespace Kelvane {

namespace {

bool isDigit(char ch)
{
    return ch >= '0' && ch <= '9';
}

// &H and &O numbers are 16-bit when they fit, else 32-bit, signed.
double radixValue(std::string_view digits, int base)
{
    unsigned long long value = 0;
    for (const char ch : digits) {
        const int digit = isDigit(ch) ? ch - '0' : (ch | 0x20) - 'a' + 10;
        value = value * static_cast<unsigned>(base) + static_cast<unsigned>(digit);
        if (value > 0xFFFFFFFFULL)
            return 0;
    }
    if (value <= 0xFFFF)
        return static_cast<double>(value >= 0x8000 ? static_cast<long long>(value) - 0x10000
                                                   : static_cast<long long>(value));
    return static_cast<double>(value >= 0x80000000ULL ? static_cast<long long>(value) - 0x100000000LL
                                                      : static_cast<long long>(value));
}

} // namespace

double Val(std::string_view text)
{
    std::string s;
    s.reserve(text.size());
    for (const char ch : text) {
        if (ch != ' ' && ch != '\t' && ch != '\n')
            s.push_back(ch);
    }
    if (s.empty())
        return 0;
    std::size_t at = 0;
    if (s[0] == '&' && s.size() > 1) {
        const char kind = static_cast<char>(s[1] | 0x20);
        const int base = kind == 'h' ? 16 : kind == 'o' ? 8 : 0;
        if (base == 0)
            return 0;
        std::size_t end = 2;
        while (
            end < s.size()
            && (base == 16 ? std::isxdigit(static_cast<unsigned char>(s[end])) != 0 : s[end] >= '0' && s[end] <= '7'))
            ++end;
        return radixValue(std::string_view(s).substr(2, end - 2), base);
    }
    if (s[at] == '+' || s[at] == '-')
        ++at;
    const std::size_t digitsStart = at;
    while (at < s.size() && isDigit(s[at]))
        ++at;
    bool hasDigits = at > digitsStart;
    if (at < s.size() && s[at] == '.') {
        const std::size_t fractionStart = ++at;
        while (at < s.size() && isDigit(s[at]))
            ++at;
        hasDigits = hasDigits || at > fractionStart;
    }
    if (!hasDigits)
        return 0;
    std::string number = s.substr(0, at);
    if (at < s.size() && (s[at] == 'E' || s[at] == 'e' || s[at] == 'D' || s[at] == 'd')) {
        std::size_t exponent = at + 1;
        if (exponent < s.size() && (s[exponent] == '+' || s[exponent] == '-'))
            ++exponent;
        std::size_t exponentEnd = exponent;
        while (exponentEnd < s.size() && isDigit(s[exponentEnd]))
            ++exponentEnd;
        if (exponentEnd > exponent)
            number += 'e' + s.substr(at + 1, exponentEnd - at - 1);
    }
    if (number.front() == '+')
        number.erase(0, 1);
    double value = 0;
    const auto [end, error] = std::from_chars(number.data(), number.data() + number.size(), value);
    if (error != std::errc() || !std::isfinite(value))
        return 0;
    return value == 0 ? 0.0 : value;
}

std::string plainNumber(double number)
{
    if (number == 0)
        return "0";
    if (std::trunc(number) == number && std::fabs(number) < 1e15)
        return std::to_string(static_cast<long long>(number));
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, "%.15G", number);
    std::string text = buffer;
    if (text.starts_with("0."))
        text.erase(0, 1);
    else if (text.starts_with("-0."))
        text.erase(1, 1);
    return text;
}

std::string Str(double number)
{
    std::string text = plainNumber(number);
    return number >= 0 ? ' ' + text : text;
}

} // namespace Kelvane
