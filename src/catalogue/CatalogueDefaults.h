#pragma once
// The catalogue's settings and their defaults (sorting, colour-sort parameters, exclusions,
// folder depth).
#include <QVariantMap>

namespace kelp {

QVariantMap catalogueRegisteredDefaults();

} // namespace kelp
