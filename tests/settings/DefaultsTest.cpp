// The settings store: change announcements, conversions, the file on disk and its failures.
#include "settings/Defaults.h"
#include "extras/Plist.h"
#include "support/TestSupport.h"

#include <QDateTime>
#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTimeZone>

#include <gtest/gtest.h>

#include <sys/resource.h>

#include <csignal>

using kelp::Defaults;
using kelp::test::readFile;
using kelp::test::waitUntil;
using kelp::test::writeFile;

namespace {

// The keys of the changes a store announced, in order.
QStringList keysOf(const QSignalSpy &changes)
{
    QStringList keys;
    for (const QList<QVariant> &change : changes)
        keys.append(change.at(0).toString());
    return keys;
}

// Collects log messages so that a test can check that a failure was reported.
class MessageCapture
{
public:
    MessageCapture() : previous(qInstallMessageHandler(collect)) { messages().clear(); }
    ~MessageCapture() { qInstallMessageHandler(previous); }
    static bool contains(const QString &text)
    {
        return std::any_of(messages().cbegin(), messages().cend(),
                           [&](const QString &m) { return m.contains(text); });
    }

private:
    static QStringList &messages()
    {
        static QStringList list;
        return list;
    }
    static void collect(QtMsgType, const QMessageLogContext &, const QString &message)
    {
        messages().append(message);
    }
    QtMessageHandler previous;
};

QStringList corruptCopies(const QString &filePath)
{
    const QFileInfo info(filePath);
    return QDir(info.absolutePath())
        .entryList({info.fileName() + QStringLiteral(".corrupt-*")}, QDir::Files);
}

QVariantMap fileValues(const QString &path)
{
    return kelp::plist::fromData(readFile(path)).toMap();
}

class DefaultsTest : public ::testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(dir.isValid()); }

    QTemporaryDir dir;
    // The folder does not exist yet: the store must make it.
    const QString path = dir.path() + QStringLiteral("/config/Kelp/Kelp.plist");
};

TEST_F(DefaultsTest, NewStoreMakesItsFolderAndWritesNothingUntilAValueIsStored)
{
    const QByteArray saved = qgetenv("XDG_CONFIG_HOME");
    qputenv("XDG_CONFIG_HOME", dir.path().toUtf8());
    EXPECT_EQ(Defaults::standardFilePath(), dir.path() + QStringLiteral("/Kelp/Kelp.plist"));
    qputenv("XDG_CONFIG_HOME", saved);

    Defaults store(path);
    EXPECT_TRUE(QFileInfo(path).absoluteDir().exists());
    EXPECT_FALSE(QFileInfo::exists(path));
    EXPECT_FALSE(store.value(QStringLiteral("anything")).isValid());
    store.registerDefaults({{QStringLiteral("a"), 1}});
    EXPECT_TRUE(store.synchronize());
    EXPECT_FALSE(QFileInfo::exists(path)) << "registered defaults are not stored";
}

TEST_F(DefaultsTest, ChangedIsAnnouncedOnlyWhenTheEffectiveValueChanges)
{
    Defaults store(path);
    const QString a = QStringLiteral("a"), b = QStringLiteral("b"), list = QStringLiteral("list");
    store.registerDefaults({{a, qint64(1)}});
    QSignalSpy changes(&store, &Defaults::changed);

    // Storing the registered value (even as another integer type) is no change to observers.
    store.setValue(a, 1);
    EXPECT_TRUE(store.hasStoredValue(a));
    EXPECT_TRUE(changes.isEmpty());

    store.setValue(a, 2);
    ASSERT_EQ(changes.size(), 1);
    EXPECT_EQ(changes[0], (QList<QVariant>{a, qint64(1), qint64(2)}));

    store.setValue(a, qint64(2));
    store.setValue(a, 2.0);
    EXPECT_EQ(changes.size(), 1) << "the same number again is no change";

    // Removing the stored value falls back to the registered one.
    store.remove(a);
    ASSERT_EQ(changes.size(), 2);
    EXPECT_EQ(changes[1].at(1).toDouble(), 2.0);
    EXPECT_EQ(changes[1].at(2).toLongLong(), 1);

    store.setValue(a, 1);
    store.remove(a);
    EXPECT_EQ(changes.size(), 2) << "removing a stored value equal to the default";

    // A new registration changes what is read only while nothing is stored.
    store.registerDefaults({{a, qint64(5)}});
    ASSERT_EQ(changes.size(), 3);
    EXPECT_EQ(changes[2].at(2).toLongLong(), 5);
    store.setValue(a, 7);
    store.registerDefaults({{a, qint64(9)}});
    EXPECT_EQ(changes.size(), 4);
    EXPECT_EQ(store.integer(a), 7);

    // Keys without a default appear and disappear; an invalid value removes.
    store.setValue(b, QStringLiteral("x"));
    store.setValue(b, QVariant());
    ASSERT_EQ(changes.size(), 6);
    EXPECT_FALSE(changes[4].at(1).isValid());
    EXPECT_FALSE(changes[5].at(2).isValid());
    EXPECT_FALSE(store.hasStoredValue(b));

    // Containers compare by content.
    store.setValue(list, QVariantList{1, QStringLiteral("x")});
    store.setValue(list, QVariantList{qint64(1), QStringLiteral("x")});
    store.setValue(list, QStringList{QStringLiteral("x")});
    EXPECT_EQ(keysOf(changes), QStringList({a, a, a, a, b, b, list, list}));
}

TEST_F(DefaultsTest, TypedGettersConvertBetweenNumbersBooleansAndText)
{
    Defaults store(path);
    store.registerDefaults({
        {QStringLiteral("real"), 3.7},
        {QStringLiteral("negative"), -2.9},
        {QStringLiteral("text"), QStringLiteral("12 px")},
        {QStringLiteral("word"), QStringLiteral("abc")},
        {QStringLiteral("yes"), QStringLiteral("YES")},
        {QStringLiteral("no"), QStringLiteral("NO")},
        {QStringLiteral("zero"), QStringLiteral("0")},
        {QStringLiteral("flag"), true},
        {QStringLiteral("two"), qint64(2)},
        {QStringLiteral("fraction"), 0.35},
        {QStringLiteral("list"), QVariantList{1}},
    });
    EXPECT_EQ(store.integer(QStringLiteral("real")), 3);
    EXPECT_EQ(store.integer(QStringLiteral("negative")), -2);
    EXPECT_EQ(store.integer(QStringLiteral("text")), 12);
    EXPECT_EQ(store.integer(QStringLiteral("word")), 0);
    EXPECT_EQ(store.integer(QStringLiteral("list")), 0);
    EXPECT_EQ(store.integer(QStringLiteral("missing")), 0);
    EXPECT_DOUBLE_EQ(store.real(QStringLiteral("text")), 12.0);

    EXPECT_TRUE(store.boolean(QStringLiteral("yes")));
    EXPECT_FALSE(store.boolean(QStringLiteral("no")));
    EXPECT_FALSE(store.boolean(QStringLiteral("zero")));
    EXPECT_TRUE(store.boolean(QStringLiteral("two")));
    EXPECT_FALSE(store.boolean(QStringLiteral("list")));

    EXPECT_EQ(store.string(QStringLiteral("two")), QStringLiteral("2"));
    EXPECT_EQ(store.string(QStringLiteral("fraction")), QStringLiteral("0.35"));
    EXPECT_EQ(store.string(QStringLiteral("flag")), QStringLiteral("1"));
    EXPECT_TRUE(store.string(QStringLiteral("list")).isEmpty());
    EXPECT_TRUE(store.array(QStringLiteral("text")).isEmpty());
    EXPECT_FALSE(store.colour(QStringLiteral("missing")).isValid());
}

TEST_F(DefaultsTest, ColoursAreStoredAsFourDeviceRgbaReals)
{
    EXPECT_EQ(Defaults::colourValue(QColor(255, 0, 0)), QVariant(QVariantList{1.0, 0.0, 0.0, 1.0}));
    EXPECT_FALSE(Defaults::colourValue(QColor()).isValid());
    {
        Defaults store(path);
        store.setColour(QStringLiteral("tint"), QColor::fromRgbF(0.2f, 0.4f, 0.6f, 0.5f));
        store.setValue(QStringLiteral("direct"), QColor(Qt::green));
        store.setValue(QStringLiteral("broken"), QVariantList{1.0, QStringLiteral("x"), 0.0});
        ASSERT_TRUE(store.synchronize());
    }
    const QVariantList onDisk = fileValues(path).value(QStringLiteral("tint")).toList();
    ASSERT_EQ(onDisk.size(), 4);
    EXPECT_EQ(onDisk[3].typeId(), QMetaType::Double);

    Defaults again(path);
    const QColor read = again.colour(QStringLiteral("tint"));
    // QColor keeps 16 bits per channel.
    EXPECT_NEAR(read.redF(), 0.2, 2e-5);
    EXPECT_NEAR(read.greenF(), 0.4, 2e-5);
    EXPECT_NEAR(read.blueF(), 0.6, 2e-5);
    EXPECT_NEAR(read.alphaF(), 0.5, 2e-5);
    EXPECT_EQ(again.colour(QStringLiteral("direct")), QColor(Qt::green));
    EXPECT_FALSE(again.colour(QStringLiteral("broken")).isValid());
}

// None of these keys is a Kelp setting: keys the store does not know are kept all the same.
TEST_F(DefaultsTest, StoredValuesSurviveARestart)
{
    const QVariantMap record{{QStringLiteral("path"), QStringLiteral("~/Apps")},
                             {QStringLiteral("depth"), qint64(3)}};
    const QVariantMap values{
        {QStringLiteral("flag"), true},
        {QStringLiteral("count"), qint64(-12)},
        {QStringLiteral("ratio"), 0.85},
        {QStringLiteral("name"), QStringLiteral("Grüße <&> \"x\"")},
        {QStringLiteral("blob"), QByteArray("\x00\x01\xff", 3)},
        {QStringLiteral("when"), QDateTime(QDate(2024, 5, 13), QTime(8, 30, 15), QTimeZone::utc())},
        {QStringLiteral("records"), QVariantList{record, QVariantList{}}},
    };
    {
        Defaults store(path);
        for (auto it = values.cbegin(); it != values.cend(); ++it)
            store.setValue(it.key(), it.value());
        ASSERT_TRUE(store.synchronize());
    }
    EXPECT_TRUE(readFile(path).startsWith("<?xml")) << "the settings file stays readable by hand";

    Defaults again(path);
    for (auto it = values.cbegin(); it != values.cend(); ++it) {
        EXPECT_TRUE(again.hasStoredValue(it.key())) << qPrintable(it.key());
        EXPECT_EQ(again.value(it.key()), it.value()) << qPrintable(it.key());
    }
}

TEST_F(DefaultsTest, WritesAreCoalescedAndFlushedOnDestruction)
{
    {
        Defaults store(path);
        for (int i = 0; i <= 50; ++i)
            store.setValue(QStringLiteral("n"), i);
        EXPECT_FALSE(QFileInfo::exists(path)) << "setValue must not write the file itself";
        ASSERT_TRUE(waitUntil([&] { return QFileInfo::exists(path); }));
        EXPECT_EQ(fileValues(path).value(QStringLiteral("n")).toLongLong(), 50);

        store.setValue(QStringLiteral("n"), 51);
    }
    EXPECT_EQ(fileValues(path).value(QStringLiteral("n")).toLongLong(), 51)
        << "a store writes what is pending when it goes away";
}

// The file-size limit makes the kernel refuse the write even for root, as a full disk would.
class FileSizeLimit
{
public:
    explicit FileSizeLimit(rlim_t bytes)
    {
        getrlimit(RLIMIT_FSIZE, &saved);
        previousHandler = std::signal(SIGXFSZ, SIG_IGN);
        rlimit limit = saved;
        limit.rlim_cur = bytes;
        active = setrlimit(RLIMIT_FSIZE, &limit) == 0;
    }
    ~FileSizeLimit()
    {
        setrlimit(RLIMIT_FSIZE, &saved);
        std::signal(SIGXFSZ, previousHandler);
    }
    bool active = false;

private:
    rlimit saved{};
    void (*previousHandler)(int) = nullptr;
};

TEST_F(DefaultsTest, AFailedWriteLeavesTheOldFileIntact)
{
    Defaults store(path);
    store.setValue(QStringLiteral("a"), 1);
    ASSERT_TRUE(store.synchronize());
    const QByteArray before = readFile(path);
    {
        MessageCapture log;
        FileSizeLimit limit(before.size() + 16);
        ASSERT_TRUE(limit.active);
        store.setValue(QStringLiteral("big"), QString(4000, u'x'));
        EXPECT_FALSE(store.synchronize());
        EXPECT_TRUE(log.contains(QStringLiteral("Cannot write the settings file")));
    }
    EXPECT_EQ(readFile(path), before);
    EXPECT_EQ(QDir(QFileInfo(path).absolutePath()).entryList(QDir::Files | QDir::Hidden),
              QStringList{QStringLiteral("Kelp.plist")})
        << "no temporary file is left behind";
    EXPECT_EQ(store.string(QStringLiteral("big")).size(), 4000) << "the value stays in memory";

    EXPECT_TRUE(store.synchronize()) << "the next write succeeds once space is back";
    EXPECT_EQ(fileValues(path).value(QStringLiteral("big")).toString().size(), 4000);

    // A plain file where the folder should be: no one, not even root, can create the folder.
    ASSERT_TRUE(writeFile(dir.path() + QStringLiteral("/blocker"), "x"));
    MessageCapture log;
    Defaults blocked(dir.path() + QStringLiteral("/blocker/Kelp/Kelp.plist"));
    blocked.registerDefaults({{QStringLiteral("a"), qint64(1)}});
    blocked.setValue(QStringLiteral("a"), 2);
    EXPECT_FALSE(blocked.synchronize());
    EXPECT_EQ(blocked.integer(QStringLiteral("a")), 2);
    EXPECT_TRUE(log.contains(QStringLiteral("Cannot create the settings folder")));
}

TEST_F(DefaultsTest, AnUnparsableFileIsKeptAsideAndTheDefaultsApply)
{
    const QList<QByteArray> broken{
        "this is not a property list",
        "",
        "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict><key>a</key><integer>5",
        "<?xml version=\"1.0\"?><plist version=\"1.0\"><array><integer>5</integer></array></plist>",
    };
    for (const QByteArray &content : broken) {
        SCOPED_TRACE(content.constData());
        QTemporaryDir caseDir;
        const QString file = caseDir.path() + QStringLiteral("/Kelp.plist");
        ASSERT_TRUE(writeFile(file, content));

        MessageCapture log;
        Defaults store(file);
        store.registerDefaults({{QStringLiteral("a"), qint64(1)}});
        EXPECT_EQ(store.integer(QStringLiteral("a")), 1);
        EXPECT_FALSE(store.hasStoredValue(QStringLiteral("a")));
        EXPECT_FALSE(QFileInfo::exists(file));
        const QStringList copies = corruptCopies(file);
        ASSERT_EQ(copies.size(), 1);
        EXPECT_TRUE(
            copies[0].contains(QRegularExpression(QStringLiteral(R"(\.corrupt-\d{8}-\d{6}$)"))));
        EXPECT_EQ(readFile(caseDir.path() + u'/' + copies[0]), content);
        EXPECT_TRUE(log.contains(QStringLiteral("kept aside")));

        // Later writes make a new file and leave the copy alone.
        store.setValue(QStringLiteral("a"), 3);
        ASSERT_TRUE(store.synchronize());
        EXPECT_EQ(fileValues(file).value(QStringLiteral("a")).toLongLong(), 3);
        EXPECT_EQ(corruptCopies(file).size(), 1);
    }
}

TEST_F(DefaultsTest, EditsByAnotherProcessAreAnnounced)
{
    Defaults store(path);
    store.registerDefaults({{QStringLiteral("a"), qint64(1)},
                            {QStringLiteral("b"), QStringLiteral("x")},
                            {QStringLiteral("c"), true}});
    store.setValue(QStringLiteral("a"), 2);
    ASSERT_TRUE(store.synchronize());
    QSignalSpy changes(&store, &Defaults::changed);

    // Another program replaces the file atomically (new inode).
    ASSERT_TRUE(
        kelp::plist::writeXmlFile(path, QVariantMap{{QStringLiteral("a"), qint64(2)},
                                                    {QStringLiteral("b"), QStringLiteral("y")},
                                                    {QStringLiteral("d"), qint64(5)}}));
    ASSERT_TRUE(waitUntil([&] { return keysOf(changes).contains(QStringLiteral("d")); }));
    QStringList keys = keysOf(changes);
    keys.sort();
    EXPECT_EQ(keys, QStringList({QStringLiteral("b"), QStringLiteral("d")}))
        << "only keys whose value changed are announced";
    EXPECT_EQ(store.string(QStringLiteral("b")), QStringLiteral("y"));

    // Then rewrites it in place, and then drops keys.
    changes.clear();
    ASSERT_TRUE(
        writeFile(path, kelp::plist::toXml(QVariantMap{{QStringLiteral("a"), qint64(3)},
                                                       {QStringLiteral("b"), QStringLiteral("y")},
                                                       {QStringLiteral("d"), qint64(5)}})));
    ASSERT_TRUE(waitUntil([&] { return store.integer(QStringLiteral("a")) == 3; }));
    ASSERT_EQ(changes.size(), 1);
    EXPECT_EQ(changes[0].at(1).toLongLong(), 2);

    changes.clear();
    ASSERT_TRUE(
        kelp::plist::writeXmlFile(path, QVariantMap{{QStringLiteral("b"), QStringLiteral("y")}}));
    ASSERT_TRUE(waitUntil([&] { return changes.size() == 2; }));
    EXPECT_EQ(store.integer(QStringLiteral("a")), 1) << "a key removed outside reads its default";
    EXPECT_FALSE(store.value(QStringLiteral("d")).isValid());
}

TEST_F(DefaultsTest, OwnWritesAreNotReadBackAndUnwrittenChangesSurviveOutsideEdits)
{
    Defaults store(path);
    QSignalSpy changes(&store, &Defaults::changed);
    store.setValue(QStringLiteral("a"), 5);
    ASSERT_TRUE(store.synchronize());
    store.setValue(QStringLiteral("a"), 6);
    ASSERT_TRUE(store.synchronize());
    QElapsedTimer settle;
    settle.start();
    waitUntil([&] { return settle.elapsed() > 600; });
    EXPECT_EQ(keysOf(changes), QStringList({QStringLiteral("a"), QStringLiteral("a")}))
        << "the echo of Kelp's own write is not an edit";

    // A change made here and not yet written wins over an outside edit of the same key; the
    // outside edit of another key is taken.
    store.setValue(QStringLiteral("a"), 7);
    ASSERT_TRUE(kelp::plist::writeXmlFile(
        path, QVariantMap{{QStringLiteral("a"), qint64(5)}, {QStringLiteral("b"), qint64(9)}}));
    ASSERT_TRUE(waitUntil([&] { return store.integer(QStringLiteral("b")) == 9; }));
    EXPECT_EQ(store.integer(QStringLiteral("a")), 7);
    ASSERT_TRUE(store.synchronize());
    const QVariantMap onDisk = fileValues(path);
    EXPECT_EQ(onDisk.value(QStringLiteral("a")).toLongLong(), 7);
    EXPECT_EQ(onDisk.value(QStringLiteral("b")).toLongLong(), 9);
}

TEST_F(DefaultsTest, AFileBrokenWhileRunningIsKeptAsideAndRewritten)
{
    Defaults store(path);
    store.setValue(QStringLiteral("a"), 2);
    ASSERT_TRUE(store.synchronize());
    QSignalSpy changes(&store, &Defaults::changed);
    MessageCapture log;

    ASSERT_TRUE(writeFile(path, "garbage"));
    ASSERT_TRUE(waitUntil([&] {
        return corruptCopies(path).size() == 1 &&
               fileValues(path).value(QStringLiteral("a")).toLongLong() == 2;
    }));
    EXPECT_EQ(store.integer(QStringLiteral("a")), 2);
    EXPECT_TRUE(changes.isEmpty());
    EXPECT_TRUE(log.contains(QStringLiteral("kept aside")));
}

} // namespace
