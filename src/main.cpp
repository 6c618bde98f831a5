#include "cli/CommandLine.h"
#include "shell/Desktop.h"

#include <csignal>
#include <cstdio>
#include <exception>
#include <iostream>

#ifndef _WIN32
#include <unistd.h>
#endif

int main(int argc, char* argv[])
{
#ifndef _WIN32
    // A closed output pipe ("kelvane show 1 | head") ends the program quietly.
    std::signal(SIGPIPE, SIG_IGN);
    const bool interactive = ::isatty(STDIN_FILENO) != 0;
#else
    const bool interactive = false;
#endif
    try {
        if (Kelvane::startsDesktop(argc, argv))
            return Kelvane::runDesktop(argc, argv);
        Kelvane::CommandContext context { std::cout, std::cerr, std::cin, interactive };
        const int status = Kelvane::runCommandLine(argc, argv, context);
        std::cout.flush();
        return status;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "kelvane: %s\n", error.what());
    } catch (...) {
        std::fprintf(stderr, "kelvane: an unexpected error ended the program\n");
    }
    return 1;
}
