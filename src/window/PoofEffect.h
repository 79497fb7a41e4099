#pragma once
// PoofEffect: the small puff shown where an icon leaves its group (excluded from the included
// applications, or included again from the excluded ones): a ring of circles that grows and fades
// in a quarter of a second. It is a window of its own, so it outlives the panel hiding, and it
// takes neither the pointer nor the focus.
#include <QElapsedTimer>
#include <QPoint>
#include <QWidget>

namespace kelp {

class PoofEffect : public QWidget
{
public:
    // Shows a puff centred on a point of the screen; it deletes itself when done.
    static void showAt(QPoint globalCentre);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    PoofEffect();

    QElapsedTimer _clock;
};

} // namespace kelp
