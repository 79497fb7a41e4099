// Kelp's reading of desktop entries against GIO's own: the corpus in gio-corpus/ (entries from
// Debian packages and one-change probes, in three data folders) is read by `kelp
// --print-catalogue` and by GIO (gio_list_apps) under several desktops and languages. What is
// listed, which file wins, the localised name and the icon must agree, except for the
// differences listed in docs/READING.md, which are Kelp's choices.
#include "platform/icons/FreedesktopIconSource.h"

#include "support/TestSupport.h"

#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace kelp::test {
namespace {

// The corpus entries where Kelp knowingly differs from GIO, and how (docs/READING.md).
enum class Choice { NotListed, OwnName, OwnIcon };
const QHash<QString, Choice> &choices()
{
    static const QHash<QString, Choice> table{
        {QStringLiteral(".probe-dot.desktop"), Choice::NotListed},
        {QStringLiteral("probe-deep.desktop"), Choice::NotListed},
        {QStringLiteral("probe-symlink.desktop"), Choice::NotListed},
        {QStringLiteral("probe-no-exec.desktop"), Choice::NotListed},
        {QStringLiteral("probe-no-name.desktop"), Choice::NotListed},
        {QStringLiteral("probe-name-spaces.desktop"), Choice::OwnName},
        {QStringLiteral("probe-name-empty-localised.desktop"), Choice::OwnName},
        {QStringLiteral("probe-name-not-utf8.desktop"), Choice::OwnName},
        {QStringLiteral("probe-icon-upper.desktop"), Choice::OwnIcon},
        {QStringLiteral("probe-icon-relative.desktop"), Choice::OwnIcon},
    };
    return table;
}

// Copies the corpus (links as links), so that Kelp's own files land in the copy.
bool copyTree(const QString &from, const QString &to)
{
    QDirIterator it(from, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString source = it.next();
        const QFileInfo info = it.fileInfo();
        const QString target = to + source.mid(from.size());
        if (info.isSymLink()) {
            if (!QFile::link(info.symLinkTarget().mid(info.absolutePath().size() + 1), target))
                return false;
        } else if (info.isDir()) {
            if (!QDir().mkpath(target)) return false;
        } else if (!QFile::copy(source, target)) {
            return false;
        }
    }
    return true;
}

struct Listing
{
    // file path -> {name, icon}
    QHash<QString, std::pair<QString, QString>> shown;
    QByteArray raw; // the lister's output, for a failure message
};

class GioDifferentialTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(home.isValid());
        corpus = home.filePath(QStringLiteral("corpus"));
        ASSERT_TRUE(QFileInfo(QStringLiteral(GIO_CORPUS)).isDir());
        ASSERT_TRUE(copyTree(QStringLiteral(GIO_CORPUS), corpus));
    }

    QProcessEnvironment environment(const QString &desktops, const QString &language) const
    {
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("HOME"), home.path());
        env.insert(QStringLiteral("XDG_CONFIG_HOME"), home.filePath(QStringLiteral("config")));
        env.insert(QStringLiteral("XDG_CACHE_HOME"), home.filePath(QStringLiteral("cache")));
        env.insert(QStringLiteral("XDG_DATA_HOME"), corpus + QStringLiteral("/home"));
        env.insert(QStringLiteral("XDG_DATA_DIRS"),
                   corpus + QStringLiteral("/data1:") + corpus + QStringLiteral("/data2"));
        env.insert(QStringLiteral("XDG_CURRENT_DESKTOP"), desktops);
        env.insert(QStringLiteral("LANGUAGE"), language);
        env.insert(QStringLiteral("LANG"), QStringLiteral("C.UTF-8"));
        env.remove(QStringLiteral("LC_ALL"));
        env.remove(QStringLiteral("LC_MESSAGES"));
        env.remove(QStringLiteral("DISPLAY"));
        env.remove(QStringLiteral("WAYLAND_DISPLAY"));
        return env;
    }

    Listing gio(const QProcessEnvironment &env) const
    {
        const KelpRun run = runKelp(QStringLiteral(GIO_LIST_APPS), {}, env);
        EXPECT_EQ(run.status, 0) << run.err.constData();
        Listing out;
        out.raw = run.out + run.err;
        const QJsonObject apps = QJsonDocument::fromJson(run.out).object();
        for (auto it = apps.begin(); it != apps.end(); ++it) {
            const QJsonObject app = it.value().toObject();
            if (app.value(QStringLiteral("shown")).toBool())
                out.shown.insert(it.key(), {app.value(QStringLiteral("name")).toString(),
                                            app.value(QStringLiteral("icon")).toString()});
        }
        return out;
    }

    Listing kelp(const QProcessEnvironment &env, const QString &language) const
    {
        const KelpRun run =
            runKelp(QStringLiteral(KELP_BINARY),
                    {QStringLiteral("--print-catalogue"), QStringLiteral("--rescan")}, env);
        EXPECT_EQ(run.status, 0) << run.err.constData();
        const QJsonObject report = QJsonDocument::fromJson(run.out).object();
        const QJsonObject apps = report.value(QStringLiteral("apps")).toObject();
        // The icon as Kelp looks it up, in the same language.
        qputenv("LANGUAGE", language.toUtf8());
        Listing out;
        for (const QJsonValue &path : report.value(QStringLiteral("allApps1D")).toArray()) {
            const QString file = path.toString();
            out.shown.insert(file,
                             {apps.value(file).toObject().value(QStringLiteral("name")).toString(),
                              FreedesktopIconSource::iconOfDesktopEntry(file)});
        }
        qunsetenv("LANGUAGE");
        return out;
    }

    QTemporaryDir home;
    QString corpus;
};

TEST_F(GioDifferentialTest, KelpListsNamesAndFindsIconsAsGioDoes)
{
    const QStringList desktops{QString(), QStringLiteral("GNOME"), QStringLiteral("ubuntu:GNOME"),
                               QStringLiteral("KDE"), QStringLiteral("XFCE:KDE")};
    const QStringList languages{QString(), QStringLiteral("de"), QStringLiteral("fr_FR:de"),
                                QStringLiteral("de_DE")};
    int compared = 0;
    for (const QString &desktop : desktops) {
        for (const QString &language : languages) {
            SCOPED_TRACE(
                ("XDG_CURRENT_DESKTOP=" + desktop + " LANGUAGE=" + language).toStdString());
            const QProcessEnvironment env = environment(desktop, language);
            const Listing byGio = gio(env);
            const Listing byKelp = kelp(env, language);
            ASSERT_FALSE(byGio.shown.isEmpty()) << byGio.raw.left(2000).constData();
            QSet<QString> files(byGio.shown.keyBegin(), byGio.shown.keyEnd());
            for (auto it = byKelp.shown.keyBegin(); it != byKelp.shown.keyEnd(); ++it)
                files.insert(*it);
            for (const QString &file : std::as_const(files)) {
                SCOPED_TRACE(file.mid(corpus.size()).toStdString());
                const auto choice = choices().constFind(QFileInfo(file).fileName());
                const bool chosen = choice != choices().constEnd();
                if (chosen && *choice == Choice::NotListed) {
                    EXPECT_FALSE(byKelp.shown.contains(file));
                    continue;
                }
                ASSERT_EQ(byKelp.shown.contains(file), byGio.shown.contains(file));
                const auto &[kelpName, kelpIcon] = byKelp.shown.value(file);
                const auto &[gioName, gioIcon] = byGio.shown.value(file);
                if (!chosen || *choice != Choice::OwnName) {
                    EXPECT_EQ(kelpName.toStdString(), gioName.toStdString());
                }
                if (!chosen || *choice != Choice::OwnIcon) {
                    EXPECT_EQ(kelpIcon.toStdString(), gioIcon.toStdString());
                }
                ++compared;
            }
        }
    }
    EXPECT_GT(compared, 0);
}

} // namespace
} // namespace kelp::test
