#pragma once
// TQNode: a tree of path components. The catalogue uses it to reduce the scan folders to the
// outermost ones that the live watch must cover.
#include <QList>
#include <QString>
#include <QStringList>

#include <memory>

namespace kelp {

class TQNode
{
public:
    explicit TQNode(const QString &name, TQNode *parent = nullptr);
    TQNode(const TQNode &) = delete;
    TQNode &operator=(const TQNode &) = delete;

    QString name() const { return _name; }
    TQNode *parent() const { return _parent; }
    const QList<TQNode *> &children() const { return _childPointers; }
    bool isFlagged() const { return _isFlagged; }
    void setFlagged(bool flagged) { _isFlagged = flagged; }
    bool isRoot() const { return _parent == nullptr; }
    bool isLeaf() const { return _children.empty(); }

    // The existing child of that name, else a new child appended; nullptr for an empty name.
    TQNode *addChildWithName(const QString &name);

    // The outermost flagged paths below the root, depth first in insertion order.
    static QStringList scopeForPaths(const QStringList &standardisedPaths);

private:
    void collectFlagged(const QString &prefix, QStringList &out) const;

    QString _name;
    TQNode *_parent;
    std::vector<std::unique_ptr<TQNode>> _children;
    QList<TQNode *> _childPointers;
    bool _isFlagged = false;
};

} // namespace kelp
