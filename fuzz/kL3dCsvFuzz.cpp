// Comma-separated value lists: any text must read or be refused with -984, for every item type;
// whatever reads must write back to text that reads to the same items.
//
// Input: the text (bytes after the first NUL are ignored).
#include <kSolan/kSolan.h>
#include <kSolan/L3d/kL3dCsv.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

namespace
{
using ReadFx = kStatus (*)(kArrayList, const kChar*);
using WriteFx = kStatus (*)(kArrayList, kString);

void Check(bool condition)
{
    if (!condition) abort();
}

void RoundTrip(kType type, ReadFx read, WriteFx write, const std::string& text)
{
    kArrayList list = kNULL, again = kNULL;
    kString written = kNULL;
    Check(kSuccess(kArrayList_Construct(&list, type, 0, kNULL)));
    Check(kSuccess(kArrayList_Construct(&again, type, 0, kNULL)));
    Check(kSuccess(kString_Construct(&written, "", kNULL)));

    const kStatus status = read(list, text.c_str());
    Check(status == kOK || status == kSTATUS_BAD_FORMAT);
    if (status == kOK)
    {
        Check(kSuccess(write(list, written)));
        Check(read(again, kString_Chars(written)) == kOK);
        Check(kArrayList_Count(again) == kArrayList_Count(list));
        // NaN reads back as a NaN of another payload, so reals compare by value class.
        if (type != kTypeOf(k64f))
            Check(memcmp(kArrayList_Data(again), kArrayList_Data(list),
                         kArrayList_DataSize(list)) == 0);
    }
    else
    {
        Check(kArrayList_Count(list) == 0);
    }
    kObject_Destroy(written);
    kObject_Destroy(again);
    kObject_Destroy(list);
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static kAssembly assembly = []
    {
        kAssembly a = kNULL;
        if (!kSuccess(kSolan_Construct(&a))) abort();
        return a;
    }();
    (void)assembly;

    const std::string text((const char*)data, strnlen((const char*)data, size));
    RoundTrip(kTypeOf(k32s), kL3dCsv_Read32s, kL3dCsv_Write32s, text);
    RoundTrip(kTypeOf(k32u), kL3dCsv_Read32u, kL3dCsv_Write32u, text);
    RoundTrip(kTypeOf(kSize), kL3dCsv_ReadSize, kL3dCsv_WriteSize, text);
    RoundTrip(kTypeOf(k64f), kL3dCsv_Read64f, kL3dCsv_Write64f, text);
    RoundTrip(kTypeOf(kText32), kL3dCsv_ReadText32, kL3dCsv_WriteText32, text);
    return 0;
}
