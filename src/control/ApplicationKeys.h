#pragma once
// ApplicationKeys: the keys every Kelp window answers the same way, watched for the whole
// application. Ctrl-W closes the active window; Escape and Ctrl-period cancel a dialog or close
// any other window. The panel keeps its own keys (Escape clears the typed filter first, then
// hides it), and open menus and pop-ups keep theirs.
#include <QObject>

class QWidget;

namespace kelp {

class ApplicationKeys : public QObject
{
    Q_OBJECT
public:
    // `panel` is left to its own key handling.
    explicit ApplicationKeys(QWidget *panel, QObject *parent = nullptr);

    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    QWidget *_panel;
};

} // namespace kelp
