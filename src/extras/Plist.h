#pragma once
// Property-list files: Kelp stores its settings and its catalogue as XML property lists so that
// they stay readable and editable by hand. Values travel as QVariant:
//   array  <-> QVariantList (QStringList is accepted when writing)
//   dict   <-> QVariantMap
//   string <-> QString, integer <-> qint64, real <-> double, bool <-> bool,
//   data   <-> QByteArray, date <-> QDateTime (UTC)
#include <QByteArray>
#include <QString>
#include <QVariant>

namespace kelp::plist {

struct ReadResult
{
    enum Status { Ok, Missing, Unreadable, Corrupt };
    Status status = Missing;
    QVariant value;
    QString error; // human-readable reason for Unreadable / Corrupt

    bool ok() const { return status == Ok; }
};

// Parses XML or binary property-list bytes. An invalid document yields a null QVariant, with the
// reason in *error; so does one nested more than kMaxNesting deep (checked before libplist sees
// it) or holding a value that has no QVariant form here: such a document is refused whole, never
// read with parts missing.
QVariant fromData(const QByteArray &bytes, QString *error = nullptr);
// Serialises to an XML property list. Values of types that have no property-list form are
// skipped with a log line (never written as something else).
QByteArray toXml(const QVariant &value);

// Reads a regular file only: a FIFO, socket or device at path is Unreadable at once, never
// waited on; a file too large to be a property list Kelp keeps is Corrupt.
ReadResult readFile(const QString &path);
// Writes atomically: the file is replaced only once the new content is complete on disk, so a
// crash while writing leaves the old file intact. Does not create missing parent folders.
bool writeXmlFile(const QString &path, const QVariant &value, QString *error = nullptr);

} // namespace kelp::plist
