// XML documents: any file either loads as a document or gives kSTATUS_BAD_FORMAT, never a
// crash, hang or leak. A loaded document is walked with every typed reader, and its text must load
// again into the same text.
#include "kFuzzFiles.h"

#include <cstdint>
#include <cstdlib>
#include <string>

namespace
{
std::string Text(kXml xml)
{
    kString text = kNULL;
    if (!kSuccess(kString_Construct(&text, kNULL, kNULL))) abort();
    if (!kSuccess(kXml_ToString(xml, text))) abort();
    std::string copy(kString_Chars(text), kString_Length(text));
    kObject_Destroy(text);
    return copy;
}

/* Every reader on every item: statuses only, whatever the text holds. */
void ReadAll(kXml xml)
{
    kChar buffer[64];
    kXmlItem item = kXml_Root(xml);
    while (item)
    {
        k32s s32;
        k32u u32;
        k64u u64;
        k64f f64;
        kBool flag;
        kSize size;
        kXml_Item32s(xml, item, &s32);
        kXml_Item32u(xml, item, &u32);
        kXml_Item64u(xml, item, &u64);
        kXml_Item64f(xml, item, &f64);
        kXml_ItemBool(xml, item, &flag);
        kXml_ItemSize(xml, item, &size);
        kXml_ItemText(xml, item, buffer, sizeof(buffer));
        for (kSize i = 0; i < kXml_AttrCount(xml, item); ++i)
        {
            const kChar* name = kXml_AttrNameAt(xml, item, i);
            kXml_Attr32u(xml, item, name, &u32);
            kXml_AttrText(xml, item, name, buffer, sizeof(buffer));
        }
        kXmlItem next = kXml_FirstChild(xml, item);
        while (!next && item)
        {
            next = kXml_NextSibling(xml, item);
            if (!next) item = kXml_Parent(xml, item);
        }
        item = next;
    }
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const std::string path = kfuzz::TempPath("kxml-in");
    if (!kSuccess(kFile_Save(path.c_str(), data, size))) abort();

    kXml xml = kNULL;
    kStatus status = kXml_Load(&xml, path.c_str(), kNULL);
    if (!kSuccess(status))
    {
        if (xml || (status != kSTATUS_BAD_FORMAT && status != kSTATUS_MEMORY)) abort();
        return 0;
    }
    ReadAll(xml);

    const std::string text = Text(xml);
    kXml again = kNULL;
    if (!kSuccess(kXml_FromText(&again, text.c_str(), kNULL))) abort();
    if (Text(again) != text) abort();
    kObject_Destroy(again);
    kObject_Destroy(xml);
    return 0;
}
