#pragma once
// Reading files that come from outside Kelp (desktop entries, property lists, theme indexes,
// caches) without ever blocking: only a regular file is read, and only up to a size limit. A FIFO,
// a socket or a device where a file is expected is refused at once (opened non-blocking and
// checked with fstat before a byte is read), as is a path holding a NUL byte.
#include <QByteArray>
#include <QString>

namespace kelp {

struct FileBytes
{
    enum Status { Ok, Missing, Unreadable, NotRegular, TooLarge, BadPath };
    Status status = Missing;
    QByteArray bytes;
    QString error; // why it was not read, for a log line

    bool ok() const { return status == Ok; }
};

// Larger than any settings file, catalogue file, desktop entry or theme index Kelp meets.
inline constexpr qint64 kMaxReadBytes = 16 * 1024 * 1024;

// The whole content of the regular file at path, when it holds at most maxBytes.
FileBytes readRegularFile(const QString &path, qint64 maxBytes = kMaxReadBytes);

// Whether path can name a file at all: not empty and without a NUL byte (which the system would
// take as the end of the path, naming another file).
bool isUsablePath(const QString &path);

} // namespace kelp
