#pragma once
// The catalogue as one JSON object, for `kelp --print-catalogue` and for scripts: one key per group
// array holding paths (two-level groups as arrays of arrays), and "apps" describing every entry.
#include <QJsonObject>

namespace kelp {

class TQAppManager;

QJsonObject catalogueReport(const TQAppManager &catalogue);

} // namespace kelp
