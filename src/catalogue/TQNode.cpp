#include "catalogue/TQNode.h"

namespace kelp {

TQNode::TQNode(const QString &name, TQNode *parent) : _name(name), _parent(parent) {}

TQNode *TQNode::addChildWithName(const QString &name)
{
    if (name.isEmpty()) return nullptr;
    for (TQNode *child : _childPointers) {
        if (child->_name == name) return child;
    }
    _children.push_back(std::make_unique<TQNode>(name, this));
    _childPointers.append(_children.back().get());
    return _childPointers.back();
}

void TQNode::collectFlagged(const QString &prefix, QStringList &out) const
{
    for (const TQNode *child : _childPointers) {
        QString path = prefix;
        if (!path.isEmpty() && !path.endsWith(QLatin1Char('/'))) path += QLatin1Char('/');
        path += child->_name;
        if (child->_isFlagged)
            out.append(path);
        else
            child->collectFlagged(path, out);
    }
}

QStringList TQNode::scopeForPaths(const QStringList &standardisedPaths)
{
    TQNode root(QStringLiteral("root"));
    for (const QString &path : standardisedPaths) {
        if (!path.startsWith(QLatin1Char('/'))) continue;
        TQNode *node = root.addChildWithName(QStringLiteral("/"));
        const QStringList parts = path.split(QLatin1Char('/'), Qt::SkipEmptyParts);
        for (const QString &part : parts)
            node = node->addChildWithName(part);
        node->setFlagged(true);
    }
    QStringList scope;
    root.collectFlagged(QString(), scope);
    return scope;
}

} // namespace kelp
