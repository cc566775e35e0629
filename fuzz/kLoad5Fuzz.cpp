// kdat version-5 files: any bytes load or give kSTATUS_BAD_FORMAT, kSTATUS_INCOMPLETE or
// kSTATUS_BAD_VERSION, never a crash, hang or leak; what loads saves again stably.
#include "kDatFuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    kdatfuzz::Check(data, size, kLoad5, kSave5);
    return 0;
}
