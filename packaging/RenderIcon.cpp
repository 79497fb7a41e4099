// Renders Kelp's SVG icon into the PNG sizes of the hicolor theme at build time:
//   kelp_render_icon ICON.svg OUTPUT_FOLDER SIZE...  writes OUTPUT_FOLDER/SIZExSIZE/apps/kelp.png
#include <QDir>
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QSvgRenderer>
#include <QTextStream>

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    const QStringList args = QCoreApplication::arguments();
    if (args.size() < 4) {
        QTextStream(stderr) << "usage: kelp_render_icon ICON.svg OUTPUT_FOLDER SIZE...\n";
        return 2;
    }
    QSvgRenderer svg(args.at(1));
    if (!svg.isValid()) {
        QTextStream(stderr) << "cannot read " << args.at(1) << '\n';
        return 1;
    }
    for (const QString &text : args.mid(3)) {
        bool ok = false;
        const int size = text.toInt(&ok);
        if (!ok || size < 1 || size > 1024) {
            QTextStream(stderr) << "bad size " << text << '\n';
            return 2;
        }
        const QString folder = QStringLiteral("%1/%2x%2/apps").arg(args.at(2)).arg(size);
        QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        {
            QPainter p(&image);
            p.setRenderHint(QPainter::Antialiasing);
            svg.render(&p);
        }
        if (!QDir().mkpath(folder) || !image.save(folder + QStringLiteral("/kelp.png"))) {
            QTextStream(stderr) << "cannot write " << folder << "/kelp.png\n";
            return 1;
        }
    }
    return 0;
}
