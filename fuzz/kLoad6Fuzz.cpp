// kdat version-6 (and version-5) files, compressed or not: any bytes load or give
// kSTATUS_BAD_FORMAT, kSTATUS_INCOMPLETE or kSTATUS_BAD_VERSION, never a crash, hang or leak;
// what loads saves again (compressed) stably.
#include "kDatFuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    kdatfuzz::Check(data, size, kLoad6, kSaveCompressed6);
    return 0;
}
