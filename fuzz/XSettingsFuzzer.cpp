// The XSETTINGS block a settings manager publishes on the X display.
#include "FuzzSupport.h"
#include "platform/x11/XSettings.h"

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    kelp::fuzz::quietLogging();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    (void)kelp::parseXSettings(kelp::fuzz::bytesOf(data, size));
    return 0;
}
