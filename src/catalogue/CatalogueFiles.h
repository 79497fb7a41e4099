#pragma once
// CatalogueFiles: the four property lists the catalogue keeps.
//
//   AllApplications.plist        the last walk, one array of paths per scan folder
//   ExcludedApplications.plist   the exclusion list; the machine's copies are merged in on reading
//   UserApplications.plist       the favourites, in bunches
//   UserApplications1D.plist     the favourites' flat order
//
// The user's files live in $XDG_DATA_HOME/Kelp; the machine's (an administrator's, read only) in
// each $XDG_DATA_DIRS entry + /Kelp. Writes are atomic. A user's file that cannot be understood is
// renamed aside (".corrupt-<time>") so the next write does not lose what the user arranged.
// Optionally the arrays live in the settings instead of files.
#include <QList>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <optional>

namespace kelp {

class Defaults;

class CatalogueFiles
{
public:
    enum Domain { UserDomain = 1, LocalDomain = 2 };

    static inline const QString kAllApplicationsFile = QStringLiteral("AllApplications.plist");
    static inline const QString kExcludedApplicationsFile =
        QStringLiteral("ExcludedApplications.plist");
    static inline const QString kUserApplicationsFile = QStringLiteral("UserApplications.plist");
    static inline const QString kUserApplications1DFile =
        QStringLiteral("UserApplications1D.plist");

    explicit CatalogueFiles(Defaults &defaults) : _defaults(defaults) {}

    // The user's catalogue folder and the machine's (read only).
    static QString catalogueFolder();
    static QStringList machineCatalogueFolders();

    // When off, the arrays are kept in the settings instead (user domain only).
    void setUsesApplicationSupportFolder(bool on) { _usesApplicationSupportFolder = on; }

    // The file's root array (the machine's files of that name concatenated), or an invalid
    // QVariant when no file is there or none is usable.
    QVariant read(const QString &fileName, Domain domain);
    // Writes the paths (a list, or a list of lists); the machine's files are never written.
    bool write(const QVariant &paths, const QString &fileName, Domain domain = UserDomain);
    bool write(const QStringList &paths, const QString &fileName, Domain domain = UserDomain);
    bool write(const QList<QStringList> &paths, const QString &fileName,
               Domain domain = UserDomain);

    // A root read as a list of paths: its non-empty strings, anything else skipped.
    static QStringList pathsIn(const QVariant &root);
    // A root read as a list of lists of paths (each inner list as pathsIn, empty ones dropped);
    // nothing when the root is not a non-empty list of lists.
    static std::optional<QList<QStringList>> pathListsIn(const QVariant &root);

    // The dock file read for automatic exclusion (a property list of the dock's applications)
    // and the application paths it lists, file URLs taken as paths.
    static QString dockPreferencesFile();
    static QStringList dockApplicationPaths();

private:
    Defaults &_defaults;
    bool _usesApplicationSupportFolder = true;
};

} // namespace kelp
