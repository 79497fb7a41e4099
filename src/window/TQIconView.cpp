#include "window/TQIconView.h"

#include "catalogue/TQAppManager.h"
#include "extras/Logging.h"
#include "extras/Notifications.h"
#include "settings/Defaults.h"

#include <QApplication>
#include <QCoreApplication>
#include <QGuiApplication>
#include <QMenu>
#include <QMessageBox>
#include <QMouseEvent>
#include <QPaintEvent>
#include <QPainter>
#include <QPainterPath>
#include <QPropertyAnimation>
#include <QScreen>
#include <QStandardPaths>
#include <QWheelEvent>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <numbers>

namespace kelp {

namespace {

constexpr double kFilterResetInterval = 1.0;
constexpr double kSwipeGap = 0.15;       // seconds between wheel events that end a gesture
constexpr double kSwipeThreshold = 10.0; // sideways wheel distance that switches a group
constexpr double kWheelNotch = 120.0;    // Qt's angle delta of one wheel step

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

// The key's character with the modifiers ignored, as the filter and the Ctrl keys see it:
// 13 Return, 3 Enter, 127 Backspace, 27 Escape; 0 when the key has no single character.
char32_t keyCharacter(const QKeyEvent *event)
{
    const int key = event->key();
    if (key >= Qt::Key_A && key <= Qt::Key_Z) return U'a' + static_cast<char32_t>(key - Qt::Key_A);
    if (key >= Qt::Key_0 && key <= Qt::Key_9) return U'0' + static_cast<char32_t>(key - Qt::Key_0);
    switch (key) {
    case Qt::Key_Return:
        return 13;
    case Qt::Key_Enter:
        return 3;
    case Qt::Key_Backspace:
        return 127;
    case Qt::Key_Escape:
        return 27;
    case Qt::Key_Space:
        return U' ';
    case Qt::Key_Equal:
        return U'=';
    case Qt::Key_Plus:
        return U'='; // Ctrl-"+" where "=" and "+" share a key
    case Qt::Key_Minus:
        return U'-';
    case Qt::Key_QuoteLeft:
        return U'`';
    case Qt::Key_Period:
        return U'.';
    default:
        break;
    }
    const QList<uint> text = event->text().toUcs4();
    if (text.size() == 1 && text.front() >= 0x20 && text.front() != 0x7f) return text.front();
    return 0;
}

bool isModifierKey(int key)
{
    return key == Qt::Key_Shift || key == Qt::Key_Control || key == Qt::Key_Alt ||
           key == Qt::Key_Meta || key == Qt::Key_Super_L || key == Qt::Key_Super_R ||
           key == Qt::Key_AltGr;
}

Qt::KeyboardModifier modifierOfKey(int key)
{
    switch (key) {
    case Qt::Key_Shift:
        return Qt::ShiftModifier;
    case Qt::Key_Control:
        return Qt::ControlModifier;
    case Qt::Key_Alt:
        return Qt::AltModifier;
    case Qt::Key_Meta:
    case Qt::Key_Super_L:
    case Qt::Key_Super_R:
        return Qt::MetaModifier;
    default:
        return Qt::NoModifier;
    }
}

// A triangle along one edge of r: 0 the bottom edge, 1 the top, 2 the right, 3 the left, its tip
// pointing into the rectangle.
QPainterPath triangleInRect(const QRectF &r, int edge)
{
    QPainterPath path;
    switch (edge) {
    case 0:
        path.moveTo(r.left(), r.bottom());
        path.lineTo(r.right(), r.bottom());
        path.lineTo(r.center().x(), r.top());
        break;
    case 1:
        path.moveTo(r.left(), r.top());
        path.lineTo(r.right(), r.top());
        path.lineTo(r.center().x(), r.bottom());
        break;
    case 2:
        path.moveTo(r.right(), r.top());
        path.lineTo(r.right(), r.bottom());
        path.lineTo(r.left(), r.center().y());
        break;
    default:
        path.moveTo(r.left(), r.top());
        path.lineTo(r.left(), r.bottom());
        path.lineTo(r.right(), r.center().y());
        break;
    }
    path.closeSubpath();
    return path;
}

// Wheel gestures are followed across all icon views of the process.
struct SwipeState
{
    double lastTime = 0;     // seconds, of the last sideways event
    double meanInterval = 0; // between the events of the current gesture
    int eventCount = 0;
    bool switched = false;
};
SwipeState &swipeState()
{
    static SwipeState state;
    return state;
}

} // namespace

TQIconView::TQIconView(TQAppManager &catalogue, Defaults &defaults, QWidget *parent)
    : QWidget(parent), _catalogue(catalogue), _defaults(defaults)
{
    setFocusPolicy(Qt::NoFocus);
    setMouseTracking(true);
    setAttribute(Qt::WA_OpaquePaintEvent, false);
    _filterTimer.setSingleShot(true);
    connect(&_filterTimer, &QTimer::timeout, this, &TQIconView::cancelFilterSubstringTimer);

    connect(&_catalogue, &TQAppManager::progressStep, this, &TQIconView::showProgressStep);
    connect(&_catalogue, &TQAppManager::groupChanged, this, &TQIconView::catalogueGroupChanged);
    connect(
        &_defaults, &Defaults::changed, this,
        [this](const QString &key, const QVariant &, const QVariant &) { defaultsChanged(key); });
    connect(&Notifications::instance(), &Notifications::appIconChanged, this,
            [this](const std::shared_ptr<TQApp> &app) { setNeedsDisplayForApp(app); });

    rebuildExcludedSet();
    resetModifiers();
    updateColors();
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

void TQIconView::updateColors()
{
    _colours = PanelColours::fromDefaults(_defaults);
    update();
}

void TQIconView::defaultsChanged(const QString &key)
{
    if (isLayoutKey(key))
        updateLayout();
    else if (PanelColours::dependsOn(key))
        updateColors();
}

// --- Group and layout ----------------------------------------------------------------------------

Group TQIconView::groupToShowConsideringModifiers(Group group) const
{
    if (_optionKeyDown) {
        if (group == Group::Included)
            group = Group::All;
        else if (group == Group::Included1D)
            group = Group::All1D;
    }
    if (_layout.orientation() == 0) {
        switch (group) {
        case Group::Included:
            return Group::Included1D;
        case Group::All:
            return Group::All1D;
        case Group::Excluded:
            return Group::Excluded1D;
        case Group::User:
            return Group::User1D;
        default:
            break;
        }
    }
    return group;
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

QSize TQIconView::viewSize() const
{
    if (_layout.rowCount() == 0 || _layout.colCount() == 0) {
        const int cell = _layout.maxIconWidth() + 2 * _layout.cellPadding();
        return {cell + 2 * IconGridLayout::kMargin, cell + 2 * IconGridLayout::kMargin};
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

bool TQIconView::isAppKeyFilteredOut(const TQAppPtr &app) const
{
    if (!app || _filterSubstring.isEmpty()) return false;
    if (_filterSubstring.size() == 1) {
        const QByteArray utf8 = _filterSubstring.toUtf8();
        return !app->containsLetter(utf8.front());
    }
    return !app->name().contains(_filterSubstring, Qt::CaseInsensitive);
}

AppList TQIconView::keyFilteredApps1D() const
{
    AppList result;
    auto consider = [&](const AppList &apps) {
        for (const TQAppPtr &app : apps)
            if (!isAppKeyFilteredOut(app)) result.append(app);
    };
    if (_shownIsFlat)
        consider(_appsShownFlat);
    else
        for (const AppList &bunch : _appsShownBunches)
            consider(bunch);
    return result;
}

void TQIconView::resetFilterSubstring()
{
    _filterSubstring.clear();
    _scrollAccumulatorY = 0;
}

void TQIconView::startFilterSubstringTimer(double seconds)
{
    _filterTimer.start(static_cast<int>(seconds * 1000));
}

void TQIconView::cancelFilterSubstringTimer()
{
    _filterTimer.stop();
}

void TQIconView::sendFilterSubstringNotification()
{
    Q_EMIT filterStringChanged(_filterSubstring, kFilterResetInterval);
}

bool TQIconView::handleCancelOperation()
{
    if (_filterSubstring.isEmpty()) return false;
    resetFilterSubstring();
    update();
    sendFilterSubstringNotification();
    return true;
}

// --- Keys ----------------------------------------------------------------------------------------

bool TQIconView::handleKeyDown(QKeyEvent *event)
{
    if (!event) return false;
    if (isModifierKey(event->key())) {
        modifierKeysChanged(event->modifiers() | modifierOfKey(event->key()));
        return false;
    }
    // Ctrl (Command) keys and Escape never type into the filter.
    if (event->modifiers().testFlag(Qt::ControlModifier) || event->key() == Qt::Key_Escape)
        return performKeyEquivalent(event);

    const char32_t c = keyCharacter(event);
    if (c == 0) return false;
    const bool isReturn = c == 13 || c == 3;
    const bool isDelete = c == 127;
    const bool isLetterOrDigit =
        c < 128 && (std::isalpha(static_cast<int>(c)) || std::isdigit(static_cast<int>(c)));
    const bool isSpace = c == U' ';
    if (!isReturn && !isDelete && !isLetterOrDigit && !isSpace) return false;
    if (event->isAutoRepeat() && !isDelete) return true; // a held key types once

    AppList matches;
    if (isReturn) matches = keyFilteredApps1D();
    if (!_filterTimer.isActive()) _filterSubstring.clear(); // a new word begins

    if (isReturn) {
        if (matches.size() == 1) _filterSubstring.clear();
    } else if (isDelete) {
        _filterSubstring.chop(1);
    } else if (isLetterOrDigit) {
        _filterSubstring.append(QChar(static_cast<char16_t>(std::tolower(static_cast<int>(c)))));
    } else if (!_filterSubstring.isEmpty() && !_filterSubstring.endsWith(u' ')) {
        _filterSubstring.append(u' ');
    }
    startFilterSubstringTimer(kFilterResetInterval);
    update();
    sendFilterSubstringNotification();
    if (matches.size() == 1) launchApp(matches.front());
    return true;
}

bool TQIconView::handleKeyUp(QKeyEvent *event)
{
    if (event && isModifierKey(event->key()))
        modifierKeysChanged(event->modifiers() & ~modifierOfKey(event->key()));
    return false;
}

bool TQIconView::performKeyEquivalent(QKeyEvent *event)
{
    if (!event) return false;
    const char32_t c = keyCharacter(event);
    if (c == 0) return false;
    const bool command = event->modifiers().testFlag(Qt::ControlModifier);
    if (command) {
        const Group g = _groupShown;
        const bool bunched =
            g == Group::Included || g == Group::Excluded || g == Group::All || g == Group::User;
        if (bunched && (c == U'=' || c == U'-')) {
            const bool byColumns = _layout.orientation() == 1;
            std::uint64_t count = byColumns ? _layout.colCount() : _layout.rowCount();
            if (c == U'=')
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
        if (c == U'`') {
            if (_defaults.value(Key::GroupContentsSortOrder) == 2) {
                _showIconSpectrums = !_showIconSpectrums;
                update();
            }
            return true;
        }
        if (c == U'.') return handleCancelOperation();
        return false;
    }
    if (c == 27) return handleCancelOperation();
    return false;
}

// --- Modifier keys -------------------------------------------------------------------------------

void TQIconView::readModifierKeys(Qt::KeyboardModifiers m)
{
    _shiftKeyDown = m.testFlag(Qt::ShiftModifier);
    _controlKeyDown = m.testFlag(Qt::MetaModifier);
    _optionKeyDown = m.testFlag(Qt::AltModifier);
    _commandKeyDown = m.testFlag(Qt::ControlModifier);
    _functionKeyDown = false; // no such key on PC keyboards
}

void TQIconView::resetModifiers()
{
    _shiftKeyDown = _controlKeyDown = _optionKeyDown = _commandKeyDown = _functionKeyDown = false;
    _oldShiftKeyDown = _oldControlKeyDown = _oldOptionKeyDown = _oldCommandKeyDown =
        _oldFunctionKeyDown = false;
}

void TQIconView::modifierKeysChanged(Qt::KeyboardModifiers modifiers)
{
    _oldShiftKeyDown = _shiftKeyDown;
    _oldControlKeyDown = _controlKeyDown;
    _oldOptionKeyDown = _optionKeyDown;
    _oldCommandKeyDown = _commandKeyDown;
    _oldFunctionKeyDown = _functionKeyDown;
    readModifierKeys(modifiers);

    const bool optionChanged = _optionKeyDown != _oldOptionKeyDown;
    const bool shiftReleased = _oldShiftKeyDown && !_shiftKeyDown;
    if ((optionChanged && (_groupToShow == Group::Included || _groupToShow == Group::Included1D)) ||
        (!_drag.dropInProgress && shiftReleased)) {
        resizeViewForced(false);
    }
    if (_drag.dropInProgress) {
        // Which applications may take the dragged files depends on Ctrl; the drag code keeps
        // that list, and the view draws from it.
        if (_commandKeyDown != _oldCommandKeyDown) update();
    } else if (_functionKeyDown != _oldFunctionKeyDown && _groupToShow != Group::Running) {
        update();
    }
    updateCursor();
}

void TQIconView::updateCursor()
{
    if (_shiftKeyDown && !_drag.dropInProgress && _groupShown != Group::Running)
        setCursor(Qt::ForbiddenCursor); // a Shift-click takes the icon out of the group
    else
        setCursor(Qt::ArrowCursor);
}

void TQIconView::reset()
{
    _drag = DragState();
    resetModifiers();
    resetFilterSubstring();
    selectCoords(Coords::none());
    _startCoords = Coords::none();
    _showIconSpectrums = false;
}

void TQIconView::setDragState(const DragState &state)
{
    _drag = state;
    update();
}

// --- Mouse ---------------------------------------------------------------------------------------

void TQIconView::mouseMoveEvent(QMouseEvent *event)
{
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
        rightMouseDown(event);
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
    readModifierKeys(event->modifiers());
    const TQAppPtr app = appAtPoint(_mouseDownPoint);
    _mouseDownPoint = QPointF();
    myMouseMoved(event->position());
    if (!app || appAtPoint(event->position()) != app) {
        event->ignore();
        return;
    }
    if (_shiftKeyDown) {
        if (_groupShown == Group::User || _groupShown == Group::User1D)
            removeSelectedAppFromUser();
        else if (_groupShown == Group::Running)
            redrawCell(_selectedCoords);
        else if (isExcluded(app))
            includeSelectedApp();
        else
            excludeSelectedApp();
        return;
    }
    redrawCell(_selectedCoords);
    if (_commandKeyDown)
        showAppInFinder();
    else
        launchApp(app);
}

void TQIconView::rightMouseDown(QMouseEvent *event)
{
    if (selectedApp()) {
        redrawCell(_selectedCoords, true);
        std::unique_ptr<QMenu> menu = contextualMenu();
        menu->exec(event->globalPosition().toPoint());
    }
    event->ignore();
}

// --- Wheel ---------------------------------------------------------------------------------------

void TQIconView::wheelEvent(QWheelEvent *event)
{
    const double dx = event->angleDelta().x() / kWheelNotch;
    const double dy = event->angleDelta().y() / kWheelNotch;
    event->accept();
    if (std::abs(dx) < 0.0001 && std::abs(dy) < 0.0001) return;
    const bool sideways = std::abs(dx) > std::abs(dy);
    if (_filterSubstring.size() >= 2) {
        _scrollAccumulatorX = _scrollAccumulatorY = 0;
        if (_filterTimer.isActive()) return; // still typing a word
        resetFilterSubstring();
    } else if (_filterSubstring.size() == 1 && sideways && _filterTimer.isActive()) {
        _scrollAccumulatorX = 0;
        return;
    }
    if (sideways)
        scrollHorizontally(dx, static_cast<qint64>(event->timestamp()));
    else
        scrollVertically(dy);
}

void TQIconView::scrollVertically(double dy)
{
    if (_scrollAccumulatorY != 0 && (dy > 0) != (_scrollAccumulatorY > 0)) {
        _scrollAccumulatorY = 0; // the wheel turned the other way
        return;
    }
    _scrollAccumulatorY += dy;
    if (std::abs(_scrollAccumulatorY) < 1.0) return;
    bool up = _scrollAccumulatorY > 0;
    _scrollAccumulatorY = 0;
    if (_defaults.value(Key::ReverseScrollWheel)) up = !up;

    if (_filterSubstring.isEmpty()) {
        _filterSubstring = up ? QStringLiteral("z") : QStringLiteral("a");
    } else if (_filterSubstring.size() == 1) {
        const char16_t letter = _filterSubstring.front().unicode();
        const char16_t next = up ? letter - 1 : letter + 1;
        if (next >= u'a' && next <= u'z')
            _filterSubstring = QString(QChar(next));
        else
            _filterSubstring.clear();
    }
    cancelFilterSubstringTimer(); // the letter stays until the next key starts a new word
    update();
    sendFilterSubstringNotification();
}

void TQIconView::scrollHorizontally(double dx, qint64 timestampMs)
{
    SwipeState &s = swipeState();
    const double now = static_cast<double>(timestampMs) / 1000.0;
    const double dt = now - s.lastTime;
    s.lastTime = now;
    if ((s.meanInterval > 0 && dt > kSwipeGap) || s.eventCount == 0) {
        // A new gesture; its first event only starts it.
        s.eventCount = 1;
        _scrollAccumulatorX = 0;
        s.meanInterval = 0;
        s.switched = false;
        return;
    }
    if (s.switched) return; // one gesture switches one group
    ++s.eventCount;
    s.meanInterval += (dt - s.meanInterval) / (s.eventCount - 1);
    if (_scrollAccumulatorX != 0 && (dx > 0) != (_scrollAccumulatorX > 0)) {
        _scrollAccumulatorX = 0;
        s.eventCount = 0;
        return;
    }
    _scrollAccumulatorX += dx;
    if (_scrollAccumulatorX > kSwipeThreshold) {
        Q_EMIT selectNextIconGroup();
    } else if (_scrollAccumulatorX < -kSwipeThreshold) {
        Q_EMIT selectPrevIconGroup();
    } else {
        return;
    }
    _scrollAccumulatorX = 0;
    s.switched = true;
}

// --- Launching and actions -----------------------------------------------------------------------

void TQIconView::launchApp(const TQAppPtr &app, const TQApp::DroppedItems *items)
{
    if (!app) return;
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
    auto menu = std::make_unique<QMenu>(tr("Contextual Menu"), this);
    const TQAppPtr app = selectedApp();
    if (!app) {
        menu->addAction(tr("Hide Group"), this, &TQIconView::updateCursor);
        return menu;
    }
    const Group g = _groupShown;
    if (g == Group::User || g == Group::User1D) {
        menu->addAction(tr("Move to New Group"), this, &TQIconView::addSelectedAppToUserNewGroup);
        menu->addAction(tr("Remove Favorite"), this, &TQIconView::removeSelectedAppFromUser);
    } else {
        if (isExcluded(app))
            menu->addAction(tr("Include"), this, &TQIconView::includeSelectedApp);
        else
            menu->addAction(tr("Exclude"), this, &TQIconView::excludeSelectedApp);
        const AppList &favourites = _catalogue.userApps1D();
        const bool isFavourite =
            std::any_of(favourites.begin(), favourites.end(),
                        [&](const TQAppPtr &a) { return a->isEqual(app.get()); });
        if (!isFavourite) {
            menu->addSeparator();
            menu->addAction(tr("Add Favorite"), this, &TQIconView::addSelectedAppToUser);
            menu->addAction(tr("Add Favorite in New Group"), this,
                            &TQIconView::addSelectedAppToUserNewGroup);
        }
    }
    menu->addSeparator();
    menu->addAction(tr("Show in File Manager"), this, &TQIconView::showAppInFinder);
    const QString remover = _defaults.value(Key::AppRemoverName);
    if (!remover.isEmpty() && g != Group::Running) {
        menu->addSeparator();
        menu->addAction(tr("Send to %1").arg(remover), this, &TQIconView::sendAppForDeletion);
    }
    if (isRunning(app)) {
        menu->addSeparator();
        if (app->isVisible())
            menu->addAction(tr("Hide"), this, &TQIconView::hideSelectedApp);
        else
            menu->addAction(tr("Show"), this, &TQIconView::showSelectedApp);
        menu->addAction(tr("Quit"), this, &TQIconView::quitSelectedApp);
    }
    return menu;
}

void TQIconView::includeSelectedApp()
{
    const Coords at = _selectedCoords;
    const TQAppPtr app = appAtCoords(at);
    if (!app || !isExcluded(app)) return;
    if (_groupShown == Group::Excluded || _groupShown == Group::Excluded1D) showPoof();
    _catalogue.includeApp(app);
    redrawCell(at);
}

void TQIconView::excludeSelectedApp()
{
    const Coords at = _selectedCoords;
    const TQAppPtr app = appAtCoords(at);
    if (!app || isExcluded(app)) return;
    if (_groupShown != Group::Excluded && _groupShown != Group::Excluded1D) showPoof();
    _catalogue.excludeApp(app);
    redrawCell(at);
}

void TQIconView::addSelectedAppToUser()
{
    if (const TQAppPtr app = selectedApp())
        _catalogue.moveApp(app, Group::User, 0, TQAppManager::kAtEnd);
}

void TQIconView::addSelectedAppToUserNewGroup()
{
    if (const TQAppPtr app = selectedApp())
        _catalogue.moveApp(app, Group::User, TQAppManager::kAtEnd, 0);
}

void TQIconView::removeSelectedAppFromUser()
{
    const Coords at = _selectedCoords;
    if (const TQAppPtr app = appAtCoords(at)) {
        _catalogue.removeAppsFromUserApps({app});
        redrawCell(at);
    }
}

void TQIconView::showAppInFinder()
{
    if (const TQAppPtr app = selectedApp()) app->revealInFinder();
}

void TQIconView::sendAppForDeletion()
{
    const TQAppPtr app = selectedApp();
    if (!app) return;
    const QString removerId = _defaults.value(Key::AppRemoverBundleIdentifier);
    const QString removerName = _defaults.value(Key::AppRemoverName);
    QString desktopFile = removerId;
    if (!desktopFile.isEmpty() && !desktopFile.endsWith(QLatin1String(".desktop")))
        desktopFile += QLatin1String(".desktop");
    const bool installed =
        !desktopFile.isEmpty() &&
        !QStandardPaths::locate(QStandardPaths::ApplicationsLocation, desktopFile).isEmpty();
    if (!installed) {
        showAlert(tr("Cannot locate the app remover called \"%1\".").arg(removerName),
                  tr("Please open %1's preferences and choose a different app remover.")
                      .arg(QCoreApplication::applicationName()));
        return;
    }
    if (!app->sendForDeletionWithAppBundleIdentifier(removerId)) {
        showAlert(tr("Sending \"%1\" to the app remover \"%2\" was not successful.")
                      .arg(app->name(), removerName),
                  QString());
    }
}

void TQIconView::showSelectedApp()
{
    if (const TQAppPtr app = selectedApp()) app->show();
}

void TQIconView::hideSelectedApp()
{
    if (const TQAppPtr app = selectedApp()) app->hide();
}

void TQIconView::quitSelectedApp()
{
    if (const TQAppPtr app = selectedApp()) _catalogue.quitApp(app);
}

void TQIconView::showAlert(const QString &title, const QString &message)
{
    auto *box =
        new QMessageBox(QMessageBox::Warning, title, title, QMessageBox::NoButton, window());
    box->setInformativeText(message);
    box->addButton(tr("Ok"), QMessageBox::AcceptRole);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setObjectName(QStringLiteral("kelpAlert"));
    box->open();
}

void TQIconView::showPoof()
{
    // A small puff where the icon was: a circle that grows and fades, on a window of its own so
    // that it outlives the panel hiding.
    QPoint at = QCursor::pos();
    if (!underMouse()) at = mapToGlobal(_layout.rectOfCoords(_selectedCoords).center().toPoint());
    class Poof : public QWidget
    {
    public:
        Poof() : QWidget(nullptr, Qt::ToolTip | Qt::FramelessWindowHint)
        {
            setAttribute(Qt::WA_TranslucentBackground);
            setAttribute(Qt::WA_TransparentForMouseEvents);
            setAttribute(Qt::WA_ShowWithoutActivating);
            setAttribute(Qt::WA_DeleteOnClose);
            resize(48, 48);
            _clock.start();
            auto *timer = new QTimer(this);
            connect(timer, &QTimer::timeout, this, [this] {
                if (_clock.elapsed() >= 250)
                    close();
                else
                    update();
            });
            timer->start(16);
        }

    protected:
        void paintEvent(QPaintEvent *) override
        {
            const qreal progress = std::min<qreal>(1.0, _clock.elapsed() / 250.0);
            QPainter p(this);
            p.setRenderHint(QPainter::Antialiasing);
            p.setOpacity(1.0 - progress);
            p.setPen(Qt::NoPen);
            p.setBrush(QColor(235, 235, 235));
            const qreal r = 8 + 14 * progress;
            for (int i = 0; i < 5; ++i) {
                const qreal angle = i * 2 * std::numbers::pi / 5;
                p.drawEllipse(
                    QPointF(24 + std::cos(angle) * r * 0.6, 24 + std::sin(angle) * r * 0.6),
                    r * 0.45, r * 0.45);
            }
        }

    private:
        QElapsedTimer _clock;
    };
    auto *poof = new Poof;
    poof->move(at - QPoint(24, 24));
    poof->show();
}

// --- Scan progress -------------------------------------------------------------------------------

void TQIconView::showProgressStep(int step, int count, const QString &label)
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
    if (isVisible())
        repaint();
    else
        update();
}

// --- Drawing -------------------------------------------------------------------------------------

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

bool TQIconView::isOpaque(std::uint64_t row, std::uint64_t col) const
{
    const TQAppPtr app = appAtCoords(Coords::cell(row, col));
    if (!app) return true;
    if (isAppKeyFilteredOut(app)) return false;
    if (_drag.dropInProgress) {
        if (!_drag.droppableApps.contains(app.get())) return false;
    } else if (_drag.moveInProgress) {
        if (_drag.payloadApp && _drag.payloadApp->isEqual(app.get())) return false;
    } else if (_selectedCoords.row == row && _selectedCoords.col == col &&
               (QGuiApplication::mouseButtons() & (Qt::LeftButton | Qt::RightButton))) {
        return false; // a pressed icon
    }
    switch (_groupShown) {
    case Group::Included:
    case Group::Included1D:
    case Group::All:
    case Group::All1D:
        if (isExcluded(app)) return false;
        break;
    case Group::Excluded:
    case Group::Excluded1D:
        if (!isExcluded(app)) return false;
        break;
    default:
        break;
    }
    if (_functionKeyDown && _groupShown != Group::Running && !isRunning(app)) return false;
    return true;
}

bool TQIconView::isHighlighted(std::uint64_t row, std::uint64_t col) const
{
    const TQAppPtr app = appAtCoords(Coords::cell(row, col));
    if (!app) return false;
    if (_groupShown != Group::Running && !_functionKeyDown && isRunning(app)) return true;
    if (!_drag.dropInProgress) return false;
    const TQAppPtr selected = selectedApp();
    return selected == app && _drag.droppableApps.contains(app.get());
}

bool TQIconView::isDecorated(std::uint64_t row, std::uint64_t col) const
{
    if (!_drag.moveInProgress || (_groupShown != Group::User && _groupShown != Group::User1D))
        return false;
    if (_selectedCoords.row != row || _selectedCoords.col != col) return false;
    const TQAppPtr app = appAtCoords(Coords::cell(row, col));
    if (!app) return true;
    return _drag.payloadApp && !_drag.payloadApp->isEqual(app.get());
}

void TQIconView::paintEvent(QPaintEvent *event)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::SmoothPixmapTransform, _smoothImages);
    painter.setRenderHint(QPainter::Antialiasing, true);

    QColor tint = _colours.window;
    tint.setAlphaF(static_cast<float>(_colours.alpha * 0.3));
    painter.fillRect(rect(), tint);

    if (_isBusyScanning) {
        QFont small = font();
        small.setPointSizeF(std::max(7.0, small.pointSizeF() * 0.85));
        painter.setFont(small);
        painter.setPen(_colours.text);
        const QFontMetricsF fm(small);
        // Baselines at half the height and 16 points below it.
        const double h = height();
        const double base = h - std::floor(h / 2);
        painter.drawText(QPointF((width() - fm.horizontalAdvance(_scanningStep)) / 2, base),
                         _scanningStep);
        if (!_scanningLabel.isEmpty()) {
            painter.drawText(
                QPointF((width() - fm.horizontalAdvance(_scanningLabel)) / 2, base + 16),
                _scanningLabel);
        }
        return;
    }

    const std::uint64_t rows = _layout.rowCount(), cols = _layout.colCount();
    const bool hasApps = _shownIsFlat ? !_appsShownFlat.isEmpty() : !_appsShownBunches.isEmpty();
    if (hasApps) {
        const QRectF bounds = rect();
        const QRegion &region = event->region();
        auto needsToDraw = [&](const QRectF &r) {
            return r.intersects(bounds) && region.intersects(r.toAlignedRect());
        };
        const bool byRows = _shownIsFlat || _layout.orientation() == 1;
        const std::uint64_t outer = byRows ? rows : cols, inner = byRows ? cols : rows;
        for (std::uint64_t o = 0; o < outer; ++o) {
            for (std::uint64_t i = 0; i < inner; ++i) {
                const std::uint64_t row = byRows ? o : i, col = byRows ? i : o;
                if (needsToDraw(_layout.cellAt(row, col).rect)) drawCell(painter, row, col);
            }
        }
    }
    if (!_shownIsFlat && _layout.bunchCount() >= 1) {
        drawBunchSeparators(painter);
        drawBunchEndMarker(painter);
    }
}

void TQIconView::drawCell(QPainter &painter, std::uint64_t row, std::uint64_t col)
{
    const IconGridLayout::CellInfo &info = _layout.cellAt(row, col);
    const TQAppPtr app = appOfCell(info);
    const double alpha = isOpaque(row, col) ? 1.0 : _colours.excludedIconAlpha;
    QColor k = (app && isRunning(app)) ? _colours.highlight : _colours.text;
    k.setAlphaF(static_cast<float>(alpha));

    const double pad = _layout.cellPaddingForIconWidth(_layout.iconWidth());
    QRectF c = info.rect;
    QRectF icon = c.adjusted(pad, pad, -pad, -pad);
    const double t = std::floor(icon.width() / 5.0);

    const bool decorated = isDecorated(row, col);
    int markerEdge = 1;
    QRectF marker;
    if (decorated) {
        const int direction = _layout.orientation() != 0 ? _layout.orientation()
                                                         : _layout.settings().iconReadingOrder;
        if (direction == 1) {
            // Along the left edge; the icon moves right.
            marker = QRectF(std::trunc(c.x()), std::trunc(c.y() + t * 0.5), std::trunc(pad + t),
                            std::trunc(c.height() - t));
            c.adjust(t, 0, 0, 0);
            icon.adjust(t, 0, 0, 0);
            markerEdge = 3;
        } else {
            // Along the top edge; the icon keeps its bottom edge.
            marker = QRectF(std::trunc(c.x() + t * 0.5), std::trunc(c.y()),
                            std::trunc(c.width() - t), std::trunc(pad + t));
            c.adjust(0, t, 0, 0);
            icon.adjust(0, t, 0, 0);
            markerEdge = 1;
        }
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
    if (decorated) {
        QColor m = _colours.text;
        m.setAlphaF(static_cast<float>(alpha));
        painter.fillPath(triangleInRect(marker, markerEdge), m);
    }
    if (!app) return;
    const QImage image = _showIconSpectrums ? app->spectrumIcon() : app->displayIcon();
    if (image.isNull()) return;
    painter.save();
    painter.setOpacity(alpha);
    painter.drawImage(icon, image);
    painter.restore();
}

void TQIconView::drawBunchSeparators(QPainter &painter)
{
    QColor colour = _colours.text;
    colour.setAlphaF(_colours.isClear() ? 0.0f : static_cast<float>(_colours.alpha * 0.5));
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing, false);
    painter.setPen(QPen(colour, 1.0, Qt::SolidLine, Qt::FlatCap));
    const bool rearranging =
        _drag.moveInProgress && (_groupShown == Group::User || _groupShown == Group::User1D);
    const auto &gaps = _layout.bunchSpacingRects();
    const std::uint64_t last = _layout.bunchCount();
    const double m = IconGridLayout::kMargin;
    const bool horizontal = _layout.orientation() == 1;
    // Lines sit on half coordinates so that a one-pixel line covers whole pixels. The rules are
    // those of a bottom-up view, mirrored: the "low" edge of a horizontal gap is its bottom.
    for (std::uint64_t g = 0; g <= last && g < gaps.size(); ++g) {
        const QRectF r = gaps[g];
        std::vector<double> lines;
        const bool target = rearranging && _selectedCoords.spacer == g;
        if (horizontal) {
            const double low = std::floor(r.bottom()) - 0.5, high = std::floor(r.top()) + 0.5;
            if (target) {
                if (g == 0)
                    lines = {low};
                else if (g < last)
                    lines = {low, high};
                else
                    lines = {high};
            } else if (g > 0 && g < last) {
                lines = {std::ceil(r.top() + r.height() * 0.5) - 0.5};
            }
            for (double y : lines)
                painter.drawLine(QPointF(m, y), QPointF(r.width() - m, y));
        } else {
            const double left = std::floor(r.left()) + 0.5, right = std::floor(r.right()) - 0.5;
            if (target) {
                if (g == 0)
                    lines = {right};
                else if (g < last)
                    lines = {left, right};
                else
                    lines = {left};
            } else if (g > 0 && g < last) {
                lines = {std::floor(r.left() + r.width() * 0.5) + 0.5};
            }
            for (double x : lines)
                painter.drawLine(QPointF(x, m), QPointF(x, r.height() - m));
        }
    }
    painter.restore();
}

void TQIconView::drawBunchEndMarker(QPainter &painter)
{
    const bool rearranging =
        _drag.moveInProgress && (_groupShown == Group::User || _groupShown == Group::User1D);
    const Coords &c = _selectedCoords;
    if (!rearranging || c.bunch == kNotFound || c.margin == kNotFound) return;
    const auto &bunches = _layout.bunchRects();
    if (c.bunch >= bunches.size() || c.margin > 3) return;
    int edge = -1;
    if (_layout.orientation() == 1) {
        if (c.margin == 3)
            edge = 3;
        else if (c.margin == 1)
            edge = 2;
    } else {
        if (c.margin == 2)
            edge = 0;
        else if (c.margin == 0)
            edge = 1;
    }
    if (edge < 0) return;
    const QRectF area = bunches[c.bunch].intersected(_layout.marginRects()[c.margin]);
    if (!area.isEmpty()) painter.fillPath(triangleInRect(area, edge), _colours.text);
}

} // namespace kelp
