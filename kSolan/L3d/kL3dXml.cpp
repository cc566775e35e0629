/**
 * @file    kL3dXml.cpp
 */
#include <kSolan/L3d/kL3dXml.h>

#include <cstring>

kDefineValue(kL3dCameraWindow, kValue);

kFx(kStatus) xxkL3dCameraWindow_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddValue(kL3dCameraWindow, kValue));
    kCheck(kAddField(kL3dCameraWindow, k32u, x));
    kCheck(kAddField(kL3dCameraWindow, k32u, y));
    kCheck(kAddField(kL3dCameraWindow, k32u, width));
    kCheck(kAddField(kL3dCameraWindow, k32u, height));
    kCheck(kAddField(kL3dCameraWindow, k32u, xSubsampling));
    return kAddField(kL3dCameraWindow, k32u, ySubsampling);
}

namespace
{
const kChar* const kWindowNames[] = {"X", "Y", "Width", "Height", "XSubsampling", "YSubsampling"};
const kChar* const kRectNames[] = {"X", "Y", "Width", "Height"};
const kChar* const kBoxNames[] = {"X", "Y", "Z", "Width", "Height", "Depth"};
const kChar* const kTransform2dNames[] = {"XX", "XY", "XT", "YX", "YY", "YT"};
const kChar* const kTransform3dNames[] = {"XX", "XY", "XZ", "XT", "YX", "YY",
                                          "YZ", "YT", "ZX", "ZY", "ZZ", "ZT"};

// Typed child access of the two document kinds.
struct XmlIo
{
    kXml doc;
    kXmlItem item;
    kStatus Get(const kChar* p, k32u* v) const { return kXml_Child32u(doc, item, p, v); }
    kStatus Get(const kChar* p, k32s* v) const { return kXml_Child32s(doc, item, p, v); }
    kStatus Get(const kChar* p, k64f* v) const { return kXml_Child64f(doc, item, p, v); }
    kStatus Set(const kChar* p, k32u v) const { return kXml_SetChild32u(doc, item, p, v); }
    kStatus Set(const kChar* p, k32s v) const { return kXml_SetChild32s(doc, item, p, v); }
    kStatus Set(const kChar* p, k64f v) const { return kXml_SetChild64f(doc, item, p, v); }
};

struct TreeIo
{
    kDataTree doc;
    kDataTreeItem item;
    kStatus Get(const kChar* p, k32u* v) const { return kDataTree_Child32u(doc, item, p, v); }
    kStatus Set(const kChar* p, k32u v) const { return kDataTree_SetChild32u(doc, item, p, v); }
};

// Fields of a value, all of type Field and laid out in the order of names. Reads into a copy
// so that a failure leaves the value as it was.
template <typename Value, typename Field, kSize N, typename Io>
kStatus ReadFields(Value* value, const kChar* const (&names)[N], const Io& io)
{
    static_assert(sizeof(Value) == N * sizeof(Field), "one field per name");
    Field fields[N];
    for (kSize i = 0; i < N; ++i)
        kCheck(io.Get(names[i], &fields[i]));
    memcpy((void*)value, fields, sizeof(fields));
    return kOK;
}

template <typename Value, typename Field, kSize N, typename Io>
kStatus WriteFields(const Value* value, const kChar* const (&names)[N], const Io& io)
{
    static_assert(sizeof(Value) == N * sizeof(Field), "one field per name");
    Field fields[N];
    memcpy(fields, (const void*)value, sizeof(fields));
    for (kSize i = 0; i < N; ++i)
        kCheck(io.Set(names[i], fields[i]));
    return kOK;
}

template <typename T, typename Reader>
kStatus Merge(kXml xml, kXmlItem item, const kChar* path, T* value, Reader read)
{
    if (!kXml_ChildExists(xml, item, path)) return kOK;
    T v;
    kCheck(read(xml, item, path, &v));
    *value = v;
    return kOK;
}
} // namespace

kFx(kStatus) kL3dCameraWindow_Read(kL3dCameraWindow* window, kXml xml, kXmlItem item)
{
    return ReadFields<kL3dCameraWindow, k32u>(window, kWindowNames, XmlIo{xml, item});
}

kFx(kStatus) kL3dCameraWindow_Write(const kL3dCameraWindow* window, kXml xml, kXmlItem item)
{
    return WriteFields<kL3dCameraWindow, k32u>(window, kWindowNames, XmlIo{xml, item});
}

kFx(kStatus) kL3dCameraWindow_ReadTree(kL3dCameraWindow* window, kDataTree tree, kDataTreeItem item)
{
    return ReadFields<kL3dCameraWindow, k32u>(window, kWindowNames, TreeIo{tree, item});
}

kFx(kStatus)
    kL3dCameraWindow_WriteTree(const kL3dCameraWindow* window, kDataTree tree, kDataTreeItem item)
{
    return WriteFields<kL3dCameraWindow, k32u>(window, kWindowNames, TreeIo{tree, item});
}

kFx(kBool) kL3dCameraWindow_Equals(const kL3dCameraWindow* a, const kL3dCameraWindow* b)
{
    return a->x == b->x && a->y == b->y && a->width == b->width && a->height == b->height &&
           a->xSubsampling == b->xSubsampling && a->ySubsampling == b->ySubsampling;
}

kFx(kStatus) kL3dCameraWindow_CopyFrom(kL3dCameraWindow* window, const kL3dCameraWindow* source)
{
    *window = *source;
    return kOK;
}

kFx(kStatus) kL3dRect32s_Read(kRect32s* rect, kXml xml, kXmlItem item)
{
    return ReadFields<kRect32s, k32s>(rect, kRectNames, XmlIo{xml, item});
}

kFx(kStatus) kL3dRect32s_Write(const kRect32s* rect, kXml xml, kXmlItem item)
{
    return WriteFields<kRect32s, k32s>(rect, kRectNames, XmlIo{xml, item});
}

kFx(kStatus) kL3dRect64f_Read(kRect64f* rect, kXml xml, kXmlItem item)
{
    return ReadFields<kRect64f, k64f>(rect, kRectNames, XmlIo{xml, item});
}

kFx(kStatus) kL3dRect64f_Write(const kRect64f* rect, kXml xml, kXmlItem item)
{
    return WriteFields<kRect64f, k64f>(rect, kRectNames, XmlIo{xml, item});
}

kFx(kStatus) kL3dRect3d64f_Read(kRect3d64f* rect, kXml xml, kXmlItem item)
{
    return ReadFields<kRect3d64f, k64f>(rect, kBoxNames, XmlIo{xml, item});
}

kFx(kStatus) kL3dRect3d64f_Write(const kRect3d64f* rect, kXml xml, kXmlItem item)
{
    return WriteFields<kRect3d64f, k64f>(rect, kBoxNames, XmlIo{xml, item});
}

kFx(kStatus) kL3dTransform2d_Read(kL3dTransform2d* transform, kXml xml, kXmlItem item)
{
    return ReadFields<kL3dTransform2d, k64f>(transform, kTransform2dNames, XmlIo{xml, item});
}

kFx(kStatus) kL3dTransform2d_Write(const kL3dTransform2d* transform, kXml xml, kXmlItem item)
{
    return WriteFields<kL3dTransform2d, k64f>(transform, kTransform2dNames, XmlIo{xml, item});
}

kFx(kStatus) kL3dTransform3d_Read(kL3dTransform3d* transform, kXml xml, kXmlItem item)
{
    return ReadFields<kL3dTransform3d, k64f>(transform, kTransform3dNames, XmlIo{xml, item});
}

kFx(kStatus) kL3dTransform3d_Write(const kL3dTransform3d* transform, kXml xml, kXmlItem item)
{
    return WriteFields<kL3dTransform3d, k64f>(transform, kTransform3dNames, XmlIo{xml, item});
}

kFx(kStatus) kL3dXml_MergeChild32u(kXml xml, kXmlItem item, const kChar* path, k32u* value)
{
    return Merge(xml, item, path, value, kXml_Child32u);
}

kFx(kStatus) kL3dXml_MergeChild32s(kXml xml, kXmlItem item, const kChar* path, k32s* value)
{
    return Merge(xml, item, path, value, kXml_Child32s);
}

kFx(kStatus) kL3dXml_MergeChildSize(kXml xml, kXmlItem item, const kChar* path, kSize* value)
{
    return Merge(xml, item, path, value, kXml_ChildSize);
}

kFx(kStatus) kL3dXml_MergeChild64f(kXml xml, kXmlItem item, const kChar* path, k64f* value)
{
    return Merge(xml, item, path, value, kXml_Child64f);
}

kFx(kStatus) kL3dXml_MergeChildBool(kXml xml, kXmlItem item, const kChar* path, kBool* value)
{
    return Merge(xml, item, path, value, kL3dXml_ChildBool);
}

kFx(kStatus)
    kL3dXml_MergeChildText(kXml xml, kXmlItem item, const kChar* path, kChar* text, kSize capacity)
{
    kXmlItem child = kXml_Child(xml, item, path);
    if (child == kNULL) return kOK;

    kString s = kNULL;
    kCheck(kString_Construct(&s, "", kNULL));
    kStatus status = kXml_ItemString(xml, child, s);
    if (kSuccess(status)) status = kString_Length(s) < capacity ? kOK : kSTATUS_BAD_PARAMETER;
    if (kSuccess(status)) status = kStrCopy(text, capacity, kString_Chars(s));
    kObject_Destroy(s);
    return status;
}

kFx(kStatus) kL3dXml_ChildBool(kXml xml, kXmlItem item, const kChar* path, kBool* value)
{
    kXmlItem child = kXml_Child(xml, item, path);
    if (child == kNULL) return kSTATUS_NOT_FOUND;
    return kL3dXml_ItemBool(xml, child, value);
}

kFx(kStatus) kL3dXml_ItemBool(kXml xml, kXmlItem item, kBool* value)
{
    return kXml_ItemBool(xml, item, value);
}

kFx(kStatus) kL3dXml_SetChildBool(kXml xml, kXmlItem item, const kChar* path, kBool value)
{
    return kXml_SetChildText(xml, item, path, value ? "true" : "false");
}

kFx(kStatus) kL3dXml_SetItemBool(kXml xml, kXmlItem item, kBool value)
{
    return kXml_SetItemText(xml, item, value ? "true" : "false");
}
