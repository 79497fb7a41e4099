#include "prefs/ScanFolderTable.h"

#include "extras/Logging.h"
#include "settings/Defaults.h"

#include <QAbstractListModel>
#include <QApplication>
#include <QDir>
#include <QDrag>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QHash>
#include <QKeyEvent>
#include <QLabel>
#include <QListView>
#include <QMimeData>
#include <QPointer>
#include <QPushButton>
#include <QStyle>
#include <QThreadPool>
#include <QVBoxLayout>

#include <algorithm>

namespace kelp {

namespace {
// The rows dragged inside the list: their numbers, one a line.
const QString kMovedRowsType = QStringLiteral("application/x-kelp-moved-rows");
} // namespace

// The list's rows: the controller's folders, each marked when it cannot be scanned. Folders are
// looked at on a worker thread; until the answer comes a row shows unmarked.
class ScanFolderModel : public QAbstractListModel
{
public:
    ScanFolderModel(Defaults &defaults, QObject *parent)
        : QAbstractListModel(parent), _defaults(defaults), _list(QDir::homePath())
    {
        reload();
        QObject::connect(&_defaults, &Defaults::changed, this,
                         [this](const QString &key, const QVariant &, const QVariant &) {
                             if (Key::SearchDirectories.is(key) && !_storing) reload();
                         });
    }

    TQArrayController &list() { return _list; }

    int rowCount(const QModelIndex &parent) const override
    {
        return parent.isValid() ? 0 : _list.count();
    }

    QVariant data(const QModelIndex &index, int role) const override
    {
        if (!index.isValid() || index.row() >= _list.count()) return {};
        const QString path = _list.paths().at(index.row());
        const QString problem = _problems.value(path);
        switch (role) {
        case Qt::DisplayRole:
        case Qt::AccessibleTextRole:
            return problem.isEmpty() ? path : tr("%1 (cannot be scanned)").arg(path);
        case Qt::ToolTipRole:
            return problem.isEmpty() ? TQArrayController::expandTilde(path, QDir::homePath())
                                     : problem;
        case Qt::DecorationRole:
            return QApplication::style()->standardIcon(
                problem.isEmpty() ? QStyle::SP_DirIcon : QStyle::SP_MessageBoxWarning);
        default:
            return {};
        }
    }

    Qt::ItemFlags flags(const QModelIndex &index) const override
    {
        const Qt::ItemFlags base = Qt::ItemIsDropEnabled;
        return index.isValid()
                   ? base | Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsDragEnabled
                   : base;
    }

    // Puts the controller's rows in the setting, after an edit made through it.
    void store()
    {
        _storing = true;
        _defaults.setValue(Key::SearchDirectories, _list.records());
        _storing = false;
        refreshAll();
    }

    void reload()
    {
        beginResetModel();
        _list.setRecords(_defaults.value(Key::SearchDirectories));
        endResetModel();
        refreshAll();
    }

private:
    void refreshAll()
    {
        beginResetModel();
        endResetModel();
        const QStringList paths = _list.paths();
        QPointer<ScanFolderModel> self(this);
        QThreadPool::globalInstance()->start([self, paths]() {
            QHash<QString, QString> problems;
            for (const QString &path : paths)
                problems.insert(path, scanFolderProblem(path));
            QMetaObject::invokeMethod(
                QCoreApplication::instance(),
                [self, problems]() {
                    if (!self) return;
                    self->_problems = problems;
                    if (self->_list.count() > 0)
                        Q_EMIT self->dataChanged(self->index(0),
                                                 self->index(self->_list.count() - 1));
                },
                Qt::QueuedConnection);
        });
    }

    Defaults &_defaults;
    TQArrayController _list;
    QHash<QString, QString> _problems;
    bool _storing = false;
};

namespace {

// The list view: drags inside it move rows (Alt copies them), drops from other programs add
// folders, a single row dragged out carries its folder's path.
class ScanFolderListView : public QListView
{
public:
    ScanFolderListView(ScanFolderModel &model, ScanFolderTable &table)
        : QListView(&table), _model(model), _table(table)
    {
        setModel(&model);
        setSelectionMode(QAbstractItemView::ExtendedSelection);
        setDragEnabled(true);
        setAcceptDrops(true);
        setDropIndicatorShown(true);
        setDragDropMode(QAbstractItemView::DragDrop);
        setAccessibleName(tr("Folders to scan for applications"));
    }

    QList<int> selectedRows() const
    {
        QList<int> rows;
        for (const QModelIndex &i : selectionModel()->selectedRows())
            rows.append(i.row());
        std::sort(rows.begin(), rows.end());
        return rows;
    }

protected:
    void startDrag(Qt::DropActions) override
    {
        const QList<int> rows = selectedRows();
        if (rows.isEmpty()) return;
        auto *mime = new QMimeData;
        QStringList numbers;
        for (int r : rows)
            numbers.append(QString::number(r));
        mime->setData(kMovedRowsType, numbers.join(QLatin1Char('\n')).toUtf8());
        const QString path = _model.list().paths().value(rows.first());
        if (rows.size() == 1 && !path.isEmpty()) {
            // Other programs take the folder itself.
            const QString full = TQArrayController::expandTilde(path, QDir::homePath());
            mime->setUrls({QUrl::fromLocalFile(full)});
            mime->setText(full);
        }
        auto *drag = new QDrag(this);
        drag->setMimeData(mime);
        drag->exec(Qt::CopyAction | Qt::MoveAction, Qt::MoveAction);
    }

    bool ownDrag(const QDropEvent *event) const
    {
        return event->source() == this && event->mimeData()->hasFormat(kMovedRowsType);
    }

    void dragEnterEvent(QDragEnterEvent *event) override
    {
        if (ownDrag(event) || event->mimeData()->hasUrls())
            event->acceptProposedAction();
        else
            event->ignore();
    }

    void dragMoveEvent(QDragMoveEvent *event) override
    {
        if (ownDrag(event)) {
            event->setDropAction(event->modifiers().testFlag(Qt::AltModifier) ? Qt::CopyAction
                                                                              : Qt::MoveAction);
            event->accept();
        } else if (event->mimeData()->hasUrls()) {
            event->setDropAction(Qt::CopyAction);
            event->accept();
        } else {
            event->ignore();
        }
    }

    void dropEvent(QDropEvent *event) override
    {
        const int row = dropRow(event->position().toPoint());
        if (ownDrag(event)) {
            QList<int> rows;
            for (const QByteArray &n : event->mimeData()->data(kMovedRowsType).split('\n'))
                rows.append(n.toInt());
            if (event->modifiers().testFlag(Qt::AltModifier)) {
                _model.list().copyRows(rows, row);
                event->setDropAction(Qt::CopyAction);
            } else {
                _model.list().moveRows(rows, row);
                // Taken care of here: the drag must not remove anything itself.
                event->setDropAction(Qt::CopyAction);
            }
            event->accept();
            _model.store();
            selectFromList();
            return;
        }
        QStringList folders;
        for (const QUrl &url : event->mimeData()->urls())
            if (url.isLocalFile()) folders.append(url.toLocalFile());
        if (folders.isEmpty() || _table.addFolders(folders, row) == 0) {
            event->ignore();
            return;
        }
        event->setDropAction(Qt::CopyAction);
        event->accept();
    }

    void keyPressEvent(QKeyEvent *event) override
    {
        if (event->key() == Qt::Key_Delete || event->key() == Qt::Key_Backspace) {
            _table.removeSelected();
            return;
        }
        QListView::keyPressEvent(event);
    }

public:
    // Drops land between rows: before the row under the point, or after it in its lower half.
    int dropRow(QPoint pos) const
    {
        const QModelIndex index = indexAt(pos);
        if (!index.isValid()) return _model.list().count();
        const QRect rect = visualRect(index);
        return pos.y() > rect.center().y() ? index.row() + 1 : index.row();
    }

    void selectFromList()
    {
        selectionModel()->clearSelection();
        for (int r : _model.list().selection())
            selectionModel()->select(_model.index(r), QItemSelectionModel::Select);
        if (!_model.list().selection().isEmpty())
            selectionModel()->setCurrentIndex(_model.index(_model.list().selection().first()),
                                              QItemSelectionModel::NoUpdate);
    }

private:
    ScanFolderModel &_model;
    ScanFolderTable &_table;
};

} // namespace

ScanFolderTable::ScanFolderTable(Defaults &defaults, QWidget *parent)
    : QWidget(parent), _model(new ScanFolderModel(defaults, this))
{
    auto *view = new ScanFolderListView(*_model, *this);
    _view = view;
    _plus = new QPushButton(tr("A&dd Folders…"), this);
    _plus->setObjectName(QStringLiteral("directoryPlusButton"));
    _plus->setAccessibleName(tr("Add folders to scan"));
    _plus->setToolTip(tr("Add folders to scan"));
    _minus = new QPushButton(tr("&Remove"), this);
    _minus->setAccessibleName(tr("Remove the selected folders"));
    _minus->setToolTip(tr("Remove the selected folders"));
    _message = new QLabel(this);
    _message->setWordWrap(true);
    _message->setAccessibleName(tr("Scan folder message"));
    _message->hide();

    auto *buttons = new QHBoxLayout;
    buttons->addWidget(_plus);
    buttons->addWidget(_minus);
    buttons->addStretch();
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(_view);
    layout->addLayout(buttons);
    layout->addWidget(_message);

    connect(_plus, &QPushButton::clicked, this, &ScanFolderTable::directoryPlusClicked);
    connect(_minus, &QPushButton::clicked, this, &ScanFolderTable::removeSelected);
    connect(_view->selectionModel(), &QItemSelectionModel::selectionChanged, this, [this, view]() {
        _model->list().setSelection(view->selectedRows());
        _minus->setEnabled(!view->selectedRows().isEmpty());
    });
    _minus->setEnabled(false);
}

ScanFolderTable::~ScanFolderTable() = default;

QString ScanFolderTable::message() const
{
    return _message->isHidden() ? QString() : _message->text();
}

void ScanFolderTable::showMessage(const QString &text)
{
    _message->setText(text);
    _message->setVisible(!text.isEmpty());
}

void ScanFolderTable::directoryPlusClicked()
{
    auto *chooser = new QFileDialog(window(), tr("Choose Folders to Scan"), QDir::homePath());
    chooser->setAttribute(Qt::WA_DeleteOnClose);
    chooser->setObjectName(QStringLiteral("scanFolderChooser"));
    chooser->setFileMode(QFileDialog::Directory);
    // Kelp's own chooser: several folders at once, links left as they are.
    chooser->setOptions(QFileDialog::ShowDirsOnly | QFileDialog::DontUseNativeDialog |
                        QFileDialog::DontResolveSymlinks);
    if (auto *list = chooser->findChild<QListView *>(QStringLiteral("listView")))
        list->setSelectionMode(QAbstractItemView::ExtendedSelection);
    chooser->setLabelText(QFileDialog::Accept, tr("Choose"));
    chooser->setWindowModality(Qt::WindowModal);
    const int row = _model->list().insertionIndex();
    connect(chooser, &QFileDialog::filesSelected, this,
            [this, row](const QStringList &folders) { addFolders(folders, row); });
    chooser->open();
}

int ScanFolderTable::addFolders(const QStringList &paths, int row)
{
    QStringList accepted;
    QStringList refused;
    for (const QString &path : paths) {
        const QString problem = scanFolderProblem(path);
        if (problem.isEmpty())
            accepted.append(path);
        else
            refused.append(problem);
    }
    if (!refused.isEmpty())
        qCInfo(lcPrefs).noquote() << "Scan folders refused:" << refused.join(QLatin1Char(' '));
    const int added = _model->list().insertPaths(accepted, row);
    if (added > 0) {
        _model->store();
        static_cast<ScanFolderListView *>(_view)->selectFromList();
    }
    showMessage(refused.join(QLatin1Char('\n')));
    return added;
}

void ScanFolderTable::removeSelected()
{
    const QList<int> rows = static_cast<ScanFolderListView *>(_view)->selectedRows();
    if (rows.isEmpty()) return;
    _model->list().removeRows(rows);
    _model->store();
    showMessage({});
}

} // namespace kelp
