#pragma once
// IconThemes: the icon sources Kelp can draw from, and word from the desktop when the user picks
// another icon theme for it (Kelp follows the desktop's theme while its own iconThemeName setting
// is empty).
#include <QObject>
#include <QString>

#include <memory>

namespace kelp {

class IconSource;

class IconThemes : public QObject
{
    Q_OBJECT
public:
    using QObject::QObject;

    // A source of icons from the named theme, or from the desktop's own theme as it is now when
    // the name is empty. Cheap: the theme is indexed on first use, off the GUI thread.
    virtual std::shared_ptr<IconSource> makeIconSource(const QString &themeName) const = 0;

Q_SIGNALS:
    // The desktop's own icon theme changed: sources made for it are out of date.
    void desktopThemeChanged();
};

} // namespace kelp
