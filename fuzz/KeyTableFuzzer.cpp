// The hot key's key table, as Kelp reads it, and the key names made from it.
#include "FuzzSupport.h"
#include "triggers/KeyTable.h"

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    kelp::fuzz::quietLogging();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray bytes = kelp::fuzz::bytesOf(data, size);
    const kelp::KeyTable table = kelp::parseKeyTable(bytes);
    for (qint64 code : {-1, 0, 48, 49, 122, 0x7fffffff})
        (void)kelp::hotKeyString(table, code, kelp::ModifierControl | kelp::ModifierShift);
    return 0;
}
