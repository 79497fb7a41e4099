// Drags over the icon grid as pure logic: the payload a moved favourite carries, and where a
// favourite dropped on a point of the laid-out favourites goes.
#include "window/DragPayload.h"
#include "window/FileDrop.h"
#include "window/IconDrag.h"

#include <QCborArray>
#include <QCborMap>
#include <QCborValue>
#include <QMimeData>

#include <gtest/gtest.h>

using namespace kelp;

namespace {

QCborMap payloadMap(const TQDragPayload &p)
{
    return QCborValue::fromCbor(encodeDragPayload(p)).toMap();
}

QByteArray withValue(const QString &key, const QCborValue &value)
{
    QCborMap root = payloadMap({QStringLiteral("/usr/share/applications/a.desktop"), 8, 1, 2});
    QCborMap values = root.value(QLatin1String("ivDict")).toMap();
    if (value.isUndefined())
        values.remove(key);
    else
        values.insert(key, value);
    root.insert(QLatin1String("ivDict"), values);
    return root.toCborValue().toCbor();
}

TEST(DragPayload, RoundTripsTheFourValuesIncludingNone)
{
    for (const TQDragPayload &p :
         {TQDragPayload{QStringLiteral("/home/ann/.local/share/applications/été.desktop"), 8, 3, 0},
          TQDragPayload{QStringLiteral("/usr/bin/xterm"), 9, 0, TQDragPayload::kNotFound},
          TQDragPayload{QStringLiteral("/opt/x.desktop"), 5, TQDragPayload::kNotFound,
                        4000000000ULL}}) {
        const auto back = decodeDragPayload(encodeDragPayload(p));
        ASSERT_TRUE(back) << p.app.toStdString();
        EXPECT_EQ(*back, p);
    }
}

TEST(DragPayload, RefusesWhatIsNotOnePayloadOfThisVersion)
{
    const QByteArray good = encodeDragPayload({QStringLiteral("/a.desktop"), 8, 0, 0});
    QCborMap otherVersion = payloadMap({QStringLiteral("/a.desktop"), 8, 0, 0});
    otherVersion.insert(QLatin1String("version"), 2);
    QCborMap otherFormat = otherVersion;
    otherFormat.insert(QLatin1String("version"), 1);
    otherFormat.insert(QLatin1String("format"), QLatin1String("kelp.Something"));
    QCborMap noVersion = otherFormat;
    noVersion.remove(QLatin1String("version"));
    noVersion.insert(QLatin1String("format"), QLatin1String("kelp.TQDragPayload"));

    const std::vector<std::pair<const char *, QByteArray>> cases = {
        {"empty", {}},
        {"text", QByteArrayLiteral("/usr/share/applications/a.desktop")},
        {"truncated", good.left(good.size() - 3)},
        {"trailing data", good + QByteArrayLiteral("\x01")},
        {"an array", QCborValue(QCborArray{1, 2}).toCbor()},
        {"another version", otherVersion.toCborValue().toCbor()},
        {"no version", noVersion.toCborValue().toCbor()},
        {"another format", otherFormat.toCborValue().toCbor()},
        {"no index", withValue(QStringLiteral("_index"), QCborValue())},
        {"negative bunch", withValue(QStringLiteral("_bunch"), -1)},
        {"index as text", withValue(QStringLiteral("_index"), QStringLiteral("2"))},
        {"index as float", withValue(QStringLiteral("_index"), 2.0)},
        {"group 10", withValue(QStringLiteral("_group"), 10)},
        {"relative path", withValue(QStringLiteral("_app"), QStringLiteral("a.desktop"))},
        {"empty path", withValue(QStringLiteral("_app"), QString())},
        {"path as bytes", withValue(QStringLiteral("_app"), QByteArray("/a.desktop"))},
        {"too large", withValue(QStringLiteral("_app"), QString(20000, QLatin1Char('/')))},
    };
    for (const auto &[name, bytes] : cases) {
        QString why;
        EXPECT_FALSE(decodeDragPayload(bytes, &why)) << name;
        EXPECT_FALSE(why.isEmpty()) << name;
    }
}

// --- Where a dropped favourite goes --------------------------------------------------------------

struct FavouritesView
{
    IconGridLayout layout;

    FavouritesView(std::vector<std::uint64_t> bunchSizes, int orientation)
    {
        GridSettings s;
        s.groupOrientation = orientation;
        layout.setSettings(s);
        layout.setShape(bunchSizes.empty() ? GridShape::flatList(0)
                                           : GridShape::bunches(std::move(bunchSizes)));
        layout.setGroup(8);
        layout.setMaxViewSize(QSizeF(800, 600));
        layout.calcRowColCount();
    }
    FavouriteDrop dropAt(QPointF p, bool empty = false) const
    {
        return favouriteDropAt(layout, layout.coordsOfPoint(p), empty);
    }
    QPointF cell(std::uint32_t bunch, std::uint32_t index) const
    {
        return layout.rectOfCoords(layout.coordsOfEntry(bunch, index)).center();
    }
    QPointF gap(std::size_t g) const { return layout.bunchSpacingRects().at(g).center(); }
    // The middle of where bunch b meets margin m (0 top, 1 right, 2 bottom, 3 left).
    QPointF bunchEnd(std::size_t b, std::size_t m) const
    {
        return layout.bunchRects().at(b).intersected(layout.marginRects().at(m)).center();
    }
};

using Kind = FavouriteDrop::Kind;
constexpr qint64 kEnd = kelp::Favourites::kAtEnd;

TEST(FavouriteDrop, CellsBunchEndsAndGapsOfBunchesSideBySide)
{
    const FavouritesView f({3, 2, 1}, 2); // blocks of columns, left to right
    ASSERT_EQ(f.layout.bunchCount(), 3u);
    EXPECT_EQ(f.dropAt(f.cell(0, 0)), (FavouriteDrop{Kind::IntoBunch, 0, 0}));
    EXPECT_EQ(f.dropAt(f.cell(1, 1)), (FavouriteDrop{Kind::IntoBunch, 1, 1}));
    EXPECT_EQ(f.dropAt(f.cell(2, 0)), (FavouriteDrop{Kind::IntoBunch, 2, 0}));
    // An empty cell at the foot of a short bunch: after its last.
    Coords empty;
    for (std::uint64_t r = 0; r < f.layout.rowCount() && !empty.hasCell(); ++r)
        for (std::uint64_t c = 0; c < f.layout.colCount(); ++c)
            if (!f.layout.cellAt(r, c).filled && f.layout.cellAt(r, c).bunch == 2)
                empty = Coords::cell(r, c);
    ASSERT_TRUE(empty.hasCell()) << "a bunch of one beside one of three leaves empty cells";
    EXPECT_EQ(f.dropAt(f.layout.rectOfCoords(empty).center()),
              (FavouriteDrop{Kind::IntoBunch, 2, 1}));
    // Above a bunch: its start; below it: its end.
    EXPECT_EQ(f.dropAt(f.bunchEnd(1, 0)), (FavouriteDrop{Kind::IntoBunch, 1, 0}));
    EXPECT_EQ(f.dropAt(f.bunchEnd(1, 2)), (FavouriteDrop{Kind::IntoBunch, 1, kEnd}));
    // Gaps: before the first, between bunches 1 and 2 (a new bunch 2), after the last.
    EXPECT_EQ(f.dropAt(f.gap(0)), (FavouriteDrop{Kind::NewBunch, 0, 0}));
    EXPECT_EQ(f.dropAt(f.gap(2)), (FavouriteDrop{Kind::NewBunch, 0, 2}));
    EXPECT_EQ(f.dropAt(f.gap(3)), (FavouriteDrop{Kind::NewBunch, 0, 3}));
    // Outside the view, with favourites: nowhere to go.
    EXPECT_EQ(f.dropAt(QPointF(-5, -5)).kind, Kind::Refused);
}

TEST(FavouriteDrop, BandsOfRowsAppendAtEitherEnd)
{
    const FavouritesView f({2, 4}, 1); // bands of rows, top to bottom
    ASSERT_EQ(f.layout.bunchCount(), 2u);
    EXPECT_EQ(f.dropAt(f.cell(1, 3)), (FavouriteDrop{Kind::IntoBunch, 1, 3}));
    // The left end appends as the right end does; only the top margin means the start.
    EXPECT_EQ(f.dropAt(f.bunchEnd(0, 3)), (FavouriteDrop{Kind::IntoBunch, 0, kEnd}));
    EXPECT_EQ(f.dropAt(f.bunchEnd(0, 1)), (FavouriteDrop{Kind::IntoBunch, 0, kEnd}));
    EXPECT_EQ(f.dropAt(f.gap(1)), (FavouriteDrop{Kind::NewBunch, 0, 1}));
}

TEST(FavouriteDrop, TheEmptyFavouritesViewTakesTheFirstBunch)
{
    const FavouritesView f({}, 2);
    EXPECT_EQ(f.dropAt(QPointF(20, 20), true), (FavouriteDrop{Kind::NewBunch, 0, 0}));
    EXPECT_EQ(f.dropAt(QPointF(20, 20), false).kind, Kind::Refused);
}

// --- Files offered by another program ---------------------------------------------------------

TEST(DroppedFiles, LocalFilesFromAURLListOrOnePlainTextLine)
{
    auto text = [](const char *t) {
        auto m = std::make_unique<QMimeData>();
        m->setText(QString::fromUtf8(t));
        return m;
    };
    EXPECT_EQ(droppedFilesFrom(*text("/home/ann/a b.txt")).files,
              QList<QUrl>{QUrl::fromLocalFile(QStringLiteral("/home/ann/a b.txt"))});
    EXPECT_EQ(droppedFilesFrom(*text(" file:///tmp/x.png\n")).files,
              QList<QUrl>{QUrl::fromLocalFile(QStringLiteral("/tmp/x.png"))});
    EXPECT_FALSE(droppedFilesFrom(*text("https://example.org/")).isAccepted());
    EXPECT_FALSE(droppedFilesFrom(*text("/a.txt\n/b.txt")).isAccepted()) << "one line only";
    EXPECT_FALSE(droppedFilesFrom(*text("notes.txt")).isAccepted()) << "a relative name";

    // A list keeps its files and leaves other URLs out; at most kMaxDroppedFiles.
    QMimeData mixed;
    mixed.setUrls({QUrl(QStringLiteral("https://example.org/")),
                   QUrl::fromLocalFile(QStringLiteral("/tmp/b.txt"))});
    EXPECT_EQ(droppedFilesFrom(mixed).files,
              QList<QUrl>{QUrl::fromLocalFile(QStringLiteral("/tmp/b.txt"))});
    QList<QUrl> urls;
    for (int i = 0; i < kMaxDroppedFiles; ++i)
        urls << QUrl::fromLocalFile(QStringLiteral("/tmp/%1").arg(i));
    QMimeData most;
    most.setUrls(urls);
    EXPECT_EQ(droppedFilesFrom(most).files.size(), kMaxDroppedFiles);
    urls << QUrl::fromLocalFile(QStringLiteral("/tmp/one-more"));
    most.setUrls(urls);
    EXPECT_FALSE(droppedFilesFrom(most).isAccepted());
}

} // namespace
