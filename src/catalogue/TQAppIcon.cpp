// TQApp's icon loading: when to fetch the file's icon again, and when the icon in hand will do.
#include "catalogue/TQApp.h"

#include "catalogue/IconLoader.h"
#include "extras/Logging.h"

#include <QFile>

#include <sys/stat.h>

#include <cerrno>
#include <cstring>

namespace kelp {

void TQApp::setIconParameters(const ColorSortParams &params)
{
    // Letters and the keyword flag follow the name; they are current unless it changed.
    if (!_hasLetters || _lettersName != name()) {
        findLetters();
        findExcludedStringsInName();
    }
    struct stat info;
    if (::stat(QFile::encodeName(_path).constData(), &info) != 0) {
        _pathIsValid = false;
        _colorSortParams = params;
        ++_iconLoadGeneration; // a load still under way must not bring the old icon back
        _displayIcon = QImage();
        setIcon(QImage());
        return;
    }
    _pathIsValid = true;
    loadIconForFileNumber(params, static_cast<qint64>(info.st_ino));
}

void TQApp::loadIconWithParameters(const ColorSortParams &params)
{
    struct stat info;
    if (::stat(QFile::encodeName(_path).constData(), &info) != 0) {
        const int error = errno;
        qCWarning(lcIcons).noquote() << "Cannot read the file attributes of" << _path << ":"
                                     << QString::fromLocal8Bit(std::strerror(error));
        _colorSortParams = params;
        ++_iconLoadGeneration;
        _displayIcon = QImage();
        setIcon(QImage());
        return;
    }
    loadIconForFileNumber(params, static_cast<qint64>(info.st_ino));
}

void TQApp::loadIconForFileNumber(const ColorSortParams &params, qint64 fileNumber)
{
    if (!IconLoader::shared().iconSource()) {
        // Headless tools run without a desktop to draw icons from: keep the dot.
        _colorSortParams = params;
        return;
    }
    // The inode tells a replaced or reinstalled file from the one whose icon is in hand.
    if (params.maximumIconSize == _colorSortParams.maximumIconSize && fileNumber == _fileID &&
        !_icon.isNull()) {
        setColorSortParameters(params);
        return;
    }
    _fileID = fileNumber;
    _colorSortParams = params;
    const TQAppPtr self = weak_from_this().lock();
    if (!self) {
        qCWarning(lcIcons).noquote()
            << "Not loading the icon of" << _path << ": the entry is not shared";
        return;
    }
    ++_iconLoadGeneration;
    IconLoader::shared().loadIcon(self);
}

void TQApp::resetIconToDot()
{
    ++_iconLoadGeneration;
    _icon = dotImage();
    _displayIcon = QImage();
    _fileID = 0;
}

QImage TQApp::displayIcon() const
{
    return _displayIcon.isNull() ? icon() : _displayIcon;
}

} // namespace kelp
