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
    QColor color(const QString &key) const;
    static QVariant colorValue(const QColor &color);

    // Stores a value (an invalid QVariant removes the stored one). Emits changed() when the
    // effective value differs from before.
    void setValue(const QString &key, const QVariant &value);
    void setColor(const QString &key, const QColor &color);
    void remove(const QString &key);

    // Writes pending changes now. Returns false when the file could not be written.
    bool synchronize();
    // Re-reads the file (normally done on its own when the file changes on disk).
    void reload();

Q_SIGNALS:
    void changed(const QString &key, const QVariant &oldValue, const QVariant &newValue);

private:
    struct Private;
    Private *d;
};

} // namespace kelp
