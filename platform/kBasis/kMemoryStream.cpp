#include <kBasis/kMemoryStream.h>
#include <kBasis/kAssembly.h>

kDefineClass(kMemoryStream, kStream)

struct kMemoryStreamClass
{
    kStreamClass base;
    kByte* data;    // owned buffer, or the caller's bytes for a view
    kSize length;   // end of the contents
    kSize capacity; // bytes allocated (0 for a view)
    kSize position;
    kBool isView;
};

namespace
{
kStatus Reserve(kMemoryStreamClass* obj, kSize capacity)
{
    if (capacity <= obj->capacity) return kOK;
    kSize grown = kMax_(capacity, obj->capacity + obj->capacity / 2);
    kByte* data = kNULL;
    kCheck(kAlloc_Get(obj->base.base.alloc, grown, &data));
    kMemCopy(data, obj->data, obj->length);
    kAlloc_Free(obj->base.base.alloc, obj->data);
    obj->data = data;
    obj->capacity = grown;
    return kOK;
}

kStatus Init(kMemoryStreamClass* obj, kAlloc alloc)
{
    return kStream_Init(obj, kTypeOf(kMemoryStream), alloc);
}

kStatus Construct(kMemoryStream* stream, kAlloc allocator, kMemoryStreamClass** out)
{
    kAlloc alloc = kAlloc_Fallback(allocator);
    kMemoryStreamClass* obj = kNULL;
    kCheckArgs(stream);
    kCheck(kAlloc_GetObject(alloc, kTypeOf(kMemoryStream), &obj));
    kStatus status = Init(obj, alloc);
    if (!kSuccess(status))
    {
        kAlloc_FreeRef(alloc, &obj);
        return status;
    }
    *stream = obj;
    *out = obj;
    return kOK;
}
} // namespace

kStatus xkMemoryStream_VRelease(kObject stream)
{
    kMemoryStreamClass* obj = kCastRaw(kMemoryStream, stream);
    if (!obj->isView) kCheck(kAlloc_FreeRef(obj->base.base.alloc, &obj->data));
    return xkStream_VRelease(stream);
}

kSize xkMemoryStream_VSize(kObject stream)
{
    return sizeof(kMemoryStreamClass) + kCastRaw(kMemoryStream, stream)->capacity;
}

kStatus xkMemoryStream_VRead(kStream stream, void* buffer, kSize minCount, kSize maxCount,
                             kSize* count)
{
    kMemoryStreamClass* obj = kCastRaw(kMemoryStream, stream);
    kSize available = obj->position < obj->length ? obj->length - obj->position : 0;
    kSize n = kMin_(available, maxCount);
    kMemCopy(buffer, obj->data + obj->position, n);
    obj->position += n;
    *count = n;
    return n >= minCount ? kOK : kSTATUS_INCOMPLETE;
}

kStatus xkMemoryStream_VWrite(kStream stream, const void* buffer, kSize count)
{
    kMemoryStreamClass* obj = kCastRaw(kMemoryStream, stream);
    if (obj->isView) return kSTATUS_NOT_IMPLEMENTED;
    kCheckTrue(count <= kSIZE_MAX - obj->position, kSTATUS_BAD_PARAMETER);
    kSize end = obj->position + count;
    kCheck(Reserve(obj, end));
    if (obj->position > obj->length) kMemZero(obj->data + obj->length, obj->position - obj->length);
    kMemCopy(obj->data + obj->position, buffer, count);
    obj->position = end;
    obj->length = kMax_(obj->length, end);
    return kOK;
}

kStatus xkMemoryStream_VSeek(kStream stream, k64s offset, kSeekOrigin origin, k64u* position)
{
    kMemoryStreamClass* obj = kCastRaw(kMemoryStream, stream);
    k64s base = origin == kSEEK_ORIGIN_BEGIN     ? 0
                : origin == kSEEK_ORIGIN_CURRENT ? (k64s)obj->position
                                                 : (k64s)obj->length;
    kCheckArgs(offset >= 0 ? offset <= k64S_MAX - base : base + offset >= 0);
    obj->position = (kSize)(base + offset);
    *position = obj->position;
    return kOK;
}

kStatus xkMemoryStream_VFlush(kStream) { return kOK; }

kFx(kStatus) xxkMemoryStream_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddClass(kMemoryStream, kStream));
    kCheck(kAddVMethod(kMemoryStream, VRelease));
    kCheck(kAddVMethod(kMemoryStream, VSize));
    kCheck(kAddVMethod(kMemoryStream, VRead));
    kCheck(kAddVMethod(kMemoryStream, VWrite));
    kCheck(kAddVMethod(kMemoryStream, VSeek));
    kCheck(kAddVMethod(kMemoryStream, VFlush));
    return kOK;
}

kFx(kStatus) kMemoryStream_Construct(kMemoryStream* stream, kAlloc allocator)
{
    kMemoryStreamClass* obj = kNULL;
    return Construct(stream, allocator, &obj);
}

kFx(kStatus) kMemoryStream_ConstructView(kMemoryStream* stream, const void* data, kSize size,
                                         kAlloc allocator)
{
    kMemoryStreamClass* obj = kNULL;
    kCheckArgs(data || size == 0);
    kCheck(Construct(stream, allocator, &obj));
    obj->data = static_cast<kByte*>(const_cast<void*>(data));
    obj->length = size;
    obj->isView = kTRUE;
    return kOK;
}

kFx(const kByte*) kMemoryStream_Data(kMemoryStream stream)
{
    kObjN(kMemoryStream, obj, stream);
    return (obj && obj->length) ? obj->data : kNULL;
}

kFx(kSize) kMemoryStream_Length(kMemoryStream stream)
{
    kObjN(kMemoryStream, obj, stream);
    return obj ? obj->length : 0;
}

kFx(kStatus) kMemoryStream_Clear(kMemoryStream stream)
{
    kObjR(kMemoryStream, stream);
    if (!obj->isView) obj->length = 0;
    obj->position = 0;
    return kOK;
}
