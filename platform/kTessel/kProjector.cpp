#include <kTessel/kNode.x.h>

struct kProjectorClass
{
    kObjectClass base;
    kNode node; // owner (borrowed)
    kSize index;
    k32u width;
    kBool enabled;
    k32u frameCount;
    kArray2 patterns; // copy of what was loaded
};

kDefineClass(kProjector, kObject);

namespace
{
template <typename... Args>
kStatus Call(kProjectorClass* obj, const kChar* operation, const kChar* format, Args... args)
{
    return xkNode_Call(obj->node, operation, format, (unsigned)obj->index, args...);
}
} // namespace

static kStatus xkProjector_VRelease(kObject projector)
{
    kCheck(kDestroyRef(&kCastRaw(kProjector, projector)->patterns));
    return xkObject_VRelease(projector);
}

kFx(kStatus) xxkProjector_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddClass(kProjector, kObject));
    return kAddVMethod(kProjector, VRelease);
}

kStatus xkProjector_Construct(kProjector* projector, kNode node, kSize index, k32u width,
                              kAlloc allocator)
{
    kAlloc alloc = kAlloc_Fallback(allocator);
    kProjectorClass* obj = kNULL;
    kStatus status;

    if (!kSuccess(status = kAlloc_GetObject(alloc, kTypeOf(kProjector), &obj))) return status;
    if (!kSuccess(status = kObject_Init(obj, kTypeOf(kProjector), alloc)))
    {
        kAlloc_FreeRef(alloc, &obj);
        return status;
    }
    obj->node = node;
    obj->index = index;
    obj->width = width;
    *projector = obj;
    return kOK;
}

kFx(kSize) kProjector_Index(kProjector projector)
{
    kObjN(kProjector, obj, projector);
    return obj ? obj->index : kSIZE_MAX;
}

kFx(k32u) kProjector_Width(kProjector projector)
{
    kObjN(kProjector, obj, projector);
    return obj ? obj->width : 0;
}

kFx(kStatus) kProjector_Enable(kProjector projector, kBool enable)
{
    kObjR(kProjector, projector);
    kCheck(Call(obj, "kProjector_Enable", "%u %d", enable ? 1 : 0));
    obj->enabled = enable ? kTRUE : kFALSE;
    return kOK;
}

kFx(kBool) kProjector_IsEnabled(kProjector projector)
{
    kObjN(kProjector, obj, projector);
    return obj ? obj->enabled : kFALSE;
}

kFx(kStatus) kProjector_SetPatternMode(kProjector projector, k32u mode)
{
    kObjR(kProjector, projector);
    return Call(obj, "kProjector_SetPatternMode", "%u %u", mode);
}

kFx(kStatus) kProjector_SetFrameCount(kProjector projector, k32u count)
{
    kObjR(kProjector, projector);
    kCheck(Call(obj, "kProjector_SetFrameCount", "%u %u", count));
    obj->frameCount = count;
    return kOK;
}

kFx(k32u) kProjector_FrameCount(kProjector projector)
{
    kObjN(kProjector, obj, projector);
    return obj ? obj->frameCount : 0;
}

kFx(kStatus) kProjector_LoadPatterns(kProjector projector, kArray2 patterns)
{
    kObjR(kProjector, projector);
    kArray2 copy = kNULL;

    kCheckArgs(kObject_Is(patterns, kTypeOf(kArray2)) &&
               kArray2_ItemType(patterns) == kTypeOf(k8u));
    kCheckArgs(kArray2_Length(patterns, 1) == obj->width);
    kCheck(Call(obj, "kProjector_LoadPatterns", "%u %zux%zu", kArray2_Length(patterns, 0),
                kArray2_Length(patterns, 1)));
    kCheck(kObject_Clone(&copy, patterns, kObject_Alloc(projector)));
    kObject_Destroy(obj->patterns);
    obj->patterns = copy;
    return kOK;
}

kFx(kArray2) kProjector_Patterns(kProjector projector)
{
    kObjN(kProjector, obj, projector);
    return obj ? obj->patterns : kNULL;
}

kFx(kStatus) kProjector_EnableDynamicFrameRate(kProjector projector, kBool enable)
{
    kObjR(kProjector, projector);
    return Call(obj, "kProjector_EnableDynamicFrameRate", "%u %d", enable ? 1 : 0);
}
