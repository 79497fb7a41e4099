#pragma once
// Value transformers: small one-way (sometimes two-way) conversions between a stored setting and
// what a preferences control shows, looked up by name the way the preferences window binds them.
//
// "Nothing" is a null QVariant. A transformer that needs a number (or a boolean) from its input and
// gets something that has none throws TransformerError, e.g. "Value QDateTime does not respond to
// integerValue": a programming error in a binding, not a user error.
#include <QString>
#include <QStringList>
#include <QVariant>

#include <stdexcept>

namespace kelp {

class TransformerError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

class ValueTransformer
{
public:
    virtual ~ValueTransformer() = default;
    virtual QVariant transform(const QVariant &value) const = 0;
    virtual bool allowsReverseTransformation() const { return false; }
    // Throws TransformerError when the transformer has no reverse rule.
    virtual QVariant reverseTransform(const QVariant &value) const;

    // The transformer registered under that name, or nullptr. The registry is filled once, on
    // first use, and is safe to read from any thread.
    static const ValueTransformer *named(const QString &name);
    static QStringList names();
};

// The desktop-file ID ("org.gnome.Calculator" or "org.gnome.Calculator.desktop") of an installed
// application, resolved in the application folders in the desktop's search order: the path of its
// desktop entry, or an empty string.
QString desktopEntryPathForId(const QString &id);

// The shown name of the application with that desktop-file ID: the entry's Name localised for the
// current locale, else its plain Name, else the entry's file name without ".desktop". Empty when
// no such application is installed.
QString desktopEntryDisplayName(const QString &desktopFilePath);

} // namespace kelp
