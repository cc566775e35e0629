#include <kTessel/kPxBlock.x.h>
#include <kTessel/kPxPipeline.x.h>
#include <kTessel/kPxPort.x.h>
#include <kBasis/kPath.h>

#include <cstdio>
#include <cstring>

kDefineClass(kPxBlock, kObject);

namespace
{
kPxBlockClass* Block(kPxBlock block) { return static_cast<kPxBlockClass*>(block); }

kStatus DefinePort(kPxBlock block, const kChar* name, k32u id, kBool isInput, kPxPort* port)
{
    kObjR(kPxBlock, block);
    kPxPort existing = kNULL;
    kPxPort created = kNULL;

    kCheckArgs(name);
    kCheckState(!kPxPipeline_IsStarted(obj->pipeline));
    kCheckTrue(!kSuccess(kPxBlock_FindPort(block, id, &existing)), kSTATUS_DUPLICATE);
    kCheck(xkPxPort_Construct(&created, block, name, id, isInput, kObject_Alloc(block)));

    kPxPort* link = &obj->firstPort;
    while (*link)
        link = &static_cast<kPxPortClass*>(*link)->next;
    *link = created;
    if (port) *port = created;
    return kOK;
}
} // namespace

kStatus xkPxBlock_Init(kPxBlock block, kType type, kObject pipeline, kXml settings,
                       kAlloc messageAlloc, kAlloc allocator)
{
    kPxBlockClass* obj = Block(block);
    kStatus status;

    kCheck(kObject_Init(block, type, allocator));
    obj->pipeline = pipeline;
    obj->messageAlloc = messageAlloc ? messageAlloc : kObject_Alloc(block);

    kTest(kXml_Construct(&obj->settings, allocator));
    if (settings) kTest(kXml_Assign(obj->settings, settings));
    if (!kXml_Root(obj->settings)) kTest(kXml_AddItem(obj->settings, kNULL, "Settings", kNULL));
    kTest(kMemory_Construct(&obj->console, allocator));
    kTest(kMemory_Append(obj->console, "", 1));
    return kOK;

cleanup:
    xkPxBlock_VRelease(block);
    return status;
}

kFx(kStatus) xkPxBlock_VRelease(kObject block)
{
    kPxBlockClass* obj = Block(block);
    while (obj->firstPort)
    {
        kPxPort port = obj->firstPort;
        obj->firstPort = static_cast<kPxPortClass*>(port)->next;
        kCheck(kObject_Destroy(port));
    }
    kCheck(kDestroyRef(&obj->console));
    kCheck(kDestroyRef(&obj->settings));
    return xkObject_VRelease(block);
}

kFx(kStatus) xkPxBlock_VInitialize(kPxBlock) { return kOK; }
kFx(const kChar*) xkPxBlock_VDescription(void) { return ""; }
kFx(kStatus) xkPxBlock_VOnCleanup(kPxBlock) { return kOK; }
kFx(kStatus) xkPxBlock_VOnSetup(kPxBlock) { return kOK; }
kFx(kStatus) xkPxBlock_VOnStart(kPxBlock) { return kOK; }
kFx(kStatus) xkPxBlock_VOnEngage(kPxBlock) { return kOK; }
kFx(kStatus) xkPxBlock_VOnStop(kPxBlock) { return kOK; }
kFx(kStatus) xkPxBlock_VOnPause(kPxBlock) { return kOK; }
kFx(kStatus) xkPxBlock_VOnResume(kPxBlock) { return kOK; }

kFx(kStatus) xkPxBlock_VOnReceive(kPxBlock, kPxPort, kObject message)
{
    return kObject_Dispose(message);
}

kFx(kStatus) xxkPxBlock_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddClass(kPxBlock, kObject));
    kCheck(xkType_AddFlags(kTypeOf(kPxBlock), kTYPE_FLAGS_ABSTRACT));
    kCheck(kAddVMethod(kPxBlock, VRelease));
    kCheck(kAddVMethod(kPxBlock, VInitialize));
    kCheck(kAddVMethod(kPxBlock, VDescription));
    kCheck(kAddVMethod(kPxBlock, VOnCleanup));
    kCheck(kAddVMethod(kPxBlock, VOnSetup));
    kCheck(kAddVMethod(kPxBlock, VOnStart));
    kCheck(kAddVMethod(kPxBlock, VOnEngage));
    kCheck(kAddVMethod(kPxBlock, VOnStop));
    kCheck(kAddVMethod(kPxBlock, VOnPause));
    kCheck(kAddVMethod(kPxBlock, VOnResume));
    return kAddVMethod(kPxBlock, VOnReceive);
}

kFx(const kChar*) kPxBlock_Description(kType type)
{
    if (!type || !kType_Is(type, kTypeOf(kPxBlock))) return "";
    return static_cast<const kPxBlockVTable*>(kType_VTable(type))->VDescription();
}

kFx(kXml) kPxBlock_Settings(kPxBlock block)
{
    kObjN(kPxBlock, obj, block);
    return obj ? obj->settings : kNULL;
}

kFx(kStatus) kPxBlock_DefineInput(kPxBlock block, const kChar* name, k32u id, kPxPort* port)
{
    return DefinePort(block, name, id, kTRUE, port);
}

kFx(kStatus) kPxBlock_DefineOutput(kPxBlock block, const kChar* name, k32u id, kPxPort* port)
{
    return DefinePort(block, name, id, kFALSE, port);
}

kFx(kStatus) kPxBlock_FindPort(kPxBlock block, k32u id, kPxPort* port)
{
    kObjR(kPxBlock, block);
    kCheckArgs(port);
    for (kPxPort p = obj->firstPort; p; p = static_cast<kPxPortClass*>(p)->next)
    {
        if (static_cast<kPxPortClass*>(p)->id == id)
        {
            *port = p;
            return kOK;
        }
    }
    *port = kNULL;
    return kSTATUS_NOT_FOUND;
}

kFx(kSize) kPxBlock_PortCount(kPxBlock block)
{
    kObjN(kPxBlock, obj, block);
    kSize count = 0;
    for (kPxPort p = obj ? obj->firstPort : kNULL; p; p = static_cast<kPxPortClass*>(p)->next)
        ++count;
    return count;
}

kFx(kPxPort) kPxBlock_PortAt(kPxBlock block, kSize index)
{
    kObjN(kPxBlock, obj, block);
    kPxPort p = obj ? obj->firstPort : kNULL;
    for (; p && index > 0; --index)
        p = static_cast<kPxPortClass*>(p)->next;
    return p;
}

kFx(kStatus) kPxBlock_Send(kPxBlock block, kPxPort port, kObject message)
{
    kObjR(kPxBlock, block);
    kObjN(kPxPort, out, port);
    kCheckArgs(out && out->block == block && !out->isInput);
    kCheckArgs(kObject_Is(message, kTypeOf(kObject)));
    return xkPxPipeline_Send(obj->pipeline, port, message);
}

kFx(kAlloc) kPxBlock_MessageAlloc(kPxBlock block)
{
    kObjN(kPxBlock, obj, block);
    return obj ? obj->messageAlloc : kNULL;
}

kFx(kStatus) kPxBlock_ZeroContext(kPxBlock block)
{
    kObjR(kPxBlock, block);
    kSize size = kType_InnerSize(kObject_Type(block));
    return kMemZero(reinterpret_cast<kByte*>(obj) + sizeof(kPxBlockClass),
                    size - sizeof(kPxBlockClass));
}

kFx(kStatus) kPxBlock_NotifyDrop(kPxBlock block, kObject)
{
    kObjR(kPxBlock, block);
    obj->dropCount++;
    return kOK;
}

kFx(kSize) kPxBlock_DropCount(kPxBlock block)
{
    kObjN(kPxBlock, obj, block);
    return obj ? obj->dropCount : 0;
}

kFx(kStatus) kPxBlock_FilePath(kPxBlock block, const kChar* fileName, kChar* path, kSize capacity)
{
    kObjR(kPxBlock, block);
    kCheckArgs(fileName && path && capacity > 0);
    const kChar* directory = xkPxPipeline_Directory(obj->pipeline);
    if (kPath_IsAbsolute(fileName) || directory[0] == 0)
    {
        kCheckArgs(strlen(fileName) < capacity);
        strcpy(path, fileName);
        return kOK;
    }
    return kPath_Combine(directory, fileName, path, capacity);
}

kFx(kStatus) kPxBlock_Printf(kPxBlock block, const kChar* format, ...)
{
    kObjR(kPxBlock, block);
    va_list args, copy;
    kStatus status;

    va_start(args, format);
    va_copy(copy, args);
    int length = vsnprintf(kNULL, 0, format, args);
    kSize end = kMemory_Length(obj->console) - 1; // the terminator is overwritten
    status = length < 0 ? kSTATUS_BAD_PARAMETER
                        : kMemory_Allocate(obj->console, end + (kSize)length + 1);
    if (kSuccess(status))
        vsnprintf(static_cast<kChar*>(kMemory_At(obj->console, end)), (kSize)length + 1, format,
                  copy);
    va_end(copy);
    va_end(args);
    return status;
}

kFx(const kChar*) kPxBlock_Console(kPxBlock block)
{
    kObjN(kPxBlock, obj, block);
    return obj ? static_cast<const kChar*>(kMemory_At(obj->console, 0)) : "";
}

kFx(kStatus) kPxBlock_ClearConsole(kPxBlock block)
{
    kObjR(kPxBlock, block);
    kCheck(kMemory_Allocate(obj->console, 1));
    *static_cast<kChar*>(kMemory_At(obj->console, 0)) = 0;
    return kOK;
}
