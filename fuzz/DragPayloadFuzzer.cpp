// The payload of a favourite being moved, as the panel decodes it from a drag.
#include "FuzzSupport.h"
#include "window/DragPayload.h"

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    kelp::fuzz::quietLogging();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const auto payload = kelp::decodeDragPayload(kelp::fuzz::bytesOf(data, size));
    // What decodes must encode and decode to the same values.
    if (payload && !kelp::decodeDragPayload(kelp::encodeDragPayload(*payload))) __builtin_trap();
    return 0;
}
