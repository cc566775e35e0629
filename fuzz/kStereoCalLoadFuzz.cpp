// Stereo calibration files: any bytes load or are refused with a content status, never a
// crash, hang or leak; what loads stores again, loads again and stores to the same bytes.
#include "kFuzzFiles.h"

#include <kSolan/S3d/kS3dStereoCal.h>
#include <kSolan/kSolan.h>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static kAssembly assembly = kNULL;
    if (!assembly && !kSuccess(kSolan_Construct(&assembly))) abort();
    static const std::string input = kfuzz::TempPath("stereo-in"),
                             first = kfuzz::TempPath("stereo-a"),
                             second = kfuzz::TempPath("stereo-b");
    if (!kSuccess(kFile_Save(input.c_str(), data, size))) abort();

    kS3dStereoCal cal = kNULL;
    const kStatus status = kS3dStereoCal_Load(&cal, input.c_str());
    if (!kSuccess(status))
    {
        if (cal || (status != kSTATUS_BAD_FORMAT && status != kSTATUS_INCOMPLETE &&
                    status != kSTATUS_BAD_VERSION && status != kSTATUS_NOT_FOUND &&
                    status != kSTATUS_MEMORY))
            abort();
        return 0;
    }

    kS3dStereoCal again = kNULL;
    if (!kSuccess(kS3dStereoCal_Store(cal, first.c_str()))) abort();
    if (!kSuccess(kS3dStereoCal_Load(&again, first.c_str()))) abort();
    if (!kSuccess(kS3dStereoCal_Store(again, second.c_str()))) abort();
    if (kfuzz::ReadFile(first) != kfuzz::ReadFile(second)) abort();
    kS3dStereoCal_Destroy(again);
    kS3dStereoCal_Destroy(cal);
    return 0;
}
