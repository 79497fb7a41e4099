#pragma once
// How Kelp reads numbers and switches out of text, for settings and bindings that receive a string
// where a number was expected: the leading number counts ("12 px" is 12, "abc" is 0), and a
// string is true when it starts with Y, y, T, t or a non-zero digit ("YES", "true", "1").
#include <QString>

namespace kelp {

double leadingNumber(const QString &text);
bool textIsTrue(const QString &text);

} // namespace kelp
