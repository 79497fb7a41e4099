#include "OpenFeedback/CrashHandler.h"

#include "OpenFeedback/FeedbackOutbox.h"
#include "extras/Logging.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QFile>

#include <array>
#include <csignal>
#include <cstring>
#include <execinfo.h>
#include <fcntl.h>
#include <unistd.h>

namespace kelp {
namespace {

constexpr std::array kSignals{SIGSEGV, SIGBUS, SIGILL, SIGFPE, SIGABRT};
constexpr int kMaxFrames = 64;
constexpr size_t kAltStackSize = 64 * 1024;

// Everything the handler touches is ready before it runs.
int g_reportFd = -1;
char g_version[64];
char g_reportPath[4096];
alignas(16) char g_altStack[kAltStackSize];
volatile sig_atomic_t g_handling = 0;

void writeText(const char *text)
{
    size_t left = std::strlen(text);
    while (left > 0) {
        const ssize_t n = ::write(g_reportFd, text, left);
        if (n <= 0) return;
        text += n;
        left -= static_cast<size_t>(n);
    }
}

void writeHex(uintptr_t value)
{
    char digits[2 + 2 * sizeof(uintptr_t) + 1];
    char *p = digits + sizeof(digits) - 1;
    *p = '\0';
    do {
        *--p = "0123456789abcdef"[value & 0xf];
        value >>= 4;
    } while (value != 0);
    *--p = 'x';
    *--p = '0';
    writeText(p);
}

void writeDecimal(int value)
{
    char digits[16];
    char *p = digits + sizeof(digits) - 1;
    *p = '\0';
    const bool negative = value < 0;
    unsigned magnitude =
        negative ? 0u - static_cast<unsigned>(value) : static_cast<unsigned>(value);
    do {
        *--p = static_cast<char>('0' + magnitude % 10);
        magnitude /= 10;
    } while (magnitude != 0);
    if (negative) *--p = '-';
    writeText(p);
}

const char *signalName(int signal)
{
    switch (signal) {
    case SIGSEGV:
        return "SIGSEGV";
    case SIGBUS:
        return "SIGBUS";
    case SIGILL:
        return "SIGILL";
    case SIGFPE:
        return "SIGFPE";
    case SIGABRT:
        return "SIGABRT";
    default:
        return "?";
    }
}

void copyModuleMap()
{
    const int maps = ::open("/proc/self/maps", O_RDONLY | O_CLOEXEC);
    if (maps < 0) return;
    char buffer[4096];
    for (ssize_t n; (n = ::read(maps, buffer, sizeof(buffer))) > 0;) {
        for (ssize_t done = 0; done < n;) {
            const ssize_t written =
                ::write(g_reportFd, buffer + done, static_cast<size_t>(n - done));
            if (written <= 0) break;
            done += written;
        }
    }
    ::close(maps);
}

void onCrash(int signal, siginfo_t *info, void *)
{
    // A second fault while reporting goes straight to the default action.
    if (g_handling == 0 && g_reportFd >= 0) {
        g_handling = 1;
        writeText("Kelp crash report\nSignal: ");
        writeDecimal(signal);
        writeText(" (");
        writeText(signalName(signal));
        writeText(")\nFault address: ");
        writeHex(reinterpret_cast<uintptr_t>(info ? info->si_addr : nullptr));
        writeText("\nVersion: ");
        writeText(g_version);
        writeText("\nProcess: ");
        writeDecimal(static_cast<int>(::getpid()));
        writeText("\n\nStack:\n");
        void *frames[kMaxFrames];
        const int count = ::backtrace(frames, kMaxFrames);
        for (int i = 0; i < count; ++i) {
            writeHex(reinterpret_cast<uintptr_t>(frames[i]));
            writeText("\n");
        }
        writeText("\nModules:\n");
        copyModuleMap();
        ::fsync(g_reportFd);
    }
    ::signal(signal, SIG_DFL);
    ::raise(signal);
}

} // namespace

QString crashReportFolder()
{
    return kelpStateDirectory() + QStringLiteral("/crashes");
}

bool CrashHandler::install(const QString &folder, const QString &version)
{
    if (g_reportFd >= 0) return true;
    if (!QDir().mkpath(folder)) {
        qCWarning(lcFeedback) << "No crash reports: the folder cannot be made:" << folder;
        return false;
    }
    const QByteArray path = QFile::encodeName(QDir(folder).filePath(
        QStringLiteral("Kelp_%1_%2.crash")
            .arg(QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd-HHmmss")))
            .arg(QCoreApplication::applicationPid())));
    if (static_cast<size_t>(path.size()) >= sizeof(g_reportPath)) return false;
    const int fd = ::open(path.constData(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (fd < 0) {
        qCWarning(lcFeedback) << "No crash reports: cannot open" << path << std::strerror(errno);
        return false;
    }
    std::memcpy(g_reportPath, path.constData(), static_cast<size_t>(path.size()) + 1);
    const QByteArray v = version.toUtf8().left(sizeof(g_version) - 1);
    std::memcpy(g_version, v.constData(), static_cast<size_t>(v.size()));
    g_version[v.size()] = '\0';
    g_reportFd = fd;

    // backtrace() loads libgcc on its first call, which is not safe inside a handler.
    void *warmUp[1];
    ::backtrace(warmUp, 1);

    stack_t stack{};
    stack.ss_sp = g_altStack;
    stack.ss_size = kAltStackSize;
    if (::sigaltstack(&stack, nullptr) != 0)
        qCWarning(lcFeedback) << "The crash handler has no stack of its own:"
                              << std::strerror(errno);
    struct sigaction action
    {
    };
    action.sa_sigaction = onCrash;
    action.sa_flags = SA_SIGINFO | SA_ONSTACK | SA_RESETHAND | SA_NODEFER;
    sigemptyset(&action.sa_mask);
    for (const int signal : kSignals)
        ::sigaction(signal, &action, nullptr);
    return true;
}

void CrashHandler::uninstall()
{
    if (g_reportFd < 0) return;
    for (const int signal : kSignals)
        ::signal(signal, SIG_DFL);
    ::close(g_reportFd);
    g_reportFd = -1;
    ::unlink(g_reportPath);
    g_reportPath[0] = '\0';
}

QString CrashHandler::reportPath()
{
    return g_reportFd >= 0 ? QFile::decodeName(g_reportPath) : QString();
}

} // namespace kelp
