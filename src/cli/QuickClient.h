#pragma once
// The quick client: what the `kelp` program does before it becomes the whole Kelp.
//
// `kelp --toggle` bound to a key or a hot corner script runs on every press, and a running Kelp
// answers it in about a millisecond; what a user waits for is the new process. Loading Qt's
// libraries alone costs some 20 ms, so `kelp` is a small program of plain C++ that hands the
// common requests (no argument, one of the request options, or files) to the running Kelp over its
// socket and exits. Anything else, and any request no running Kelp took, goes to the whole
// program (installed beside it), which reads the command line in full and becomes the running Kelp
// when none runs. No Qt here: that is the point.
#include <optional>
#include <string>
#include <vector>

namespace kelp::quick {

// The request line the running Kelp reads (one JSON object and a newline) for these arguments
// (the program's name first, as in main's argv), or nothing when the whole program must read them:
// any other option, an empty argument, a file name that is not UTF-8. `currentFolder` makes file
// names absolute, cleaned the way Kelp cleans them ("a/./b/../c" is "a/c").
std::optional<std::string> requestLine(const std::vector<std::string> &arguments,
                                       const std::string &currentFolder);

// The socket a running Kelp of this user listens on, when it can be told without Qt: in
// $XDG_RUNTIME_DIR when that is a folder of this user's alone (mode 0700). Nothing otherwise.
std::optional<std::string> socketPath();

// What became of a request handed to the running Kelp.
enum class Delivery {
    NotTaken,   // nobody listens, or the line could not be written whole: nothing happened
    Taken,      // the running Kelp answered that it took it
    Unanswered, // the whole line went, but no answer came in time: it may yet act on it
};

// Hands the line to the Kelp listening at `path`.
Delivery send(const std::string &path, const std::string &line, int timeoutMs);

// A path with "." and ".." parts and repeated slashes taken out (a trailing slash kept).
std::string cleanPath(const std::string &path);

// The whole program for the quick client at `clientPath`: the first of `candidates` (paths
// relative to the client's folder) that is an executable file. Empty when none is.
std::string wholeProgram(const std::string &clientPath, const std::vector<std::string> &candidates);

} // namespace kelp::quick
