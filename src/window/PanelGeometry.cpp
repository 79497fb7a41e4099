#include "window/PanelGeometry.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace kelp::panel {

int groupToShowOnOpen(qint64 groupToShowWhenWindowOpens, qint64 groupShownWhenWindowClosed)
{
    qint64 group = groupToShowWhenWindowOpens;
    if (group == -1) group = groupShownWhenWindowClosed;
    if (group == -1) group = 1;
    return int(std::clamp<qint64>(group, std::numeric_limits<int>::min(),
                                  std::numeric_limits<int>::max()));
}

namespace {
// Centres in doubles: a rectangle of odd width has its centre between two pixels.
double centreX(const QRect &r)
{
    return r.x() + r.width() / 2.0;
}
double centreY(const QRect &r)
{
    return r.y() + r.height() / 2.0;
}
} // namespace

bool hasBeenMoved(const QRect &frame, const QRect &visibleFrame)
{
    return std::abs(centreX(frame) - centreX(visibleFrame)) > kMovedThreshold ||
           std::abs(centreY(frame) - centreY(visibleFrame)) > kMovedThreshold;
}

QRect centredOn(const QSize &size, const QRect &rect)
{
    return QRect(rect.x() + (rect.width() - size.width()) / 2,
                 rect.y() + (rect.height() - size.height()) / 2, size.width(), size.height());
}

QRect centredOn(const QSize &size, const QPoint &centre)
{
    return QRect(centre.x() - size.width() / 2, centre.y() - size.height() / 2, size.width(),
                 size.height());
}

QRect constrainedInto(const QRect &frame, const QRect &bounds)
{
    if (bounds.isEmpty()) return frame;
    QRect r = frame;
    const auto fit = [](int pos, int length, int lo, int room) {
        if (length >= room) return lo;
        return std::clamp(pos, lo, lo + room - length);
    };
    r.moveLeft(fit(frame.x(), frame.width(), bounds.x(), bounds.width()));
    r.moveTop(fit(frame.y(), frame.height(), bounds.y(), bounds.height()));
    return r;
}

QRect visibleFrameForPanel(const QRect &frame, const QList<QRect> &visibleFrames, int primaryIndex)
{
    if (visibleFrames.isEmpty()) return {};
    const QPoint centre(int(std::floor(centreX(frame))), int(std::floor(centreY(frame))));
    for (const QRect &r : visibleFrames)
        if (r.contains(centre)) return r;

    qint64 bestArea = 0;
    const QRect *best = nullptr;
    for (const QRect &r : visibleFrames) {
        const QRect overlap = r.intersected(frame);
        const qint64 area = qint64(overlap.width()) * overlap.height();
        if (area > bestArea) {
            bestArea = area;
            best = &r;
        }
    }
    if (best) return *best;

    double bestDistance = std::numeric_limits<double>::infinity();
    for (const QRect &r : visibleFrames) {
        const double dx = std::max({r.left() - centre.x(), 0, centre.x() - r.right()});
        const double dy = std::max({r.top() - centre.y(), 0, centre.y() - r.bottom()});
        const double distance = std::hypot(dx, dy);
        if (distance < bestDistance) {
            bestDistance = distance;
            best = &r;
        }
    }
    if (best) return *best;
    return visibleFrames.value(std::clamp(primaryIndex, 0, int(visibleFrames.size()) - 1));
}

double animationResizeTime(const QRect &oldFrame, const QRect &newFrame, const QSize &screenSize)
{
    const double oldDiagonal = std::hypot(oldFrame.width(), oldFrame.height());
    const double newDiagonal = std::hypot(newFrame.width(), newFrame.height());
    const double screenSide = std::max(screenSize.width(), screenSize.height());
    if (screenSide <= 0) return 1.2;
    return std::abs(newDiagonal - oldDiagonal) / screenSide * 0.2 + 1.2;
}

QSize maxIconViewSize(const QRect &visibleFrame, const QMargins &margins)
{
    const int w = visibleFrame.width() - 2 * kScreenInset - margins.left() - margins.right();
    const int h = visibleFrame.height() - 2 * kScreenInset - margins.top() - margins.bottom();
    return QSize(std::max(w, 0), std::max(h, 0));
}

QRect frameForContent(const QSize &iconViewSize, const QMargins &margins, const QRect &oldFrame,
                      const QRect &visibleFrame, bool panelVisible)
{
    const QSize size(iconViewSize.width() + margins.left() + margins.right(),
                     iconViewSize.height() + margins.top() + margins.bottom());
    if (!panelVisible) return QRect(oldFrame.topLeft(), size);
    const QRect centred = centredOn(
        size, QPoint(int(std::lround(centreX(oldFrame))), int(std::lround(centreY(oldFrame)))));
    return constrainedInto(centred, visibleFrame);
}

} // namespace kelp::panel
