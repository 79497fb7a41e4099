// kelp: the program users and key bindings run. It hands the common requests to the running Kelp
// itself, without loading Qt (cli/QuickClient.h), and otherwise becomes the whole program
// installed beside it, with the same arguments, environment and process id.
#include "cli/QuickClient.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include <unistd.h>

namespace {

std::string ownPath(const char *argv0)
{
    char buffer[PATH_MAX];
    const ssize_t n = ::readlink("/proc/self/exe", buffer, sizeof buffer - 1);
    if (n > 0) return std::string(buffer, static_cast<size_t>(n));
    return argv0 ? argv0 : "";
}

} // namespace

int main(int argc, char **argv)
{
    const std::vector<std::string> arguments(argv, argv + argc);
    char folder[PATH_MAX];
    const std::string currentFolder = ::getcwd(folder, sizeof folder) ? folder : "";
    if (const std::optional<std::string> line = kelp::quick::requestLine(arguments, currentFolder))
        if (const std::optional<std::string> socket = kelp::quick::socketPath()) {
            switch (kelp::quick::send(*socket, *line, 3000)) {
            case kelp::quick::Delivery::Taken:
                return 0;
            case kelp::quick::Delivery::Unanswered:
                // Handing it over again (through the whole program) would do it twice.
                std::fprintf(stderr, "kelp: the running Kelp has the request but did not answer "
                                     "within 3 s.\n");
                return 1;
            case kelp::quick::Delivery::NotTaken:
                break;
            }
        }

    // The whole program keeps the name it was called by, so that it shows as `kelp` and finds its
    // own files as before.
    const std::string whole =
        kelp::quick::wholeProgram(ownPath(argc > 0 ? argv[0] : nullptr),
                                  {KELP_WHOLE_PROGRAM_IN_BUILD, KELP_WHOLE_PROGRAM_INSTALLED});
    if (whole.empty()) {
        std::fprintf(stderr, "kelp: the Kelp program (%s) is missing; reinstall Kelp.\n",
                     KELP_WHOLE_PROGRAM_INSTALLED);
        return 127;
    }
    ::execv(whole.c_str(), argv);
    std::fprintf(stderr, "kelp: cannot run %s: %s\n", whole.c_str(), std::strerror(errno));
    return 127;
}
