#pragma once
// FreedesktopIconThemes: icon sources over the freedesktop icon themes, following the desktop's
// own theme through XSETTINGS where an X11 settings manager runs.
#include "desktop/IconThemes.h"

namespace kelp {

class X11XSettingsWatch;

class FreedesktopIconThemes : public IconThemes
{
    Q_OBJECT
public:
    // followXSettings: watch the X display's settings manager (X11 only).
    explicit FreedesktopIconThemes(bool followXSettings, QObject *parent = nullptr);
    ~FreedesktopIconThemes() override;

    std::shared_ptr<IconSource> makeIconSource(const QString &themeName) const override;

private:
    X11XSettingsWatch *_xsettings = nullptr;
};

} // namespace kelp
