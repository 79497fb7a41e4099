#include "extras/DesktopEntryKeys.h"

#include "extras/RegularFile.h"

namespace kelp {

namespace {
QString unescapeDesktopValue(const QString &raw)
{
    QString out;
    out.reserve(raw.size());
    for (qsizetype i = 0; i < raw.size(); ++i) {
        const QChar c = raw.at(i);
        if (c != u'\\' || i + 1 == raw.size()) {
            out.append(c);
            continue;
        }
        const QChar e = raw.at(++i);
        if (e == u's')
            out.append(u' ');
        else if (e == u'n')
            out.append(u'\n');
        else if (e == u't')
            out.append(u'\t');
        else if (e == u'r')
            out.append(u'\r');
        else
            out.append(e);
    }
    return out;
}

} // namespace

QHash<QString, QString> desktopEntryKeys(const QString &path)
{
    QHash<QString, QString> keys;
    const FileBytes file = readRegularFile(path);
    if (!file.ok()) return keys;
    bool inGroup = false;
    for (const QByteArray &raw : file.bytes.split('\n')) {
        const QString line = QString::fromUtf8(raw).trimmed();
        if (line.isEmpty() || line.startsWith(u'#')) continue;
        if (line.startsWith(u'[')) {
            if (inGroup) break;
            inGroup = line == QStringLiteral("[Desktop Entry]");
            continue;
        }
        if (!inGroup) continue;
        const qsizetype eq = line.indexOf(u'=');
        if (eq <= 0) continue;
        const QString key = line.left(eq).trimmed();
        if (!keys.contains(key)) keys.insert(key, unescapeDesktopValue(line.mid(eq + 1).trimmed()));
    }
    return keys;
}

} // namespace kelp
