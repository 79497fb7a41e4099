#pragma once
// What kind of property-list value a QVariant holds. Qt has a dozen integer types and two real
// ones; the settings store, the property-list writer, the attribute store and the value
// transformers all ask the same question of them, here.
#include <QVariant>

namespace kelp {

enum class VariantKind {
    Nothing, // an invalid or null QVariant
    Bool,
    Integer,  // any signed integer type (char types included)
    Unsigned, // any unsigned integer type
    Real,     // float or double
    String,
    Data,       // QByteArray
    Date,       // QDateTime
    Array,      // QVariantList or QStringList
    Dictionary, // QVariantMap or QVariantHash
    Other,      // no property-list form
};

VariantKind variantKind(const QVariant &value);

// A boolean, an integer of any width or a real: a value with a number in it.
inline bool holdsNumber(const QVariant &value)
{
    switch (variantKind(value)) {
    case VariantKind::Bool:
    case VariantKind::Integer:
    case VariantKind::Unsigned:
    case VariantKind::Real:
        return true;
    default:
        return false;
    }
}

} // namespace kelp
