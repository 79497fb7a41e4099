#include "window/TQIconView.h"

#include "catalogue/TQAppManager.h"
#include "desktop/Desktop.h"
#include "desktop/RunningApplications.h"
#include "extras/Logging.h"
#include "extras/Notifications.h"
#include "settings/Defaults.h"

#include <QGuiApplication>
#include <QMenu>
#include <QMouseEvent>
#include <QPaintEvent>
#include <QPainter>
#include <QScreen>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>

namespace kelp {

namespace {

bool isLayoutKey(const QString &key)
{
    return Key::GroupOrientation.is(key) || Key::IconReadingOrder.is(key) ||
           Key::MinimizeEmptyCells.is(key) || Key::MaximumIconSize.is(key) ||
           Key::IconPadding.is(key) || Key::IconSpacing.is(key);
}

int clampToInt(qint64 v)
{
    return static_cast<int>(std::clamp<qint64>(v, -1000000, 1000000));
}

} // namespace

TQIconView::TQIconView(TQAppManager &catalogue, Defaults &defaults, QWidget *parent)
    : QWidget(parent), _catalogue(catalogue), _defaults(defaults), _menu(*this, catalogue, defaults)
{
    setFocusPolicy(Qt::NoFocus);
    setMouseTracking(true);
    setAttribute(Qt::WA_OpaquePaintEvent, false);
    setAcceptDrops(true);
    connect(&_droppable, &DroppableApps::changed, this, &TQIconView::refreshDroppableApps);
    connect(&_dragModifierTimer, &QTimer::timeout, this,
            [this]() { followDragModifiers(QGuiApplication::queryKeyboardModifiers()); });

    connect(&_catalogue, &TQAppManager::progressStep, this, &TQIconView::showProgressStep);
    connect(&_catalogue, &TQAppManager::groupChanged, this, &TQIconView::catalogueGroupChanged);
    connect(
        &_defaults, &Defaults::changed, this,
        [this](const QString &key, const QVariant &, const QVariant &) { defaultsChanged(key); });
    connect(&Notifications::instance(), &Notifications::appIconChanged, this,
            [this](const std::shared_ptr<TQApp> &app) { setNeedsDisplayForApp(app); });

    rebuildExcludedSet();
    _modifiers.reset();
    updateColours();
    readLayoutSettings();
}

TQIconView::~TQIconView() = default;

// --- Settings ------------------------------------------------------------------------------------

void TQIconView::readLayoutSettings()
{
    GridSettings s;
    s.groupOrientation = clampToInt(_defaults.value(Key::GroupOrientation));
    s.iconReadingOrder = clampToInt(_defaults.value(Key::IconReadingOrder));
    s.minimizeEmptyCells = _defaults.value(Key::MinimizeEmptyCells);
    s.maximumIconSize = clampToInt(_defaults.value(Key::MaximumIconSize));
    s.iconPadding = clampToInt(_defaults.value(Key::IconPadding));
    s.iconSpacing = clampToInt(_defaults.value(Key::IconSpacing));
    if (s.maximumIconSize < 1)
        qCWarning(lcWindow) << "maximumIconSize" << s.maximumIconSize << "is used as 1";
    _layout.setSettings(s);
}

void TQIconView::updateLayout()
{
    readLayoutSettings();
    resizeViewForced(true);
}

void TQIconView::updateColours()
{
    _painter.setColours(PanelColours::fromDefaults(_defaults));
    update();
}

void TQIconView::defaultsChanged(const QString &key)
{
    if (isLayoutKey(key))
        updateLayout();
    else if (PanelColours::dependsOn(key))
        updateColours();
}

// --- Group and layout ----------------------------------------------------------------------------

Group TQIconView::groupToShowConsideringModifiers(Group group) const
{
    return _modifiers.groupShownFor(group, _layout.orientation());
}

void TQIconView::setGroupToShow(Group group)
{
    if (!isValidGroup(group)) {
        qCWarning(lcWindow) << "Ignoring a request to show group" << group;
        return;
    }
    if (groupToShowConsideringModifiers(group) == _groupShown) return;
    _groupToShow = group;
    _defaults.setValue(Key::GroupShownWhenWindowClosed, qint64(group));
    reset();
    sendFilterSubstringNotification();
    resizeViewForced(false);
}

void TQIconView::fetchAppsShown()
{
    _appsShownFlat.clear();
    _appsShownBunches.clear();
    _shownIsFlat = true;
    if (const AppList *flat = _catalogue.flatArrayForGroup(_groupShown)) {
        _appsShownFlat = *flat;
    } else if (const AppLists *bunches = _catalogue.bunchedArrayForGroup(_groupShown)) {
        // An array counts as flat when it is empty.
        if (!bunches->isEmpty()) {
            _appsShownBunches = *bunches;
            _shownIsFlat = false;
        }
    }
}

AppList TQIconView::appsShown1D() const
{
    if (_shownIsFlat) return _appsShownFlat;
    AppList all;
    for (const AppList &bunch : _appsShownBunches)
        all.append(bunch);
    return all;
}

GridShape TQIconView::shapeOfAppsShown() const
{
    if (_shownIsFlat) return GridShape::flatList(static_cast<std::uint64_t>(_appsShownFlat.size()));
    std::vector<std::uint64_t> sizes;
    sizes.reserve(static_cast<size_t>(_appsShownBunches.size()));
    for (const AppList &b : _appsShownBunches)
        sizes.push_back(static_cast<std::uint64_t>(b.size()));
    return GridShape::bunches(std::move(sizes));
}

void TQIconView::resizeViewForced(bool forced)
{
    selectCoords(Coords::none());
    const Group previousGroup = _groupShown;
    _groupShown = groupToShowConsideringModifiers(_groupToShow);
    fetchAppsShown();
    if (_groupShown != previousGroup) {
        update();
        Q_EMIT groupShownChanged(_groupShown);
    }
    const auto oldRows = _layout.rowCount(), oldCols = _layout.colCount();
    const auto oldBunches = _layout.bunchCount();
    const int oldCellWidth = _layout.cellWidth();
    update();

    _layout.setGroup(static_cast<int>(_groupShown));
    _layout.setShape(shapeOfAppsShown());
    _layout.setMaxViewSize(QSizeF(maxIconViewSize()));
    _layout.setFallbackSize(QSizeF(size()));
    _layout.calcRowColCount();

    const bool changed = oldRows != _layout.rowCount() || oldCols != _layout.colCount() ||
                         oldBunches != _layout.bunchCount() || oldCellWidth != _layout.cellWidth();
    if (forced || changed) {
        resize(viewSize());
        Q_EMIT subviewNeedsResizing();
    }
}

QString TQIconView::emptyGroupNote() const
{
    const std::shared_ptr<RunningApplications> running = desktop().running;
    if (_groupShown != Group::Running || !running || running->isShared()) return {};
    return tr("This desktop does not share its running applications");
}

QSize TQIconView::viewSize() const
{
    if (_layout.rowCount() == 0 || _layout.colCount() == 0) {
        const int cell = _layout.maxIconWidth() + 2 * _layout.cellPadding();
        const int cells = emptyGroupNote().isEmpty() ? 1 : 3;
        return {cells * cell + 2 * IconGridLayout::kMargin, cell + 2 * IconGridLayout::kMargin};
    }
    const QSizeF s = _layout.viewSize();
    return {static_cast<int>(std::ceil(s.width())), static_cast<int>(std::ceil(s.height()))};
}

void TQIconView::setMaxIconViewSize(QSize size)
{
    if (size == _maxIconViewSize) return;
    _maxIconViewSize = size;
    if (_groupToShow != Group::None) resizeViewForced(false);
}

QSize TQIconView::maxIconViewSize() const
{
    if (_maxIconViewSize.isValid() && !_maxIconViewSize.isEmpty()) return _maxIconViewSize;
    const QScreen *screen = this->screen() ? this->screen() : QGuiApplication::primaryScreen();
    const QSize available = screen ? screen->availableSize() : QSize(1024, 768);
    return available - QSize(96, 128);
}

void TQIconView::catalogueGroupChanged(Group group)
{
    if (group == Group::Excluded1D) rebuildExcludedSet();
    if (group == _groupShown)
        resizeViewForced(false);
    else
        update(); // exclusions, running state and favourites change how cells look
}

void TQIconView::rebuildExcludedSet()
{
    _excluded.clear();
    for (const TQAppPtr &app : _catalogue.excludedApps1D())
        _excluded.insert(app.get());
}

// --- Cells and entries ---------------------------------------------------------------------------

TQAppPtr TQIconView::appOfCell(const IconGridLayout::CellInfo &cell) const
{
    if (!cell.filled) return nullptr;
    if (_shownIsFlat) {
        return cell.index < static_cast<std::uint64_t>(_appsShownFlat.size())
                   ? _appsShownFlat[cell.index]
                   : nullptr;
    }
    if (cell.bunch >= static_cast<std::uint64_t>(_appsShownBunches.size())) return nullptr;
    const AppList &bunch = _appsShownBunches[cell.bunch];
    return cell.index < static_cast<std::uint64_t>(bunch.size()) ? bunch[cell.index] : nullptr;
}

TQAppPtr TQIconView::appAtCoords(const Coords &c) const
{
    if (!_layout.isValid(c.row, c.col)) return nullptr;
    return appOfCell(_layout.cellAt(c.row, c.col));
}

Coords TQIconView::coordsOfApp(const TQAppPtr &app) const
{
    if (!app) return Coords::none();
    for (std::uint64_t row = 0; row < _layout.rowCount(); ++row) {
        for (std::uint64_t col = 0; col < _layout.colCount(); ++col) {
            const TQAppPtr a = appOfCell(_layout.cellAt(row, col));
            if (a && a->isEqual(app.get())) return Coords::cell(row, col);
        }
    }
    return Coords::none();
}

bool TQIconView::isExcluded(const TQAppPtr &app) const
{
    return app && _excluded.contains(app.get());
}

bool TQIconView::isRunning(const TQAppPtr &app) const
{
    return app && _catalogue.isAppRunning(app);
}

// --- Selection -----------------------------------------------------------------------------------

void TQIconView::selectCoords(const Coords &c)
{
    if (c == _selectedCoords) {
        if (_oldSelectedCoords != _selectedCoords) _oldSelectedCoords = _selectedCoords;
        return;
    }
    _oldSelectedCoords = _selectedCoords;
    _selectedCoords = c;
    const Coords &o = _oldSelectedCoords;
    if (!o.sameCell(c)) {
        update(_layout.rectOfCoords(o).toAlignedRect());
        update(_layout.rectOfCoords(c).toAlignedRect());
        const TQAppPtr app = appAtCoords(c);
        if (app)
            Q_EMIT selectedAppChanged(app, rectOfApp(app));
        else
            Q_EMIT selectedAppChanged(nullptr, QRectF());
    }
    auto redraw = [this](std::uint64_t oldIndex, std::uint64_t newIndex, auto rectAt) {
        if (oldIndex == newIndex) return;
        if (oldIndex != kNotFound) update(rectAt(oldIndex).toAlignedRect());
        if (newIndex != kNotFound) update(rectAt(newIndex).toAlignedRect());
    };
    const auto &bunches = _layout.bunchRects();
    const auto &gaps = _layout.bunchSpacingRects();
    const auto &margins = _layout.marginRects();
    redraw(o.bunch, c.bunch,
           [&](std::uint64_t i) { return i < bunches.size() ? bunches[i] : QRectF(); });
    redraw(o.spacer, c.spacer,
           [&](std::uint64_t i) { return i < gaps.size() ? gaps[i] : QRectF(); });
    redraw(o.margin, c.margin,
           [&](std::uint64_t i) { return i < margins.size() ? margins[i] : QRectF(); });
}

void TQIconView::myMouseMoved(QPointF viewPos)
{
    selectCoords(_layout.coordsOfPoint(viewPos));
}

// --- Filter --------------------------------------------------------------------------------------

void TQIconView::resetFilterSubstring()
{
    _filter.clear();
    _gestures.resetVertical();
}

void TQIconView::sendFilterSubstringNotification()
{
    Q_EMIT filterStringChanged(_filter.text(), TypedFilter::kResetInterval);
}

bool TQIconView::handleCancelOperation()
{
    if (_filter.isEmpty()) return false;
    resetFilterSubstring();
    update();
    sendFilterSubstringNotification();
    return true;
}

// --- Keys ----------------------------------------------------------------------------------------

bool TQIconView::handleKeyDown(QKeyEvent *event)
{
    if (!event) return false;
    if (ModifierKeys::isModifierKey(event->key())) {
        modifierKeysChanged(ModifierKeys::afterPress(*event));
        return false;
    }
    // Ctrl keys and Escape never type into the filter.
    if (event->modifiers().testFlag(Qt::ControlModifier) || event->key() == Qt::Key_Escape)
        return performKeyEquivalent(event);

    const char32_t c = TypedFilter::characterOfKey(*event);
    const TypedFilter::KeyRole role = TypedFilter::roleOf(c);
    if (role == TypedFilter::KeyRole::None) return false;
    if (event->isAutoRepeat() && role != TypedFilter::KeyRole::Backspace)
        return true; // a held key types once

    TQAppPtr match;
    if (role == TypedFilter::KeyRole::Return)
        match = _filter.pressReturn(appsShown1D());
    else
        _filter.type(c, role);
    update();
    sendFilterSubstringNotification();
    if (match) launchApp(match);
    return true;
}

bool TQIconView::handleKeyUp(QKeyEvent *event)
{
    if (event && ModifierKeys::isModifierKey(event->key()))
        modifierKeysChanged(ModifierKeys::afterRelease(*event));
    return false;
}

bool TQIconView::performKeyEquivalent(QKeyEvent *event)
{
    if (!event) return false;
    const char32_t c = TypedFilter::characterOfKey(*event);
    if (c == 0) return false;
    if (!event->modifiers().testFlag(Qt::ControlModifier))
        return c == 27 && handleCancelOperation();
    const Group g = _groupShown;
    const bool bunched =
        g == Group::Included || g == Group::Excluded || g == Group::All || g == Group::User;
    if (bunched && (c == U'=' || c == U'-')) return changeRowOrColumnCount(c == U'=');
    if (c == U'`') {
        if (_defaults.value(Key::GroupContentsSortOrder) == 2) {
            _painter.setShowsSpectra(!_painter.showsSpectra());
            update();
        }
        return true;
    }
    if (c == U'.') return handleCancelOperation();
    return false;
}

// Ctrl-"=" and Ctrl-"-": a row more or fewer for bunches side by side, a column more or fewer for
// bunches in bands of rows; never fewer than one.
bool TQIconView::changeRowOrColumnCount(bool more)
{
    const bool byColumns = _layout.orientation() == 1;
    std::uint64_t count = byColumns ? _layout.colCount() : _layout.rowCount();
    if (more)
        ++count;
    else if (count > 1)
        --count;
    if (count == 0) return true; // nothing shown
    const auto oldRows = _layout.rowCount(), oldCols = _layout.colCount();
    if (byColumns)
        _layout.forceRowColCountForRows(0, count);
    else
        _layout.forceRowColCountForRows(count, 0);
    if (oldRows != _layout.rowCount() || oldCols != _layout.colCount())
        selectCoords(Coords::none());
    update();
    resize(viewSize());
    Q_EMIT subviewNeedsResizing();
    return true;
}

void TQIconView::modifierKeysChanged(Qt::KeyboardModifiers modifiers)
{
    _modifiers.change(modifiers);
    if (_modifiers.changeRelaysOut(_groupToShow, _drag.dropInProgress)) resizeViewForced(false);
    // During a file drop, which applications may take the files depends on Ctrl; the drag code
    // keeps that list, and the view draws from it.
    if (_modifiers.changeRedraws(_groupToShow, _drag.dropInProgress)) update();
    if (_drag.dropInProgress) followDragModifiers(modifiers);
    updateCursor();
}

void TQIconView::updateCursor()
{
    if (_modifiers.shift() && !_drag.dropInProgress && _groupShown != Group::Running)
        setCursor(Qt::ForbiddenCursor); // a Shift-click takes the icon out of the group
    else
        setCursor(Qt::ArrowCursor);
}

void TQIconView::reset()
{
    draggingReset();
    _drag = IconDragState();
    _modifiers.reset();
    resetFilterSubstring();
    selectCoords(Coords::none());
    _startCoords = Coords::none();
    _painter.setShowsSpectra(false);
}

// --- Mouse and wheel -----------------------------------------------------------------------------

void TQIconView::mouseMoveEvent(QMouseEvent *event)
{
    if (mouseDragged(event)) return;
    myMouseMoved(event->position());
    QWidget::mouseMoveEvent(event);
}

void TQIconView::leaveEvent(QEvent *event)
{
    selectCoords(Coords::none());
    QWidget::leaveEvent(event);
}

void TQIconView::mousePressEvent(QMouseEvent *event)
{
    myMouseMoved(event->position());
    if (event->button() == Qt::RightButton ||
        (event->button() == Qt::LeftButton && event->modifiers().testFlag(Qt::MetaModifier))) {
        if (selectedApp()) {
            redrawCell(_selectedCoords, true);
            const std::unique_ptr<QMenu> menu = _menu.build();
            menu->exec(event->globalPosition().toPoint());
        }
        event->ignore();
        return;
    }
    if (event->button() != Qt::LeftButton) {
        event->ignore();
        return;
    }
    _mouseDownPoint = event->position();
    if (!appAtPoint(_mouseDownPoint)) {
        event->ignore(); // the panel moves the window
        return;
    }
    redrawCell(_selectedCoords, true); // dims while the button is down
}

void TQIconView::mouseReleaseEvent(QMouseEvent *event)
{
    if (event->button() != Qt::LeftButton) {
        event->ignore();
        return;
    }
    _modifiers.read(event->modifiers());
    const TQAppPtr app = appAtPoint(_mouseDownPoint);
    _mouseDownPoint = QPointF();
    myMouseMoved(event->position());
    if (!app || appAtPoint(event->position()) != app) {
        event->ignore();
        return;
    }
    if (_modifiers.shift()) {
        _menu.takeSelectedAppOutOfGroup();
        return;
    }
    redrawCell(_selectedCoords);
    if (_modifiers.ctrl())
        _menu.showAppInFinder();
    else
        launchApp(app);
}

void TQIconView::wheelEvent(QWheelEvent *event)
{
    event->accept();
    const IconGestures::Outcome outcome =
        _gestures.wheel(event->angleDelta(), static_cast<qint64>(event->timestamp()),
                        _defaults.value(Key::ReverseScrollWheel), _filter);
    switch (outcome) {
    case IconGestures::Outcome::FilterStepped:
        update();
        sendFilterSubstringNotification();
        break;
    case IconGestures::Outcome::NextGroup:
        Q_EMIT selectNextIconGroup();
        break;
    case IconGestures::Outcome::PreviousGroup:
        Q_EMIT selectPrevIconGroup();
        break;
    case IconGestures::Outcome::None:
        break;
    }
}

// --- Launching -----------------------------------------------------------------------------------

void TQIconView::launchApp(const TQAppPtr &app, const TQApp::DroppedItems *items)
{
    if (!app) return;
    // A running application is brought to the front rather than started again (a second copy of
    // most programs is a second window, not the one the user had). This also covers stand-ins for
    // programs no entry claims, which have no file to start. Dropped items always go to a launch.
    if (!items && isRunning(app) && app->activate()) {
        qCDebug(lcWindow).noquote() << "Activated the running application" << app->path();
        Q_EMIT appLaunched(app);
        return;
    }
    if (!app->isPathValid()) {
        if (_groupShown == Group::User || _groupShown == Group::User1D)
            _catalogue.locateUserApps();
        else
            qCWarning(lcWindow).noquote() << "Invalid application path:" << app->path();
        return;
    }
    app->launchInBackground(items);
    Q_EMIT appLaunched(app);
}

std::unique_ptr<QMenu> TQIconView::contextualMenu()
{
    return _menu.build();
}

// --- Drawing -------------------------------------------------------------------------------------

void TQIconView::showProgressStep(int step, int count, const QString &label)
{
    _painter.setScanProgress(step, count, label);
    if (isVisible())
        repaint();
    else
        update();
}

void TQIconView::setNeedsDisplayForApp(const TQAppPtr &app)
{
    if (!app) return;
    const QRectF r = rectOfApp(app);
    if (!r.isEmpty()) update(r.toAlignedRect());
}

void TQIconView::redrawCell(const Coords &c, bool now)
{
    const QRect r = _layout.rectOfCoords(c).toAlignedRect();
    if (r.isEmpty()) return;
    if (now && isVisible())
        repaint(r);
    else
        update(r);
}

void TQIconView::paintEvent(QPaintEvent *event)
{
    QPainter painter(this);
    _painter.paint(painter, event->region());
}

} // namespace kelp
