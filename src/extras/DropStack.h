#pragma once
// DropStack: the process-wide stack of dropped objects. Files handed to Kelp (`kelp FILE...`, or
// dropped on its tray icon) wait here until the icon view's drop handling takes them.
#include <QList>
#include <QUrl>
#include <QVariant>

namespace kelp {

class DropStack
{
public:
    static DropStack &shared();

    // Appends an object; a list's elements, or a map's values, are appended one by one.
    void push(const QVariant &object);
    // Removes and returns the last object (invalid when empty).
    QVariant pop();
    QVariant topObject() const;
    // The top object as a URL: itself when it is one, a file URL made from it when it is a
    // string, else an empty URL.
    QUrl topObjectAsURL() const;
    void free() { _objects.clear(); }
    qsizetype count() const { return _objects.size(); }

private:
    QList<QVariant> _objects;
};

} // namespace kelp
