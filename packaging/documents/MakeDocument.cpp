// kelp_make_document: turns a folder of HTML pages into one of Kelp's PDF documents.
//   kelp_make_document TITLE PAGE_WIDTH_MM PAGE_HEIGHT_MM OUTPUT.pdf PAGE.html... [-- IMAGE.png...]
// Each HTML file becomes exactly one page (text that does not fit is cut, so that a page of the
// welcome tour is always one step). Images named after `--` are offered to the pages under their
// file names (<img src="panel.png">). Runs at build time on the offscreen platform.
#include <QAbstractTextDocumentLayout>
#include <QFile>
#include <QFileInfo>
#include <QGuiApplication>
#include <QImage>
#include <QPageSize>
#include <QPainter>
#include <QPdfWriter>
#include <QTextDocument>

#include <cstdio>

namespace {

int fail(const QString &message)
{
    std::fprintf(stderr, "kelp_make_document: %s\n", qPrintable(message));
    return 1;
}

} // namespace

int main(int argc, char **argv)
{
    QGuiApplication app(argc, argv);
    QStringList args = QCoreApplication::arguments().mid(1);
    if (args.size() < 5)
        return fail(QStringLiteral("usage: TITLE WIDTH_MM HEIGHT_MM OUTPUT PAGE... [-- IMAGE...]"));
    const QString title = args.takeFirst();
    const double widthMm = args.takeFirst().toDouble();
    const double heightMm = args.takeFirst().toDouble();
    const QString output = args.takeFirst();
    const qsizetype split = args.indexOf(QStringLiteral("--"));
    const QStringList pages = split < 0 ? args : args.mid(0, split);
    const QStringList images = split < 0 ? QStringList() : args.mid(split + 1);
    if (widthMm <= 0 || heightMm <= 0 || pages.isEmpty())
        return fail(QStringLiteral("a page size and at least one page are needed"));

    QPdfWriter writer(output);
    writer.setTitle(title);
    writer.setCreator(QStringLiteral("Kelp"));
    // At 72 dots per inch a point is a pixel: the pages are laid out in points. Text stays vector
    // and images keep their own pixels, so nothing is lost.
    writer.setResolution(72);
    writer.setPageSize(
        QPageSize(QSizeF(widthMm, heightMm), QPageSize::Millimeter, title, QPageSize::ExactMatch));
    writer.setPageMargins(QMarginsF(0, 0, 0, 0));
    QPainter painter;
    if (!painter.begin(&writer)) return fail(QStringLiteral("cannot write %1").arg(output));

    const QRectF page(QPointF(0, 0), QSizeF(writer.width(), writer.height()));
    const double margin = 28.0;
    for (qsizetype i = 0; i < pages.size(); ++i) {
        QFile file(pages[i]);
        if (!file.open(QIODevice::ReadOnly))
            return fail(QStringLiteral("cannot read %1").arg(pages[i]));
        QTextDocument document;
        document.setDocumentMargin(margin);
        QFont font(QStringLiteral("DejaVu Sans"));
        font.setPointSizeF(11);
        document.setDefaultFont(font);
        document.setDefaultStyleSheet(QStringLiteral(
            "h1 { color: #1d5c4d; font-size: 22pt; } h2 { color: #1d5c4d; font-size: 15pt; }"
            "p, li { line-height: 120%; } code { font-family: 'DejaVu Sans Mono'; }"));
        for (const QString &image : images) {
            const QImage picture(image);
            if (picture.isNull())
                return fail(QStringLiteral("cannot read the image %1").arg(image));
            document.addResource(QTextDocument::ImageResource, QUrl(QFileInfo(image).fileName()),
                                 picture);
        }
        document.setHtml(QString::fromUtf8(file.readAll()));
        // Fonts measured for the PDF's resolution, not the screen's.
        document.documentLayout()->setPaintDevice(&writer);
        document.setPageSize(page.size());
        if (i > 0) writer.newPage();
        document.drawContents(&painter, page);
    }
    painter.end();
    return 0;
}
