#pragma once
// ColourSortSheet: the colour-sorting options, a sheet on the preferences window over the five
// settings that shape the colour order (grey threshold, wrap hue, minimum saturation and
// luminosity, greys by their second colour). The catalogue re-sorts the groups as each changes,
// so a panel showing a group sorted by colour follows the controls live.
#include <QDialog>

namespace kelp {

class Defaults;

class ColourSortSheet : public QDialog
{
    Q_OBJECT
public:
    ColourSortSheet(Defaults &defaults, QWidget *parent);
};

} // namespace kelp
