#include "catalogue/CatalogueDefaults.h"

namespace kelp {

QVariantMap catalogueRegisteredDefaults()
{
    return {
        {QStringLiteral("groupContentsSortOrder"), qint64(1)},
        {QStringLiteral("colorSortGrayThreshold"), 0.05},
        {QStringLiteral("colorSortWrapHue"), 0.0},
        {QStringLiteral("colorSortMinSaturation"), 0.14},
        {QStringLiteral("colorSortMinLuminosity"), 0.02},
        {QStringLiteral("colorSortGraysBySecondaryColor"), false},
        {QStringLiteral("excludeArray"), QVariantList()},
        {QStringLiteral("maxFolderRecursionDepth"), qint64(4)},
        {QStringLiteral("sortRunningByLaunchOrder"), true},
        {QStringLiteral("iconThemeName"), QString()}, // empty: the desktop's icon theme
    };
}

} // namespace kelp
