#pragma once
// TQArrayController: the list logic behind the scan folders table of the preferences, with no
// widgets. Its rows are the folders of the searchDirectories setting, each stored as a {"path":
// folder} record with "~" for the home folder. Folders added go in just after the selected row
// (at the top with none), a folder already in the list is skipped, rows dragged inside the list
// move (or, with Alt held, are copied) to the drop row, and the rows that moved or arrived become
// the selection.
#include <QList>
#include <QString>
#include <QStringList>
#include <QVariant>

namespace kelp {

class TQArrayController
{
public:
    explicit TQArrayController(QString homeFolder);

    // The rows from stored records; a record without a usable "path" keeps its row as an empty
    // path, so that the list written back loses nothing the user can see.
    void setRecords(const QVariantList &records);
    QVariantList records() const;

    const QStringList &paths() const { return _paths; }
    int count() const { return int(_paths.size()); }
    const QList<int> &selection() const { return _selection; }
    void setSelection(QList<int> rows);

    // Where the chooser's folders go: just after the last selected row, else at the top.
    int insertionIndex() const;
    // Adds folders at consecutive rows from index (clamped to the list): each is abbreviated with
    // "~" and skipped when already listed (or given twice). The added rows become the selection.
    // Returns how many were added.
    int insertPaths(const QStringList &paths, int index);
    // Moves the rows to the drop row (each removed, then put back in order before the row that
    // was at `dropRow`); the moved rows become the selection, starting at
    // dropRow - rowsAboveRow(dropRow, rows).
    void moveRows(const QList<int> &rows, int dropRow);
    // Inserts copies of the rows at the drop row and selects them (Alt held during the drag).
    void copyRows(const QList<int> &rows, int dropRow);
    void removeRows(const QList<int> &rows);

    // How many of the rows lie above `row`.
    static int rowsAboveRow(int row, const QList<int> &rows);
    // "/home/ann/Apps" → "~/Apps" for the home folder "/home/ann"; other paths cleaned only.
    static QString abbreviateWithTilde(const QString &path, const QString &home);
    // "~/Apps" → "/home/ann/Apps"; other paths as they are.
    static QString expandTilde(const QString &path, const QString &home);

private:
    QList<int> validRows(const QList<int> &rows) const;

    QString _home;
    QStringList _paths;
    QList<int> _selection;
};

// Why a folder cannot be scanned ("… is not a folder", "… is gone", "… cannot be read"), or an
// empty string when it can. Reads the disk: call it for a few folders at a time.
QString scanFolderProblem(const QString &path);

} // namespace kelp
