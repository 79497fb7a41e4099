#pragma once
// Defaults: Kelp's settings store.
//
// A key-value store of property-list values kept in one XML property list under the user's
// config folder ($XDG_CONFIG_HOME/Kelp/Kelp.plist, normally ~/.config/Kelp/Kelp.plist).
// Owners register default values once per process; a registered value applies while the user has
// stored none. Reads never touch the disk. Changes are announced per key, only when the effective
// value really changes, and are written atomically shortly after (and at once by synchronize()).
// Edits made to the file by another process are picked up and announced the same way. A file
// that cannot be parsed is kept aside as "<name>.corrupt-<timestamp>" and the store falls back to
// the registered defaults, with a log line. A file broken while Kelp runs is kept aside the same
// way and rewritten from the values in memory. The store belongs to the thread that made it (the
// GUI thread for standard()); without an application object it writes at once and does not watch.
//
// Kelp reads its settings through the typed keys of settings/Settings.h: value(Key::WindowAlpha) is
// a double. A stored value of the wrong type (a string where a colour belongs) reads as the
// default, with one log line per key. The string-keyed calls are for keys Kelp does not know
// (they are kept and written back untouched) and for tools that take a key's name from the user.
#include "settings/Settings.h"

#include <QColor>
#include <QObject>
#include <QString>
#include <QVariant>

class QFileSystemWatcher;
class QTimer;

namespace kelp {

class Defaults : public QObject
{
    Q_OBJECT
public:
    // The process-wide store over the user's settings file.
    static Defaults &standard();
    // The file the standard store uses: $XDG_CONFIG_HOME/Kelp/Kelp.plist.
    static QString standardFilePath();

    // A store over the given file (tests and tools use their own).
    explicit Defaults(const QString &filePath, QObject *parent = nullptr);
    ~Defaults() override;

    QString filePath() const;

    // Adds registered defaults (later registrations of the same key replace earlier ones).
    void registerDefaults(const QVariantMap &defaults);
    QVariant registeredValue(const QString &key) const;
    QVariantMap registeredDefaults() const;

    // The stored value, else the registered one, else an invalid QVariant.
    QVariant value(const QString &key) const;
    bool hasStoredValue(const QString &key) const;

    // Typed getters convert like the platform's defaults did: numbers, bools and numeric strings
    // convert into each other; anything else gives 0 / false / empty.
    qint64 integer(const QString &key) const;
    double real(const QString &key) const;
    bool boolean(const QString &key) const;
    QString string(const QString &key) const;
    QVariantList array(const QString &key) const;
    QVariantMap dictionary(const QString &key) const;
    QByteArray data(const QString &key) const;
    // Colours are stored as device RGBA, an array of four reals in 0..1.
    QColor colour(const QString &key) const;
    static QVariant colourValue(const QColor &color);

    // The value of a setting, of the setting's own type.
    template <typename T> T value(Setting<T> key) const;
    // Stores a setting's value; remove() goes back to the default.
    template <typename T> void setValue(Setting<T> key, const std::type_identity_t<T> &value)
    {
        setValue(QString(key.name()), storable(value));
    }
    template <typename T> void remove(Setting<T> key) { remove(QString(key.name())); }

    // Stores a value (an invalid QVariant removes the stored one). Emits changed() when the
    // effective value differs from before.
    void setValue(const QString &key, const QVariant &value);
    void setColour(const QString &key, const QColor &color);
    void remove(const QString &key);

    // Writes pending changes now. Returns false when the file could not be written.
    bool synchronize();
    // Re-reads the file (normally done on its own when the file changes on disk).
    void reload();

Q_SIGNALS:
    void changed(const QString &key, const QVariant &oldValue, const QVariant &newValue);

private:
    // The effective value when it fits the setting's type, else the default (logged once per key).
    QVariant fitting(SettingId id) const;
    template <typename T> static QVariant storable(const T &value)
    {
        if constexpr (std::is_same_v<T, QColor>)
            return colourValue(value);
        else
            return QVariant::fromValue(value);
    }

    struct Private;
    Private *d;
};

// How stored values read as each type; a value that does not fit gives the type's zero.
qint64 settingAsInteger(const QVariant &v);
double settingAsReal(const QVariant &v);
bool settingAsBool(const QVariant &v);
QString settingAsString(const QVariant &v);
QColor settingAsColour(const QVariant &v);

template <typename T> T Defaults::value(Setting<T> key) const
{
    const QVariant v = fitting(key.id);
    if constexpr (std::is_same_v<T, qint64>)
        return settingAsInteger(v);
    else if constexpr (std::is_same_v<T, double>)
        return settingAsReal(v);
    else if constexpr (std::is_same_v<T, bool>)
        return settingAsBool(v);
    else if constexpr (std::is_same_v<T, QString>)
        return settingAsString(v);
    else if constexpr (std::is_same_v<T, QColor>)
        return settingAsColour(v);
    else if constexpr (std::is_same_v<T, QVariantList>)
        return v.toList();
    else if constexpr (std::is_same_v<T, QDateTime>)
        return v.toDateTime();
    else
        static_assert(sizeof(T) == 0, "a setting type without a reader");
}

} // namespace kelp
