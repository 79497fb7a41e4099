// The quick client against the whole program: for every command line it takes, the running Kelp
// must read the same request the whole program would have sent; the rest it must leave alone; and
// it must only ever talk to this user's own Kelp.
#include "cli/QuickClient.h"
#include "cli/CommandLine.h"
#include "control/SingleInstance.h"

#include "support/TestSupport.h"

#include <QDir>
#include <QFile>
#include <QLocalServer>
#include <QLocalSocket>
#include <QTemporaryDir>

#include <thread>

#include <gtest/gtest.h>
#include <sys/stat.h>

namespace kelp {
namespace {
using test::waitUntil;
using test::writeFile;

std::vector<std::string> utf8(const QStringList &arguments)
{
    std::vector<std::string> out{"kelp"};
    for (const QString &a : arguments)
        out.push_back(a.toStdString());
    return out;
}

TEST(QuickClient, TakesWhatTheWholeProgramWouldSendAndLeavesTheRest)
{
    const QString here = QDir::currentPath();
    const QList<QStringList> taken = {
        {},
        {QStringLiteral("--toggle")},
        {QStringLiteral("--hidden")},
        {QStringLiteral("--preferences")},
        {QStringLiteral("notes.txt"), QStringLiteral("/tmp/a b.png")},
        {QStringLiteral("./x/../y//z.txt"), QStringLiteral("dir/")},
        {QStringLiteral("../up.txt"), QStringLiteral("/../root.txt")},
        {QStringLiteral("quote\" back\\slash\ttab\nline\x01.txt")},
        {QStringLiteral("été ✓ 𝄞.txt")},
    };
    for (const QStringList &arguments : taken) {
        SCOPED_TRACE(arguments.join(QLatin1Char('|')).toStdString());
        const Command whole = parseCommandLine(QStringList{QStringLiteral("kelp")} + arguments);
        ASSERT_EQ(whole.kind, Command::Kind::Launcher);
        const std::optional<std::string> line =
            quick::requestLine(utf8(arguments), here.toStdString());
        ASSERT_TRUE(line.has_value());
        ASSERT_EQ(line->back(), '\n');
        bool ok = false;
        const InstanceRequest read = InstanceRequest::decode(QByteArray::fromStdString(*line), &ok);
        EXPECT_TRUE(ok);
        EXPECT_EQ(read.command, whole.request.command);
        EXPECT_EQ(read.files, whole.request.files);
    }

    // Everything else goes to the whole program: the tools, errors, help, several requests.
    const QList<QStringList> left = {
        {QStringLiteral("--print-catalogue")},
        {QStringLiteral("--help")},
        {QStringLiteral("--show"), QStringLiteral("--quit")},
        {QStringLiteral("--hide"), QStringLiteral("notes.txt")},
        {QStringLiteral("-platform"), QStringLiteral("xcb")},
        {QStringLiteral("--no-such-option")},
        {QStringLiteral("")},
    };
    for (const QStringList &arguments : left) {
        SCOPED_TRACE(arguments.join(QLatin1Char('|')).toStdString());
        EXPECT_FALSE(quick::requestLine(utf8(arguments), here.toStdString()).has_value());
    }
    // Names that are not UTF-8 (and a current folder that is not absolute) are left too.
    EXPECT_FALSE(quick::requestLine({"kelp", "bad\xff.txt"}, "/tmp").has_value());
    EXPECT_FALSE(quick::requestLine({"kelp", "over\xc0\xaflong"}, "/tmp").has_value());
    EXPECT_FALSE(quick::requestLine({"kelp", "surrogate\xed\xa0\x80"}, "/tmp").has_value());
    EXPECT_FALSE(quick::requestLine({"kelp", "notes.txt"}, "").has_value());
}

TEST(QuickClient, TalksOnlyToThisUsersKelpInAPrivateRuntimeFolder)
{
    QTemporaryDir runtime;
    ASSERT_TRUE(runtime.isValid());
    const QByteArray folder = QFile::encodeName(runtime.path());
    const QByteArray saved = qgetenv("XDG_RUNTIME_DIR");
    qputenv("XDG_RUNTIME_DIR", folder);

    ASSERT_EQ(::chmod(folder.constData(), 0755), 0);
    EXPECT_FALSE(quick::socketPath().has_value()) << "a folder others can read is not used";
    ASSERT_EQ(::chmod(folder.constData(), 0700), 0);
    const std::optional<std::string> path = quick::socketPath();
    ASSERT_TRUE(path.has_value());
    EXPECT_EQ(QString::fromStdString(*path), SingleInstance::socketPath());

    // Nobody listens: the request is not taken, at once.
    const std::string toggle = "{\"command\":\"toggle\",\"files\":[]}\n";
    EXPECT_EQ(quick::send(*path, toggle, 3000), quick::Delivery::NotTaken);

    // A listener that takes the line and never answers (a Kelp busy past the client's patience):
    // the request is its own now, so the client must not hand it over a second time.
    {
        QLocalServer silent;
        ASSERT_TRUE(silent.listen(QString::fromStdString(*path)));
        quick::Delivery delivery = quick::Delivery::Taken;
        std::thread client([&]() { delivery = quick::send(*path, toggle, 300); });
        EXPECT_TRUE(waitUntil([&]() { return silent.hasPendingConnections(); }));
        QLocalSocket *connection = silent.nextPendingConnection();
        client.join();
        EXPECT_EQ(delivery, quick::Delivery::Unanswered);
        ASSERT_TRUE(connection);
        EXPECT_TRUE(waitUntil([&]() { return connection->canReadLine(); }));
        EXPECT_EQ(connection->readLine(), QByteArray::fromStdString(toggle));
    }

    // A running Kelp takes it, and says so.
    SingleInstance instance;
    ASSERT_TRUE(instance.listen());
    QList<InstanceRequest> received;
    QObject::connect(&instance, &SingleInstance::requestReceived,
                     [&](const InstanceRequest &r) { received.append(r); });
    quick::Delivery sent = quick::Delivery::NotTaken;
    std::thread client([&]() {
        sent = quick::send(*path, *quick::requestLine({"kelp", "a \"b\".txt"}, "/home/u"), 3000);
    });
    EXPECT_TRUE(waitUntil([&]() { return received.count() == 1; }));
    client.join();
    EXPECT_EQ(sent, quick::Delivery::Taken);
    ASSERT_EQ(received.count(), 1);
    const InstanceRequest &request = received.first();
    EXPECT_EQ(request.command, QStringLiteral("open"));
    EXPECT_EQ(request.files, QStringList{QStringLiteral("/home/u/a \"b\".txt")});

    qputenv("XDG_RUNTIME_DIR", saved);
}

TEST(QuickClient, FindsTheWholeProgramBesideItOrInItsInstalledPlace)
{
    QTemporaryDir root;
    ASSERT_TRUE(QDir(root.path()).mkpath(QStringLiteral("bin")));
    ASSERT_TRUE(QDir(root.path()).mkpath(QStringLiteral("libexec/kelp")));
    const std::string client = root.filePath(QStringLiteral("bin/kelp")).toStdString();
    const std::vector<std::string> candidates{"app/kelp", "../libexec/kelp/kelp"};
    EXPECT_EQ(quick::wholeProgram(client, candidates), "") << "nothing installed";

    const QString installed = root.filePath(QStringLiteral("libexec/kelp/kelp"));
    ASSERT_TRUE(writeFile(installed, "#!/bin/sh\n"));
    EXPECT_EQ(quick::wholeProgram(client, candidates), "") << "not executable";
    ASSERT_TRUE(QFile::setPermissions(installed, QFile::ReadOwner | QFile::ExeOwner));
    EXPECT_EQ(quick::wholeProgram(client, candidates), installed.toStdString());
}

} // namespace
} // namespace kelp
