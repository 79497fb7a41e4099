#include "control/SingleInstance.h"
#include "extras/DropStack.h"

#include "support/TestSupport.h"

#include <QFileInfo>
#include <QSignalSpy>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cstring>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>

using namespace kelp;

namespace {

class Instance : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(runtime.isValid());
        QFile::setPermissions(runtime.path(), QFileDevice::ReadOwner | QFileDevice::WriteOwner |
                                                  QFileDevice::ExeOwner);
        qputenv("XDG_RUNTIME_DIR", runtime.path().toUtf8());
    }

    // Sends from another thread while this one runs the event loop, as a second `kelp` would.
    bool send(const InstanceRequest &request)
    {
        bool answered = false;
        bool done = false;
        std::thread sender([&] {
            answered = SingleInstance::sendToRunning(request, 5000);
            done = true;
        });
        test::waitUntil([&] { return done; }, 10000);
        sender.join();
        return answered;
    }

    QTemporaryDir runtime;
};

} // namespace

TEST_F(Instance, SecondStartHandsItsRequestToTheFirst)
{
    SingleInstance first;
    ASSERT_TRUE(first.listen());
    EXPECT_TRUE(SingleInstance::socketPath().startsWith(runtime.path()));
    // Only the user may open the socket.
    const QFile::Permissions perms = QFileInfo(SingleInstance::socketPath()).permissions();
    EXPECT_FALSE(perms & (QFileDevice::ReadOther | QFileDevice::WriteOther |
                          QFileDevice::ReadGroup | QFileDevice::WriteGroup));

    SingleInstance second;
    EXPECT_FALSE(second.listen()) << "a Kelp is already running";

    QSignalSpy received(&first, &SingleInstance::requestReceived);
    EXPECT_TRUE(send({QStringLiteral("toggle"), {}}));
    EXPECT_TRUE(send(
        {QStringLiteral("open"), {QStringLiteral("/tmp/a b.txt"), QStringLiteral("/tmp/ü.png")}}));
    EXPECT_FALSE(send({QStringLiteral("format-disk"), {}})) << "unknown requests are refused";
    ASSERT_EQ(received.size(), 2);
    const auto open = received.at(1).at(0).value<InstanceRequest>();
    EXPECT_EQ(open.command, QStringLiteral("open"));
    EXPECT_EQ(open.files,
              (QStringList{QStringLiteral("/tmp/a b.txt"), QStringLiteral("/tmp/ü.png")}));
}

TEST_F(Instance, NoKelpRunningMeansNobodyAnswers)
{
    EXPECT_FALSE(SingleInstance::sendToRunning({QStringLiteral("reopen"), {}}, 500));
}

TEST_F(Instance, SocketLeftByACrashIsReplaced)
{
    // A socket file nobody listens on, as a Kelp that was killed leaves behind.
    const QByteArray path = SingleInstance::socketPath().toUtf8();
    const int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
    ASSERT_GE(fd, 0);
    sockaddr_un addr{};
    addr.sun_family = AF_UNIX;
    std::strncpy(addr.sun_path, path.constData(), sizeof(addr.sun_path) - 1);
    ASSERT_EQ(::bind(fd, reinterpret_cast<sockaddr *>(&addr), sizeof(addr)), 0);
    ::close(fd);
    ASSERT_TRUE(QFileInfo::exists(SingleInstance::socketPath()));

    SingleInstance kelp;
    ASSERT_TRUE(kelp.listen());
    QSignalSpy received(&kelp, &SingleInstance::requestReceived);
    EXPECT_TRUE(send({QStringLiteral("show"), {}}));
    EXPECT_EQ(received.size(), 1);
}

TEST(DropStack, PushFlattensCollectionsAndPopsLastFirst)
{
    DropStack stack;
    stack.push(QStringLiteral("/tmp/one"));
    stack.push(
        QVariantList{QStringLiteral("/tmp/two"), QUrl(QStringLiteral("https://example.org/"))});
    stack.push(QVariant());
    EXPECT_EQ(stack.count(), 3);
    EXPECT_EQ(stack.topObjectAsURL(), QUrl(QStringLiteral("https://example.org/")));
    EXPECT_EQ(stack.pop().toUrl(), QUrl(QStringLiteral("https://example.org/")));
    EXPECT_EQ(stack.topObjectAsURL(), QUrl::fromLocalFile(QStringLiteral("/tmp/two")));
    stack.push(42);
    EXPECT_TRUE(stack.topObjectAsURL().isEmpty());
    stack.free();
    EXPECT_EQ(stack.count(), 0);
    EXPECT_FALSE(stack.pop().isValid());
}
