#include "board/BoardTool.h"

#include "board/RunTimeError.h"
#include "platform/FileNames.h"

#include <QString>

#include <cerrno>
#include <fstream>

using namespace Qt::StringLiterals;

namespace Kelvane {

namespace fs = std::filesystem;

namespace {

fs::path existingFile(const fs::path& mainNode)
{
    const std::optional<fs::path> file = findFareaFile(mainNode);
    if (!file)
        throw RunTimeError::areaRecords(u"Unable to find "_s + unicodeFromPath(mainNode / "Mwork" / "Farea.dat"));
    return *file;
}

void writeAt(const fs::path& file, std::streamoff offset, const std::string& data)
{
    std::fstream stream(file, std::ios::binary | std::ios::in | std::ios::out);
    if (!stream)
        throwFileError(errno ? errno : EACCES, file, "open");
    stream.seekp(offset);
    stream.write(data.data(), static_cast<std::streamsize>(data.size()));
    stream.flush();
    if (!stream)
        throwFileError(errno ? errno : EIO, file, "write");
}

} // namespace

fs::path BoardTool::init(const fs::path& mainNode)
{
    if (const std::optional<fs::path> file = findFareaFile(mainNode))
        return *file;
    fs::create_directories(mainNode / "Mwork");
    const fs::path file = mainNode / "Mwork" / "Farea.dat";
    std::ofstream create(file, std::ios::binary);
    if (!create)
        throwFileError(errno ? errno : EACCES, file, "create");
    return file;
}

int BoardTool::add(const fs::path& mainNode, const AreaRecord& record)
{
    const std::string data = AreaRecordFormat::encode(record); // refuses before the file is touched
    const fs::path file = existingFile(mainNode);
    const std::vector<AreaRecord> records = AreaRecordFormat::readFile(file); // a damaged file stays as it is
    writeAt(file, static_cast<std::streamoff>(records.size()) * AreaRecord::Size, data);
    return static_cast<int>(records.size()) + 1;
}

void BoardTool::set(const fs::path& mainNode, int number, const AreaRecord& record)
{
    const std::string data = AreaRecordFormat::encode(record);
    const fs::path file = existingFile(mainNode);
    const std::vector<AreaRecord> records = AreaRecordFormat::readFile(file);
    if (number < 1 || static_cast<std::size_t>(number) > records.size()) {
        throw RunTimeError::areaRecords(
            u"Area record %1 does not exist; the board has %2 area records"_s.arg(number).arg(records.size()));
    }
    writeAt(file, static_cast<std::streamoff>(number - 1) * AreaRecord::Size, data);
}

std::vector<AreaRecord> BoardTool::read(const fs::path& mainNode)
{
    return AreaRecordFormat::readFile(existingFile(mainNode));
}

} // namespace Kelvane
