#pragma once
// FileTypeApps over GIO: content types from the file (else its name), applications from GIO's
// MIME associations (the desktop entries' MimeType keys and the user's mimeapps.list).
#include "desktop/FileTypeApps.h"

namespace kelp {

class GioFileTypeApps : public FileTypeApps
{
public:
    QString contentTypeOf(const QUrl &item) const override;
    QStringList appsPreferringType(const QString &type) const override;
    QStringList appsAcceptingType(const QString &type) const override;
};

} // namespace kelp
