// The floor a Files List rewrite is measured against: read the file, split it on CR LF and
// write the same bytes to another file with a flush to disk. Nothing a rewrite does can be
// cheaper than this.
#include <cstdio>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

int main(int argc, char* argv[])
{
    if (argc != 3) {
        std::fprintf(stderr, "usage: files_list_floor IN OUT\n");
        return 2;
    }
    const int in = ::open(argv[1], O_RDONLY);
    struct stat info
    {
    };
    if (in < 0 || ::fstat(in, &info) != 0)
        return 1;
    std::string data(static_cast<std::size_t>(info.st_size), '\0');
    if (::read(in, data.data(), data.size()) != static_cast<ssize_t>(data.size()))
        return 1;
    ::close(in);
    std::vector<std::string_view> lines;
    for (std::size_t start = 0; start < data.size();) {
        std::size_t end = data.find("\r\n", start);
        if (end == std::string::npos)
            end = data.size();
        lines.emplace_back(data.data() + start, end - start);
        start = end + 2;
    }
    std::string out;
    out.reserve(data.size());
    for (const std::string_view line : lines)
        out.append(line).append("\r\n");
    const int file = ::open(argv[2], O_WRONLY | O_CREAT | O_TRUNC, 0644);
    if (file < 0 || ::write(file, out.data(), out.size()) != static_cast<ssize_t>(out.size()) || ::fsync(file) != 0)
        return 1;
    ::close(file);
    return 0;
}
