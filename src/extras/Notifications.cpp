#include "extras/Notifications.h"

namespace kelp {

Notifications &Notifications::instance()
{
    static Notifications hub;
    return hub;
}

} // namespace kelp
