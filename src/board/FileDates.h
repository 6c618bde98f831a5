#pragma once

#include <QDate>

#include <ctime>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace Kelvane {

/// A date as the Files List holds it: "MM-DD-YY".
std::string listDate(const QDate& date);
/// Today, as the Files List holds it.
std::string todayListDate();
/// A moment in local time, as the Files List holds its date.
std::string listDate(std::time_t moment);
/// The file's last-write date in local time, as the Files List holds it.
std::string fileListDate(const std::filesystem::path& file);

/// A Files List date read back: "MM-DD-YY" (years 00-29 are 2000-2029, 30-99 are 1930-1999,
/// the board's own rule) or with a four-digit year; nothing for text that is no date.
std::optional<QDate> parseListDate(std::string_view text);

} // namespace Kelvane
