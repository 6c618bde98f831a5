// The floor File Date and File Length are measured against: every file stat'ed by its path
// and its date formatted as the Files List holds it. Taking each file's date and size cannot
// cost less.
//
//   refresh_floor PATHS   (a file of paths, one a line)
#include <cstdio>
#include <ctime>
#include <fstream>
#include <string>
#include <vector>

#include <sys/stat.h>

int main(int argc, char* argv[])
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: refresh_floor PATHS\n");
        return 2;
    }
    // The paths come one a line, in the order the measured program takes them: the order
    // of the inodes touched changes what the stat calls cost.
    std::ifstream list(argv[1]);
    std::vector<std::string> files;
    for (std::string line; std::getline(list, line);)
        files.push_back(line);
    std::size_t written = 0;
    char date[16];
    for (const std::string& file : files) {
        struct stat info
        {
        };
        if (::stat(file.c_str(), &info) != 0)
            continue;
        struct tm local
        {
        };
        ::localtime_r(&info.st_mtime, &local);
        written += std::strftime(date, sizeof date, "%m-%d-%y", &local);
    }
    return written > 0 ? 0 : 1;
}
