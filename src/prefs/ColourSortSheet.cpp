#include "prefs/ColourSortSheet.h"

#include "prefs/SettingBindings.h"
#include "settings/Defaults.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QDoubleSpinBox>
#include <QFormLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace kelp {

ColourSortSheet::ColourSortSheet(Defaults &defaults, QWidget *parent) : QDialog(parent, Qt::Sheet)
{
    setObjectName(QStringLiteral("prefColorSortingOptionsWindow"));
    setWindowTitle(tr("Colour Sorting Options"));
    setWindowModality(Qt::WindowModal);
    auto *bind = new SettingBindings(defaults, this);

    auto *intro = new QLabel(tr("How icons are ordered when a group is sorted by colour. "
                                "The panel follows these settings as they change."),
                             this);
    intro->setWordWrap(true);

    auto *form = new QFormLayout;
    auto add = [&](const QString &label, QWidget *control) {
        control->setAccessibleName(label);
        form->addRow(label, control);
    };
    add(tr("Icons with less colour than this sort as greys:"),
        bind->real(Key::ColorSortGrayThreshold, 0.0, 1.0, 100.0, 0, QStringLiteral(" %")));
    add(tr("The spectrum starts at the hue:"),
        bind->real(Key::ColorSortWrapHue, 0.0, 360.0, 1.0, 0, QStringLiteral("°")));
    add(tr("Colours less saturated than this are left out:"),
        bind->real(Key::ColorSortMinSaturation, 0.0, 1.0, 100.0, 0, QStringLiteral(" %")));
    add(tr("Colours darker than this are left out:"),
        bind->real(Key::ColorSortMinLuminosity, 0.0, 1.0, 100.0, 0, QStringLiteral(" %")));
    form->addRow(
        bind->check(Key::ColorSortGraysBySecondaryColor, tr("Sort greys by their second colour")));

    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    buttons->button(QDialogButtonBox::Close)->setText(tr("Done"));
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);

    auto *layout = new QVBoxLayout(this);
    layout->addWidget(intro);
    layout->addLayout(form);
    layout->addWidget(buttons);
}

} // namespace kelp
