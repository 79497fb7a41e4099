// The scan folder list's logic: where folders go in, what a drag inside the list does, and how
// paths are written.
#include "prefs/TQArrayController.h"
#include "support/TestSupport.h"

#include <QDir>
#include <QTemporaryDir>

#include <unistd.h>

#include <gtest/gtest.h>

using kelp::TQArrayController;

namespace {

const QString kHome = QStringLiteral("/home/ann");

TQArrayController listOf(const QStringList &paths)
{
    TQArrayController list(kHome);
    QVariantList records;
    for (const QString &p : paths)
        records.append(QVariantMap{{QStringLiteral("path"), p}});
    list.setRecords(records);
    return list;
}

QStringList S(std::initializer_list<const char *> items)
{
    QStringList out;
    for (const char *i : items)
        out.append(QString::fromUtf8(i));
    return out;
}

} // namespace

TEST(TQArrayController, FoldersGoInAfterTheSelectionAbbreviatedAndOnce)
{
    TQArrayController list = listOf(S({"/a", "/b", "/c"}));
    EXPECT_EQ(list.insertionIndex(), 0) << "no selection: at the top";

    list.setSelection({0, 1});
    EXPECT_EQ(list.insertionIndex(), 2) << "just after the last selected row";
    EXPECT_EQ(list.insertPaths(S({"/home/ann/Apps", "/b", "/home/ann/Apps/", "/x"}),
                               list.insertionIndex()),
              2);
    EXPECT_EQ(list.paths(), S({"/a", "/b", "~/Apps", "/x", "/c"}))
        << "listed folders and repeats are skipped; the home folder becomes ~";
    EXPECT_EQ(list.selection(), (QList<int>{2, 3})) << "the added rows are selected";

    // A folder given in full matches one stored with ~, and the other way round.
    EXPECT_EQ(list.insertPaths(S({"~/Apps", "/home/ann/Apps"}), 0), 0);
    EXPECT_EQ(list.selection(), (QList<int>{2, 3})) << "nothing added keeps the selection";

    // An index past the end appends.
    EXPECT_EQ(list.insertPaths(S({"/home/ann"}), 99), 1);
    EXPECT_EQ(list.paths().last(), QStringLiteral("~"));

    const QVariantList records = list.records();
    EXPECT_EQ(records.value(2).toMap().value(QStringLiteral("path")), QStringLiteral("~/Apps"));
}

TEST(TQArrayController, MovedRowsLandBeforeTheDropRowLessTheRowsAboveIt)
{
    // Down: rows 0 and 2 dropped before row 4 ("/e"): two of them lay above, so they start at 2.
    TQArrayController down = listOf(S({"/a", "/b", "/c", "/d", "/e"}));
    down.moveRows({2, 0}, 4);
    EXPECT_EQ(down.paths(), S({"/b", "/d", "/a", "/c", "/e"}));
    EXPECT_EQ(down.selection(), (QList<int>{2, 3}));

    // Up: row 3 dropped before row 1.
    TQArrayController up = listOf(S({"/a", "/b", "/c", "/d"}));
    up.moveRows({3}, 1);
    EXPECT_EQ(up.paths(), S({"/a", "/d", "/b", "/c"}));
    EXPECT_EQ(up.selection(), (QList<int>{1}));

    // To the end, and onto itself (nothing changes).
    TQArrayController end = listOf(S({"/a", "/b", "/c"}));
    end.moveRows({0}, 3);
    EXPECT_EQ(end.paths(), S({"/b", "/c", "/a"}));
    EXPECT_EQ(end.selection(), (QList<int>{2}));
    end.moveRows({1}, 1);
    EXPECT_EQ(end.paths(), S({"/b", "/c", "/a"}));

    // Rows out of range (a stale drag) are ignored rather than crashing.
    end.moveRows({7, -1}, 0);
    EXPECT_EQ(end.paths(), S({"/b", "/c", "/a"}));
    EXPECT_EQ(TQArrayController::rowsAboveRow(3, {0, 2, 3, 5}), 2);
}

TEST(TQArrayController, CopiesGoInAtTheDropRowAndRemovalsTakeTheRows)
{
    TQArrayController list = listOf(S({"/a", "/b", "/c"}));
    list.copyRows({0, 2}, 1);
    EXPECT_EQ(list.paths(), S({"/a", "/a", "/c", "/b", "/c"}))
        << "a copy made with Alt is the user's wish even though it repeats";
    EXPECT_EQ(list.selection(), (QList<int>{1, 2}));

    list.removeRows({0, 4, 2});
    EXPECT_EQ(list.paths(), S({"/a", "/b"}));
    EXPECT_TRUE(list.selection().isEmpty());
}

TEST(TQArrayController, StoredRecordsThatAreNotRecordsKeepTheirRows)
{
    TQArrayController list(kHome);
    list.setRecords({QVariantMap{{QStringLiteral("path"), QStringLiteral("/a")}},
                     QStringLiteral("not a record"), QVariantMap{}});
    EXPECT_EQ(list.count(), 3);
    EXPECT_EQ(list.paths().value(1), QString());
    // An empty path is never "already listed" for a real folder.
    EXPECT_EQ(list.insertPaths(S({"/b"}), 3), 1);
}

TEST(TQArrayController, TildeOnlyForTheHomeFolderItself)
{
    EXPECT_EQ(TQArrayController::abbreviateWithTilde(QStringLiteral("/home/annex/x"), kHome),
              QStringLiteral("/home/annex/x"));
    EXPECT_EQ(TQArrayController::abbreviateWithTilde(QStringLiteral("/home/ann/./x/../y"), kHome),
              QStringLiteral("~/y"));
    EXPECT_EQ(TQArrayController::expandTilde(QStringLiteral("~/y"), kHome),
              QStringLiteral("/home/ann/y"));
    EXPECT_EQ(TQArrayController::expandTilde(QStringLiteral("~ann/y"), kHome),
              QStringLiteral("~ann/y"));
}

TEST(ScanFolderProblem, NamesWhatIsWrongWithAFolder)
{
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    ASSERT_TRUE(kelp::test::writeFile(dir.filePath(QStringLiteral("file")), "x"));
    ASSERT_TRUE(QDir().mkpath(dir.filePath(QStringLiteral("locked"))));
    QFile::setPermissions(dir.filePath(QStringLiteral("locked")), QFileDevice::WriteOwner);

    EXPECT_EQ(kelp::scanFolderProblem(dir.path()), QString());
    EXPECT_TRUE(kelp::scanFolderProblem(dir.filePath(QStringLiteral("gone"))).contains(u"is gone"));
    EXPECT_TRUE(
        kelp::scanFolderProblem(dir.filePath(QStringLiteral("file"))).contains(u"not a folder"));
    if (::geteuid() != 0) {
        EXPECT_TRUE(kelp::scanFolderProblem(dir.filePath(QStringLiteral("locked")))
                        .contains(u"cannot be read"));
    }
    QFile::setPermissions(dir.filePath(QStringLiteral("locked")),
                          QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
}
