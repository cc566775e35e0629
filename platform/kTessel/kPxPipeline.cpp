#include <kTessel/kPxPipeline.x.h>
#include <kTessel/kPxBlock.x.h>
#include <kTessel/kPxPort.x.h>
#include <kTessel/kPxSink.x.h>

#include <cstring>

namespace
{
enum State : k32s
{
    kSTOPPED = 0,
    kRUNNING = 1,
    kPAUSED = 2,
};

/* A connection: an output to an input, or to a sink. */
struct Route
{
    kPxPort output;
    kPxPort input;
    kPxSink sink;
};

/* A queued hand-over of one reference to a message. */
struct Delivery
{
    kPxPort input;
    kPxSink sink;
    kObject message;
};
} // namespace

struct kPxPipelineClass
{
    kObjectClass base;
    kMemory blocks; // kPxBlock handles, owned, in order of addition
    kMemory sinks;  // kPxSink handles, owned
    kMemory routes; // Route records
    kMemory queue;  // Delivery records; those before queueHead are done
    kSize queueHead;
    k32s state;
    kBool delivering;
    kAlloc messageAlloc;
    kChar directory[256];
};

kDefineClass(kPxPipeline, kObject);

namespace
{
template <typename T>
kSize CountOf(kMemory memory)
{
    return kMemory_Length(memory) / sizeof(T);
}

template <typename T>
T* At(kMemory memory, kSize index)
{
    return static_cast<T*>(kMemory_At(memory, index * sizeof(T)));
}

kBool Owns(kPxPipelineClass* obj, kPxBlock block)
{
    for (kSize i = 0; i < CountOf<kPxBlock>(obj->blocks); ++i)
        if (*At<kPxBlock>(obj->blocks, i) == block) return kTRUE;
    return kFALSE;
}

kStatus FindPort(kPxPipelineClass* obj, kPxBlock block, k32u id, kBool isInput, kPxPort* port)
{
    kCheckArgs(Owns(obj, block));
    kCheck(kPxBlock_FindPort(block, id, port));
    kCheckTrue(kPxPort_IsInput(*port) == isInput, kSTATUS_NOT_FOUND);
    return kOK;
}

kStatus AddRoute(kPxPipelineClass* obj, const Route& route)
{
    for (kSize i = 0; i < CountOf<Route>(obj->routes); ++i)
    {
        const Route* r = At<Route>(obj->routes, i);
        kCheckTrue(r->output != route.output || r->input != route.input || r->sink != route.sink,
                   kSTATUS_DUPLICATE);
    }
    kCheck(kMemory_Append(obj->routes, &route, sizeof(route)));
    static_cast<kPxPortClass*>(route.output)->routeCount++;
    if (route.input) static_cast<kPxPortClass*>(route.input)->routeCount++;
    return kOK;
}

/* Hands one delivery to its sink or block. A foreign payload is copied to host memory first
   when the input does not take foreign data. */
kStatus Deliver(const Delivery& d)
{
    if (d.sink)
    {
        kStatus status = xkPxSink_Add(d.sink, d.message);
        if (!kSuccess(status)) kObject_Dispose(d.message);
        return status;
    }

    kPxBlock block = kPxPort_Block(d.input);
    kObject message = d.message;
    if (!kPxPort_AcceptsForeignData(d.input) &&
        (kObject_AllocTraits(message) & kALLOC_TRAIT_HOST) == 0)
    {
        kObject copy = kNULL;
        kStatus status = kObject_Clone(&copy, message, kPxBlock_MessageAlloc(block));
        kObject_Dispose(message);
        kCheck(status);
        message = copy;
    }
    return xkPxBlock_VTable(block)->VOnReceive(block, d.input, message);
}

/* Delivers queued messages, including those sent meanwhile, while running. */
kStatus Pump(kPxPipelineClass* obj)
{
    kStatus first = kOK;
    if (obj->delivering) return kOK;
    obj->delivering = kTRUE;
    while (obj->state == kRUNNING && obj->queueHead < CountOf<Delivery>(obj->queue))
    {
        Delivery d = *At<Delivery>(obj->queue, obj->queueHead++);
        kStatus status = Deliver(d);
        if (kSuccess(first)) first = status;
    }
    if (obj->queueHead == CountOf<Delivery>(obj->queue))
    {
        kMemory_Allocate(obj->queue, 0);
        obj->queueHead = 0;
    }
    obj->delivering = kFALSE;
    return first;
}

kStatus DisposeQueue(kPxPipelineClass* obj)
{
    kStatus first = kOK;
    for (kSize i = obj->queueHead; i < CountOf<Delivery>(obj->queue); ++i)
    {
        kStatus status = kObject_Dispose(At<Delivery>(obj->queue, i)->message);
        if (kSuccess(first)) first = status;
    }
    obj->queueHead = 0;
    kCheck(kMemory_Allocate(obj->queue, 0));
    return first;
}

/* Appends count deliveries at once, so that a failure leaves the queue (and the message's
   ownership) as it was; the caller fills them in. */
kStatus Reserve(kPxPipelineClass* obj, kSize count, Delivery** slots)
{
    kSize length = kMemory_Length(obj->queue);
    kCheck(kMemory_Allocate(obj->queue, length + count * sizeof(Delivery)));
    *slots = static_cast<Delivery*>(kMemory_At(obj->queue, length));
    return kOK;
}

typedef kStatus (*BlockStep)(kPxBlock block);

/* Runs step on blocks [begin, end) in order (or reverse); returns the first failure but calls
   every block. */
kStatus ForBlocks(kPxPipelineClass* obj, kSize begin, kSize end, bool reverse,
                  BlockStep kPxBlockVTable::*step)
{
    kStatus first = kOK;
    for (kSize n = begin; n < end; ++n)
    {
        kPxBlock block = *At<kPxBlock>(obj->blocks, reverse ? end - 1 - (n - begin) : n);
        kStatus status = (xkPxBlock_VTable(block)->*step)(block);
        if (kSuccess(first)) first = status;
    }
    return first;
}

kStatus DestroyBlocks(kPxPipelineClass* obj)
{
    kStatus first = kOK;
    kSize count = CountOf<kPxBlock>(obj->blocks);
    for (kSize i = count; i > 0; --i)
    {
        kPxBlock block = *At<kPxBlock>(obj->blocks, i - 1);
        kStatus cleaned = xkPxBlock_VTable(block)->VOnCleanup(block);
        kStatus destroyed = kObject_Destroy(block);
        if (kSuccess(first)) first = kSuccess(cleaned) ? destroyed : cleaned;
    }
    return first;
}
} // namespace

static kStatus xkPxPipeline_VRelease(kObject pipeline)
{
    kPxPipelineClass* obj = kCastRaw(kPxPipeline, pipeline);
    kStatus first = obj->blocks ? kPxPipeline_Stop(pipeline) : kOK;
    kStatus status;

    if (obj->blocks && !kSuccess(status = DestroyBlocks(obj)) && kSuccess(first)) first = status;
    for (kSize i = 0; obj->sinks && i < CountOf<kPxSink>(obj->sinks); ++i)
        if (!kSuccess(status = kObject_Destroy(*At<kPxSink>(obj->sinks, i))) && kSuccess(first))
            first = status;

    kDestroyRef(&obj->blocks);
    kDestroyRef(&obj->sinks);
    kDestroyRef(&obj->routes);
    kDestroyRef(&obj->queue);
    kCheck(first);
    return xkObject_VRelease(pipeline);
}

kFx(kStatus) xxkPxPipeline_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddClass(kPxPipeline, kObject));
    return kAddVMethod(kPxPipeline, VRelease);
}

static kStatus xkPxPipeline_Init(kPxPipeline pipeline, kAlloc alloc)
{
    kPxPipelineClass* obj = static_cast<kPxPipelineClass*>(pipeline);
    kStatus status;

    kCheck(kObject_Init(pipeline, kTypeOf(kPxPipeline), alloc));
    kTest(kMemory_Construct(&obj->blocks, alloc));
    kTest(kMemory_Construct(&obj->sinks, alloc));
    kTest(kMemory_Construct(&obj->routes, alloc));
    kTest(kMemory_Construct(&obj->queue, alloc));
    return kOK;

cleanup:
    xkPxPipeline_VRelease(pipeline);
    return status;
}

kFx(kStatus) kPxPipeline_Construct(kPxPipeline* pipeline, kAlloc allocator)
{
    kAlloc alloc = kAlloc_Fallback(allocator);
    kPxPipelineClass* obj = kNULL;
    kStatus status;

    kCheckArgs(pipeline);
    if (!kSuccess(status = kAlloc_GetObject(alloc, kTypeOf(kPxPipeline), &obj))) return status;
    if (!kSuccess(status = xkPxPipeline_Init(obj, alloc)))
    {
        kAlloc_FreeRef(alloc, &obj);
        return status;
    }
    *pipeline = obj;
    return kOK;
}

kFx(kStatus) kPxPipeline_SetDirectory(kPxPipeline pipeline, const kChar* directory)
{
    kObjR(kPxPipeline, pipeline);
    kCheckArgs(directory && strlen(directory) < sizeof(obj->directory));
    strcpy(obj->directory, directory);
    return kOK;
}

kFx(kStatus) kPxPipeline_SetMessageAlloc(kPxPipeline pipeline, kAlloc allocator)
{
    kObjR(kPxPipeline, pipeline);
    obj->messageAlloc = allocator;
    return kOK;
}

kFx(kStatus) kPxPipeline_AddBlock(kPxPipeline pipeline, const kChar* typeName, kXml settings,
                                  kPxBlock* block)
{
    kObjR(kPxPipeline, pipeline);
    kAlloc alloc = kObject_Alloc(pipeline);
    kPxBlock created = kNULL;
    kStatus status;

    kCheckArgs(typeName && block);
    kCheckState(obj->state == kSTOPPED);
    kType type = kType_FindByName(typeName);
    kCheckTrue(type, kSTATUS_NOT_FOUND);
    kCheckArgs(kType_Extends(type, kTypeOf(kPxBlock)) &&
               !(kType_Flags(type) & kTYPE_FLAGS_ABSTRACT));

    kCheck(kAlloc_GetObject(alloc, type, &created));
    if (!kSuccess(status =
                      xkPxBlock_Init(created, type, pipeline, settings, obj->messageAlloc, alloc)))
    {
        kAlloc_FreeRef(alloc, &created);
        return status;
    }
    const kPxBlockVTable* vt = xkPxBlock_VTable(created);
    if (!kSuccess(status = vt->VInitialize(created)) || !kSuccess(status = vt->VOnSetup(created)) ||
        !kSuccess(status = kMemory_Append(obj->blocks, &created, sizeof(created))))
    {
        kObject_Destroy(created);
        return status;
    }
    *block = created;
    return kOK;
}

kFx(kStatus) kPxPipeline_Connect(kPxPipeline pipeline, kPxBlock source, k32u outputId,
                                 kPxBlock destination, k32u inputId)
{
    kObjR(kPxPipeline, pipeline);
    Route route = {kNULL, kNULL, kNULL};
    kCheckState(obj->state == kSTOPPED);
    kCheck(FindPort(obj, source, outputId, kFALSE, &route.output));
    kCheck(FindPort(obj, destination, inputId, kTRUE, &route.input));
    return AddRoute(obj, route);
}

kFx(kStatus)
    kPxPipeline_AddSink(kPxPipeline pipeline, kPxBlock source, k32u outputId, kPxSink* sink)
{
    kObjR(kPxPipeline, pipeline);
    Route route = {kNULL, kNULL, kNULL};
    kStatus status;

    kCheckArgs(sink);
    kCheckState(obj->state == kSTOPPED);
    kCheck(FindPort(obj, source, outputId, kFALSE, &route.output));
    kCheck(xkPxSink_Construct(&route.sink, kObject_Alloc(pipeline)));
    if (!kSuccess(status = kMemory_Append(obj->sinks, &route.sink, sizeof(route.sink))))
    {
        kObject_Destroy(route.sink);
        return status;
    }
    /* The sink stays listed (and is destroyed with the pipeline) even if routing fails. */
    kCheck(AddRoute(obj, route));
    *sink = route.sink;
    return kOK;
}

kFx(kStatus) kPxPipeline_Start(kPxPipeline pipeline)
{
    kObjR(kPxPipeline, pipeline);
    kSize count = CountOf<kPxBlock>(obj->blocks);
    kStatus status;

    kCheckState(obj->state == kSTOPPED);
    for (kSize i = 0; i < count; ++i)
    {
        kPxBlock block = *At<kPxBlock>(obj->blocks, i);
        if (!kSuccess(status = xkPxBlock_VTable(block)->VOnStart(block)))
        {
            ForBlocks(obj, 0, i, true, &kPxBlockVTable::VOnStop);
            DisposeQueue(obj);
            return status;
        }
    }
    obj->state = kRUNNING;
    if (!kSuccess(status = ForBlocks(obj, 0, count, false, &kPxBlockVTable::VOnEngage)))
    {
        kPxPipeline_Stop(pipeline);
        return status;
    }
    Pump(obj);
    return kOK;
}

kFx(kStatus) kPxPipeline_Pause(kPxPipeline pipeline)
{
    kObjR(kPxPipeline, pipeline);
    kCheckState(obj->state == kRUNNING);
    obj->state = kPAUSED;
    return ForBlocks(obj, 0, CountOf<kPxBlock>(obj->blocks), false, &kPxBlockVTable::VOnPause);
}

kFx(kStatus) kPxPipeline_Resume(kPxPipeline pipeline)
{
    kObjR(kPxPipeline, pipeline);
    kCheckState(obj->state == kPAUSED);
    kStatus status =
        ForBlocks(obj, 0, CountOf<kPxBlock>(obj->blocks), false, &kPxBlockVTable::VOnResume);
    obj->state = kRUNNING;
    Pump(obj);
    return status;
}

kFx(kStatus) kPxPipeline_Stop(kPxPipeline pipeline)
{
    kObjR(kPxPipeline, pipeline);
    if (obj->state == kSTOPPED) return kOK;
    obj->state = kSTOPPED;
    kStatus status =
        ForBlocks(obj, 0, CountOf<kPxBlock>(obj->blocks), true, &kPxBlockVTable::VOnStop);
    kStatus disposed = DisposeQueue(obj);
    return kSuccess(status) ? disposed : status;
}

kFx(kBool) kPxPipeline_IsStarted(kPxPipeline pipeline)
{
    kObjN(kPxPipeline, obj, pipeline);
    return (obj && obj->state != kSTOPPED) ? kTRUE : kFALSE;
}

kFx(kStatus) kPxPipeline_Inject(kPxPipeline pipeline, kPxBlock block, k32u inputId, kObject message,
                                kStatus* receiveStatus)
{
    kObjR(kPxPipeline, pipeline);
    kPxPort input = kNULL;
    Delivery* slot = kNULL;

    kCheckArgs(kObject_Is(message, kTypeOf(kObject)));
    kCheckState(obj->state == kRUNNING);
    kCheck(FindPort(obj, block, inputId, kTRUE, &input));
    kCheck(Reserve(obj, 1, &slot));
    *slot = {input, kNULL, message};
    kStatus received = Pump(obj);
    if (receiveStatus) *receiveStatus = received;
    return kOK;
}

kStatus xkPxPipeline_Send(kPxPipeline pipeline, kPxPort port, kObject message)
{
    kPxPipelineClass* obj = kCastRaw(kPxPipeline, pipeline);
    kSize routeCount = CountOf<Route>(obj->routes), count = 0;

    for (kSize i = 0; i < routeCount; ++i)
        count += At<Route>(obj->routes, i)->output == port;
    if (count == 0) return kObject_Dispose(message);

    Delivery* d = kNULL;
    kCheck(Reserve(obj, count, &d));
    for (kSize i = 0, n = 0; i < routeCount; ++i)
    {
        const Route* r = At<Route>(obj->routes, i);
        if (r->output != port) continue;
        if (n > 0) kObject_Share(message);
        d[n++] = {r->input, r->sink, message};
    }
    return kOK;
}

const kChar* xkPxPipeline_Directory(kPxPipeline pipeline)
{
    return kCastRaw(kPxPipeline, pipeline)->directory;
}
