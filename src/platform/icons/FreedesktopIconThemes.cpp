#include "platform/icons/FreedesktopIconThemes.h"

#include "platform/icons/FreedesktopIconSource.h"
#include "platform/x11/XSettings.h"

namespace kelp {

FreedesktopIconThemes::FreedesktopIconThemes(bool followXSettings, QObject *parent)
    : IconThemes(parent)
{
    if (!followXSettings) return;
    _xsettings = new X11XSettingsWatch({}, this);
    connect(_xsettings, &X11XSettingsWatch::iconThemeNameChanged, this,
            &IconThemes::desktopThemeChanged);
}

FreedesktopIconThemes::~FreedesktopIconThemes() = default;

std::shared_ptr<IconSource> FreedesktopIconThemes::makeIconSource(const QString &themeName) const
{
    DesktopThemeHints hints;
    if (_xsettings) hints.xsettingsTheme = _xsettings->iconThemeName();
    return std::make_shared<FreedesktopIconSource>(themeName, QStringList(), QStringList(), hints);
}

} // namespace kelp
