// The catalogue's side of icon loading: which entries load first, the settings that feed the
// icon parameters, and the colour re-sort once a burst of icons has arrived.
#include "catalogue/TQAppManager.h"

#include "extras/Notifications.h"
#include "settings/Defaults.h"

#include <QSet>

namespace kelp {

namespace {
constexpr int kColourSortDelayMs = 1000;
} // namespace

void TQAppManager::setUpIconLoading()
{
    _sortColourTimer.setSingleShot(true);
    _sortColourTimer.setInterval(kColourSortDelayMs);
    connect(&_sortColourTimer, &QTimer::timeout, this, &TQAppManager::sortIconColorTimerFire);
    connect(&Notifications::instance(), &Notifications::appIconChanged, this,
            &TQAppManager::appIconChanged);
}

ColorSortParams TQAppManager::iconParametersFromDefaults() const
{
    return colorSortParamsFromDefaults(_defaults);
}

ColorSortParams colorSortParamsFromDefaults(const Defaults &defaults)
{
    ColorSortParams p;
    p.maximumIconSize = defaults.value(Key::MaximumIconSize);
    p.colorSortGrayThreshold = static_cast<float>(defaults.value(Key::ColorSortGrayThreshold));
    p.colorSortWrapHue = static_cast<float>(defaults.value(Key::ColorSortWrapHue));
    p.colorSortMinSaturation = static_cast<float>(defaults.value(Key::ColorSortMinSaturation));
    p.colorSortMinLuminosity = static_cast<float>(defaults.value(Key::ColorSortMinLuminosity));
    p.colorSortGraysBySecondaryColor = defaults.value(Key::ColorSortGraysBySecondaryColor);
    return p;
}

void TQAppManager::loadIconsForApps(const AppList &apps)
{
    if (apps.isEmpty()) return;
    const ColorSortParams params = iconParametersFromDefaults();
    for (const TQAppPtr &app : apps)
        app->setIconParameters(params);
}

void TQAppManager::loadIconsForApps(const AppLists &apps)
{
    for (const AppList &inner : apps)
        loadIconsForApps(inner);
}

void TQAppManager::loadAllIconsPrioritizingGroup(Group group)
{
    const AppList *first = &_groups.included1D;
    if (flatForm(group) == Group::Excluded1D)
        first = &_groups.excluded1D;
    else if (flatForm(group) == Group::All1D)
        first = &_groups.all1D;
    else if (flatForm(group) == Group::User1D)
        first = &_groups.user1D;
    // Copies: loading may announce changes whose receivers edit the groups.
    const AppList priority = *first;
    loadIconsForApps(priority);

    QSet<const TQApp *> done;
    done.reserve(priority.size());
    for (const TQAppPtr &app : priority)
        done.insert(app.get());
    AppList rest;
    for (const TQAppPtr &app : std::as_const(_everything)) {
        if (!done.contains(app.get())) rest.append(app);
    }
    loadIconsForApps(rest);
}

void TQAppManager::clearIconsForAllApps()
{
    const AppList all = _groups.all1D;
    for (const TQAppPtr &app : all)
        app->resetIconToDot();
    loadIconsForApps(all);
}

void TQAppManager::appIconChanged(const TQAppPtr &app)
{
    _sortColourTimer.stop();
    if (app) _sortColourTimer.start();
}

void TQAppManager::sortIconColorTimerFire()
{
    _sortColourTimer.stop();
    if (_defaults.value(Key::GroupContentsSortOrder) == 2) sortAllArrays();
}

void TQAppManager::colourSettingChanged(const QVariant &oldValue, const QVariant &newValue)
{
    // Compared as the floats the icon parameters hold: a change below their precision is none.
    if (static_cast<float>(oldValue.toDouble()) == static_cast<float>(newValue.toDouble())) return;
    loadIconsForApps(_groups.all1D);
}

} // namespace kelp
