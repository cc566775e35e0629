#include <kTessel/kPlot.h>

#include <cstring>

#define xkPLOT_NAME_CAPACITY (64)

namespace
{
struct Entry
{
    kChar name[xkPLOT_NAME_CAPACITY];
    kObject item; // owned
};
} // namespace

struct kPlotClass
{
    kObjectClass base;
    kMemory entries; // Entry records, in order of addition
    k64f world[4];   // x0, y0, x1, y1
    kChar title[xkPLOT_NAME_CAPACITY];
};

kDefineClass(kPlot, kObject);

namespace
{
Entry* EntryAt(kPlotClass* obj, kSize index)
{
    return static_cast<Entry*>(kMemory_At(obj->entries, index * sizeof(Entry)));
}
} // namespace

static kStatus xkPlot_VRelease(kObject plot)
{
    kPlotClass* obj = kCastRaw(kPlot, plot);
    for (kSize i = 0; i < kPlot_Count(plot); ++i)
        kCheck(kDisposeRef(&EntryAt(obj, i)->item));
    kCheck(kDestroyRef(&obj->entries));
    return xkObject_VRelease(plot);
}

static kStatus xkPlot_VInitClone(kObject plot, kObject source, kAlloc allocator)
{
    kPlotClass* obj = static_cast<kPlotClass*>(plot);
    kPlotClass* src = kCastRaw(kPlot, source);
    kStatus status;

    kCheck(kObject_Init(plot, kTypeOf(kPlot), allocator));
    kMemCopy(obj->world, src->world, sizeof(obj->world));
    kMemCopy(obj->title, src->title, sizeof(obj->title));
    kTest(kMemory_Construct(&obj->entries, allocator));
    for (kSize i = 0; i < kPlot_Count(source); ++i)
    {
        kObject copy = kNULL;
        kTest(kObject_Clone(&copy, EntryAt(src, i)->item, allocator));
        if (!kSuccess(status = kPlot_Add(plot, EntryAt(src, i)->name, copy)))
        {
            kObject_Dispose(copy);
            goto cleanup;
        }
    }
    return kOK;

cleanup:
    xkPlot_VRelease(plot);
    return status;
}

static kSize xkPlot_VSize(kObject plot)
{
    kPlotClass* obj = kCastRaw(kPlot, plot);
    kSize size = xkObject_VSize(plot) + kObject_Size(obj->entries);
    for (kSize i = 0; i < kPlot_Count(plot); ++i)
        size += kObject_Size(EntryAt(obj, i)->item);
    return size;
}

kFx(kStatus) xxkPlot_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddClass(kPlot, kObject));
    kCheck(kAddVMethod(kPlot, VRelease));
    kCheck(kAddVMethod(kPlot, VInitClone));
    return kAddVMethod(kPlot, VSize);
}

kFx(kStatus) kPlot_Construct(kPlot* plot, kAlloc allocator)
{
    kAlloc alloc = kAlloc_Fallback(allocator);
    kPlotClass* obj = kNULL;
    kStatus status;

    kCheckArgs(plot);
    if (!kSuccess(status = kAlloc_GetObject(alloc, kTypeOf(kPlot), &obj))) return status;
    if (!kSuccess(status = kObject_Init(obj, kTypeOf(kPlot), alloc)) ||
        !kSuccess(status = kMemory_Construct(&obj->entries, alloc)))
    {
        kAlloc_FreeRef(alloc, &obj);
        return status;
    }
    obj->world[2] = obj->world[3] = 1.0;
    *plot = obj;
    return kOK;
}

kFx(kStatus) kPlot_Add(kPlot plot, const kChar* name, kObject item)
{
    kObjR(kPlot, plot);
    Entry entry = {};
    kCheckArgs(name && kObject_Is(item, kTypeOf(kObject)));
    strncpy(entry.name, name, sizeof(entry.name) - 1);
    entry.item = item;
    return kMemory_Append(obj->entries, &entry, sizeof(entry));
}

kFx(kStatus) kPlot_SetWorld(kPlot plot, k64f x0, k64f y0, k64f x1, k64f y1)
{
    kObjR(kPlot, plot);
    obj->world[0] = x0, obj->world[1] = y0, obj->world[2] = x1, obj->world[3] = y1;
    return kOK;
}

kFx(kStatus) kPlot_World(kPlot plot, k64f* x0, k64f* y0, k64f* x1, k64f* y1)
{
    kObjR(kPlot, plot);
    k64f* outputs[4] = {x0, y0, x1, y1};
    for (kSize i = 0; i < 4; ++i)
        if (outputs[i]) *outputs[i] = obj->world[i];
    return kOK;
}

kFx(kStatus) kPlot_SetTitle(kPlot plot, const kChar* title)
{
    kObjR(kPlot, plot);
    memset(obj->title, 0, sizeof(obj->title));
    if (title) strncpy(obj->title, title, sizeof(obj->title) - 1);
    return kOK;
}

kFx(const kChar*) kPlot_Title(kPlot plot)
{
    kObjN(kPlot, obj, plot);
    return obj ? obj->title : kNULL;
}

kFx(kSize) kPlot_Count(kPlot plot)
{
    kObjN(kPlot, obj, plot);
    return (obj && obj->entries) ? kMemory_Length(obj->entries) / sizeof(Entry) : 0;
}

kFx(const kChar*) kPlot_NameAt(kPlot plot, kSize index)
{
    return index < kPlot_Count(plot) ? EntryAt(kCastRaw(kPlot, plot), index)->name : kNULL;
}

kFx(kObject) kPlot_ItemAt(kPlot plot, kSize index)
{
    return index < kPlot_Count(plot) ? EntryAt(kCastRaw(kPlot, plot), index)->item : kNULL;
}
