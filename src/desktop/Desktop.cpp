#include "desktop/Desktop.h"

namespace kelp {

namespace {
Desktop &current()
{
    static Desktop services;
    return services;
}
} // namespace

Desktop &desktop()
{
    return current();
}

void setDesktop(Desktop services)
{
    current() = std::move(services);
}

} // namespace kelp
