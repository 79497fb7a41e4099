#pragma once
// What Kelp's fuzz targets share: a private scratch folder for the files a reader takes by path,
// and quiet logging (a log line per input would be most of the run's time).
#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QLoggingCategory>
#include <QString>
#include <QTemporaryDir>

#include <cstddef>
#include <cstdint>

namespace kelp::fuzz {

// The folder this process writes its inputs into; removed at exit.
inline const QString &scratchFolder()
{
    static QTemporaryDir dir(QDir::tempPath() + QStringLiteral("/kelp-fuzz-XXXXXX"));
    static const QString path = dir.path();
    return path;
}

// Writes the input to relativePath under the scratch folder (folders made as needed) and returns
// the file's path.
inline QString writeInput(const QString &relativePath, const uint8_t *data, size_t size)
{
    const QString path = scratchFolder() + QLatin1Char('/') + relativePath;
    QDir().mkpath(path.section(QLatin1Char('/'), 0, -2));
    QFile file(path);
    if (file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        file.write(reinterpret_cast<const char *>(data), static_cast<qint64>(size));
    return path;
}

inline QByteArray bytesOf(const uint8_t *data, size_t size)
{
    return QByteArray(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
}

inline void quietLogging()
{
    QLoggingCategory::setFilterRules(QStringLiteral("kelp.*=false\nqt.*=false"));
}

} // namespace kelp::fuzz
