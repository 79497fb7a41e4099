#include "control/ApplicationKeys.h"

#include <QApplication>
#include <QDialog>
#include <QKeyEvent>
#include <QWidget>

namespace kelp {

ApplicationKeys::ApplicationKeys(QWidget *panel, QObject *parent) : QObject(parent), _panel(panel)
{}

bool ApplicationKeys::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() != QEvent::KeyPress) return false;
    // A key press reaches the filter once for each widget it passes through; take it at the
    // window it was sent to and nowhere else.
    auto *widget = qobject_cast<QWidget *>(watched);
    if (!widget || !widget->isWindow()) return false;
    const auto *key = static_cast<QKeyEvent *>(event);
    const Qt::KeyboardModifiers mods = key->modifiers() & (Qt::ShiftModifier | Qt::ControlModifier |
                                                           Qt::AltModifier | Qt::MetaModifier);
    const bool closeKey = key->key() == Qt::Key_W && mods == Qt::ControlModifier;
    const bool cancelKey = (key->key() == Qt::Key_Escape && mods == Qt::NoModifier) ||
                           (key->key() == Qt::Key_Period && mods == Qt::ControlModifier);
    if (!closeKey && !cancelKey) return false;
    if (QApplication::activePopupWidget()) return false;
    QWidget *window = QApplication::activeModalWidget();
    if (!window) window = QApplication::activeWindow();
    if (!window || window == _panel || window->window() == _panel) return false;
    if (auto *dialog = qobject_cast<QDialog *>(window); dialog && cancelKey) {
        dialog->reject();
        return true;
    }
    window->close();
    return true;
}

} // namespace kelp
