#include "board/FileDates.h"

#include "board/BasicText.h"

#include <QDateTime>

#ifndef _WIN32
#include <sys/stat.h>
#endif

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <ctime>

namespace Kelvane {

namespace fs = std::filesystem;

std::string listDate(const QDate& date)
{
    char text[16];
    std::snprintf(text, sizeof text, "%02d-%02d-%02d", date.month(), date.day(), date.year() % 100);
    return text;
}

std::string todayListDate()
{
    return listDate(QDate::currentDate());
}

std::string fileListDate(const fs::path& file)
{
#ifndef _WIN32
    struct stat info
    {
    };
    if (::stat(file.c_str(), &info) != 0)
        throw fs::filesystem_error("stat", file, std::error_code(errno, std::generic_category()));
    return listDate(info.st_mtime);
#endif
    const auto written = std::chrono::file_clock::to_sys(fs::last_write_time(file));
    return listDate(std::chrono::system_clock::to_time_t(
        std::chrono::time_point_cast<std::chrono::system_clock::duration>(written)));
}

std::string listDate(std::time_t seconds)
{
    // Files of one day are the rule in an area, and the local time conversion is the dear
    // part: the day last converted answers for the 22 hours after its midnight, which no
    // change of summer time can move into another date.
    thread_local std::time_t dayStart = 1;
    thread_local std::time_t dayEnd = 0;
    thread_local std::string dayText;
    if (seconds >= dayStart && seconds < dayEnd)
        return dayText;
    std::tm local {};
#ifdef _WIN32
    localtime_s(&local, &seconds);
#else
    localtime_r(&seconds, &local);
#endif
    char text[32];
    std::snprintf(text, sizeof text, "%02d-%02d-%02d", (local.tm_mon + 1) % 100, local.tm_mday % 100,
                  local.tm_year % 100);
    dayStart = seconds - (local.tm_hour * 3600 + local.tm_min * 60 + local.tm_sec);
    dayEnd = dayStart + 22 * 3600;
    dayText = text;
    return dayText;
}

std::optional<QDate> parseListDate(std::string_view text)
{
    text = trimSpaces(text);
    int parts[3] = { 0, 0, 0 };
    int digits[3] = { 0, 0, 0 };
    int part = 0;
    for (const char ch : text) {
        if (ch >= '0' && ch <= '9') {
            parts[part] = parts[part] * 10 + (ch - '0');
            if (++digits[part] > 4)
                return std::nullopt;
        } else if ((ch == '-' || ch == '/' || ch == '.') && part < 2 && digits[part] > 0) {
            ++part;
        } else {
            return std::nullopt;
        }
    }
    if (part != 2 || digits[2] == 0 || digits[0] > 2 || digits[1] > 2 || digits[2] == 3)
        return std::nullopt;
    int year = parts[2];
    if (digits[2] <= 2)
        year += year < 30 ? 2000 : 1900;
    const QDate date(year, parts[0], parts[1]);
    if (!date.isValid())
        return std::nullopt;
    return date;
}

} // namespace Kelvane
