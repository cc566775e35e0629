#include <kTessel/kNode.x.h>
#include <kBasis/kLock.h>
#include <kBasis/kTimer.h>

#include <cstdio>
#include <cstring>

namespace
{
#define xkNODE_OPERATION_CAPACITY (64)

/* A fault set on an operation. */
struct Fault
{
    kChar operation[xkNODE_OPERATION_CAPACITY];
    kStatus status;
};
} // namespace

/* A list of texts: the characters of every text, each with its terminator, and their offsets. */
struct xkTextList
{
    kMemory text;
    kMemory offsets; // kSize
};

struct kNodeClass
{
    kObjectClass base;
    kLock lock; // guards calls, faults and errors
    xkTextList calls;
    xkTextList errors;
    kMemory faults;     // Fault records
    kMemory cameras;    // kCamera handles, owned
    kMemory projectors; // kProjector handles, owned
    kMemory serialOuts; // kSerialOut handles, owned
    kStorage storage;
    kBool connected;
    k64u startTime; // kTimer_Now at construction, µs
};

kDefineClass(kNode, kObject);

namespace
{
kStatus TextList_Init(xkTextList* list, kAlloc alloc)
{
    kCheck(kMemory_Construct(&list->text, alloc));
    return kMemory_Construct(&list->offsets, alloc);
}

kStatus TextList_Release(xkTextList* list)
{
    kCheck(kDestroyRef(&list->text));
    return kDestroyRef(&list->offsets);
}

kSize TextList_Count(const xkTextList* list)
{
    return kMemory_Length(list->offsets) / sizeof(kSize);
}

const kChar* TextList_At(const xkTextList* list, kSize index)
{
    if (index >= TextList_Count(list)) return kNULL;
    kSize offset = *static_cast<kSize*>(kMemory_At(list->offsets, index * sizeof(kSize)));
    return static_cast<const kChar*>(kMemory_At(list->text, offset));
}

kStatus TextList_Add(xkTextList* list, const kChar* text)
{
    kSize offset = kMemory_Length(list->text);
    kCheck(kMemory_Append(list->text, text, strlen(text) + 1));
    kStatus status = kMemory_Append(list->offsets, &offset, sizeof(offset));
    if (!kSuccess(status)) kMemory_Allocate(list->text, offset);
    return status;
}

kStatus TextList_Clear(xkTextList* list)
{
    kCheck(kMemory_Allocate(list->text, 0));
    return kMemory_Allocate(list->offsets, 0);
}

/* Handles held in a kMemory. */
kSize HandleCount(kMemory handles)
{
    return handles ? kMemory_Length(handles) / sizeof(kObject) : 0;
}
kObject HandleAt(kMemory handles, kSize index)
{
    return index < HandleCount(handles)
               ? *static_cast<kObject*>(kMemory_At(handles, index * sizeof(kObject)))
               : kNULL;
}

kStatus DestroyHandles(kMemory* handles)
{
    for (kSize i = 0; i < HandleCount(*handles); ++i)
        kCheck(kObject_Destroy(HandleAt(*handles, i)));
    return kDestroyRef(handles);
}

/* Appends a new part (already constructed) to handles; destroys it when that fails. */
kStatus AddPart(kMemory handles, kObject part, kObject* out)
{
    kStatus status = kMemory_Append(handles, &part, sizeof(part));
    if (!kSuccess(status))
    {
        kObject_Destroy(part);
        return status;
    }
    if (out) *out = part;
    return kOK;
}

/* Runs fn under the node's lock. */
template <typename Fn>
auto Locked(kNodeClass* obj, Fn fn) -> decltype(fn())
{
    kLock_Enter(obj->lock);
    auto result = fn();
    kLock_Exit(obj->lock);
    return result;
}

kStatus FaultOf(kNodeClass* obj, const kChar* operation)
{
    for (kSize i = 0; i < kMemory_Length(obj->faults) / sizeof(Fault); ++i)
    {
        const Fault* fault = static_cast<const Fault*>(kMemory_At(obj->faults, i * sizeof(Fault)));
        if (strcmp(fault->operation, operation) == 0) return fault->status;
    }
    return kOK;
}
} // namespace

static kStatus xkNode_VRelease(kObject node)
{
    kNodeClass* obj = kCastRaw(kNode, node);
    kCheck(DestroyHandles(&obj->cameras));
    kCheck(DestroyHandles(&obj->projectors));
    kCheck(DestroyHandles(&obj->serialOuts));
    kCheck(kDestroyRef(&obj->storage));
    kCheck(kDestroyRef(&obj->faults));
    kCheck(TextList_Release(&obj->errors));
    kCheck(TextList_Release(&obj->calls));
    kCheck(kDestroyRef(&obj->lock));
    return xkObject_VRelease(node);
}

kFx(kStatus) xxkNode_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddClass(kNode, kObject));
    return kAddVMethod(kNode, VRelease);
}

static kStatus xkNode_Init(kNode node, const kChar* storageDirectory, kAlloc alloc)
{
    kNodeClass* obj = static_cast<kNodeClass*>(node);
    kStatus status;

    kCheck(kObject_Init(node, kTypeOf(kNode), alloc));
    obj->startTime = kTimer_Now();
    kTest(kLock_Construct(&obj->lock, alloc));
    kTest(TextList_Init(&obj->calls, alloc));
    kTest(TextList_Init(&obj->errors, alloc));
    kTest(kMemory_Construct(&obj->faults, alloc));
    kTest(kMemory_Construct(&obj->cameras, alloc));
    kTest(kMemory_Construct(&obj->projectors, alloc));
    kTest(kMemory_Construct(&obj->serialOuts, alloc));
    kTest(xkStorage_Construct(&obj->storage, node, storageDirectory, alloc));
    return kOK;

cleanup:
    xkNode_VRelease(node);
    return status;
}

kFx(kStatus) kNode_Construct(kNode* node, const kChar* storageDirectory, kAlloc allocator)
{
    kAlloc alloc = kAlloc_Fallback(allocator);
    kNodeClass* obj = kNULL;
    kStatus status;

    kCheckArgs(node);
    if (!kSuccess(status = kAlloc_GetObject(alloc, kTypeOf(kNode), &obj))) return status;
    if (!kSuccess(status = xkNode_Init(obj, storageDirectory, alloc)))
    {
        kAlloc_FreeRef(alloc, &obj);
        return status;
    }
    *node = obj;
    return kOK;
}

kStatus xkNode_Call(kNode node, const kChar* operation, const kChar* format, ...)
{
    if (!node) return kOK;
    kNodeClass* obj = kCastRaw(kNode, node);
    kChar line[512];
    va_list args;

    int length = snprintf(line, sizeof(line), "%s", operation);
    if (format[0] && length >= 0 && (kSize)length + 1 < sizeof(line))
    {
        line[length++] = ' ';
        va_start(args, format);
        vsnprintf(line + length, sizeof(line) - (kSize)length, format, args);
        va_end(args);
    }
    return Locked(obj,
                  [&]
                  {
                      kCheck(TextList_Add(&obj->calls, line));
                      return FaultOf(obj, operation);
                  });
}

kFx(kStatus) kNode_AddCamera(kNode node, const kCameraConfig* config, kCamera* camera)
{
    kObjR(kNode, node);
    kCamera created = kNULL;
    kCheck(
        xkCamera_Construct(&created, node, HandleCount(obj->cameras), config, kObject_Alloc(node)));
    return AddPart(obj->cameras, created, camera);
}

kFx(kStatus) kNode_AddProjector(kNode node, k32u width, kProjector* projector)
{
    kObjR(kNode, node);
    kProjector created = kNULL;
    kCheck(xkProjector_Construct(&created, node, HandleCount(obj->projectors), width,
                                 kObject_Alloc(node)));
    return AddPart(obj->projectors, created, projector);
}

kFx(kStatus) kNode_AddSerialOut(kNode node, kSerialOut* serialOut)
{
    kObjR(kNode, node);
    kSerialOut created = kNULL;
    kCheck(
        xkSerialOut_Construct(&created, node, HandleCount(obj->serialOuts), kObject_Alloc(node)));
    return AddPart(obj->serialOuts, created, serialOut);
}

kFx(kStatus) kNode_Connect(kNode node)
{
    kObjR(kNode, node);
    kCheck(xkNode_Call(node, "kNode_Connect", ""));
    obj->connected = kTRUE;
    return kOK;
}

kFx(kStatus) kNode_Disconnect(kNode node)
{
    kObjR(kNode, node);
    kCheck(xkNode_Call(node, "kNode_Disconnect", ""));
    obj->connected = kFALSE;
    return kOK;
}

kFx(kBool) kNode_IsConnected(kNode node)
{
    kObjN(kNode, obj, node);
    return obj ? obj->connected : kFALSE;
}

kFx(kStatus) kNode_Refresh(kNode node)
{
    kObjR(kNode, node);
    kCheck(xkNode_Call(node, "kNode_Refresh", ""));
    return obj->connected ? kOK : kSTATUS_BAD_STATE;
}

kFx(kStatus) kNode_Verify(kNode node)
{
    kObjR(kNode, node);
    kCheck(xkNode_Call(node, "kNode_Verify", ""));
    kCheckState(obj->connected);
    return kNode_ErrorCount(node) == 0 ? kOK : kSTATUS_CONFLICT;
}

kFx(kSize) kNode_ErrorCount(kNode node)
{
    kObjN(kNode, obj, node);
    return obj ? Locked(obj, [&] { return TextList_Count(&obj->errors); }) : 0;
}

kFx(const kChar*) kNode_ErrorAt(kNode node, kSize index)
{
    kObjN(kNode, obj, node);
    return obj ? Locked(obj, [&] { return TextList_At(&obj->errors, index); }) : kNULL;
}

kFx(kStatus) kNode_Apply(kNode node)
{
    kObjR(kNode, node);
    kCheck(xkNode_Call(node, "kNode_Apply", ""));
    return obj->connected ? kOK : kSTATUS_BAD_STATE;
}

kFx(kStatus) kNode_VerifyAndApply(kNode node)
{
    kCheck(kNode_Verify(node));
    return kNode_Apply(node);
}

kFx(kSize) kNode_CameraCount(kNode node)
{
    kObjN(kNode, obj, node);
    return obj ? HandleCount(obj->cameras) : 0;
}

kFx(kCamera) kNode_CameraAt(kNode node, kSize index)
{
    kObjN(kNode, obj, node);
    return obj ? HandleAt(obj->cameras, index) : kNULL;
}

kFx(kSize) kNode_ProjectorCount(kNode node)
{
    kObjN(kNode, obj, node);
    return obj ? HandleCount(obj->projectors) : 0;
}

kFx(kProjector) kNode_ProjectorAt(kNode node, kSize index)
{
    kObjN(kNode, obj, node);
    return obj ? HandleAt(obj->projectors, index) : kNULL;
}

kFx(kSize) kNode_SerialOutCount(kNode node)
{
    kObjN(kNode, obj, node);
    return obj ? HandleCount(obj->serialOuts) : 0;
}

kFx(kSerialOut) kNode_SerialOutAt(kNode node, kSize index)
{
    kObjN(kNode, obj, node);
    return obj ? HandleAt(obj->serialOuts, index) : kNULL;
}

kFx(kStorage) kNode_Storage(kNode node)
{
    kObjN(kNode, obj, node);
    return obj ? obj->storage : kNULL;
}

kFx(k64u) kNode_TimeCounter(kNode node)
{
    kObjN(kNode, obj, node);
    return obj ? kTimer_Now() - obj->startTime : 0;
}

kFx(kSize) kNode_CallCount(kNode node)
{
    kObjN(kNode, obj, node);
    return obj ? Locked(obj, [&] { return TextList_Count(&obj->calls); }) : 0;
}

kFx(const kChar*) kNode_CallAt(kNode node, kSize index)
{
    kObjN(kNode, obj, node);
    return obj ? Locked(obj, [&] { return TextList_At(&obj->calls, index); }) : kNULL;
}

kFx(kBool) kNode_HasCall(kNode node, const kChar* line)
{
    kSize count = kNode_CallCount(node);
    for (kSize i = 0; line && i < count; ++i)
        if (strcmp(kNode_CallAt(node, i), line) == 0) return kTRUE;
    return kFALSE;
}

kFx(kSize) kNode_CountCalls(kNode node, const kChar* prefix)
{
    kSize count = kNode_CallCount(node), found = 0;
    kSize length = prefix ? strlen(prefix) : 0;
    for (kSize i = 0; prefix && i < count; ++i)
        found += strncmp(kNode_CallAt(node, i), prefix, length) == 0;
    return found;
}

kFx(kStatus) kNode_ClearCalls(kNode node)
{
    kObjR(kNode, node);
    return Locked(obj, [&] { return TextList_Clear(&obj->calls); });
}

kFx(kStatus) kNode_SetFault(kNode node, const kChar* operation, kStatus status)
{
    kObjR(kNode, node);
    kCheckArgs(operation && strlen(operation) < xkNODE_OPERATION_CAPACITY);
    return Locked(
        obj,
        [&]() -> kStatus
        {
            kSize count = kMemory_Length(obj->faults) / sizeof(Fault);
            for (kSize i = 0; i < count; ++i)
            {
                Fault* fault = static_cast<Fault*>(kMemory_At(obj->faults, i * sizeof(Fault)));
                if (strcmp(fault->operation, operation) != 0) continue;
                if (!kSuccess(status))
                {
                    fault->status = status;
                    return kOK;
                }
                *fault = *static_cast<Fault*>(kMemory_At(obj->faults, (count - 1) * sizeof(Fault)));
                return kMemory_Allocate(obj->faults, (count - 1) * sizeof(Fault));
            }
            if (kSuccess(status)) return kOK;
            Fault fault = {};
            strcpy(fault.operation, operation);
            fault.status = status;
            return kMemory_Append(obj->faults, &fault, sizeof(fault));
        });
}

kFx(kStatus) kNode_AddError(kNode node, const kChar* text)
{
    kObjR(kNode, node);
    kCheckArgs(text);
    return Locked(obj, [&] { return TextList_Add(&obj->errors, text); });
}

kFx(kStatus) kNode_ClearErrors(kNode node)
{
    kObjR(kNode, node);
    return Locked(obj, [&] { return TextList_Clear(&obj->errors); });
}
