#pragma once
// Kelp's own tray icon: a small window the tray takes in. A quick click toggles the panel; a press
// held half a second, a Ctrl-click or a right click opens the menu, and the release then does
// nothing; a Shift-, Alt- or Super-click only beeps; a press dragged out and released outside does
// nothing; a file dragged onto it opens the panel under the drag. While the catalogue is scanned it
// shows a 16 × 16 progress square. The image is black, or white on a dark tray.
#include <QImage>
#include <QTimer>
#include <QWidget>

#include <functional>

class QMenu;

namespace kelp {

class StatusItemView : public QWidget
{
    Q_OBJECT
public:
    // makeMenu builds the menu afresh each time it opens.
    explicit StatusItemView(std::function<QMenu *()> makeMenu, QWidget *parent = nullptr);
    ~StatusItemView() override;

    // The plain item: every click opens the menu.
    void setOpensMenuOnClick(bool menu) { _plain = menu; }
    void setDarkTray(bool dark);
    bool isDarkTray() const { return _dark; }
    // The scan's progress; count 0 ends it.
    void showProgressStep(int step, int count);
    bool isHighlighted() const { return _highlighted; }
    bool isMenuOpen() const;

Q_SIGNALS:
    // A quick click (or a drag entering): the panel's toggle.
    void actionTriggered();
    // A file drag entered: the panel should open under it.
    void dragEntered();

protected:
    void paintEvent(QPaintEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void dragEnterEvent(QDragEnterEvent *event) override;

private:
    void startMenuTimer();
    void openMenu();
    void setHighlighted(bool on);

    std::function<QMenu *()> _makeMenu;
    QMenu *_menu = nullptr;
    QTimer _menuTimer;
    QImage _image, _altImage;
    QImage _progress, _altProgress;
    bool _highlighted = false;
    bool _dark = false;
    bool _pressed = false;
    bool _plain = false;
};

} // namespace kelp
