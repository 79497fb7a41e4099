// The icon view under a drag, with drag events as the window system delivers them: which drags it
// takes, the applications a dragged file lights (Ctrl widens, releasing narrows), and the drop
// stack the drag leaves behind. The file types come from a table standing in for the desktop's.
#include "window/TQIconView.h"

#include "catalogue/CatalogueFixture.h"
#include "desktop/Desktop.h"
#include "desktop/FileTypeApps.h"
#include "extras/DropStack.h"

#include <QApplication>
#include <QDialog>
#include <QDragEnterEvent>
#include <QMimeData>
#include <QTest>

using namespace kelp;
using kelp::test::CatalogueFixture;

namespace {
const QString Safari = QStringLiteral("/apps/Safari.app");
const QString Mail = QStringLiteral("/apps/Mail.app");
const QString TextEdit = QStringLiteral("/more/TextEdit.app");

// Text files: TextEdit is recommended, Safari can open them too.
class TextTypes : public FileTypeApps
{
public:
    QString contentTypeOf(const QUrl &item) const override
    {
        return item.path().endsWith(QLatin1String(".txt")) ? QStringLiteral("text/plain")
                                                           : QString();
    }
    QStringList appsPreferringType(const QString &type) const override
    {
        return type == QLatin1String("text/plain") ? QStringList{TextEdit} : QStringList{};
    }
    QStringList appsAcceptingType(const QString &type) const override
    {
        return type == QLatin1String("text/plain") ? QStringList{TextEdit, Safari} : QStringList{};
    }
};
} // namespace

class IconViewDrag : public CatalogueFixture
{
protected:
    void SetUp() override
    {
        CatalogueFixture::SetUp();
        makeCatalogue();
        setAll({{Safari, Mail}, {TextEdit}});
        Desktop services = desktop();
        services.fileTypes = std::make_shared<TextTypes>();
        setDesktop(services);
        view = std::make_unique<TQIconView>(*catalogue, *defaults);
        view->setMaxIconViewSize(QSize(800, 600));
        view->setGroupToShow(Group::All);
        DropStack::shared().free();
    }
    void TearDown() override
    {
        view.reset();
        Desktop services = desktop();
        services.fileTypes.reset();
        setDesktop(services);
        DropStack::shared().free();
    }

    static std::unique_ptr<QMimeData> files(const QList<QUrl> &urls)
    {
        auto mime = std::make_unique<QMimeData>();
        mime->setUrls(urls);
        return mime;
    }
    // Sends a drag entering at the centre of the view; whether the view took it.
    bool enter(const QMimeData &mime, Qt::DropActions offered = Qt::CopyAction | Qt::MoveAction)
    {
        QDragEnterEvent e(view->rect().center(), offered, &mime, Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(view.get(), &e);
        return e.isAccepted();
    }
    // A move over the application's cell with the modifiers; the action the view answers.
    Qt::DropAction moveOver(const QString &path, const QMimeData &mime, Qt::KeyboardModifiers mods)
    {
        QDragMoveEvent e(view->rectOfApp(app(path)).center().toPoint(),
                         Qt::CopyAction | Qt::MoveAction, &mime, Qt::LeftButton, mods);
        QCoreApplication::sendEvent(view.get(), &e);
        return e.isAccepted() ? e.dropAction() : Qt::IgnoreAction;
    }
    QStringList lit() const
    {
        QStringList out;
        for (const TQAppPtr &a : catalogue->allApps1D())
            if (view->dragState().droppableApps.contains(a.get())) out << a->path();
        return out;
    }

    std::unique_ptr<TQIconView> view;
};

TEST_F(IconViewDrag, ATextFileLightsItsApplicationsCtrlWidensAndNarrows)
{
    const QString notes = home.filePath(QStringLiteral("notes.txt"));
    const auto mime = files({QUrl::fromLocalFile(notes)});
    ASSERT_TRUE(enter(*mime));
    EXPECT_TRUE(view->dragState().dropInProgress);
    EXPECT_EQ(DropStack::shared().topObjectAsURL(), QUrl::fromLocalFile(notes));
    ASSERT_TRUE(QTest::qWaitFor([&] { return !lit().isEmpty(); }, 5000))
        << "the lookup came back from the worker";
    EXPECT_EQ(lit(), QStringList{TextEdit});

    // Over the recommended application the drop is a copy (the source offered a move too);
    // over one that cannot take the file, nothing.
    EXPECT_EQ(moveOver(TextEdit, *mime, Qt::NoModifier), Qt::CopyAction);
    EXPECT_EQ(moveOver(Safari, *mime, Qt::NoModifier), Qt::IgnoreAction);
    EXPECT_EQ(moveOver(Safari, *mime, Qt::ControlModifier), Qt::CopyAction);
    EXPECT_EQ(lit(), (QStringList{Safari, TextEdit}));
    EXPECT_EQ(moveOver(Mail, *mime, Qt::NoModifier), Qt::IgnoreAction);
    EXPECT_EQ(lit(), QStringList{TextEdit}) << "releasing Ctrl narrows again";

    QDragLeaveEvent leave;
    QCoreApplication::sendEvent(view.get(), &leave);
    EXPECT_TRUE(view->dragState().isIdle());
    EXPECT_TRUE(lit().isEmpty());
    EXPECT_EQ(DropStack::shared().count(), 0) << "the drag's items leave with it";
}

TEST_F(IconViewDrag, DragsItCannotUseAreRefused)
{
    QList<QUrl> many;
    for (int i = 0; i < 1000; ++i)
        many << QUrl::fromLocalFile(home.filePath(QStringLiteral("f%1.txt").arg(i)));
    QMimeData noType;
    noType.setData(QStringLiteral("application/x-something"), "data");
    QMimeData payload; // a move under Kelp's type from another program (no local source)
    payload.setData(QLatin1String(kDragPayloadMimeType), encodeDragPayload({Safari, 5, 0, 0}));
    QMimeData corrupt;
    corrupt.setData(QLatin1String(kDragPayloadMimeType), "\xa1\x61");

    EXPECT_FALSE(enter(*files({QUrl(QStringLiteral("https://example.org/a.txt"))})));
    EXPECT_FALSE(enter(*files(many)));
    EXPECT_FALSE(enter(noType));
    EXPECT_FALSE(enter(payload));
    EXPECT_FALSE(enter(corrupt));
    EXPECT_FALSE(enter(*files({QUrl::fromLocalFile(home.filePath(QStringLiteral("a.txt")))}),
                       Qt::MoveAction))
        << "a source that offers only a move would delete the file";
    EXPECT_TRUE(view->dragState().isIdle());
    EXPECT_EQ(DropStack::shared().count(), 0);

    // With a dialogue of Kelp's open, the view has no drag at all.
    QDialog dialogue;
    dialogue.setModal(true);
    dialogue.show();
    ASSERT_TRUE(QApplication::activeModalWidget());
    EXPECT_FALSE(enter(*files({QUrl::fromLocalFile(home.filePath(QStringLiteral("notes.txt")))})));
    EXPECT_TRUE(view->dragState().isIdle());
}
