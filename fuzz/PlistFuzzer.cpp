// Property lists, XML and binary, through Kelp's own reader and writer: whatever the bytes, no
// crash, and whatever Kelp reads it can write and read back.
#include "FuzzSupport.h"
#include "extras/Plist.h"

#include <cstdlib>

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    kelp::fuzz::quietLogging();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QVariant value = kelp::plist::fromData(kelp::fuzz::bytesOf(data, size));
    if (!value.isValid()) return 0;
    const QByteArray xml = kelp::plist::toXml(value);
    if (!xml.isEmpty() && !kelp::plist::fromData(xml).isValid()) std::abort();
    return 0;
}
