#pragma once
// Icon themes written into a temporary folder: index.theme files and small solid-colour icons,
// so a test can tell which file an icon came from by its colour.
#include "support/TestSupport.h"

#include <QBuffer>
#include <QColor>
#include <QImage>
#include <QStringList>

namespace kelp::test {

struct ThemeDir
{
    QString subdir; // "32x32/apps"
    int size;
    QString type;    // "Fixed", "Scalable", "Threshold"
    int minSize = 0; // Scalable only
    int maxSize = 0;
};

inline bool writeTheme(const QString &base, const QString &name, const QStringList &inherits,
                       const QList<ThemeDir> &dirs)
{
    QStringList subdirs;
    for (const ThemeDir &d : dirs)
        subdirs.append(d.subdir);
    QByteArray text = "[Icon Theme]\nName=" + name.toUtf8() + "\n";
    if (!inherits.isEmpty()) text += "Inherits=" + inherits.join(QLatin1Char(',')).toUtf8() + "\n";
    text += "Directories=" + subdirs.join(QLatin1Char(',')).toUtf8() + "\n";
    for (const ThemeDir &d : dirs) {
        text += "\n[" + d.subdir.toUtf8() + "]\nSize=" + QByteArray::number(d.size) +
                "\nType=" + d.type.toUtf8() + "\n";
        if (d.minSize) text += "MinSize=" + QByteArray::number(d.minSize) + "\n";
        if (d.maxSize) text += "MaxSize=" + QByteArray::number(d.maxSize) + "\n";
    }
    return writeFile(base + QLatin1Char('/') + name + QStringLiteral("/index.theme"), text);
}

inline QByteArray pngBytes(const QColor &colour, int size)
{
    QImage image(size, size, QImage::Format_ARGB32);
    image.fill(colour);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return bytes;
}

inline QByteArray svgBytes(const QColor &colour)
{
    return "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"16\" height=\"16\">"
           "<rect width=\"16\" height=\"16\" fill=\"" +
           colour.name().toUtf8() + "\"/></svg>";
}

// Writes an icon file (".png" or ".svg", chosen by the file name) of one colour.
inline bool writeIcon(const QString &path, const QColor &colour, int size = 16)
{
    return writeFile(path, path.endsWith(QLatin1String(".svg")) ? svgBytes(colour)
                                                                : pngBytes(colour, size));
}

inline QByteArray desktopEntry(const QString &name, const QString &icon)
{
    QByteArray text = "[Desktop Entry]\nType=Application\nName=" + name.toUtf8() + "\nExec=true\n";
    if (!icon.isNull()) text += "Icon=" + icon.toUtf8() + "\n";
    return text;
}

// The colour in the middle of an icon, without alpha premultiplication.
inline QColor centreColour(const QImage &image)
{
    return image.pixelColor(image.width() / 2, image.height() / 2);
}

inline bool sameColour(const QColor &a, const QColor &b)
{
    return std::abs(a.red() - b.red()) <= 2 && std::abs(a.green() - b.green()) <= 2 &&
           std::abs(a.blue() - b.blue()) <= 2 && std::abs(a.alpha() - b.alpha()) <= 2;
}

} // namespace kelp::test
