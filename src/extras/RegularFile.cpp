#include "extras/RegularFile.h"

#include <QFile>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kelp {
namespace {

QString systemError(int code)
{
    return QString::fromLocal8Bit(std::strerror(code));
}

struct FdCloser
{
    int fd;
    ~FdCloser()
    {
        if (fd >= 0) ::close(fd);
    }
};

} // namespace

bool isUsablePath(const QString &path)
{
    return !path.isEmpty() && !path.contains(QChar(u'\0'));
}

FileBytes readRegularFile(const QString &path, qint64 maxBytes)
{
    FileBytes out;
    if (!isUsablePath(path)) {
        out.status = FileBytes::BadPath;
        out.error = QStringLiteral("the path is empty or holds a NUL byte");
        return out;
    }
    const QByteArray native = QFile::encodeName(path);
    // Non-blocking, so that opening a FIFO with no writer returns at once; the type is checked on
    // the open descriptor, so nothing can swap the file between the check and the read.
    const int fd = ::open(native.constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
    if (fd < 0) {
        const int code = errno;
        out.status = code == ENOENT || code == ENOTDIR ? FileBytes::Missing : FileBytes::Unreadable;
        out.error = systemError(code);
        return out;
    }
    const FdCloser closer{fd};
    struct stat st
    {
    };
    if (::fstat(fd, &st) != 0) {
        out.status = FileBytes::Unreadable;
        out.error = systemError(errno);
        return out;
    }
    if (!S_ISREG(st.st_mode)) {
        out.status = FileBytes::NotRegular;
        out.error = S_ISDIR(st.st_mode) ? QStringLiteral("it is a folder")
                                        : QStringLiteral("it is not a regular file");
        return out;
    }
    if (st.st_size > maxBytes) {
        out.status = FileBytes::TooLarge;
        out.error = QStringLiteral("it is larger than %1 bytes").arg(maxBytes);
        return out;
    }
    // The size is a hint only: the file may grow or shrink while it is read.
    out.bytes.reserve(static_cast<qsizetype>(st.st_size));
    char buffer[65536];
    for (;;) {
        const ssize_t n = ::read(fd, buffer, sizeof buffer);
        if (n < 0) {
            if (errno == EINTR) continue;
            out.status = FileBytes::Unreadable;
            out.error = systemError(errno);
            out.bytes.clear();
            return out;
        }
        if (n == 0) break;
        if (out.bytes.size() + n > maxBytes) {
            out.status = FileBytes::TooLarge;
            out.error = QStringLiteral("it is larger than %1 bytes").arg(maxBytes);
            out.bytes.clear();
            return out;
        }
        out.bytes.append(buffer, static_cast<qsizetype>(n));
    }
    out.status = FileBytes::Ok;
    return out;
}

} // namespace kelp
