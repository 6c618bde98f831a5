#include "board/RunTimeError.h"

#include "platform/FileNames.h"

#include <cerrno>
#include <new>
#include <system_error>

using namespace Qt::StringLiterals;

namespace Kelvane {

namespace {

struct BasicError
{
    int number;
    const char16_t* name;
};

BasicError basicErrorOf(const std::error_code& code)
{
    if (code.category() != std::generic_category() && code.category() != std::system_category())
        return { 75, u"Path/File access error" };
    switch (code.value()) {
    case ENOENT:
        return { 53, u"File not found" };
    case EACCES:
    case EPERM:
    case EROFS:
    case EBUSY:
    case ETXTBSY:
        return { 70, u"Permission denied" };
    case ENOSPC:
#ifdef EDQUOT
    case EDQUOT:
#endif
    case EFBIG:
        return { 61, u"Disk full" };
    case ENOTDIR:
        return { 76, u"Path not found" };
    case EEXIST:
        return { 58, u"File already exists" };
    case EIO:
        return { 57, u"Device I/O error" };
    case ENOMEM:
        return { 7, u"Out of memory" };
    default:
        return { 75, u"Path/File access error" };
    }
}

RunTimeError fromErrorCode(const std::error_code& code, const QString& where)
{
    const BasicError basic = basicErrorOf(code);
    QString description = QString::fromUtf16(basic.name);
    const QString detail = QString::fromLocal8Bit(code.message());
    if (!detail.isEmpty() && detail.compare(description, Qt::CaseInsensitive) != 0)
        description += u": "_s + detail;
    if (!where.isEmpty())
        description += u" ("_s + where + u')';
    return RunTimeError(basic.number, QString::fromUtf16(RunTimeError::ProgramSource), description);
}

} // namespace

RunTimeError::RunTimeError(int number, QString source, QString description)
    : m_number(number)
    , m_source(std::move(source))
    , m_description(std::move(description))
    , m_what(m_description.toStdString())
{
}

RunTimeError RunTimeError::areaRecords(const QString& description)
{
    return RunTimeError(ObjectError + 1, QString::fromUtf16(AreaRecordsSource), description);
}

RunTimeError RunTimeError::from(std::exception_ptr error)
{
    const QString program = QString::fromUtf16(ProgramSource);
    if (!error)
        return RunTimeError(0, program, QString());
    try {
        std::rethrow_exception(error);
    } catch (const RunTimeError& runTime) {
        return runTime;
    } catch (const std::filesystem::filesystem_error& failure) {
        return fromErrorCode(failure.code(), unicodeFromPath(failure.path1()));
    } catch (const std::system_error& failure) {
        return fromErrorCode(failure.code(), QString());
    } catch (const std::bad_alloc&) {
        return RunTimeError(7, program, u"Out of memory"_s);
    } catch (const std::out_of_range& failure) {
        return RunTimeError(9, program, u"Subscript out of range: "_s + QString::fromLocal8Bit(failure.what()));
    } catch (const std::exception& failure) {
        return RunTimeError(51, program, u"Internal error: "_s + QString::fromLocal8Bit(failure.what()));
    } catch (...) {
        return RunTimeError(51, program, u"Internal error"_s);
    }
}

void throwFileError(int code, const std::filesystem::path& path, const char* operation)
{
    throw std::filesystem::filesystem_error(operation, path, std::error_code(code, std::generic_category()));
}

} // namespace Kelvane
