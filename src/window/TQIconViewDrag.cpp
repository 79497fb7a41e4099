// TQIconView's drags: moving favourites inside the view, and files dropped on applications.
//
// A move starts when the pointer, button down on an icon, leaves a square of two pixels around
// the press; it carries a TQDragPayload under Kelp's own MIME type and is taken only from this
// Kelp (a drag from another process under that type is refused). Files come from other programs
// over XDND as URL lists or plain text; the drop action offered back is always a copy or a link, so
// the source never deletes what was dropped. The target of either is the selection, which follows
// the drag.
#include "catalogue/TQAppManager.h"
#include "extras/DropStack.h"
#include "extras/Logging.h"
#include "window/TQIconView.h"

#include <QApplication>
#include <QDrag>
#include <QDragEnterEvent>
#include <QGuiApplication>
#include <QMimeData>
#include <QMouseEvent>
#include <QPainter>
#include <QPixmap>

#include <cmath>

namespace kelp {
namespace {

constexpr double kDragThreshold = 2.0; // pixels the pointer moves before a move starts
constexpr int kModifierPollMs = 100;   // how often Ctrl is read while files are over the view

// The action a file drop answers with: a copy, else a link; never a move, which would have the
// source delete the file. IgnoreAction when the source offers neither.
Qt::DropAction copyOrLink(Qt::DropActions offered)
{
    if (offered.testFlag(Qt::CopyAction)) return Qt::CopyAction;
    if (offered.testFlag(Qt::LinkAction)) return Qt::LinkAction;
    return Qt::IgnoreAction;
}

// Whether the pointer is inside the panel window (the drag may have gone from the view to the
// selector bar).
bool pointerInsideWindow(const QWidget &view)
{
    const QWidget *panel = view.window();
    return panel && panel->isVisible() && panel->frameGeometry().contains(QCursor::pos());
}

} // namespace

bool TQIconView::iconViewHasUserFocus()
{
    return !QApplication::activeModalWidget() && !QApplication::activePopupWidget();
}

// --- Starting a move -----------------------------------------------------------------------------

bool TQIconView::mouseDragged(QMouseEvent *event)
{
    if (!event->buttons().testFlag(Qt::LeftButton) || _mouseDownPoint.isNull()) return false;
    const QPointF d = event->position() - _mouseDownPoint;
    if (std::abs(d.x()) <= kDragThreshold && std::abs(d.y()) <= kDragThreshold) return false;
    if (_groupShown == Group::Running || _groupShown == Group::Missing) return false;
    const QPointF downPoint = _mouseDownPoint;
    const TQAppPtr app = appAtPoint(downPoint);
    if (!app) return false;
    _mouseDownPoint = QPointF(); // the release ends the drag, not a click

    _startCoords = coordsOfPoint(downPoint);
    const IconGridLayout::CellInfo &cell = _layout.cellAt(_startCoords.row, _startCoords.col);
    _dragPayload = {app->path(), static_cast<std::uint64_t>(_groupShown), cell.bunch, cell.index};
    _drag.moveInProgress = true;
    _drag.payloadApp = app;
    _dropAllowed = false;

    auto *mime = new QMimeData;
    mime->setData(QLatin1String(kDragPayloadMimeType), encodeDragPayload(_dragPayload));
    auto *drag = new QDrag(this);
    drag->setMimeData(mime);
    // The icon, half transparent, where it was in the grid.
    const QRectF iconRect =
        rectOfApp(app).marginsRemoved(QMarginsF(_layout.cellPadding(), _layout.cellPadding(),
                                                _layout.cellPadding(), _layout.cellPadding()));
    const qreal ratio = devicePixelRatioF();
    QPixmap image((iconRect.size() * ratio).toSize());
    image.setDevicePixelRatio(ratio);
    image.fill(Qt::transparent);
    {
        QPainter p(&image);
        p.setOpacity(0.5);
        p.setRenderHint(QPainter::SmoothPixmapTransform);
        p.drawImage(QRectF(QPointF(0, 0), iconRect.size()), app->icon());
    }
    drag->setPixmap(image);
    drag->setHotSpot((downPoint - iconRect.topLeft()).toPoint());
    update();
    // Runs until the drop; events keep coming meanwhile. Only this Kelp takes the move.
    drag->exec(Qt::MoveAction, Qt::MoveAction);
    finishDrag(true);
    return true;
}

// --- Entering and moving over the view ----------------------------------------------------------

void TQIconView::dragEnterEvent(QDragEnterEvent *event)
{
    if (!iconViewHasUserFocus()) {
        QApplication::beep();
        _drag.moveInProgress = _drag.dropInProgress = false;
        event->ignore();
        return;
    }
    _activeWhenDragBegan = QGuiApplication::applicationState() == Qt::ApplicationActive;
    _panelRestorePending = false;
    selectCoords(coordsOfPoint(event->position()));
    const QMimeData *mime = event->mimeData();

    if (mime->hasFormat(QLatin1String(kDragPayloadMimeType))) {
        if (!readPayload(*event)) {
            event->ignore();
            return;
        }
        if (!_drag.moveInProgress) {
            _drag.moveInProgress = true;
            _startCoords = _selectedCoords;
        }
        event->accept(); // keeps the moves coming, also over groups that take no move
        answerMove(event);
        Q_EMIT dragWantsPanelOnscreen(!_activeWhenDragBegan);
        return;
    }

    const DroppedFiles files = droppedFilesFrom(*mime);
    if (!files.isAccepted()) {
        qCInfo(lcWindow).noquote() << "A drag over the panel is refused:" << files.refusal;
        event->ignore();
        return;
    }
    if (copyOrLink(event->possibleActions()) == Qt::IgnoreAction) {
        qCInfo(lcWindow) << "A drag over the panel is refused: its source offers only"
                         << event->possibleActions();
        event->ignore();
        return;
    }
    _drag.dropInProgress = true;
    _dragFiles = files.files;
    QVariantList urls;
    for (const QUrl &url : files.files)
        urls.append(url);
    DropStack::shared().push(urls);
    _dragWidened = QGuiApplication::queryKeyboardModifiers().testFlag(Qt::ControlModifier);
    _droppable.lookUp(DropStack::shared().topObjectAsURL());
    refreshDroppableApps();
    _dragModifierTimer.start(kModifierPollMs);
    Q_EMIT dragWantsPanelOnscreen(!_activeWhenDragBegan);
    event->setDropAction(copyOrLink(event->possibleActions()));
    event->accept();
    qCDebug(lcWindow).noquote() << "Files dragged over the panel:" << _dragFiles.size()
                                << "offered as" << mime->formats().join(QLatin1Char(','))
                                << "with actions" << event->possibleActions();
}

void TQIconView::dragMoveEvent(QDragMoveEvent *event)
{
    if (!iconViewHasUserFocus()) {
        _drag.moveInProgress = _drag.dropInProgress = false;
        event->ignore();
        return;
    }
    selectCoords(coordsOfPoint(event->position()));
    if (_drag.moveInProgress) {
        answerMove(event);
        return;
    }
    if (_drag.dropInProgress) {
        followDragModifiers(event->modifiers());
        const TQAppPtr app = selectedApp();
        if (app && _drag.droppableApps.contains(app.get())) {
            event->setDropAction(copyOrLink(event->possibleActions()));
            event->accept(_layout.rectOfCoords(_selectedCoords).toAlignedRect());
        } else {
            event->ignore();
        }
        return;
    }
    event->ignore();
}

void TQIconView::answerMove(QDragMoveEvent *event)
{
    if (canMoveInGroupShown()) {
        const TQAppPtr app = selectedApp();
        _dropAllowed = !(app && _drag.payloadApp && app->isEqual(_drag.payloadApp.get()));
        event->setDropAction(Qt::MoveAction);
        event->accept();
    } else {
        _dropAllowed = false;
        event->setDropAction(Qt::IgnoreAction);
        event->ignore();
    }
    update();
}

bool TQIconView::readPayload(const QDropEvent &event)
{
    // A move is Kelp's own: a drag under its type from another process is another Kelp's.
    if (!event.source()) {
        qCInfo(lcWindow) << "A favourite dragged from another program is refused";
        return false;
    }
    QString why;
    const std::optional<TQDragPayload> payload =
        decodeDragPayload(event.mimeData()->data(QLatin1String(kDragPayloadMimeType)), &why);
    if (!payload) {
        qCWarning(lcWindow).noquote() << "A dragged favourite is refused:" << why;
        return false;
    }
    _dragPayload = *payload;
    _drag.payloadApp = _catalogue.existingAppForPath(payload->app);
    return true;
}

void TQIconView::followDragModifiers(Qt::KeyboardModifiers held)
{
    const bool widen = held.testFlag(Qt::ControlModifier);
    if (widen == _dragWidened) return;
    _dragWidened = widen;
    refreshDroppableApps();
}

void TQIconView::refreshDroppableApps()
{
    if (!_drag.dropInProgress) return;
    AppList candidates = _catalogue.allApps1D();
    candidates.append(_catalogue.userApps1D());
    _drag.droppableApps = _droppable.appsFor(candidates, _dragWidened);
    qCDebug(lcWindow) << "Applications that take the dragged files:" << _drag.droppableApps.size()
                      << (_droppable.isKnown() ? "" : "(not known yet)");
    update();
}

// --- Dropping ------------------------------------------------------------------------------------

void TQIconView::dropEvent(QDropEvent *event)
{
    selectCoords(coordsOfPoint(event->position()));
    if (_drag.moveInProgress && canMoveInGroupShown()) {
        event->setDropAction(Qt::MoveAction);
        event->accept();
        performMove();
    } else if (_drag.dropInProgress) {
        performFileDrop(event);
    } else {
        event->ignore();
    }
    finishDrag(true);
}

void TQIconView::performMove()
{
    const TQAppPtr app = _catalogue.existingAppForPath(_dragPayload.app);
    if (!app) {
        qCInfo(lcWindow).noquote()
            << "The dragged favourite" << _dragPayload.app << "left the catalogue; nothing moves";
        return;
    }
    const FavouriteDrop drop =
        favouriteDropAt(_layout, _selectedCoords, _catalogue.userApps1D().isEmpty());
    switch (drop.kind) {
    case FavouriteDrop::Kind::IntoBunch:
        _catalogue.moveApp(app, _groupShown, drop.bunch, drop.index);
        break;
    case FavouriteDrop::Kind::NewBunch:
        _catalogue.moveAppToNewBunch(app, _groupShown, drop.index);
        break;
    case FavouriteDrop::Kind::Refused:
        QApplication::beep();
        break;
    }
}

void TQIconView::performFileDrop(QDropEvent *event)
{
    const TQAppPtr app = selectedApp();
    const Qt::DropAction action = copyOrLink(event->possibleActions());
    if (!app || !_drag.droppableApps.contains(app.get()) || action == Qt::IgnoreAction) {
        qCDebug(lcWindow).noquote()
            << "Dropped files refused by" << (app ? app->name() : QStringLiteral("no application"))
            << "offered" << event->possibleActions();
        event->ignore();
        return;
    }
    // The files as the drag offered them on entering: a source asked again at the drop does not
    // always answer in time.
    TQApp::DroppedItems items;
    for (const QUrl &url : std::as_const(_dragFiles))
        items.filePaths.append(url.toLocalFile());
    if (items.filePaths.isEmpty()) {
        event->ignore();
        return;
    }
    event->setDropAction(action);
    event->accept();
    launchApp(app, &items);
}

// --- Leaving and ending --------------------------------------------------------------------------

void TQIconView::dragLeaveEvent(QDragLeaveEvent *event)
{
    selectCoords(Coords::none());
    draggingReset();
    event->accept();
}

void TQIconView::draggingReset()
{
    finishDrag(false);
}

void TQIconView::finishDrag(bool dragIsOver)
{
    if (_drag.dropInProgress) {
        _drag.dropInProgress = false;
        _drag.droppableApps.clear();
        _dragFiles.clear();
        _dragModifierTimer.stop();
        DropStack::shared().free();
        _droppable.clear();
        _panelRestorePending = true;
        update();
    }
    if (_drag.moveInProgress) {
        _drag.moveInProgress = false;
        _dropAllowed = false;
        _startCoords = Coords::none();
        _drag.payloadApp.reset();
        _dragPayload = {};
        update();
    }
    // While the drag is still over the panel (on its way to the selector bar) the panel stays
    // where the drag needs it and keeps the front; the next reset once it has gone restores them.
    if (!_panelRestorePending || (!dragIsOver && pointerInsideWindow(*this))) return;
    _panelRestorePending = false;
    Q_EMIT dragReleasedPanel();
    if (!_activeWhenDragBegan) {
        _activeWhenDragBegan = true;
        if (const TQAppPtr previous = _catalogue.lastActiveApp()) previous->activate();
    }
}

} // namespace kelp
