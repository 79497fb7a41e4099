#include "window/IconGridPainter.h"

#include "catalogue/TQAppManager.h"
#include "window/IconDrag.h"
#include "window/TQIconView.h"

#include <QGuiApplication>
#include <QPainter>
#include <QPainterPath>

#include <algorithm>
#include <cmath>

namespace kelp {

namespace {

// A triangle standing on one edge of r, its tip pointing into the rectangle.
QPainterPath triangleInRect(const QRectF &r, MarkerEdge edge)
{
    QPainterPath path;
    switch (edge) {
    case MarkerEdge::Bottom:
        path.moveTo(r.left(), r.bottom());
        path.lineTo(r.right(), r.bottom());
        path.lineTo(r.center().x(), r.top());
        break;
    case MarkerEdge::Top:
        path.moveTo(r.left(), r.top());
        path.lineTo(r.right(), r.top());
        path.lineTo(r.center().x(), r.bottom());
        break;
    case MarkerEdge::Right:
        path.moveTo(r.right(), r.top());
        path.lineTo(r.right(), r.bottom());
        path.lineTo(r.left(), r.center().y());
        break;
    case MarkerEdge::Left:
        path.moveTo(r.left(), r.top());
        path.lineTo(r.left(), r.bottom());
        path.lineTo(r.right(), r.center().y());
        break;
    }
    path.closeSubpath();
    return path;
}

} // namespace

// --- Cell states ---------------------------------------------------------------------------------

bool IconGridPainter::isOpaque(std::uint64_t row, std::uint64_t col) const
{
    const TQAppPtr app = _view.appAtCoords(Coords::cell(row, col));
    if (!app) return true;
    if (_view.isAppKeyFilteredOut(app)) return false;
    const IconDragState &drag = _view.dragState();
    if (drag.dims(*app)) return false;
    const Coords &selected = _view.selectedCoords();
    if (drag.isIdle() && selected.row == row && selected.col == col &&
        (QGuiApplication::mouseButtons() & (Qt::LeftButton | Qt::RightButton))) {
        return false; // a pressed icon
    }
    const Group group = _view.groupShown();
    switch (group) {
    case Group::Included:
    case Group::Included1D:
    case Group::All:
    case Group::All1D:
        if (_view.isExcluded(app)) return false;
        break;
    case Group::Excluded:
    case Group::Excluded1D:
        if (!_view.isExcluded(app)) return false;
        break;
    default:
        break;
    }
    if (_view.modifierKeys().fn() && group != Group::Running && !_view.isRunning(app)) return false;
    return true;
}

bool IconGridPainter::isHighlighted(std::uint64_t row, std::uint64_t col) const
{
    const TQAppPtr app = _view.appAtCoords(Coords::cell(row, col));
    if (!app) return false;
    if (_view.groupShown() != Group::Running && !_view.modifierKeys().fn() && _view.isRunning(app))
        return true;
    return _view.dragState().highlightsDropTarget(app, _view.selectedApp());
}

bool IconGridPainter::isDecorated(std::uint64_t row, std::uint64_t col) const
{
    const Coords &selected = _view.selectedCoords();
    const bool isSelectedCell = selected.row == row && selected.col == col;
    return _view.dragState().marksInsertion(_view.groupShown(), isSelectedCell,
                                            _view.appAtCoords(Coords::cell(row, col)));
}

// --- Scan progress -------------------------------------------------------------------------------

void IconGridPainter::setScanProgress(int step, int count, const QString &label)
{
    if (count < 1) {
        _isBusyScanning = false;
        _scanningStep.clear();
        _scanningLabel.clear();
    } else {
        _isBusyScanning = true;
        _scanningStep = tr("Scanning %1 of %2").arg(step).arg(count);
        _scanningLabel = label;
    }
}

void IconGridPainter::paintScanProgress(QPainter &painter) const
{
    QFont small = _view.font();
    small.setPointSizeF(std::max(7.0, small.pointSizeF() * 0.85));
    painter.setFont(small);
    painter.setPen(_colours.text);
    const QFontMetricsF fm(small);
    // Baselines at half the height and 16 points below it.
    const double width = _view.width();
    const double height = _view.height();
    const double base = height - std::floor(height / 2);
    painter.drawText(QPointF((width - fm.horizontalAdvance(_scanningStep)) / 2, base),
                     _scanningStep);
    if (!_scanningLabel.isEmpty()) {
        painter.drawText(QPointF((width - fm.horizontalAdvance(_scanningLabel)) / 2, base + 16),
                         _scanningLabel);
    }
}

// --- An empty group that says why ----------------------------------------------------------------

void IconGridPainter::paintEmptyGroupNote(QPainter &painter, const QString &note) const
{
    QFont small = _view.font();
    small.setPointSizeF(std::max(7.0, small.pointSizeF() * 0.85));
    painter.setFont(small);
    painter.setPen(_colours.text);
    const QRectF box = QRectF(_view.rect())
                           .adjusted(IconGridLayout::kMargin, IconGridLayout::kMargin,
                                     -IconGridLayout::kMargin, -IconGridLayout::kMargin);
    painter.drawText(box, Qt::AlignCenter | Qt::TextWordWrap, note);
}

// --- The grid ------------------------------------------------------------------------------------

void IconGridPainter::paint(QPainter &painter, const QRegion &region) const
{
    painter.setRenderHint(QPainter::SmoothPixmapTransform, _smoothImages);
    painter.setRenderHint(QPainter::Antialiasing, true);

    QColor tint = _colours.window;
    tint.setAlphaF(static_cast<float>(_colours.alpha * 0.3));
    painter.fillRect(_view.rect(), tint);

    if (_isBusyScanning) {
        paintScanProgress(painter);
        return;
    }

    const IconGridLayout &layout = _view.layout();
    const bool bunched = _view.showsBunches();
    if (!_view.hasAppsShown()) {
        if (const QString note = _view.emptyGroupNote(); !note.isEmpty())
            paintEmptyGroupNote(painter, note);
    }
    if (_view.hasAppsShown()) {
        const QRectF bounds = _view.rect();
        auto needsToDraw = [&](const QRectF &r) {
            return r.intersects(bounds) && region.intersects(r.toAlignedRect());
        };
        const std::uint64_t rows = layout.rowCount(), cols = layout.colCount();
        const bool byRows = !bunched || layout.orientation() == 1;
        const std::uint64_t outer = byRows ? rows : cols, inner = byRows ? cols : rows;
        for (std::uint64_t o = 0; o < outer; ++o) {
            for (std::uint64_t i = 0; i < inner; ++i) {
                const std::uint64_t row = byRows ? o : i, col = byRows ? i : o;
                if (needsToDraw(layout.cellAt(row, col).rect)) paintCell(painter, row, col);
            }
        }
    }
    if (bunched && layout.bunchCount() >= 1) {
        paintBunchSeparators(painter);
        paintBunchEndMark(painter);
    }
}

void IconGridPainter::paintCell(QPainter &painter, std::uint64_t row, std::uint64_t col) const
{
    const IconGridLayout &layout = _view.layout();
    const IconGridLayout::CellInfo &info = layout.cellAt(row, col);
    const TQAppPtr app = _view.appOfCell(info);
    const double alpha = isOpaque(row, col) ? 1.0 : _colours.excludedIconAlpha;
    QColor k = (app && _view.isRunning(app)) ? _colours.highlight : _colours.text;
    k.setAlphaF(static_cast<float>(alpha));

    const double pad = layout.cellPaddingForIconWidth(layout.iconWidth());
    QRectF c = info.rect;
    QRectF icon = c.adjusted(pad, pad, -pad, -pad);

    std::optional<CellInsertionMark> insertion;
    if (isDecorated(row, col)) {
        const int direction =
            layout.orientation() != 0 ? layout.orientation() : layout.settings().iconReadingOrder;
        insertion = cellInsertionMark(c, pad, direction);
        c = c.marginsRemoved(insertion->inset);
        icon = icon.marginsRemoved(insertion->inset);
    }

    if (isHighlighted(row, col)) {
        painter.save();
        if (_colours.drawFilledHighlight && _colours.drawStrokedHighlight) {
            painter.setPen(Qt::NoPen);
            painter.setBrush(k);
            painter.drawRoundedRect(c, 4.0, 4.0);
        } else if (_colours.drawFilledHighlight) {
            painter.setPen(Qt::NoPen);
            painter.setBrush(k);
            painter.drawRoundedRect(c.adjusted(1, 1, -1, -1), 3.0, 3.0);
        } else if (_colours.drawStrokedHighlight) {
            painter.setPen(QPen(k, 2.0));
            painter.setBrush(Qt::NoBrush);
            painter.drawRoundedRect(c.adjusted(1, 1, -1, -1), 3.0, 3.0);
        }
        painter.restore();
    }
    if (insertion) {
        QColor m = _colours.text;
        m.setAlphaF(static_cast<float>(alpha));
        painter.fillPath(triangleInRect(insertion->mark.area, insertion->mark.edge), m);
    }
    if (!app) return;
    const QImage image = _showSpectra ? app->spectrumIcon() : app->displayIcon();
    if (image.isNull()) return;
    painter.save();
    painter.setOpacity(alpha);
    painter.drawImage(icon, image);
    painter.restore();
}

void IconGridPainter::paintBunchSeparators(QPainter &painter) const
{
    QColor colour = _colours.text;
    colour.setAlphaF(_colours.isClear() ? 0.0f : static_cast<float>(_colours.alpha * 0.5));
    const Coords &selected = _view.selectedCoords();
    const std::uint64_t target =
        _view.dragState().isRearranging(_view.groupShown()) ? selected.spacer : kNotFound;
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing, false);
    painter.setPen(QPen(colour, 1.0, Qt::SolidLine, Qt::FlatCap));
    for (const QLineF &line : bunchSeparatorLines(_view.layout(), target))
        painter.drawLine(line);
    painter.restore();
}

void IconGridPainter::paintBunchEndMark(QPainter &painter) const
{
    if (!_view.dragState().isRearranging(_view.groupShown())) return;
    if (const auto mark = bunchEndMark(_view.layout(), _view.selectedCoords()))
        painter.fillPath(triangleInRect(mark->area, mark->edge), _colours.text);
}

} // namespace kelp
