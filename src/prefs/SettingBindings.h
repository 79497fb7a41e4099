#pragma once
// SettingBindings: controls bound live to Kelp's settings, both ways. Each control reads its
// setting when it is made and again whenever Defaults::changed names it, and stores its own
// changes at once (typed values when the user is done typing; arrows and clicks at once). Number
// controls take their ranges from the limits Kelp applies when it reads the setting, so a stored
// value out of range shows clamped and a typed one is clamped as it is entered.
#include "settings/Settings.h"

#include <QObject>

#include <functional>
#include <utility>
#include <vector>

class QCheckBox;
class QComboBox;
class QDoubleSpinBox;
class QLineEdit;
class QPushButton;
class QSpinBox;
class QWidget;

namespace kelp {

class Defaults;

class SettingBindings : public QObject
{
    Q_OBJECT
public:
    SettingBindings(Defaults &defaults, QWidget *owner);

    QCheckBox *check(const Setting<bool> &key, const QString &text);
    QSpinBox *spin(const Setting<qint64> &key, int minimum, int maximum,
                   const QString &suffix = {});
    // A real shown multiplied by scale (100 for a percentage, 360 for degrees).
    QDoubleSpinBox *real(const Setting<double> &key, double minimum, double maximum, double scale,
                         int decimals, const QString &suffix = {});
    // A pop-up of (title, stored value) items; a stored value with no item shows no item.
    QComboBox *choice(const Setting<qint64> &key,
                      const std::vector<std::pair<QString, int>> &items);
    // A button showing the colour; a click opens a colour picker whose changes apply live.
    QPushButton *colour(const Setting<QColor> &key, const QString &name);
    QLineEdit *line(const Setting<QString> &key);

    // Calls refresh now and whenever the setting named key changes.
    void onChange(QLatin1StringView key, std::function<void()> refresh);

private:
    void settingChanged(const QString &key);

    Defaults &_defaults;
    QWidget *_owner;
    std::vector<std::pair<QString, std::function<void()>>> _refreshers;
};

} // namespace kelp
