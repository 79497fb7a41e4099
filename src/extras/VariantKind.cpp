#include "extras/VariantKind.h"

namespace kelp {

VariantKind variantKind(const QVariant &value)
{
    if (!value.isValid()) return VariantKind::Nothing;
    switch (value.typeId()) {
    case QMetaType::Bool:
        return VariantKind::Bool;
    case QMetaType::Int:
    case QMetaType::Long:
    case QMetaType::LongLong:
    case QMetaType::Short:
    case QMetaType::SChar:
    case QMetaType::Char:
        return VariantKind::Integer;
    case QMetaType::UInt:
    case QMetaType::ULong:
    case QMetaType::ULongLong:
    case QMetaType::UShort:
    case QMetaType::UChar:
        return VariantKind::Unsigned;
    case QMetaType::Float:
    case QMetaType::Double:
        return VariantKind::Real;
    case QMetaType::QString:
        return VariantKind::String;
    case QMetaType::QByteArray:
        return VariantKind::Data;
    case QMetaType::QDateTime:
        return VariantKind::Date;
    case QMetaType::QStringList:
    case QMetaType::QVariantList:
        return VariantKind::Array;
    case QMetaType::QVariantMap:
    case QMetaType::QVariantHash:
        return VariantKind::Dictionary;
    default:
        return VariantKind::Other;
    }
}

} // namespace kelp
