#pragma once

#include <QString>

#include <exception>
#include <filesystem>
#include <string>

namespace Kelvane {

/// A run-time error as the program reports it: the classic Basic error number, the source
/// ("Kelvane" for the program's own errors) and a description.
class RunTimeError : public std::exception
{
public:
    /// Errors raised by an object library are numbered above this.
    static constexpr int ObjectError = -2147221504;
    static constexpr const char16_t* ProgramSource = u"Kelvane";
    static constexpr const char16_t* AreaRecordsSource = u"Vandor.AreaRecords";

    RunTimeError(int number, QString source, QString description);

    /// A failure of the board's area records (a damaged or unreadable Farea.dat).
    static RunTimeError areaRecords(const QString& description);
    /// The error that an exception stands for; number 0 for none.
    static RunTimeError from(std::exception_ptr error);

    int number() const { return m_number; }
    const QString& source() const { return m_source; }
    const QString& description() const { return m_description; }
    const char* what() const noexcept override { return m_what.c_str(); }

private:
    int m_number;
    QString m_source;
    QString m_description;
    std::string m_what;
};

/// Throws the file-system error of errno value code for path.
[[noreturn]] void throwFileError(int code, const std::filesystem::path& path, const char* operation);

} // namespace Kelvane
