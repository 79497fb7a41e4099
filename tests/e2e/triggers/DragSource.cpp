// A program of its own that drags a file: press in its window and move, and it starts a drag of
// the file named on its command line (holding the pointer until the button is released), as a
// file manager would. The triggers' end-to-end tests drag from it into Kelp's hot spot.
#include <QApplication>
#include <QDrag>
#include <QMimeData>
#include <QMouseEvent>
#include <QUrl>
#include <QWidget>

#include <cstdio>

namespace {

class Source : public QWidget
{
public:
    explicit Source(QString file) : _file(std::move(file))
    {
        setWindowTitle(QStringLiteral("Kelp Test Drag Source"));
        resize(200, 200);
    }

protected:
    void mousePressEvent(QMouseEvent *event) override { _start = event->position().toPoint(); }
    void mouseMoveEvent(QMouseEvent *event) override
    {
        if (!(event->buttons() & Qt::LeftButton)) return;
        if ((event->position().toPoint() - _start).manhattanLength() < 4) return;
        auto *mime = new QMimeData;
        mime->setUrls({QUrl::fromLocalFile(_file)});
        auto *drag = new QDrag(this);
        drag->setMimeData(mime);
        std::printf("drag started\n");
        std::fflush(stdout);
        const Qt::DropAction result = drag->exec(Qt::CopyAction);
        std::printf("drag ended %d\n", int(result));
        std::fflush(stdout);
    }

private:
    QString _file;
    QPoint _start;
};

} // namespace

int main(int argc, char **argv)
{
    QApplication app(argc, argv);
    Source source(argc > 1 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral("/etc/hostname"));
    source.move(400, 300);
    source.show();
    return QApplication::exec();
}
