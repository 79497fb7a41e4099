#include "extras/DropStack.h"

namespace kelp {

DropStack &DropStack::shared()
{
    static DropStack stack;
    return stack;
}

void DropStack::push(const QVariant &object)
{
    switch (object.typeId()) {
    case QMetaType::QVariantList:
    case QMetaType::QStringList:
        for (const QVariant &item : object.toList())
            _objects.append(item);
        break;
    case QMetaType::QVariantMap:
        for (const QVariant &item : object.toMap())
            _objects.append(item);
        break;
    case QMetaType::QVariantHash:
        for (const QVariant &item : object.toHash())
            _objects.append(item);
        break;
    default:
        if (object.isValid()) _objects.append(object);
    }
}

QVariant DropStack::pop()
{
    return _objects.isEmpty() ? QVariant() : _objects.takeLast();
}

QVariant DropStack::topObject() const
{
    return _objects.isEmpty() ? QVariant() : _objects.last();
}

QUrl DropStack::topObjectAsURL() const
{
    const QVariant top = topObject();
    if (top.typeId() == QMetaType::QUrl) return top.toUrl();
    if (top.typeId() == QMetaType::QString) return QUrl::fromLocalFile(top.toString());
    return {};
}

} // namespace kelp
