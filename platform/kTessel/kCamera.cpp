#include <kTessel/kCamera.h>
#include <kTessel/kNode.x.h>

#define xkCAMERA_PRNU_TABLES (3)

struct kCameraClass
{
    kObjectClass base;
    kNode node; // owner (borrowed)
    kSize index;
    kCameraConfig config;
    kCameraInfo info;   // owned
    kMemory extensions; // kCameraExt handles, owned
    kBool enabled;
    kBool fpnEnabled;
    kArray1 pixelLut; // copies of what was written
    kArray1 prnu[xkCAMERA_PRNU_TABLES];
    kImage fpn;
    kObject rangeLut; // one reference to what was written
};

kDefineClass(kCamera, kObject);

namespace
{
kSize ExtensionCount(kCameraClass* obj)
{
    return kMemory_Length(obj->extensions) / sizeof(kCameraExt);
}
kCameraExt* ExtensionSlot(kCameraClass* obj, kSize index)
{
    return static_cast<kCameraExt*>(kMemory_At(obj->extensions, index * sizeof(kCameraExt)));
}

/* Records "<operation> <camera index> <arguments>" on the camera's node. */
template <typename... Args>
kStatus Call(kCameraClass* obj, const kChar* operation, const kChar* format, Args... args)
{
    return xkNode_Call(obj->node, operation, format, (unsigned)obj->index, args...);
}

/* Replaces *kept by a copy of source, made with the camera's allocator. */
kStatus Keep(kCameraClass* obj, kObject* kept, kObject source)
{
    kObject copy = kNULL;
    kCheck(kObject_Clone(&copy, source, kObject_Alloc(obj)));
    kObject_Destroy(*kept);
    *kept = copy;
    return kOK;
}
} // namespace

static kStatus xkCamera_VRelease(kObject camera)
{
    kCameraClass* obj = kCastRaw(kCamera, camera);
    for (kSize i = 0; obj->extensions && i < ExtensionCount(obj); ++i)
        kCheck(kObject_Destroy(*ExtensionSlot(obj, i)));
    kCheck(kDestroyRef(&obj->extensions));
    kCheck(kDestroyRef(&obj->info));
    kCheck(kDestroyRef(&obj->pixelLut));
    for (kArray1& table : obj->prnu)
        kCheck(kDestroyRef(&table));
    kCheck(kDestroyRef(&obj->fpn));
    kCheck(kDestroyRef(&obj->rangeLut));
    return xkObject_VRelease(camera);
}

kFx(kStatus) xxkCamera_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddClass(kCamera, kObject));
    return kAddVMethod(kCamera, VRelease);
}

kFx(kStatus) kCameraConfig_Init(kCameraConfig* config)
{
    kCheckArgs(config);
    *config = {};
    config->capabilities = kCAMERA_CAPABILITY_PHASE_DECODER | kCAMERA_CAPABILITY_RANGE_LUT |
                           kCAMERA_CAPABILITY_PIXEL_LUT | kCAMERA_CAPABILITY_PRNU |
                           kCAMERA_CAPABILITY_FPN;
    config->pixelLutCapacity = 1024;
    config->rangeLutFormat = 16;
    config->rescalerRatio = 1.0;
    config->rangeLutCaps = {1024, 1024, 8, 8, 8, 4096, 16384, 32768};
    return kOK;
}

static kStatus xkCamera_Init(kCamera camera, kNode node, kSize index, const kCameraConfig* config,
                             kAlloc alloc)
{
    kCameraClass* obj = static_cast<kCameraClass*>(camera);
    kStatus status;

    kCheck(kObject_Init(camera, kTypeOf(kCamera), alloc));
    obj->node = node;
    obj->index = index;
    if (config)
        obj->config = *config;
    else
        kCameraConfig_Init(&obj->config);
    kTest(xkCameraInfo_Construct(&obj->info, &obj->config.rangeLutCaps, alloc));
    kTest(kMemory_Construct(&obj->extensions, alloc));
    return kOK;

cleanup:
    xkCamera_VRelease(camera);
    return status;
}

kStatus xkCamera_Construct(kCamera* camera, kNode node, kSize index, const kCameraConfig* config,
                           kAlloc allocator)
{
    kAlloc alloc = kAlloc_Fallback(allocator);
    kCameraClass* obj = kNULL;
    kStatus status;

    if (!kSuccess(status = kAlloc_GetObject(alloc, kTypeOf(kCamera), &obj))) return status;
    if (!kSuccess(status = xkCamera_Init(obj, node, index, config, alloc)))
    {
        kAlloc_FreeRef(alloc, &obj);
        return status;
    }
    *camera = obj;
    return kOK;
}

kNode xkCamera_Node(kCamera camera) { return kCastRaw(kCamera, camera)->node; }

kFx(kSize) kCamera_Index(kCamera camera)
{
    kObjN(kCamera, obj, camera);
    return obj ? obj->index : kSIZE_MAX;
}

kFx(kStatus) kCamera_Enable(kCamera camera, kBool enable)
{
    kObjR(kCamera, camera);
    kCheck(Call(obj, "kCamera_Enable", "%u %d", enable ? 1 : 0));
    obj->enabled = enable ? kTRUE : kFALSE;
    return kOK;
}

kFx(kBool) kCamera_IsEnabled(kCamera camera)
{
    kObjN(kCamera, obj, camera);
    return obj ? obj->enabled : kFALSE;
}

kFx(kStatus) kCamera_SetControl(kCamera camera, k32u control)
{
    kObjR(kCamera, camera);
    return Call(obj, "kCamera_SetControl", "%u %u", control);
}

kFx(kStatus) kCamera_SetPortMode(kCamera camera, k32u mode)
{
    kObjR(kCamera, camera);
    return Call(obj, "kCamera_SetPortMode", "%u %u", mode);
}

kFx(kStatus) kCamera_SetOutputMode(kCamera camera, k32u mode)
{
    kObjR(kCamera, camera);
    return Call(obj, "kCamera_SetOutputMode", "%u %u", mode);
}

kFx(kSize) kCamera_ExtensionCount(kCamera camera)
{
    kObjN(kCamera, obj, camera);
    return obj ? ExtensionCount(obj) : 0;
}

kFx(kCameraExt) kCamera_ExtensionAt(kCamera camera, kSize index)
{
    kObjN(kCamera, obj, camera);
    return (obj && index < ExtensionCount(obj)) ? *ExtensionSlot(obj, index) : kNULL;
}

kFx(kStatus) kCamera_AddExtension(kCamera camera, kType type, kCameraExt* extension)
{
    kObjR(kCamera, camera);
    kCameraExt created = kNULL;
    kStatus status;

    kCheckArgs(type);
    kCheck(Call(obj, "kCamera_AddExtension", "%u %s", kType_Name(type)));
    kCheck(xkCameraExt_Construct(&created, type, camera, kObject_Alloc(camera)));
    if (!kSuccess(status = kMemory_Append(obj->extensions, &created, sizeof(created))))
    {
        kObject_Destroy(created);
        return status;
    }
    if (extension) *extension = created;
    return kOK;
}

kFx(kStatus) kCamera_DeleteExtension(kCamera camera, kCameraExt extension)
{
    kObjR(kCamera, camera);
    kSize count = ExtensionCount(obj), index = 0;

    while (index < count && *ExtensionSlot(obj, index) != extension)
        ++index;
    kCheckTrue(index < count, kSTATUS_NOT_FOUND);
    kCheck(Call(obj, "kCamera_DeleteExtension", "%u %zu", index));
    kCheck(kObject_Destroy(extension));
    kMemMove(ExtensionSlot(obj, index), ExtensionSlot(obj, index + 1),
             (count - index - 1) * sizeof(kCameraExt));
    return kMemory_Allocate(obj->extensions, (count - 1) * sizeof(kCameraExt));
}

kFx(k32u) kCamera_Capabilities(kCamera camera)
{
    kObjN(kCamera, obj, camera);
    return obj ? obj->config.capabilities : 0;
}

kFx(kCameraInfo) kCamera_ModelInfo(kCamera camera)
{
    kObjN(kCamera, obj, camera);
    return obj ? obj->info : kNULL;
}

kFx(kBool) kCamera_HasRescaler(kCamera camera)
{
    kObjN(kCamera, obj, camera);
    return obj ? obj->config.hasRescaler : kFALSE;
}

kFx(k64f) kCamera_RescalerRatio(kCamera camera)
{
    kObjN(kCamera, obj, camera);
    return (obj && obj->config.hasRescaler) ? obj->config.rescalerRatio : 1.0;
}

kFx(k32u) kCamera_RangeLutFormat(kCamera camera)
{
    kObjN(kCamera, obj, camera);
    return obj ? obj->config.rangeLutFormat : 0;
}

kFx(kStatus) kCamera_PixelLutCapacityInfo(kCamera camera, kSize* capacity)
{
    kObjR(kCamera, camera);
    kCheckArgs(capacity);
    *capacity = obj->config.pixelLutCapacity;
    return kOK;
}

kFx(kStatus) kCamera_SetPixelLut(kCamera camera, const k8u* data, kSize count)
{
    kObjR(kCamera, camera);
    kArray1 table = kNULL;

    kCheckArgs(data && count == obj->config.pixelLutCapacity);
    kCheck(Call(obj, "kCamera_SetPixelLut", "%u %zu", count));
    kCheck(kArray1_Construct(&table, kTypeOf(k8u), count, kObject_Alloc(camera)));
    kMemCopy(kArray1_Data(table), data, count);
    kObject_Destroy(obj->pixelLut);
    obj->pixelLut = table;
    return kOK;
}

kFx(kArray1) kCamera_PixelLut(kCamera camera)
{
    kObjN(kCamera, obj, camera);
    return obj ? obj->pixelLut : kNULL;
}

kFx(kStatus) kCamera_WritePrnu(kCamera camera, kArray1 coordinates, kArray1 offsets, kArray1 scales)
{
    kObjR(kCamera, camera);
    kArray1 tables[xkCAMERA_PRNU_TABLES] = {coordinates, offsets, scales};

    for (kArray1 table : tables)
        kCheckArgs(kObject_Is(table, kTypeOf(kArray1)));
    kCheckArgs(kArray1_Length(offsets) == kArray1_Length(coordinates) &&
               kArray1_Length(scales) == kArray1_Length(coordinates));
    kCheck(Call(obj, "kCamera_WritePrnu", "%u %zu", kArray1_Length(coordinates)));
    for (kSize i = 0; i < xkCAMERA_PRNU_TABLES; ++i)
        kCheck(Keep(obj, &obj->prnu[i], tables[i]));
    return kOK;
}

kFx(kArray1) kCamera_PrnuTable(kCamera camera, kSize which)
{
    kObjN(kCamera, obj, camera);
    return (obj && which < xkCAMERA_PRNU_TABLES) ? obj->prnu[which] : kNULL;
}

kFx(kStatus) kCamera_EnableFpn(kCamera camera, kBool enable)
{
    kObjR(kCamera, camera);
    kCheck(Call(obj, "kCamera_EnableFpn", "%u %d", enable ? 1 : 0));
    obj->fpnEnabled = enable ? kTRUE : kFALSE;
    return kOK;
}

kFx(kBool) kCamera_IsFpnEnabled(kCamera camera)
{
    kObjN(kCamera, obj, camera);
    return obj ? obj->fpnEnabled : kFALSE;
}

kFx(kStatus) kCamera_WriteFpn(kCamera camera, kImage image)
{
    kObjR(kCamera, camera);
    kCheckArgs(kObject_Is(image, kTypeOf(kImage)) && kImage_PixelType(image) == kTypeOf(k8u));
    kCheck(Call(obj, "kCamera_WriteFpn", "%u %zux%zu", kImage_Width(image), kImage_Height(image)));
    return Keep(obj, &obj->fpn, image);
}

kFx(kImage) kCamera_Fpn(kCamera camera)
{
    kObjN(kCamera, obj, camera);
    return obj ? obj->fpn : kNULL;
}

kFx(kStatus) kCamera_WriteRangeLut(kCamera camera, kObject rangeLut)
{
    kObjR(kCamera, camera);
    kCheckArgs(kObject_Is(rangeLut, kTypeOf(kObject)));
    kCheck(Call(obj, "kCamera_WriteRangeLut", "%u %s", kType_Name(kObject_Type(rangeLut))));
    kCheck(kObject_Share(rangeLut));
    kObject_Destroy(obj->rangeLut);
    obj->rangeLut = rangeLut;
    return kOK;
}

kFx(kObject) kCamera_RangeLut(kCamera camera)
{
    kObjN(kCamera, obj, camera);
    return obj ? obj->rangeLut : kNULL;
}
