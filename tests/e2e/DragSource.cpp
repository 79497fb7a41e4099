// A stand-in for a file manager in the drag tests: a small window at a given place that, when the
// pointer is pressed on it and moved, drags the given files as a file manager does (a URL list and
// the first path as plain text, offering copy, move and link, copy preferred). When the drag ends
// it prints the action the target chose ("copy", "link", "move" or "none") and exits, or with
// --keep waits for the next drag.
//
//   kelp_drag_source [--keep] X Y FILE...
#include <QApplication>
#include <QDrag>
#include <QMimeData>
#include <QMouseEvent>
#include <QPixmap>
#include <QTextStream>
#include <QUrl>
#include <QWidget>

namespace {

class Source : public QWidget
{
public:
    Source(QList<QUrl> files, bool keep) : _files(std::move(files)), _keep(keep)
    {
        setWindowTitle(QStringLiteral("Kelp Drag Source"));
        setAutoFillBackground(true);
        QPalette p = palette();
        p.setColor(QPalette::Window, Qt::darkGreen);
        setPalette(p);
    }

protected:
    void mousePressEvent(QMouseEvent *event) override
    {
        if (event->button() != Qt::LeftButton) return;
        auto *mime = new QMimeData;
        mime->setUrls(_files);
        if (!_files.isEmpty()) mime->setText(_files.first().toLocalFile());
        auto *drag = new QDrag(this);
        drag->setMimeData(mime);
        QPixmap image(32, 32);
        image.fill(Qt::darkGreen);
        drag->setPixmap(image);
        // The pointer stays grabbed by this window for the drag. Without a grab of its own, Qt
        // grabs it with the drag image's window, which moves with the pointer, and then loses
        // the pointer's track when it jumps from place to place as a synthesised one does.
        grabMouse();
        const Qt::DropAction action =
            drag->exec(Qt::CopyAction | Qt::MoveAction | Qt::LinkAction, Qt::CopyAction);
        const char *name = action == Qt::CopyAction   ? "copy"
                           : action == Qt::MoveAction ? "move"
                           : action == Qt::LinkAction ? "link"
                                                      : "none";
        releaseMouse();
        QTextStream(stdout) << name << Qt::endl;
        if (!_keep) QApplication::exit(0);
    }

private:
    QList<QUrl> _files;
    bool _keep = false;
};

} // namespace

int main(int argc, char **argv)
{
    QApplication app(argc, argv);
    QStringList args = QApplication::arguments().mid(1);
    const bool keep = !args.isEmpty() && args.first() == QLatin1String("--keep");
    if (keep) args.removeFirst();
    if (args.size() < 2) return 2;
    QList<QUrl> files;
    for (qsizetype i = 2; i < args.size(); ++i)
        files.append(QUrl::fromLocalFile(args.at(i)));
    Source source(files, keep);
    source.setGeometry(args.at(0).toInt(), args.at(1).toInt(), 120, 120);
    source.show();
    QTextStream(stdout) << "ready" << Qt::endl;
    return QApplication::exec();
}
