#pragma once

#include "platform/FileNames.h"

#include <QTemporaryDir>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string_view>

namespace Kelvane::Fuzz {

// One temporary directory for the whole run of a target, removed when it ends.
inline const std::filesystem::path& scratch()
{
    static QTemporaryDir directory;
    static const std::filesystem::path path = [] {
        if (!directory.isValid())
            std::abort();
        return pathFromUnicode(directory.path());
    }();
    return path;
}

inline void writeFile(const std::filesystem::path& file, std::string_view bytes)
{
    std::ofstream out(file, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!out.flush())
        std::abort();
}

} // namespace Kelvane::Fuzz
