#pragma once
// IconThemeFollower: the panel's icons follow the icon theme. A change of Kelp's own iconThemeName
// setting, or of the desktop's theme while that setting is empty, swaps the icon source and reloads
// every icon once.
#include <QObject>

#include <memory>

namespace kelp {

class Defaults;
class IconThemes;
class TQAppManager;

class IconThemeFollower : public QObject
{
    Q_OBJECT
public:
    IconThemeFollower(TQAppManager &catalogue, Defaults &defaults,
                      std::shared_ptr<IconThemes> themes, QObject *parent = nullptr);

private:
    void reload();

    TQAppManager &_catalogue;
    Defaults &_defaults;
    std::shared_ptr<IconThemes> _themes;
};

} // namespace kelp
