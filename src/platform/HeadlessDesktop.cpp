#include "platform/HeadlessDesktop.h"

#include <QCoreApplication>

namespace kelp {

LaunchResult HeadlessAppActions::launch(const QString &, const QList<QUrl> &)
{
    return {LaunchResult::Failed, QCoreApplication::translate(
                                      "kelp", "applications cannot be started without a display")};
}

} // namespace kelp
