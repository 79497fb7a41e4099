#include "window/PoofEffect.h"

#include <QPainter>
#include <QTimer>

#include <algorithm>
#include <cmath>
#include <numbers>

namespace kelp {

namespace {
constexpr int kSize = 48;         // the window's side, in points
constexpr qint64 kDuration = 250; // milliseconds
} // namespace

void PoofEffect::showAt(QPoint globalCentre)
{
    auto *poof = new PoofEffect;
    poof->move(globalCentre - QPoint(kSize / 2, kSize / 2));
    poof->show();
}

PoofEffect::PoofEffect() : QWidget(nullptr, Qt::ToolTip | Qt::FramelessWindowHint)
{
    setAttribute(Qt::WA_TranslucentBackground);
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setAttribute(Qt::WA_ShowWithoutActivating);
    setAttribute(Qt::WA_DeleteOnClose);
    resize(kSize, kSize);
    _clock.start();
    auto *timer = new QTimer(this);
    connect(timer, &QTimer::timeout, this, [this] {
        if (_clock.elapsed() >= kDuration)
            close();
        else
            update();
    });
    timer->start(16);
}

void PoofEffect::paintEvent(QPaintEvent *)
{
    const qreal progress = std::min<qreal>(1.0, static_cast<qreal>(_clock.elapsed()) / kDuration);
    QPainter p(this);
    p.setRenderHint(QPainter::Antialiasing);
    p.setOpacity(1.0 - progress);
    p.setPen(Qt::NoPen);
    p.setBrush(QColor(235, 235, 235));
    const qreal r = 8 + 14 * progress;
    const qreal centre = kSize / 2.0;
    for (int i = 0; i < 5; ++i) {
        const qreal angle = i * 2 * std::numbers::pi / 5;
        p.drawEllipse(
            QPointF(centre + std::cos(angle) * r * 0.6, centre + std::sin(angle) * r * 0.6),
            r * 0.45, r * 0.45);
    }
}

} // namespace kelp
