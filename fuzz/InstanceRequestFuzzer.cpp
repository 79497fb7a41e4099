// A request line on the running Kelp's socket, as the listener decodes it.
#include "FuzzSupport.h"
#include "control/SingleInstance.h"

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    kelp::fuzz::quietLogging();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    bool ok = false;
    const kelp::InstanceRequest request =
        kelp::InstanceRequest::decode(kelp::fuzz::bytesOf(data, size), &ok);
    if (ok) (void)kelp::InstanceRequest::decode(request.encode());
    return 0;
}
