#include "cli/QuickClient.h"

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace kelp::quick {
namespace {

// The requests a single option asks for; the whole program knows the same words.
constexpr const char *kRequestOptions[][2] = {
    {"--toggle", "toggle"},     {"--show", "show"},     {"--hide", "hide"},
    {"--hidden", "hidden"},     {"--rescan", "rescan"}, {"--quit", "quit"},
    {"--feedback", "feedback"}, {"--about", "about"},   {"--preferences", "preferences"},
};

// Strict UTF-8: no overlong forms, no surrogates, nothing above U+10FFFF.
bool isUtf8(const std::string &text)
{
    const auto *s = reinterpret_cast<const unsigned char *>(text.data());
    const size_t n = text.size();
    for (size_t i = 0; i < n;) {
        const unsigned char c = s[i];
        size_t length = 0;
        unsigned int code = 0;
        if (c < 0x80) {
            ++i;
            continue;
        }
        if (c >= 0xC2 && c <= 0xDF) {
            length = 2;
            code = c & 0x1Fu;
        } else if (c >= 0xE0 && c <= 0xEF) {
            length = 3;
            code = c & 0x0Fu;
        } else if (c >= 0xF0 && c <= 0xF4) {
            length = 4;
            code = c & 0x07u;
        } else {
            return false;
        }
        if (n - i < length) return false;
        for (size_t k = 1; k < length; ++k) {
            if ((s[i + k] & 0xC0u) != 0x80u) return false;
            code = (code << 6) | (s[i + k] & 0x3Fu);
        }
        if ((length == 3 && code < 0x800) || (length == 4 && code < 0x10000) || code > 0x10FFFF ||
            (code >= 0xD800 && code <= 0xDFFF))
            return false;
        i += length;
    }
    return true;
}

// A JSON string: quotes, backslashes and control characters escaped, UTF-8 as it is.
std::string jsonString(const std::string &text)
{
    std::string out = "\"";
    for (const char ch : text) {
        const auto c = static_cast<unsigned char>(ch);
        if (c == '"' || c == '\\') {
            out += '\\';
            out += ch;
        } else if (c < 0x20) {
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, "\\u%04x", c);
            out += escaped;
        } else {
            out += ch;
        }
    }
    return out + '"';
}

std::string line(const char *command, const std::vector<std::string> &files)
{
    std::string out = std::string("{\"command\":\"") + command + "\",\"files\":[";
    for (size_t i = 0; i < files.size(); ++i) {
        if (i) out += ',';
        out += jsonString(files[i]);
    }
    return out + "]}\n";
}

} // namespace

std::string cleanPath(const std::string &path)
{
    if (path.empty()) return path;
    const bool absolute = path.front() == '/';
    const bool folder = path.size() > 1 && path.back() == '/';
    std::vector<std::string> parts;
    size_t start = 0;
    while (start <= path.size()) {
        size_t end = path.find('/', start);
        if (end == std::string::npos) end = path.size();
        const std::string part = path.substr(start, end - start);
        if (part.empty() || part == ".") {
            // nothing
        } else if (part == "..") {
            // One that cannot be taken back stays, as Kelp keeps it ("/../a" is "/../a").
            if (!parts.empty() && parts.back() != "..")
                parts.pop_back();
            else
                parts.push_back(part);
        } else {
            parts.push_back(part);
        }
        start = end + 1;
    }
    std::string out = absolute ? "/" : "";
    for (size_t i = 0; i < parts.size(); ++i) {
        if (i) out += '/';
        out += parts[i];
    }
    if (out.empty()) return ".";
    if (folder && out != "/") out += '/';
    return out;
}

std::optional<std::string> requestLine(const std::vector<std::string> &arguments,
                                       const std::string &currentFolder)
{
    if (arguments.size() <= 1) return line("reopen", {});
    if (arguments.size() == 2) {
        for (const auto &[option, request] : kRequestOptions)
            if (arguments[1] == option) return line(request, {});
    }
    if (currentFolder.empty() || currentFolder.front() != '/' || !isUtf8(currentFolder))
        return std::nullopt;
    std::vector<std::string> files;
    for (size_t i = 1; i < arguments.size(); ++i) {
        const std::string &name = arguments[i];
        if (name.empty() || name.front() == '-' || !isUtf8(name)) return std::nullopt;
        files.push_back(cleanPath(name.front() == '/' ? name : currentFolder + '/' + name));
    }
    return line("open", files);
}

std::optional<std::string> socketPath()
{
    const char *runtime = std::getenv("XDG_RUNTIME_DIR");
    if (!runtime || !*runtime) return std::nullopt;
    struct stat info
    {
    };
    if (::stat(runtime, &info) != 0 || !S_ISDIR(info.st_mode) || info.st_uid != ::geteuid() ||
        (info.st_mode & 07777) != 0700)
        return std::nullopt;
    return std::string(runtime) + "/kelp-" + std::to_string(::getuid()) + ".socket";
}

Delivery send(const std::string &path, const std::string &line, int timeoutMs)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) return Delivery::NotTaken;
    std::memcpy(address.sun_path, path.data(), path.size());
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0) return Delivery::NotTaken;
    struct Closer
    {
        int fd;
        ~Closer() { ::close(fd); }
    } closer{fd};
    // A local connect succeeds at once while the listener's backlog has room, and fails at once
    // when nobody listens.
    if (::connect(fd, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0)
        return Delivery::NotTaken;

    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    const auto waitFor = [&](short events) {
        for (;;) {
            const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
                                  deadline - std::chrono::steady_clock::now())
                                  .count();
            if (left <= 0) return false;
            pollfd p{fd, events, 0};
            const int n = ::poll(&p, 1, static_cast<int>(left));
            if (n > 0) return true;
            if (n < 0 && errno != EINTR) return false;
        }
    };
    size_t sent = 0;
    while (sent < line.size()) {
        if (!waitFor(POLLOUT)) return Delivery::NotTaken;
        const ssize_t n = ::send(fd, line.data() + sent, line.size() - sent, MSG_NOSIGNAL);
        if (n < 0 && errno != EINTR && errno != EAGAIN) return Delivery::NotTaken;
        if (n > 0) sent += static_cast<size_t>(n);
    }
    // The running Kelp answers "ok" once it has taken the request. From here on the request is
    // Kelp's: a late answer must not make the caller send it a second time.
    std::string answer;
    while (answer.find('\n') == std::string::npos && answer.size() < 64) {
        if (!waitFor(POLLIN)) return Delivery::Unanswered;
        char buffer[64];
        const ssize_t n = ::recv(fd, buffer, sizeof buffer, 0);
        if (n == 0) break;
        if (n < 0) {
            if (errno == EINTR || errno == EAGAIN) continue;
            return Delivery::Unanswered;
        }
        answer.append(buffer, static_cast<size_t>(n));
    }
    return answer.substr(0, answer.find('\n')) == "ok" ? Delivery::Taken : Delivery::Unanswered;
}

std::string wholeProgram(const std::string &clientPath, const std::vector<std::string> &candidates)
{
    const size_t slash = clientPath.rfind('/');
    const std::string folder = slash == std::string::npos ? "." : clientPath.substr(0, slash);
    for (const std::string &candidate : candidates) {
        const std::string path = cleanPath(folder + '/' + candidate);
        struct stat info
        {
        };
        if (::stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode) &&
            ::access(path.c_str(), X_OK) == 0)
            return path;
    }
    return {};
}

} // namespace kelp::quick
