#include "triggers/HotKeyBindings.h"

#include <QCoreApplication>
#include <QStringList>

namespace kelp {

namespace {

// The keysym names of the printable ASCII keys other than letters and digits.
struct PrintableName
{
    int key;
    const char *name;
};
constexpr PrintableName kPrintable[] = {
    {' ', "space"},      {'!', "exclam"},       {'"', "quotedbl"},    {'#', "numbersign"},
    {'$', "dollar"},     {'%', "percent"},      {'&', "ampersand"},   {'\'', "apostrophe"},
    {'(', "parenleft"},  {')', "parenright"},   {'*', "asterisk"},    {'+', "plus"},
    {',', "comma"},      {'-', "minus"},        {'.', "period"},      {'/', "slash"},
    {':', "colon"},      {';', "semicolon"},    {'<', "less"},        {'=', "equal"},
    {'>', "greater"},    {'?', "question"},     {'@', "at"},          {'[', "bracketleft"},
    {'\\', "backslash"}, {']', "bracketright"}, {'^', "asciicircum"}, {'_', "underscore"},
    {'`', "grave"},      {'{', "braceleft"},    {'|', "bar"},         {'}', "braceright"},
    {'~', "asciitilde"}};

std::optional<QString> keypadName(int key)
{
    if (key >= Qt::Key_0 && key <= Qt::Key_9) return QStringLiteral("KP_%1").arg(key - Qt::Key_0);
    switch (key) {
    case Qt::Key_Period:
        return QStringLiteral("KP_Decimal");
    case Qt::Key_Asterisk:
        return QStringLiteral("KP_Multiply");
    case Qt::Key_Plus:
        return QStringLiteral("KP_Add");
    case Qt::Key_Minus:
        return QStringLiteral("KP_Subtract");
    case Qt::Key_Slash:
        return QStringLiteral("KP_Divide");
    case Qt::Key_Enter:
        return QStringLiteral("KP_Enter");
    case Qt::Key_Equal:
        return QStringLiteral("KP_Equal");
    case Qt::Key_Clear:
        return QStringLiteral("Clear");
    default:
        return std::nullopt;
    }
}

// The modifiers in a fixed order, each by the name the caller gives.
QStringList modifierNames(Qt::KeyboardModifiers modifiers, const char *control, const char *alt,
                          const char *shift, const char *super)
{
    QStringList names;
    if (modifiers & Qt::ControlModifier) names << QLatin1String(control);
    if (modifiers & Qt::AltModifier) names << QLatin1String(alt);
    if (modifiers & Qt::ShiftModifier) names << QLatin1String(shift);
    if (modifiers & Qt::MetaModifier) names << QLatin1String(super);
    return names;
}

} // namespace

std::optional<QString> keysymName(const HotKeyChord &chord)
{
    const int key = chord.key;
    if (chord.keypad) return keypadName(key);
    if (key >= Qt::Key_A && key <= Qt::Key_Z) return QString(QChar(u'a' + (key - Qt::Key_A)));
    if (key >= Qt::Key_0 && key <= Qt::Key_9) return QString(QChar(u'0' + (key - Qt::Key_0)));
    for (const PrintableName &printable : kPrintable)
        if (printable.key == key) return QString::fromLatin1(printable.name);
    if (key >= Qt::Key_F1 && key <= Qt::Key_F35)
        return QStringLiteral("F%1").arg(key - Qt::Key_F1 + 1);
    switch (key) {
    case Qt::Key_Tab:
        return QStringLiteral("Tab");
    case Qt::Key_Return:
        return QStringLiteral("Return");
    case Qt::Key_Escape:
        return QStringLiteral("Escape");
    case Qt::Key_Backspace:
        return QStringLiteral("BackSpace");
    case Qt::Key_Delete:
        return QStringLiteral("Delete");
    case Qt::Key_Home:
        return QStringLiteral("Home");
    case Qt::Key_End:
        return QStringLiteral("End");
    case Qt::Key_PageUp:
        return QStringLiteral("Prior");
    case Qt::Key_PageDown:
        return QStringLiteral("Next");
    case Qt::Key_Left:
        return QStringLiteral("Left");
    case Qt::Key_Right:
        return QStringLiteral("Right");
    case Qt::Key_Up:
        return QStringLiteral("Up");
    case Qt::Key_Down:
        return QStringLiteral("Down");
    case Qt::Key_Help:
        return QStringLiteral("Help");
    case Qt::Key_Clear:
        return QStringLiteral("Clear");
    default:
        return std::nullopt;
    }
}

std::optional<QString> portalTrigger(const HotKeyChord &chord)
{
    const auto key = keysymName(chord);
    if (!key) return std::nullopt;
    QStringList parts = modifierNames(chord.modifiers, "CTRL", "ALT", "SHIFT", "LOGO");
    parts << *key;
    return parts.join(u'+');
}

std::optional<QString> swayChord(const HotKeyChord &chord)
{
    const auto key = keysymName(chord);
    if (!key) return std::nullopt;
    QStringList parts = modifierNames(chord.modifiers, "Ctrl", "Mod1", "Shift", "Mod4");
    parts << *key;
    return parts.join(u'+');
}

std::optional<QString> swayBinding(const HotKeyChord &chord)
{
    const auto keys = swayChord(chord);
    if (!keys) return std::nullopt;
    return QStringLiteral("bindsym %1 exec kelp --toggle").arg(*keys);
}

QString hotKeyBindingSteps(const std::optional<HotKeyChord> &chord, const QString &currentDesktop)
{
    const auto tr = [](const char *text) { return QCoreApplication::translate("HotKeys", text); };
    const auto line = chord ? swayBinding(*chord) : std::nullopt;
    const QString sway =
        line ? tr("On sway, add this line to ~/.config/sway/config and reload: %1").arg(*line)
             : QString();
    const QString gnome = tr("On GNOME: Settings → Keyboard → Keyboard Shortcuts → Custom "
                             "Shortcuts, add one with the command kelp --toggle and your keys.");
    const QString kde = tr("On KDE Plasma: System Settings → Shortcuts → Add New → Command or "
                           "Script, with the command kelp --toggle and your keys.");
    const QStringList desktops = currentDesktop.split(u':', Qt::SkipEmptyParts);
    auto names = [&](QLatin1StringView name) {
        return desktops.contains(name, Qt::CaseInsensitive);
    };
    if (names(QLatin1StringView("GNOME"))) return gnome;
    if (names(QLatin1StringView("KDE"))) return kde;
    if (names(QLatin1StringView("sway")) && line) return sway;
    QStringList steps;
    if (line) steps << sway;
    steps << gnome << kde;
    return steps.join(u'\n');
}

} // namespace kelp
