#include "control/IconThemeFollower.h"

#include "catalogue/IconLoader.h"
#include "catalogue/TQAppManager.h"
#include "desktop/IconThemes.h"
#include "extras/Logging.h"
#include "settings/Defaults.h"

#include <utility>

namespace kelp {

IconThemeFollower::IconThemeFollower(TQAppManager &catalogue, Defaults &defaults,
                                     std::shared_ptr<IconThemes> themes, QObject *parent)
    : QObject(parent), _catalogue(catalogue), _defaults(defaults), _themes(std::move(themes))
{
    if (!_themes) return;
    connect(&_defaults, &Defaults::changed, this, [this](const QString &key) {
        if (Key::IconThemeName.is(key)) reload();
    });
    connect(_themes.get(), &IconThemes::desktopThemeChanged, this, [this]() {
        if (_defaults.value(Key::IconThemeName).isEmpty()) reload();
    });
}

void IconThemeFollower::reload()
{
    const QString theme = _defaults.value(Key::IconThemeName);
    qCInfo(lcIcons).noquote() << "Icon theme changed to"
                              << (theme.isEmpty() ? QStringLiteral("the desktop's") : theme)
                              << "; reloading the icons";
    IconLoader::shared().setIconSource(_themes->makeIconSource(theme));
    _catalogue.clearIconsForAllApps();
}

} // namespace kelp
