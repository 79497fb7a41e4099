#pragma once
// TQApp: one application known to the catalogue.
//
// An entry is made from a path (a freedesktop desktop entry or an application bundle folder) and
// derives everything else from it: the display name, the file URL, the filter letters and the
// excluded-keyword flag. Entries compare and hash by their standardised path; the catalogue makes
// sure that one path is represented by one shared object (TQAppManager::appForPath).
//
// Process operations (launch, activate, hide, quit...) belong to the desktop layer and are added
// there; this class only holds what an entry is without a running process.
#include "colour/ColourAnalysis.h"
#include "colour/ColourSort.h"

#include <QByteArray>
#include <QColor>
#include <QHash>
#include <QImage>
#include <QString>
#include <QStringList>
#include <QUrl>
#include <QVariant>
#include <QVariantMap>

#include <functional>
#include <memory>

namespace kelp {

// The icon parameters copied into an entry before each icon load.
using ColorSortParams = colour::ColorSortParams;

class TQApp : public std::enable_shared_from_this<TQApp>
{
public:
    explicit TQApp(const QString &path = QString());
    TQApp(const TQApp &) = delete;
    TQApp &operator=(const TQApp &) = delete;

    // Standardises a path: a leading "~" expanded, "." and ".." components resolved, duplicate
    // and trailing slashes removed. Symbolic links are not resolved.
    static QString standardizePath(const QString &path);

    QString path() const { return _path; }
    QUrl url() const { return QUrl::fromLocalFile(_path); }
    bool isPathValid() const { return _pathIsValid; }
    void setPathIsValid(bool valid) { _pathIsValid = valid; }
    // Replaces the path when the standardised argument differs. Returns whether it changed (the
    // caller then reloads the icon).
    bool setPath(const QString &path);

    // The name shown and filtered on: the desktop entry's localised Name when the catalogue knows
    // it, otherwise the last path component without its extension ("Foo.Bar.app" gives "Foo.Bar").
    QString name() const;
    QString fileBaseName() const;
    // Sets the localised name found by the desktop layer (empty: fall back to the file name), and
    // recomputes the letters and the excluded-keyword flag.
    void setDisplayName(const QString &name);
    bool hasDisplayName() const { return !_displayName.isEmpty(); }
    // The name case-folded once, for sorting and matching without folding on every comparison.
    const QString &foldedName() const { return _foldedName; }

    // Filter letters.
    void findLetters();
    bool hasLetters() const { return _hasLetters; }
    QByteArray letters() const { return _letters; }
    bool containsLetter(char c) const;

    // Excluded name substrings (from the application resource "ExcludedNameSubstrings").
    static QStringList excludedNameSubstrings();
    void findExcludedStringsInName();
    bool containsExcludedKeywords() const { return _containsExcludedKeywords; }

    // Free attributes.
    QVariant attributeForKey(const QString &key) const;
    void setAttribute(const QVariant &value, const QString &key);

    // The extended attributes of the file (following a symbolic link) as diagnostic text, or an
    // empty string when there are none.
    QString xattrs() const;

    // Archived form: a map {"ivDict": {"path": ...}}. A decoded entry carries only its path.
    QVariantMap encode() const;
    static std::shared_ptr<TQApp> decode(const QVariantMap &archive);

    // --- Icon ---------------------------------------------------------------------------------
    // The current icon: "dot" until one is loaded, "notfound" when there is none.
    QImage icon() const;
    // Replaces the icon when it differs, then recomputes the colour key from it (and announces
    // appIconChanged). A null image means "no icon". GUI thread only.
    void setIcon(const QImage &image);
    qint64 fileID() const { return _fileID; }
    void setFileID(qint64 id) { _fileID = id; }
    ColorSortParams colorSortParams() const { return _colorSortParams; }
    void setColorSortParams(const ColorSortParams &p) { _colorSortParams = p; }
    // Icon loading (TQAppIcon.cpp). Takes the catalogue's icon parameters: recomputes the letters
    // and the excluded-keyword flag, then shows "notfound" for a file that is gone, or loads the
    // icon (loadIconWithParameters).
    void setIconParameters(const ColorSortParams &params);
    // Queues a background load of the file's icon, unless the file (by inode), the size and the
    // icon are unchanged: then only the colour key follows the new parameters.
    void loadIconWithParameters(const ColorSortParams &params);
    // Back to the "dot" and to file number 0, so the next parameters fetch the icon again.
    void resetIconToDot();
    // The icon for painting: drawn for the screen's device pixel ratio when it is above 1,
    // otherwise icon(). icon() is the bitmap the colour analysis saw.
    QImage displayIcon() const;
    void setDisplayIcon(const QImage &image) { _displayIcon = image; }
    // Counts the loads queued for this entry; a result is applied only if no newer one was queued.
    quint64 iconLoadGeneration() const { return _iconLoadGeneration; }

    // --- Colour sort key (TQAppColour.cpp) ----------------------------------------------------
    struct SortedColour
    {
        QColor color; // sRGB, alpha 1
        qint64 count = 0;
    };
    // Takes new colour parameters: analyses the icon again, or only re-sorts, or nothing, as the
    // change requires; then announces appIconChanged.
    void setColorSortParameters(const ColorSortParams &params);
    void pickAndSortColors();
    QList<SortedColour> colorArrayForPrimaryIndex(qint64 primary, qint64 secondary,
                                                  qint64 gray) const;
    void freeColorSortData();
    // The colour sort key; 10.0 until an icon has been analysed.
    double colorSortValue() const { return _colorSortValue; }
    void setColorSortValue(double v) { _colorSortValue = v; }
    const QList<SortedColour> &sortedColors() const { return _sortedColors; }
    void setSortedColors(const QList<SortedColour> &colours) { _sortedColors = colours; }
    const std::vector<colour::HclColor> &hclColors() const { return _hclColors; }
    // The display colours as a ring (the strongest colour) around pie slices (the others).
    QImage spectrumIcon() const;
    // The catalogue's colour comparison: 1 when a sorts after b, else 0 (never "ascending").
    static int compareColorSortValues(const TQApp &a, const TQApp &b);

    // --- Process operations (TQAppProcess.cpp) ------------------------------------------------
    // Each call asks the desktop afresh (desktop().windowControl for the running application's
    // windows, desktop().launcher for the rest); nothing caches a process. Not running:
    // quit/show/hide do nothing, activate/isVisible/pid answer false.
    // What was dropped on the entry: files (paths), else one URL.
    struct DroppedItems
    {
        QStringList filePaths;
        QUrl url;
    };
    bool pid(qint64 &pid) const;
    bool activate() const;
    bool isVisible() const;
    void show() const;
    void hide() const;
    void quit() const;
    void revealInFinder() const;
    // Starts the application with the dropped items (nullptr: none; neither files nor a URL: an
    // empty list). Blocks while the desktop starts it: call it from a worker thread, or use
    // launchInBackground. A failure is logged; a missing entry or program announces appIsMissing.
    bool launchWithPasteboard(const DroppedItems *items = nullptr);
    // launchWithPasteboard on a thread of its own; `done` (optional) runs there with the result.
    void launchInBackground(const DroppedItems *items = nullptr,
                            std::function<void(bool)> done = {});
    bool canAcceptURL(const QUrl &item) const;
    bool prefersURL(const QUrl &item) const;
    // Hands the entry to an uninstaller named by desktop-file ID, or by its own path.
    bool sendForDeletionWithAppBundleIdentifier(const QString &desktopId) const;
    bool sendForDeletionWithAppURL(const QUrl &uninstaller) const;

    QString description() const { return _path; }
    bool isEqual(const TQApp *other) const
    {
        return other && (other == this || other->_path == _path);
    }
    size_t hash() const { return qHash(_path); }

    // Small placeholder images: "dot" while no icon is loaded, "notfound" when none can be.
    static QImage dotImage();
    static QImage notFoundImage();

private:
    // The fetch decision once the file's number (inode) is known.
    void loadIconForFileNumber(const ColorSortParams &params, qint64 fileNumber);

    QString _path;
    bool _pathIsValid = false;
    QString _displayName;
    QString _foldedName;
    QImage _icon;
    QByteArray _letters;
    QString _lettersName; // the name the letters were computed from
    bool _hasLetters = false;
    qint64 _fileID = 0;
    double _colorSortValue = colour::kNoColourKey;
    std::vector<colour::HclColor> _hclColors;
    bool _hclColorsValid = false; // false: no analysis since the last reset, or it failed
    qint64 _hclColorCount = 6;
    QList<SortedColour> _sortedColors;
    ColorSortParams _colorSortParams;
    bool _containsExcludedKeywords = false;
    QVariantMap _attributes;
    QImage _displayIcon;
    quint64 _iconLoadGeneration = 0;
};

using TQAppPtr = std::shared_ptr<TQApp>;
using AppList = QList<TQAppPtr>;
using AppLists = QList<AppList>;

} // namespace kelp
