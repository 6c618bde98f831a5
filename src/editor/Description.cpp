#include "editor/Description.h"

#include "board/BasicText.h"
#include "board/FileSystem.h"
#include "board/FilesList.h"
#include "platform/Archives.h"
#include "platform/FileNames.h"

#include <QString>

#include <algorithm>
#include <array>
#include <fstream>

namespace Kelvane {

namespace fs = std::filesystem;

namespace {

constexpr int MaximumLines = 20;

bool endsWithOtherArchive(std::string_view name)
{
    constexpr std::array<std::string_view, 5> endings = { ".7Z", ".RAR", ".ARJ", ".LZH", ".LHA" };
    for (const std::string_view ending : endings) {
        if (name.ends_with(ending))
            return true;
    }
    return false;
}

std::optional<fs::path> extractedFile(const fs::path& workDirectory)
{
    std::error_code error;
    for (fs::directory_iterator it(workDirectory, error), end; !error && it != end; it.increment(error)) {
        if (foldName(fileNameText(it->path())) == QLatin1StringView(DescriptionMember))
            return it->path();
    }
    return std::nullopt;
}

} // namespace

std::string descriptionFromDiz(std::string_view text)
{
    const std::size_t end = text.find('\x1A');
    if (end != std::string_view::npos)
        text = text.substr(0, end);
    std::string description;
    int counted = 0;
    FilesListFormat::forEachLine(text, [&](std::string_view line) {
        line = rtrimSpaces(line);
        if (line.empty() || ++counted > MaximumLines)
            return;
        description.append(rtrimSpaces(line.substr(0, FilesListFormat::DescriptionWidth)));
        description.append("\r\n");
    });
    return description;
}

std::optional<std::string> takeExtractedDescription(const fs::path& workDirectory)
{
    const std::optional<fs::path> file = extractedFile(workDirectory);
    std::error_code error;
    if (!file || !fs::is_regular_file(*file, error))
        return std::nullopt;
    // At most the first MemberLimit bytes, in a buffer the size of what is there: the file is
    // a description of a few hundred bytes far more often than a megabyte.
    std::string text;
    {
        std::ifstream in(*file, std::ios::binary);
        std::size_t size = 0;
        while (in && size < MemberLimit) {
            text.resize(std::min(MemberLimit, std::max<std::size_t>(4096, text.size() * 2)));
            in.read(text.data() + size, static_cast<std::streamsize>(text.size() - size));
            size += static_cast<std::size_t>(in.gcount());
        }
        text.resize(size);
    }
    std::string description = descriptionFromDiz(text);
    if (ClearAttributes(*file))
        fs::remove(*file, error);
    return description;
}

WorkDescriptions::WorkDescriptions(fs::path workDirectory)
    : m_work(std::move(workDirectory))
{
}

std::optional<std::string> WorkDescriptions::take(const fs::path& file, bool isArchive)
{
    if (m_direct) {
        if (!isArchive)
            return std::nullopt;
        MemberRead read = readMember(file, DescriptionMember);
        if (read.result != ExtractResult::Extracted)
            return std::nullopt;
        return descriptionFromDiz(read.data);
    }
    const bool written = isArchive && extractMember(file, m_work, DescriptionMember) == ExtractResult::Extracted;
    std::optional<std::string> description = takeExtractedDescription(m_work);
    m_direct = written && description && !extractedFile(m_work);
    return description;
}

bool isScanArchiveName(std::string_view upperName)
{
    return upperName.find(".ZIP") != std::string_view::npos || endsWithOtherArchive(upperName);
}

bool isReadDizArchiveName(std::string_view upperName)
{
    return upperName.ends_with(".ZIP") || endsWithOtherArchive(upperName);
}

} // namespace Kelvane
