// A Wayland client for the tests: one fullscreen window of one colour (the first argument, a
// colour name), so that screenshots tell it from Kelp's panel drawn above it. The second argument,
// when given, is its app id (default "kelp-test-colour").
#include <QApplication>
#include <QColor>
#include <QPalette>
#include <QWidget>

int main(int argc, char **argv)
{
    QApplication app(argc, argv);
    QApplication::setDesktopFileName(argc > 2 ? QString::fromLocal8Bit(argv[2])
                                              : QStringLiteral("kelp-test-colour"));
    QWidget window;
    QPalette palette;
    palette.setColor(QPalette::Window, QColor(argc > 1 ? QString::fromLocal8Bit(argv[1])
                                                       : QStringLiteral("#00ff00")));
    window.setPalette(palette);
    window.setAutoFillBackground(true);
    window.setWindowTitle(QStringLiteral("Kelp test colour"));
    window.showFullScreen();
    return app.exec();
}
