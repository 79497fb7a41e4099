#pragma once
// The arithmetic of the panel's frame: which group opens, whether the user moved the panel, where
// it goes on its screen, how long an animated resize takes. Pure functions over rectangles in
// global screen coordinates (y grows downward), so that they can be checked without a display.
#include <QList>
#include <QMargins>
#include <QRect>
#include <QSize>

namespace kelp::panel {

// A panel whose centre lies further than this from its screen's centre (on either axis) counts as
// moved by the user.
inline constexpr int kMovedThreshold = 16;
// The space kept free around the panel on every side of the screen's usable area.
inline constexpr int kScreenInset = 16;
// Show, hide and slide durations, in seconds.
inline constexpr double kFadeDuration = 0.25;
inline constexpr double kSlideDuration = 0.25;

// The group shown when the panel opens: the configured one; when that is -1, the one shown when it
// last closed; when that is -1 too, the included group (1). Any other value is used as it is.
int groupToShowOnOpen(qint64 groupToShowWhenWindowOpens, qint64 groupShownWhenWindowClosed);

// Whether the frame's centre is more than kMovedThreshold away from the centre of the screen's
// usable area, horizontally or vertically.
bool hasBeenMoved(const QRect &frame, const QRect &visibleFrame);

// A rectangle of the given size centred on the rectangle (rounded down to whole pixels).
QRect centredOn(const QSize &size, const QRect &rect);
// A rectangle of the given size centred on a point.
QRect centredOn(const QSize &size, const QPoint &centre);

// The frame moved (not resized) to lie inside bounds. A frame larger than the bounds on an axis is
// aligned with the bounds' top or left edge, so that its top and its close button stay reachable.
QRect constrainedInto(const QRect &frame, const QRect &bounds);

// The usable area of the screen the panel belongs on, from the usable areas of every screen: the
// one holding the frame's centre, else the one the frame overlaps most, else the one nearest to
// the frame's centre, else the primary. An empty rectangle when there is no screen.
QRect visibleFrameForPanel(const QRect &frame, const QList<QRect> &visibleFrames,
                           int primaryIndex = 0);

// Seconds an animated resize from oldFrame to newFrame takes: 1.2 plus 0.2 times the change of
// the diagonal relative to the larger side of the screen.
double animationResizeTime(const QRect &oldFrame, const QRect &newFrame, const QSize &screenSize);

// The largest icon view that fits: the screen's usable area less kScreenInset on each side and
// less the panel's margins around the icon view; never negative.
QSize maxIconViewSize(const QRect &visibleFrame, const QMargins &margins);

// The frame for new content: the icon view's size plus the margins. A visible panel keeps its
// centre and then stays inside the screen's usable area; a hidden one keeps its top-left corner
// (it is centred when it shows).
QRect frameForContent(const QSize &iconViewSize, const QMargins &margins, const QRect &oldFrame,
                      const QRect &visibleFrame, bool panelVisible);

} // namespace kelp::panel
