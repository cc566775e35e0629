#include <kSolan/Vs/kVsStorageInputBlock.h>

#include <cstdio>
#include <cstring>

struct kVsStorageInputBlockClass
{
    kPxBlockClass base;
    kVsStorageInputBlockInfo info; // loaded at start
    kPxPort input;
    kPxPort output;
    kArrayList items; // owned objects, sent in turn
    kSize next;       // index of the next item to send
};

kDefineClass(kVsStorageInputBlock, kPxBlock);

namespace
{
kStatus AddItem(kArrayList items, kObject item)
{
    kStatus status = kArrayList_Add(items, &item);
    if (!kSuccess(status)) kObject_Dispose(item);
    return status;
}

/* Moves the objects of a 1-D array into the list, leaving the array empty, then disposes of it. */
kStatus MoveItems(kArrayList items, kArray1 array)
{
    kStatus status = kOK;
    for (kSize i = 0; i < kArray1_Length(array) && kSuccess(status); ++i)
    {
        kObject* slot = static_cast<kObject*>(kArray1_At(array, i));
        if (kSuccess(status = kArrayList_Add(items, slot))) *slot = kNULL;
    }
    kObject_Dispose(array);
    return status;
}

/* Fills obj->items from the file named in the settings. */
kStatus LoadItems(kVsStorageInputBlock block)
{
    kVsStorageInputBlockClass* obj = kCastRaw(kVsStorageInputBlock, block);
    kAlloc alloc = kObject_Alloc(block);
    kChar path[kVS_STORAGE_INPUT_FILE_NAME_CAPACITY * 2],
        extension[kVS_STORAGE_INPUT_FILE_NAME_CAPACITY];
    kObject loaded = kNULL;
    kStatus status;

    kCheck(kDisposeRef(&obj->items));
    kCheck(kArrayList_Construct(&obj->items, kTypeOf(kObject), 0, alloc));
    kCheck(kPxBlock_FilePath(block, kVsStorageInputBlockInfo_InputFileName(obj->info), path,
                             sizeof(path)));
    kCheck(kPath_Extension(path, extension, sizeof(extension)));

    if (strcmp(extension, "bmp") == 0)
    {
        kPxBlock_Printf(block, "Use kImage_Import to Load  \"%s\" type file\n", extension);
        kCheck(kImage_Import(&loaded, path, alloc));
        kCheck(AddItem(obj->items, loaded));
    }
    else
    {
        kPxBlock_Printf(block, "Load with KData_Load");
        if (!kSuccess(status = kLoad5(&loaded, path, alloc)))
        {
            kPxBlock_Printf(block, "Error: file %s failed to load: %d %s\n", path, status,
                            kStatus_Name(status));
            return status;
        }
        if (kObject_Is(loaded, kTypeOf(kArrayList)) && kType_IsClass(kArrayList_ItemType(loaded)))
        {
            kCheck(kDisposeRef(&obj->items));
            obj->items = loaded;
        }
        else if (kObject_Is(loaded, kTypeOf(kArray1)) && kType_IsClass(kArray1_ItemType(loaded)))
            kCheck(MoveItems(obj->items, loaded));
        else
        {
            kObject copy = kNULL;
            kPxBlock_Printf(block, "Input data type is %s \n ", kType_Name(kObject_Type(loaded)));
            status = kObject_Clone(&copy, loaded, alloc);
            kObject_Dispose(loaded);
            kCheck(status);
            kCheck(AddItem(obj->items, copy));
        }
    }

    kPxBlock_Printf(block, "Loaded %d items\n", (int)kArrayList_Count(obj->items));
    if (kArrayList_Count(obj->items) == 0)
    {
        kPxBlock_Printf(block, "Error: file array size is 0");
        return kSTATUS_BAD_STATE;
    }
    return kOK;
}

kStatus ReleaseRunState(kVsStorageInputBlockClass* obj)
{
    kStatus status = kVsStorageInputBlockInfo_Destroy(obj->info);
    obj->info = kNULL;
    kStatus disposed = kDisposeRef(&obj->items);
    return kSuccess(status) ? disposed : status;
}
} // namespace

static const kChar* xkVsStorageInputBlock_VDescription(void)
{
    return "Loading file from Storage Block";
}

static kStatus xkVsStorageInputBlock_VOnSetup(kPxBlock block)
{
    kChar name[32];
    kCheck(kVsStorageInputBlockInfo_Normalize(kPxBlock_Settings(block)));
    snprintf(name, sizeof(name), "%s %d", "InData", 0);
    kCheck(kPxBlock_DefineInput(block, name, kVS_STORAGE_INPUT_BLOCK_IN, kNULL));
    snprintf(name, sizeof(name), "%s %d", "OutData", 0);
    return kPxBlock_DefineOutput(block, name, kVS_STORAGE_INPUT_BLOCK_OUT, kNULL);
}

static kStatus xkVsStorageInputBlock_VOnStart(kPxBlock block)
{
    kObjR(kVsStorageInputBlock, block);
    kStatus status;

    obj->next = 0;
    kTest(kVsStorageInputBlockInfo_Load(&obj->info, kPxBlock_Settings(block)));
    kTest(kPxBlock_FindPort(block, kVS_STORAGE_INPUT_BLOCK_IN, &obj->input));
    kTest(kPxBlock_FindPort(block, kVS_STORAGE_INPUT_BLOCK_OUT, &obj->output));
    kTest(LoadItems(block));
    return kOK;

cleanup:
    kPxBlock_Printf(block, "Error constructing data loader: %d %s\n", status, kStatus_Name(status));
    ReleaseRunState(obj);
    return status;
}

static kStatus xkVsStorageInputBlock_VOnPause(kPxBlock) { return kOK; }

static kStatus xkVsStorageInputBlock_VOnResume(kPxBlock) { return kOK; }

static kStatus xkVsStorageInputBlock_VOnStop(kPxBlock block)
{
    kObjR(kVsStorageInputBlock, block);
    kPxBlock_Printf(block, "Block Stopped ");
    return ReleaseRunState(obj);
}

static kStatus xkVsStorageInputBlock_VOnReceive(kPxBlock block, kPxPort, kObject message)
{
    kObjR(kVsStorageInputBlock, block);
    kAlloc alloc = kObject_Alloc(block);
    kStamp stamp = {};
    kObject copy = kNULL;
    kMsg msg = kNULL;
    kStatus status;

    /* Any message triggers; only a generic message has a stamp to pass on. */
    if (kObject_Is(message, kTypeOf(kMsg))) stamp = *kMsg_Stamp(message);
    kObject_Dispose(message);

    kSize count = kArrayList_Count(obj->items);
    if (count <= obj->next) obj->next = 0;
    if (!kPxPort_IsRouted(obj->output))
    {
        kPxBlock_Printf(block, "outputPort is not routed");
        return kOK;
    }

    kPxBlock_Printf(block, "Sending %dth element out of %d elements in the list", (int)obj->next,
                    (int)count);
    kTest(
        kObject_Clone(&copy, *static_cast<kObject*>(kArrayList_At(obj->items, obj->next)), alloc));
    kTest(kMsg_Construct(&msg, &stamp, copy, alloc));
    copy = kNULL;
    kTest(kPxBlock_Send(block, obj->output, msg));
    kPxBlock_Printf(block, "Sending done\n");
    obj->next += 1;
    return kOK;

cleanup:
    kObject_Dispose(copy);
    kObject_Dispose(msg);
    return status;
}

kFx(kStatus) kVsStorageInputBlock_SetOutputCount(kVsStorageInputBlock block, kSize index)
{
    kObjR(kVsStorageInputBlock, block);
    obj->next = index;
    return kOK;
}

kFx(kStatus) xxkVsStorageInputBlock_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddClass(kVsStorageInputBlock, kPxBlock));
    kCheck(kAddVMethod(kVsStorageInputBlock, VDescription));
    kCheck(kAddVMethod(kVsStorageInputBlock, VOnSetup));
    kCheck(kAddVMethod(kVsStorageInputBlock, VOnStart));
    kCheck(kAddVMethod(kVsStorageInputBlock, VOnStop));
    kCheck(kAddVMethod(kVsStorageInputBlock, VOnPause));
    kCheck(kAddVMethod(kVsStorageInputBlock, VOnResume));
    return kAddVMethod(kVsStorageInputBlock, VOnReceive);
}
