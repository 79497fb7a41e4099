#pragma once
// ScanFolderTable: the scan folders of the preferences, a list over TQArrayController bound to
// the searchDirectories setting. Folders are added through a folder chooser (after the selected
// row), removed with the minus button or Delete, dragged to another row (Alt copies), dropped
// from a file manager (a URL list), and a single row dragged out to other programs carries its
// folder. A folder that is gone, is not a folder or cannot be read is shown marked; one offered
// by the chooser or a drop is refused with a message under the list.
#include "prefs/TQArrayController.h"

#include <QWidget>

class QLabel;
class QListView;
class QPushButton;

namespace kelp {

class Defaults;
class ScanFolderModel;

class ScanFolderTable : public QWidget
{
    Q_OBJECT
public:
    explicit ScanFolderTable(Defaults &defaults, QWidget *parent = nullptr);
    ~ScanFolderTable() override;

    // Opens the folder chooser as a sheet; the folders chosen go in after the selected row.
    void directoryPlusClicked();
    void removeSelected();
    // Adds folders at the row (those that cannot be scanned are refused, with the message);
    // returns how many went in.
    int addFolders(const QStringList &paths, int row);

    QListView *view() const { return _view; }
    QString message() const;

private:
    void showMessage(const QString &text);
    void selectionFromController();

    ScanFolderModel *_model = nullptr;
    QListView *_view = nullptr;
    QLabel *_message = nullptr;
    QPushButton *_plus = nullptr;
    QPushButton *_minus = nullptr;
};

} // namespace kelp
