// The overlay: the typed filter's timer and fade, its shortening to the panel's width, the short
// and long labels of the selected application with the version it declares, and where the label
// goes beside its cell.
#include "window/TQIconOverlayView.h"

#include "catalogue/CatalogueFixture.h"

#include <QElapsedTimer>
#include <QTest>

using namespace kelp;
using kelp::test::CatalogueFixture;
using kelp::test::waitUntil;
using kelp::test::writeFile;
using Side = TQIconOverlayView::Side;

class Overlay : public CatalogueFixture
{
protected:
    void SetUp() override
    {
        CatalogueFixture::SetUp();
        makeCatalogue();
        overlay = std::make_unique<TQIconOverlayView>(*defaults);
        overlay->resize(600, 400);
    }
    void TearDown() override { overlay.reset(); }

    QString desktopEntry(const QString &name, const QByteArray &extra)
    {
        const QString path = home.filePath("apps/" + name + ".desktop");
        writeFile(path, "[Desktop Entry]\nType=Application\nName=" + name.toUtf8() +
                            "\nExec=true\nVersion=1.5\n" + extra +
                            "\n[Desktop Action New]\nX-AppImage-Version=9.9\n");
        return path;
    }
    QString bundle(const QString &name, const QByteArray &keys)
    {
        const QString path = home.filePath("apps/" + name + ".app");
        writeFile(path + "/Contents/Info.plist",
                  "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>" +
                      keys + "</dict></plist>\n");
        return path;
    }

    std::unique_ptr<TQIconOverlayView> overlay;
};

TEST_F(Overlay, FilterShowsAtOnceThenFadesAfterTheResetInterval)
{
    QElapsedTimer clock;
    clock.start();
    overlay->filterStringDidChange(QStringLiteral("s"), 0.3);
    EXPECT_TRUE(overlay->isShowingFilter());
    EXPECT_FALSE(overlay->isFading());

    ASSERT_TRUE(waitUntil([&] { return overlay->isFading(); }));
    EXPECT_GE(clock.elapsed(), 300 - 20);
    EXPECT_TRUE(overlay->isShowingFilter());

    // A key during the fade drops it: the new filter is whole again for a full interval.
    ASSERT_TRUE(waitUntil([&] { return overlay->filterOpacity() < 0.9; }));
    overlay->filterStringDidChange(QStringLiteral("sa"), 0.3);
    EXPECT_FALSE(overlay->isFading());
    EXPECT_DOUBLE_EQ(overlay->filterOpacity(), 1.0);
    EXPECT_EQ(overlay->displayedFilterText(), QStringLiteral("sa"));

    clock.restart();
    ASSERT_TRUE(waitUntil([&] { return !overlay->isShowingFilter(); }));
    // The interval and then the half-second fade.
    EXPECT_GE(clock.elapsed(), 300 + TQIconOverlayView::kFadeDurationMs - 40);
    EXPECT_FALSE(overlay->isFading());
    EXPECT_EQ(overlay->filterString(), QStringLiteral("sa")); // kept, no longer drawn

    // No interval: nothing to show.
    overlay->filterStringDidChange(QStringLiteral("x"), 0);
    EXPECT_FALSE(overlay->isShowingFilter());
    EXPECT_TRUE(overlay->filterString().isEmpty());
}

TEST_F(Overlay, LongFilterIsShortenedInsideTheInset)
{
    overlay->filterStringDidChange(QString(60, u'w'), 1.0);
    EXPECT_LT(overlay->displayedFilterText().size(), 60);
    EXPECT_TRUE(overlay->displayedFilterText().endsWith(u'w')); // the latest letters stay in view
    const QRectF box = overlay->filterBox();
    EXPECT_GE(box.left(), 0.0);
    EXPECT_LE(box.right(), overlay->width());
    EXPECT_NEAR(box.center().x(), overlay->width() / 2.0, 1.0);
}

TEST_F(Overlay, LabelGrowsToPathAndVersionAfterTwoSecondsOnOneIcon)
{
    const QString editor = bundle("Editor", "<key>CFBundleShortVersionString</key><string>2.4"
                                            "</string><key>CFBundleVersion</key><string>2041"
                                            "</string>");
    const QString other = desktopEntry("Other", "");
    const QRectF cell(100, 100, 68, 68);

    overlay->selectedAppDidChange(app(editor), cell);
    EXPECT_EQ(overlay->labelText(), QStringLiteral("Editor"));
    // Moving on within two seconds starts the wait again.
    QTest::qWait(1500);
    overlay->selectedAppDidChange(app(other), cell.translated(68, 0));
    QTest::qWait(1000);
    EXPECT_FALSE(overlay->showsLongLabel());
    EXPECT_EQ(overlay->labelText(), QStringLiteral("Other"));

    overlay->selectedAppDidChange(app(editor), cell);
    ASSERT_TRUE(waitUntil([&] { return overlay->showsLongLabel(); }, 4000));
    ASSERT_TRUE(waitUntil([&] { return overlay->labelText().contains(u'\n'); }));
    EXPECT_EQ(overlay->labelText(), home.filePath("apps/Editor") + "\nVersion: 2.4 (2041)");

    // Nothing selected: no label at all.
    overlay->selectedAppDidChange(nullptr, cell);
    EXPECT_TRUE(overlay->labelText().isEmpty());
    EXPECT_TRUE(overlay->labelBox().isNull());
    EXPECT_FALSE(overlay->showsLongLabel());
}

TEST_F(Overlay, VersionsComeFromWhatTheApplicationDeclares)
{
    auto suffix = [](const QString &path) { return AppVersion::forPath(path).labelSuffix(); };
    // A desktop entry's own Version key is the format's version: never shown.
    EXPECT_EQ(suffix(desktopEntry("Plain", "")), "");
    EXPECT_EQ(suffix(desktopEntry("Image", "X-AppImage-Version=3.1.0")), "\nVersion: 3.1.0");
    // A build number that differs from the version only in case is not repeated.
    EXPECT_EQ(suffix(bundle("Same", "<key>CFBundleShortVersionString</key><string>1.0b</string>"
                                    "<key>CFBundleVersion</key><string>1.0B</string>")),
              "\nVersion: 1.0b");
    EXPECT_EQ(suffix(bundle("Build", "<key>CFBundleVersion</key><string>77</string>")),
              "\nBundle Version: 77");
    // Broken or missing files give no version and no trouble.
    EXPECT_EQ(suffix(bundle("Broken", "<key>CFBundleVersion")), "");
    EXPECT_EQ(suffix(home.filePath("apps/Gone.app")), "");
}

TEST_F(Overlay, LabelStaysInsideAndBesideItsCell)
{
    const QRectF bounds(0, 0, 600, 400);
    const QSizeF label(180, 40);
    const QList<QRectF> cells{QRectF(0, 0, 68, 68),     QRectF(532, 0, 68, 68),
                              QRectF(0, 332, 68, 68),   QRectF(532, 332, 68, 68),
                              QRectF(266, 166, 68, 68), QRectF(266, 0, 68, 68)};
    for (int orientation : {0, 2})
        for (bool tablet : {false, true})
            for (int hand : {0, 1}) {
                SCOPED_TRACE(testing::Message() << "orientation " << orientation << " tablet "
                                                << tablet << " hand " << hand);
                const auto order = TQIconOverlayView::labelSideOrder(orientation, tablet, hand);
                ASSERT_EQ(order.size(), 4);
                for (const QRectF &cell : cells) {
                    const QRectF r = TQIconOverlayView::placeLabel(label, cell, bounds, order);
                    EXPECT_TRUE(bounds.contains(r));
                    EXPECT_FALSE(r.intersects(cell.adjusted(-3, -3, 3, 3)));
                }
            }
    // The preferred side wins when it has room: beside the cell for bunches side by side.
    const QRectF r = TQIconOverlayView::placeLabel(label, QRectF(266, 166, 68, 68), bounds,
                                                   TQIconOverlayView::labelSideOrder(2, false, 1));
    EXPECT_GE(r.left(), 334.0);
    // A label larger than the overlay still starts inside it.
    const QRectF huge = TQIconOverlayView::placeLabel(QSizeF(900, 40), QRectF(10, 10, 68, 68),
                                                      bounds, {Side::Right});
    EXPECT_EQ(huge.left(), 0.0);
}
