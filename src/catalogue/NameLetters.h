#pragma once
// The filter letters of an application name: the characters that begin its words.
//
// A word starts after a space or one of "-_.", at a capital that follows a non-capital (the T of
// "iTunes"), where a run of capitals ends (the p of "PDFpen", the d of "NSDocument"), and every
// digit counts. Names are read as UTF-8 bytes with the plain C locale's character classes, so
// non-ASCII characters never start a word and never open one.
#include <QByteArray>
#include <QString>

namespace kelp {

// At most this many distinct letters are kept.
inline constexpr int kMaxNameLetters = 64;

// Lower-case ASCII letters and digits, each at most once, in the order first taken.
QByteArray nameLetters(const QString &name);

} // namespace kelp
