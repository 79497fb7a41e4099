#include "prefs/SettingBindings.h"

#include "settings/Defaults.h"

#include <QCheckBox>
#include <QColorDialog>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QLineEdit>
#include <QPainter>
#include <QPushButton>
#include <QSignalBlocker>
#include <QSpinBox>

#include <algorithm>
#include <cmath>

namespace kelp {

namespace {

QIcon swatch(const QColor &colour)
{
    QPixmap pixmap(32, 16);
    pixmap.fill(Qt::transparent);
    QPainter p(&pixmap);
    // A chequer under the colour, so that its transparency shows.
    for (int x = 0; x < 32; x += 4)
        for (int y = 0; y < 16; y += 4)
            p.fillRect(x, y, 4, 4, ((x + y) / 4) % 2 ? Qt::lightGray : Qt::white);
    p.fillRect(pixmap.rect(), colour);
    p.setPen(Qt::darkGray);
    p.drawRect(pixmap.rect().adjusted(0, 0, -1, -1));
    return QIcon(pixmap);
}

} // namespace

SettingBindings::SettingBindings(Defaults &defaults, QWidget *owner)
    : QObject(owner), _defaults(defaults), _owner(owner)
{
    connect(
        &_defaults, &Defaults::changed, this,
        [this](const QString &key, const QVariant &, const QVariant &) { settingChanged(key); });
}

void SettingBindings::onChange(QLatin1StringView key, std::function<void()> refresh)
{
    refresh();
    _refreshers.emplace_back(QString(key), std::move(refresh));
}

void SettingBindings::settingChanged(const QString &key)
{
    for (const auto &[name, refresh] : _refreshers)
        if (name == key) refresh();
}

QCheckBox *SettingBindings::check(const Setting<bool> &key, const QString &text)
{
    auto *box = new QCheckBox(text, _owner);
    box->setObjectName(key.name());
    box->setAccessibleName(QString(text).remove(QLatin1Char('&')));
    onChange(key.name(), [this, box, key]() {
        const QSignalBlocker block(box);
        box->setChecked(_defaults.value(key));
    });
    connect(box, &QCheckBox::toggled, this, [this, key](bool on) { _defaults.setValue(key, on); });
    return box;
}

QSpinBox *SettingBindings::spin(const Setting<qint64> &key, int minimum, int maximum,
                                const QString &suffix)
{
    auto *box = new QSpinBox(_owner);
    box->setObjectName(key.name());
    box->setRange(minimum, maximum);
    box->setSuffix(suffix);
    box->setKeyboardTracking(false);
    box->setCorrectionMode(QAbstractSpinBox::CorrectToNearestValue);
    onChange(key.name(), [this, box, key]() {
        const QSignalBlocker block(box);
        box->setValue(
            int(std::clamp<qint64>(_defaults.value(key), box->minimum(), box->maximum())));
    });
    connect(box, &QSpinBox::valueChanged, this,
            [this, key](int value) { _defaults.setValue(key, qint64(value)); });
    return box;
}

QDoubleSpinBox *SettingBindings::real(const Setting<double> &key, double minimum, double maximum,
                                      double scale, int decimals, const QString &suffix)
{
    auto *box = new QDoubleSpinBox(_owner);
    box->setObjectName(key.name());
    box->setRange(minimum * scale, maximum * scale);
    box->setDecimals(decimals);
    box->setSingleStep(decimals == 0 ? 1.0 : 0.05);
    box->setSuffix(suffix);
    box->setKeyboardTracking(false);
    box->setCorrectionMode(QAbstractSpinBox::CorrectToNearestValue);
    onChange(key.name(), [this, box, key, scale]() {
        const QSignalBlocker block(box);
        const double v = _defaults.value(key);
        box->setValue(std::isnan(v) ? box->minimum() : v * scale);
    });
    connect(box, &QDoubleSpinBox::valueChanged, this, [this, box, key, scale](double shown) {
        // Only a change the user can see is stored, so that showing a value never rewrites it.
        const double stored = _defaults.value(key);
        if (std::abs(stored * scale - shown) < 0.5 * std::pow(10.0, -box->decimals())) return;
        _defaults.setValue(key, shown / scale);
    });
    return box;
}

QComboBox *SettingBindings::choice(const Setting<qint64> &key,
                                   const std::vector<std::pair<QString, int>> &items)
{
    auto *box = new QComboBox(_owner);
    box->setObjectName(key.name());
    for (const auto &[title, value] : items)
        box->addItem(title, value);
    onChange(key.name(), [this, box, key]() {
        const QSignalBlocker block(box);
        box->setCurrentIndex(box->findData(int(_defaults.value(key))));
    });
    connect(box, &QComboBox::activated, this, [this, box, key](int index) {
        if (index >= 0) _defaults.setValue(key, qint64(box->itemData(index).toInt()));
    });
    return box;
}

QPushButton *SettingBindings::colour(const Setting<QColor> &key, const QString &name)
{
    auto *button = new QPushButton(_owner);
    button->setObjectName(key.name());
    button->setAccessibleName(name);
    button->setIconSize(QSize(32, 16));
    button->setText(tr("Choose…"));
    onChange(key.name(), [this, button, key]() {
        const QColor c = _defaults.value(key);
        button->setIcon(swatch(c));
        button->setToolTip(c.name(QColor::HexArgb));
    });
    connect(button, &QPushButton::clicked, this, [this, key, name]() {
        auto *picker = new QColorDialog(_defaults.value(key), _owner);
        picker->setAttribute(Qt::WA_DeleteOnClose);
        picker->setWindowTitle(name);
        picker->setOption(QColorDialog::ShowAlphaChannel);
        const QColor before = _defaults.value(key);
        // The panel follows the picker as the user moves through colours; Cancel puts it back.
        connect(picker, &QColorDialog::currentColorChanged, this,
                [this, key](const QColor &c) { _defaults.setValue(key, c); });
        connect(picker, &QColorDialog::rejected, this,
                [this, key, before]() { _defaults.setValue(key, before); });
        connect(picker, &QColorDialog::colorSelected, this,
                [this, key](const QColor &c) { _defaults.setValue(key, c); });
        picker->open();
    });
    return button;
}

QLineEdit *SettingBindings::line(const Setting<QString> &key)
{
    auto *edit = new QLineEdit(_owner);
    edit->setObjectName(key.name());
    onChange(key.name(), [this, edit, key]() {
        const QString v = _defaults.value(key);
        if (edit->text() != v) edit->setText(v);
    });
    connect(edit, &QLineEdit::editingFinished, this,
            [this, edit, key]() { _defaults.setValue(key, edit->text().trimmed()); });
    return edit;
}

} // namespace kelp
