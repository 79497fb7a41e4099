#include "platform/gio/GioDesktopEntry.h"

#include "desktop/AppsOnDisk.h"
#include "extras/RegularFile.h"

#include <QFile>
#include <QFileInfo>

#include <cstring>

namespace kelp {

GLibPtr<GKeyFile> loadKeyFile(const QString &path, QString *error)
{
    // Read by Kelp first: GLib would block on a FIFO and read a device for ever.
    const FileBytes bytes = readRegularFile(path);
    if (!bytes.ok()) {
        if (error) *error = bytes.error;
        return nullptr;
    }
    GLibPtr<GKeyFile> file(g_key_file_new());
    GLibPtr<GError> gerror;
    if (!g_key_file_load_from_data(file.get(), bytes.bytes.constData(),
                                   static_cast<gsize>(bytes.bytes.size()), G_KEY_FILE_NONE,
                                   outPtr(gerror))) {
        if (error) *error = errorMessage(gerror);
        return nullptr;
    }
    return file;
}

QString desktopEntryString(GKeyFile *file, const char *key)
{
    return takeString(g_key_file_get_string(file, kDesktopEntryGroup, key, nullptr)).trimmed();
}

QString execProgram(const QString &exec, bool *parsed)
{
    int argc = 0;
    GLibPtr<gchar *> argv;
    const bool ok = g_shell_parse_argv(exec.toUtf8().constData(), &argc, outPtr(argv), nullptr);
    if (parsed) *parsed = ok;
    if (!ok) return {};
    const gchar *const *args = argv.get();
    int i = 0;
    if (i < argc && QFileInfo(QString::fromUtf8(args[i])).fileName() == QLatin1String("env")) {
        ++i;
        while (i < argc && (std::strchr(args[i], '=') || args[i][0] == '-'))
            ++i;
    }
    return i < argc ? QString::fromUtf8(args[i]) : QString();
}

QString resolveProgram(const QString &program)
{
    if (program.isEmpty()) return {};
    const GLibPtr<gchar> found(g_find_program_in_path(QFile::encodeName(program).constData()));
    if (!found) return {};
    const QString canonical = QFileInfo(QFile::decodeName(found.get())).canonicalFilePath();
    return canonical.isEmpty() ? QFile::decodeName(found.get()) : canonical;
}

EntryFacts readEntryFacts(const QString &path)
{
    EntryFacts facts;
    facts.path = path;
    facts.desktopId = desktopIdForPath(path);
    const GLibPtr<GKeyFile> file = loadKeyFile(path);
    if (!file) return facts;
    facts.startupWmClass = desktopEntryString(file.get(), "StartupWMClass");
    facts.program = resolveProgram(execProgram(desktopEntryString(file.get(), "Exec")));
    return facts;
}

} // namespace kelp
