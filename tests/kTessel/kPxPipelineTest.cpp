// Pipeline blocks: creation by type name, setup that completes the settings document, ports,
// routing to inputs and sinks, queued delivery without re-entry, start/stop rollback, pause
// and resume defaults, foreign payloads, the block services, and the two message classes.
#include <kTestSupport.h>

#include <kTessel.h>

#include <cstring>
#include <string>

/* ----- A test block built like a library block ---------------------------------------------- */

/* Settings: how many copies of each image to send, and switches that make the block fail or
   send on its own. */
struct TestRelaySettings
{
    k32u copies;
    kBool failStart;
    kBool emitOnEngage;
    kChar label[16];
};

static const kSettingKey kRelayKeys[] = {
    {.path = "Copies",
     .type = kSETTING_TYPE_32U,
     kSETTING_FIELD(TestRelaySettings, copies),
     .defaultValue = 1,
     .min = 1,
     .max = 3,
     .flags = kSETTING_RANGE | kSETTING_OPTIONAL},
    {.path = "FailStart",
     .type = kSETTING_TYPE_BOOL,
     kSETTING_FIELD(TestRelaySettings, failStart),
     .flags = kSETTING_OPTIONAL},
    {.path = "EmitOnEngage",
     .type = kSETTING_TYPE_BOOL,
     kSETTING_FIELD(TestRelaySettings, emitOnEngage),
     .flags = kSETTING_OPTIONAL},
    {.path = "Label",
     .type = kSETTING_TYPE_TEXT,
     kSETTING_FIELD(TestRelaySettings, label),
     .defaultText = "relay",
     .flags = kSETTING_OPTIONAL},
};
static const kSettingsSchema kRelaySchema = {kRelayKeys, kCountOf(kRelayKeys)};

#define RELAY_IN (0)
#define RELAY_SPARE (7)
#define RELAY_OUT (1)

typedef kPxBlock kTestRelayBlock;
kDeclareClass(kTestRelayBlock, kPxBlock);
struct kTestRelayBlockClass
{
    kPxBlockClass base;
    TestRelaySettings settings;
    kMemory scratch; // run-time object built at start
    kPxPort out;
    kBool receiving; // set while VOnReceive runs: catches re-entry
    k32u received;
};
kDefineClass(kTestRelayBlock, kPxBlock);

static int s_initialized = 0, s_cleanedUp = 0, s_reentered = 0;

static const kChar* xkTestRelayBlock_VDescription(void) { return "Relays 8-bit images"; }

static kStatus xkTestRelayBlock_VInitialize(kPxBlock)
{
    ++s_initialized;
    return kOK;
}

static kStatus xkTestRelayBlock_VOnCleanup(kPxBlock)
{
    ++s_cleanedUp;
    return kOK;
}

static kStatus xkTestRelayBlock_VOnSetup(kPxBlock block)
{
    TestRelaySettings settings;
    kCheck(kSettings_Normalize(&kRelaySchema, &settings, kPxBlock_Settings(block)));
    kCheck(kPxBlock_DefineInput(block, "In", RELAY_IN, kNULL));
    kCheck(kPxBlock_DefineInput(block, "Spare", RELAY_SPARE, kNULL));
    return kPxBlock_DefineOutput(block, "Out", RELAY_OUT, kNULL);
}

static kStatus xkTestRelayBlock_VOnStart(kPxBlock block)
{
    kObjR(kTestRelayBlock, block);
    kStatus status;
    kCheck(kPxBlock_ZeroContext(block));
    kTest(kSettings_Load(&kRelaySchema, &obj->settings, kPxBlock_Settings(block)));
    kTest(kMemory_Construct(&obj->scratch, kObject_Alloc(block)));
    kTest(kMemory_Allocate(obj->scratch, 256));
    kTest(kPxBlock_FindPort(block, RELAY_OUT, &obj->out));
    if (obj->settings.failStart) kTest(kSTATUS_NO_SOLUTION);
    return kOK;
cleanup:
    kDestroyRef(&obj->scratch);
    return status;
}

static kStatus SendImage(kPxBlock block, kPxPort out, k64u frame)
{
    kImage image = kNULL;
    kMsg msg = kNULL;
    kStamp stamp = {};
    stamp.frameIndex = frame;
    kCheck(kImage_Construct(&image, kTypeOf(k8u), 4, 2, kPxBlock_MessageAlloc(block)));
    kStatus status = kMsg_Construct(&msg, &stamp, image, kPxBlock_MessageAlloc(block));
    if (!kSuccess(status)) kObject_Destroy(image);
    if (kSuccess(status) && !kSuccess(status = kPxBlock_Send(block, out, msg)))
        kObject_Dispose(msg);
    return status;
}

static kStatus xkTestRelayBlock_VOnEngage(kPxBlock block)
{
    kObjR(kTestRelayBlock, block);
    return obj->settings.emitOnEngage ? SendImage(block, obj->out, 1000) : kOK;
}

static kStatus xkTestRelayBlock_VOnStop(kPxBlock block)
{
    kObjR(kTestRelayBlock, block);
    kCheck(kDestroyRef(&obj->scratch));
    return kPxBlock_ZeroContext(block);
}

/* The receive pattern of Part-style blocks: map the port id, check the payload, act, dispose. */
static kStatus xkTestRelayBlock_VOnReceive(kPxBlock block, kPxPort port, kObject message)
{
    kObjR(kTestRelayBlock, block);
    kStatus status = kOK;

    if (obj->receiving) ++s_reentered;
    obj->receiving = kTRUE;
    obj->received++;

    if (kPxPort_Id(port) != RELAY_IN)
    {
        kPxBlock_Printf(block, "Unexpected port id in incoming message \n");
        status = kSTATUS_FAILED;
    }
    else if (!kObject_Is(message, kTypeOf(kMsg)) ||
             !kObject_Is(kMsg_Data(message), kTypeOf(kImage)) ||
             kImage_PixelType(kMsg_Data(message)) != kTypeOf(k8u) ||
             kImage_Width(kMsg_Data(message)) == 0)
    {
        kPxBlock_Printf(block, "Unexpected message payload\n");
        status = kSTATUS_BAD_PARAMETER;
    }
    else
    {
        for (k32u i = 1; i < obj->settings.copies && kSuccess(status); ++i)
        {
            kMsg copy = kNULL;
            status = kObject_Clone(&copy, message, kPxBlock_MessageAlloc(block));
            if (kSuccess(status) && !kSuccess(status = kPxBlock_Send(block, obj->out, copy)))
                kObject_Dispose(copy);
        }
        if (kSuccess(status) && kSuccess(status = kPxBlock_Send(block, obj->out, message)))
            message = kNULL;
    }
    kObject_Dispose(message);
    obj->receiving = kFALSE;
    return status;
}

kStatus xxkTestRelayBlock_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddClass(kTestRelayBlock, kPxBlock));
    kCheck(kAddVMethod(kTestRelayBlock, VInitialize));
    kCheck(kAddVMethod(kTestRelayBlock, VDescription));
    kCheck(kAddVMethod(kTestRelayBlock, VOnCleanup));
    kCheck(kAddVMethod(kTestRelayBlock, VOnSetup));
    kCheck(kAddVMethod(kTestRelayBlock, VOnStart));
    kCheck(kAddVMethod(kTestRelayBlock, VOnEngage));
    kCheck(kAddVMethod(kTestRelayBlock, VOnStop));
    return kAddVMethod(kTestRelayBlock, VOnReceive);
}

/* A payload that claims to live in device memory, to see the pipeline copy it for the host. */
typedef kObject kTestDevicePayload;
kDeclareClass(kTestDevicePayload, kObject);
struct kTestDevicePayloadClass
{
    kObjectClass base;
    kBool onDevice;
};
kDefineClass(kTestDevicePayload, kObject);

static kStatus xkTestDevicePayload_VInitClone(kObject payload, kObject, kAlloc allocator)
{
    return kObject_Init(payload, kTypeOf(kTestDevicePayload), allocator); // copies live on the host
}

static k32u xkTestDevicePayload_VAllocTraits(kObject payload)
{
    return kCastRaw(kTestDevicePayload, payload)->onDevice ? kALLOC_TRAIT_DEVICE
                                                           : kALLOC_TRAIT_HOST;
}

kStatus xxkTestDevicePayload_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddClass(kTestDevicePayload, kObject));
    kCheck(kAddVMethod(kTestDevicePayload, VInitClone));
    return kAddVMethod(kTestDevicePayload, VAllocTraits);
}

/* A block that keeps what it receives on its only input (to look at foreign payloads). */
typedef kPxBlock kTestKeeperBlock;
kDeclareClass(kTestKeeperBlock, kPxBlock);
struct kTestKeeperBlockClass
{
    kPxBlockClass base;
    kObject last;
};
kDefineClass(kTestKeeperBlock, kPxBlock);

static kStatus xkTestKeeperBlock_VOnSetup(kPxBlock block)
{
    kPxPort port = kNULL;
    kCheck(kPxBlock_DefineInput(block, "Keep", 0, &port));
    kCheck(kPxBlock_DefineInput(block, "KeepForeign", 1, &port));
    return kPxPort_AcceptForeignData(port, kTRUE);
}

static kStatus xkTestKeeperBlock_VOnStop(kPxBlock block)
{
    return kDisposeRef(&kCastRaw(kTestKeeperBlock, block)->last);
}

static kStatus xkTestKeeperBlock_VOnReceive(kPxBlock block, kPxPort, kObject message)
{
    kObjR(kTestKeeperBlock, block);
    kObject_Dispose(obj->last);
    obj->last = message;
    return kOK;
}

kStatus xxkTestKeeperBlock_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddClass(kTestKeeperBlock, kPxBlock));
    kCheck(kAddVMethod(kTestKeeperBlock, VOnSetup));
    kCheck(kAddVMethod(kTestKeeperBlock, VOnStop));
    return kAddVMethod(kTestKeeperBlock, VOnReceive);
}

/* ----- Fixture: the test types in an assembly of their own ---------------------------------- */

static kAssembly s_blockAssembly = kNULL;

class Pipeline : public ::testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        kVersion version = 0;
        kAssembly assembly = kNULL;
        ASSERT_EQ(kVersion_Parse(&version, "1.0.0.0"), kOK);
        ASSERT_EQ(xkAssembly_ConstructInternal(&assembly, &s_blockAssembly, "kTestBlocks", version,
                                               version),
                  kOK);
        ASSERT_EQ(xkAssembly_AddDependency(assembly, kTesselLib_Construct), kOK);
        ASSERT_EQ(xkAssembly_AddType(assembly, xxkTestRelayBlock_Register, "kTestRelayBlock"), kOK);
        ASSERT_EQ(xkAssembly_AddType(assembly, xxkTestDevicePayload_Register, "kTestDevicePayload"),
                  kOK);
        ASSERT_EQ(xkAssembly_AddType(assembly, xxkTestKeeperBlock_Register, "kTestKeeperBlock"),
                  kOK);
        ASSERT_EQ(xkAssembly_Finalize(assembly), kOK);
    }
    static void TearDownTestSuite() { kObject_Destroy(s_blockAssembly); }

    void SetUp() override
    {
        s_initialized = s_cleanedUp = s_reentered = 0;
        ASSERT_EQ(kPxPipeline_Construct(&m_pipeline, m_alloc), kOK);
    }
    void TearDown() override { EXPECT_EQ(kObject_Destroy(m_pipeline), kOK); }

    kPxBlock AddRelay(const char* xml = kNULL)
    {
        kXml settings = kNULL;
        kPxBlock block = kNULL;
        if (xml)
        {
            EXPECT_EQ(kXml_FromText(&settings, xml, kNULL), kOK);
        }
        EXPECT_EQ(kPxPipeline_AddBlock(m_pipeline, "kTestRelayBlock", settings, &block), kOK);
        kObject_Destroy(settings);
        return block;
    }

    /* A message holding a w × h 8-bit image, stamped with frame. */
    kMsg ImageMessage(k64u frame, kSize width = 4, kType pixel = kTypeOf(k8u), kAlloc alloc = kNULL)
    {
        kImage image = kNULL;
        kMsg msg = kNULL;
        kStamp stamp = {};
        stamp.frameIndex = frame;
        if (!alloc) alloc = m_alloc;
        EXPECT_EQ(kImage_Construct(&image, pixel, width, 2, alloc), kOK);
        EXPECT_EQ(kMsg_Construct(&msg, &stamp, image, alloc), kOK);
        return msg;
    }

    static std::string Text(kXml xml, const char* path)
    {
        kChar text[64] = "";
        kXml_ChildText(xml, kXml_Root(xml), path, text, sizeof(text));
        return text;
    }

    ktest::CountingAlloc m_alloc;
    kPxPipeline m_pipeline = kNULL;
};

TEST_F(Pipeline, SetupCompletesTheDocumentAndDefinesPorts)
{
    kPxBlock block = AddRelay("<Settings><Copies>9</Copies></Settings>"); // out of range: defaults
    ASSERT_NE(block, kNULL);
    EXPECT_EQ(s_initialized, 1);
    kXml settings = kPxBlock_Settings(block);
    EXPECT_EQ(Text(settings, "Copies"), "1");
    EXPECT_EQ(Text(settings, "FailStart"), "0");
    EXPECT_EQ(Text(settings, "Label"), "relay");

    kPxBlock fresh = AddRelay(); // no document at all: a root is made, then filled
    EXPECT_STREQ(kXml_ItemName(kPxBlock_Settings(fresh), kXml_Root(kPxBlock_Settings(fresh))),
                 "Settings");
    EXPECT_EQ(Text(kPxBlock_Settings(fresh), "Copies"), "1");

    EXPECT_STREQ(kPxBlock_Description(kObject_Type(block)), "Relays 8-bit images");
    EXPECT_STREQ(kPxBlock_Description(kTypeOf(kMsg)), "");
    ASSERT_EQ(kPxBlock_PortCount(block), 3u);
    const char* names[] = {"In", "Spare", "Out"};
    const k32u ids[] = {RELAY_IN, RELAY_SPARE, RELAY_OUT};
    for (kSize i = 0; i < 3; ++i)
    {
        kPxPort port = kPxBlock_PortAt(block, i);
        EXPECT_STREQ(kPxPort_Name(port), names[i]);
        EXPECT_EQ(kPxPort_Id(port), ids[i]);
        EXPECT_EQ(kPxPort_IsInput(port), i < 2 ? kTRUE : kFALSE);
        EXPECT_EQ(kPxPort_Block(port), block);
    }
    kPxPort port = kNULL;
    EXPECT_EQ(kPxBlock_FindPort(block, 99, &port), kSTATUS_NOT_FOUND);
    EXPECT_EQ(port, kNULL);
    EXPECT_EQ(kPxBlock_DefineOutput(block, "Again", RELAY_OUT, kNULL), kSTATUS_DUPLICATE);
    EXPECT_EQ(kPxPort_AcceptForeignData(kPxBlock_PortAt(block, 2), kTRUE), kSTATUS_BAD_PARAMETER);
}

TEST_F(Pipeline, UnknownOrAbstractTypesAreRefused)
{
    kPxBlock block = kNULL;
    EXPECT_EQ(kPxPipeline_AddBlock(m_pipeline, "kNoSuchBlock", kNULL, &block), kSTATUS_NOT_FOUND);
    EXPECT_EQ(kPxPipeline_AddBlock(m_pipeline, "kPxBlock", kNULL, &block), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kPxPipeline_AddBlock(m_pipeline, "kMsg", kNULL, &block), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(block, kNULL);
}

TEST_F(Pipeline, MessagesFlowToSinksInOrderAndUnroutedOutputsDropThem)
{
    kPxBlock first = AddRelay("<Settings><Copies>2</Copies></Settings>");
    kPxBlock second = AddRelay();
    kPxBlock unrouted = AddRelay();
    kPxSink sink = kNULL, tap = kNULL;
    ASSERT_EQ(kPxPipeline_Connect(m_pipeline, first, RELAY_OUT, second, RELAY_IN), kOK);
    ASSERT_EQ(kPxPipeline_AddSink(m_pipeline, second, RELAY_OUT, &sink), kOK);
    ASSERT_EQ(kPxPipeline_AddSink(m_pipeline, first, RELAY_OUT, &tap), kOK);
    EXPECT_EQ(kPxPipeline_Connect(m_pipeline, first, RELAY_OUT, second, RELAY_IN),
              kSTATUS_DUPLICATE);
    EXPECT_EQ(kPxPipeline_Connect(m_pipeline, first, RELAY_IN, second, RELAY_IN),
              kSTATUS_NOT_FOUND);
    EXPECT_EQ(kPxPipeline_Connect(m_pipeline, first, RELAY_OUT, second, RELAY_OUT),
              kSTATUS_NOT_FOUND);

    kPxPort out = kNULL;
    ASSERT_EQ(kPxBlock_FindPort(unrouted, RELAY_OUT, &out), kOK);
    EXPECT_FALSE(kPxPort_IsRouted(out));
    ASSERT_EQ(kPxBlock_FindPort(first, RELAY_OUT, &out), kOK);
    EXPECT_TRUE(kPxPort_IsRouted(out));

    ASSERT_EQ(kPxPipeline_Start(m_pipeline), kOK);
    EXPECT_EQ(kPxPipeline_Connect(m_pipeline, first, RELAY_OUT, unrouted, RELAY_IN),
              kSTATUS_BAD_STATE);
    EXPECT_EQ(kPxBlock_DefineInput(first, "Late", 40, kNULL), kSTATUS_BAD_STATE);
    kStatus received = kSTATUS_FAILED;
    for (k64u frame = 0; frame < 3; ++frame)
    {
        ASSERT_EQ(kPxPipeline_Inject(m_pipeline, first, RELAY_IN, ImageMessage(frame), &received),
                  kOK);
        EXPECT_EQ(received, kOK);
    }
    ASSERT_EQ(kPxPipeline_Inject(m_pipeline, unrouted, RELAY_IN, ImageMessage(9), &received), kOK);
    EXPECT_EQ(received, kOK); // sent on an unrouted output: disposed, no error

    // Two copies per frame, in order; the tap shares the very messages the second block got.
    ASSERT_EQ(kPxSink_Count(sink), 6u);
    ASSERT_EQ(kPxSink_Count(tap), 6u);
    for (kSize i = 0; i < 6; ++i)
        EXPECT_EQ(kMsg_Stamp(kPxSink_At(sink, i))->frameIndex, i / 2) << i;
    EXPECT_EQ(kPxSink_At(sink, 6), kNULL);
    EXPECT_EQ(s_reentered, 0);

    EXPECT_EQ(kPxSink_Clear(tap), kOK);
    EXPECT_EQ(kPxSink_Count(tap), 0u);
    EXPECT_EQ(kPxPipeline_Inject(m_pipeline, first, RELAY_IN, kNULL, kNULL), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kPxPipeline_Stop(m_pipeline), kOK);
}

TEST_F(Pipeline, AFeedbackLoopIsQueuedNotReentered)
{
    // The block's own output feeds its input: each receive sends once more, through the queue.
    kPxBlock loop = AddRelay();
    kPxSink sink = kNULL;
    ASSERT_EQ(kPxPipeline_Connect(m_pipeline, loop, RELAY_OUT, loop, RELAY_SPARE), kOK);
    ASSERT_EQ(kPxPipeline_AddSink(m_pipeline, loop, RELAY_OUT, &sink), kOK);
    ASSERT_EQ(kPxPipeline_Start(m_pipeline), kOK);
    kStatus received = kOK;
    ASSERT_EQ(kPxPipeline_Inject(m_pipeline, loop, RELAY_IN, ImageMessage(5), &received), kOK);
    // In: forwarded; Spare: refused with the console line, which ends the loop.
    EXPECT_EQ(received, kSTATUS_FAILED);
    EXPECT_EQ(kCastRaw(kTestRelayBlock, loop)->received, 2u);
    EXPECT_EQ(s_reentered, 0);
    EXPECT_STREQ(kPxBlock_Console(loop), "Unexpected port id in incoming message \n");
    EXPECT_EQ(kPxSink_Count(sink), 1u);
}

TEST_F(Pipeline, WrongPayloadIsRefusedAndDisposed)
{
    kPxBlock block = AddRelay();
    kPxSink sink = kNULL;
    ASSERT_EQ(kPxPipeline_AddSink(m_pipeline, block, RELAY_OUT, &sink), kOK);
    ASSERT_EQ(kPxPipeline_Start(m_pipeline), kOK);
    ktest::CountingAlloc messages; // fails the test if a refused message is not disposed
    kStatus received = kOK;
    ASSERT_EQ(kPxPipeline_Inject(m_pipeline, block, RELAY_IN,
                                 ImageMessage(1, 4, kTypeOf(k16u), messages), &received),
              kOK);
    EXPECT_EQ(received, kSTATUS_BAD_PARAMETER);
    ASSERT_EQ(kPxPipeline_Inject(m_pipeline, block, RELAY_IN,
                                 ImageMessage(1, 0, kTypeOf(k8u), messages), &received),
              kOK);
    EXPECT_EQ(received, kSTATUS_BAD_PARAMETER);
    EXPECT_STREQ(kPxBlock_Console(block),
                 "Unexpected message payload\nUnexpected message payload\n");
    EXPECT_EQ(messages.Outstanding(), 0u);
    EXPECT_EQ(kPxSink_Count(sink), 0u);

    EXPECT_EQ(kPxBlock_ClearConsole(block), kOK);
    EXPECT_STREQ(kPxBlock_Console(block), "");
    kMsg msg = ImageMessage(2);
    EXPECT_EQ(kPxPipeline_Inject(m_pipeline, block, 42, msg, kNULL), kSTATUS_NOT_FOUND);
    EXPECT_EQ(kPxPipeline_Inject(m_pipeline, block, RELAY_OUT, msg, kNULL), kSTATUS_NOT_FOUND);
    EXPECT_EQ(kObject_Dispose(msg), kOK); // refused injections leave the message with the caller
}

TEST_F(Pipeline, AFailedStartStopsWhatStartedAndLeavesNothing)
{
    kPxBlock good = AddRelay();
    AddRelay("<Settings><FailStart>1</FailStart></Settings>");
    kSize before = m_alloc.Outstanding();
    EXPECT_EQ(kPxPipeline_Start(m_pipeline), kSTATUS_NO_SOLUTION);
    EXPECT_FALSE(kPxPipeline_IsStarted(m_pipeline));
    EXPECT_EQ(kCastRaw(kTestRelayBlock, good)->scratch, kNULL);
    EXPECT_EQ(m_alloc.Outstanding(), before);
    kMsg msg = ImageMessage(0);
    EXPECT_EQ(kPxPipeline_Inject(m_pipeline, good, RELAY_IN, msg, kNULL), kSTATUS_BAD_STATE);
    kObject_Dispose(msg);
}

TEST_F(Pipeline, RepeatedStartStopCyclesLeaveNothingBehind)
{
    kPxBlock block = AddRelay("<Settings><EmitOnEngage>1</EmitOnEngage></Settings>");
    kPxSink sink = kNULL;
    ASSERT_EQ(kPxPipeline_AddSink(m_pipeline, block, RELAY_OUT, &sink), kOK);
    kSize afterFirstCycle = 0; // queues keep their capacity: the first cycle sets the level
    for (int cycle = 0; cycle < 2; ++cycle)
    {
        ASSERT_EQ(kPxPipeline_Start(m_pipeline), kOK);
        EXPECT_EQ(kPxPipeline_Start(m_pipeline), kSTATUS_BAD_STATE);
        ASSERT_EQ(kPxSink_Count(sink), 1u); // sent while engaging, delivered once running
        EXPECT_EQ(kMsg_Stamp(kPxSink_At(sink, 0))->frameIndex, 1000u);

        // Pause and resume are the platform's for this block: success; messages wait meanwhile.
        EXPECT_EQ(kPxPipeline_Pause(m_pipeline), kOK);
        kMsg msg = ImageMessage(3);
        EXPECT_EQ(kPxPipeline_Inject(m_pipeline, block, RELAY_IN, msg, kNULL), kSTATUS_BAD_STATE);
        kObject_Dispose(msg);
        EXPECT_EQ(kPxPipeline_Resume(m_pipeline), kOK);
        EXPECT_EQ(kPxPipeline_Resume(m_pipeline), kSTATUS_BAD_STATE);

        ASSERT_EQ(kPxPipeline_Stop(m_pipeline), kOK);
        ASSERT_EQ(kPxSink_Clear(sink), kOK);
        if (cycle == 0) afterFirstCycle = m_alloc.Outstanding();
        EXPECT_EQ(m_alloc.Outstanding(), afterFirstCycle);
    }
    EXPECT_EQ(kPxPipeline_Stop(m_pipeline), kOK); // stopping a stopped pipeline is harmless
    EXPECT_EQ(kPxPipeline_Pause(m_pipeline), kSTATUS_BAD_STATE);
}

TEST_F(Pipeline, DestroyingARunningPipelineStopsAndCleansUp)
{
    kPxPipeline pipeline = kNULL;
    ASSERT_EQ(kPxPipeline_Construct(&pipeline, m_alloc), kOK);
    kPxBlock block = kNULL;
    ASSERT_EQ(kPxPipeline_AddBlock(pipeline, "kTestRelayBlock", kNULL, &block), kOK);
    ASSERT_EQ(kPxPipeline_Start(pipeline), kOK);
    ASSERT_EQ(kPxPipeline_Inject(pipeline, block, RELAY_IN, ImageMessage(0), kNULL), kOK);
    EXPECT_EQ(kObject_Destroy(pipeline), kOK);
    EXPECT_EQ(s_cleanedUp, 1);
}

TEST_F(Pipeline, ForeignPayloadsAreCopiedUnlessTheInputAcceptsThem)
{
    kPxBlock keeper = kNULL;
    ASSERT_EQ(kPxPipeline_AddBlock(m_pipeline, "kTestKeeperBlock", kNULL, &keeper), kOK);
    ASSERT_EQ(kPxPipeline_Start(m_pipeline), kOK);
    for (k32u input : {0u, 1u})
    {
        kTestDevicePayloadClass* payload = kNULL;
        kMsg msg = kNULL;
        ASSERT_EQ(kAlloc_GetObject(m_alloc, kTypeOf(kTestDevicePayload), &payload), kOK);
        ASSERT_EQ(kObject_Init(payload, kTypeOf(kTestDevicePayload), m_alloc), kOK);
        payload->onDevice = kTRUE;
        ASSERT_EQ(kMsg_Construct(&msg, kNULL, payload, m_alloc), kOK);
        EXPECT_EQ(kObject_AllocTraits(msg), (k32u)kALLOC_TRAIT_DEVICE);
        ASSERT_EQ(kPxPipeline_Inject(m_pipeline, keeper, input, msg, kNULL), kOK);
        kObject kept = kCastRaw(kTestKeeperBlock, keeper)->last;
        if (input == 0)
        {
            EXPECT_NE(kept, msg);
            EXPECT_EQ(kObject_AllocTraits(kept), (k32u)kALLOC_TRAIT_HOST);
        }
        else
            EXPECT_EQ(kept, msg);
    }
}

TEST_F(Pipeline, BlockServices)
{
    kPxBlock block = AddRelay();
    ASSERT_EQ(kPxPipeline_SetDirectory(m_pipeline, "/data/cal"), kOK);
    kChar path[64];
    ASSERT_EQ(kPxBlock_FilePath(block, "StereoCal.kdat", path, sizeof(path)), kOK);
    EXPECT_STREQ(path, "/data/cal/StereoCal.kdat");
    ASSERT_EQ(kPxBlock_FilePath(block, "/abs/x.kdat", path, sizeof(path)), kOK);
    EXPECT_STREQ(path, "/abs/x.kdat");
    EXPECT_EQ(kPxBlock_FilePath(block, "StereoCal.kdat", path, 8), kSTATUS_BAD_PARAMETER);

    EXPECT_EQ(kPxBlock_Printf(block, "Loaded %d items\n", 3), kOK);
    EXPECT_EQ(kPxBlock_Printf(block, "%s", std::string(300, 'x').c_str()), kOK);
    EXPECT_EQ(strlen(kPxBlock_Console(block)), strlen("Loaded 3 items\n") + 300);

    EXPECT_EQ(kPxBlock_NotifyDrop(block, kNULL), kOK);
    EXPECT_EQ(kPxBlock_NotifyDrop(block, block), kOK);
    EXPECT_EQ(kPxBlock_DropCount(block), 2u);
    EXPECT_EQ(kPxBlock_MessageAlloc(block), m_alloc.get());

    kPxBlock other = kNULL;
    ASSERT_EQ(kPxPipeline_SetMessageAlloc(m_pipeline, kAlloc_App()), kOK);
    ASSERT_EQ(kPxPipeline_AddBlock(m_pipeline, "kTestRelayBlock", kNULL, &other), kOK);
    EXPECT_EQ(kPxBlock_MessageAlloc(other), kAlloc_App());

    kPxPort out = kNULL;
    ASSERT_EQ(kPxBlock_FindPort(other, RELAY_OUT, &out), kOK);
    EXPECT_EQ(kPxBlock_Send(block, out, block), kSTATUS_BAD_PARAMETER); // another block's port
}

TEST_F(Pipeline, ConstructionFailsCleanlyAtEveryAllocation)
{
    ktest::ExpectCleanFailures([](kAlloc alloc, kObject* out)
                               { return kPxPipeline_Construct(out, alloc); });
    ktest::ExpectCleanFailures(
        [](kAlloc alloc, kObject* out)
        {
            kPxPipeline pipeline = kNULL;
            kPxBlock block = kNULL;
            kPxSink sink = kNULL;
            kStatus status;
            kTest(kPxPipeline_Construct(&pipeline, alloc));
            kTest(kPxPipeline_AddBlock(pipeline, "kTestRelayBlock", kNULL, &block));
            kTest(kPxPipeline_AddSink(pipeline, block, RELAY_OUT, &sink));
            kTest(kPxPipeline_Start(pipeline));
            *out = pipeline;
            return kOK;
        cleanup:
            kObject_Destroy(pipeline);
            return status;
        });
}

/* ----- Messages ----------------------------------------------------------------------------- */

TEST(Messages, GenericMessageOwnsItsPayload)
{
    ktest::CountingAlloc alloc;
    kImage image = kNULL;
    kMsg msg = kNULL, copy = kNULL;
    kStamp stamp = {};
    stamp.frameIndex = 77;
    stamp.width = 4;
    ASSERT_EQ(kImage_Construct(&image, kTypeOf(k8u), 4, 3, alloc), kOK);
    EXPECT_EQ(kMsg_Construct(&msg, &stamp, kNULL, alloc), kSTATUS_BAD_PARAMETER);
    ASSERT_EQ(kMsg_Construct(&msg, &stamp, image, alloc), kOK);
    EXPECT_EQ(kMsg_Data(msg), image);
    EXPECT_EQ(kMsg_Stamp(msg)->frameIndex, 77u);
    EXPECT_EQ(kObject_Size(msg),
              sizeof(kObjectClass) + sizeof(kStamp) + sizeof(kObject) + kObject_Size(image));

    ASSERT_EQ(kObject_Clone(&copy, msg, alloc), kOK);
    EXPECT_NE(kMsg_Data(copy), image);
    EXPECT_EQ(kImage_Height(kMsg_Data(copy)), 3u);
    EXPECT_EQ(kMsg_Stamp(copy)->width, 4u);
    EXPECT_EQ(kObject_Destroy(copy), kOK);
    EXPECT_EQ(kObject_Destroy(msg), kOK); // the image goes with it: the allocator ends at zero

    kMsg empty = kNULL;
    ASSERT_EQ(kImage_Construct(&image, kTypeOf(k8u), 1, 1, alloc), kOK);
    ASSERT_EQ(kMsg_Construct(&empty, kNULL, image, alloc), kOK);
    EXPECT_EQ(kMsg_Stamp(empty)->frameIndex, 0u);
    kObject_Destroy(empty);

    ASSERT_EQ(kImage_Construct(&image, kTypeOf(k8u), 2, 2, kNULL), kOK);
    kSize steps = ktest::ExpectCleanFailures([&](kAlloc a, kObject* out)
                                             { return kMsg_Construct(out, kNULL, image, a); });
    EXPECT_EQ(steps, 1u); // the caller's image stays the caller's on failure; the last run took it
}

TEST(Messages, ProfileMessageLayoutAndClone)
{
    ktest::CountingAlloc alloc;
    kProfileMsg msg = kNULL, copy = kNULL;
    ASSERT_EQ(kProfileMsg_Construct(&msg, kTypeOf(kPoint3d16s), 3, 5, kTRUE, alloc), kOK);
    EXPECT_EQ(kProfileMsg_PointType(msg), kTypeOf(kPoint3d16s));
    EXPECT_EQ(kProfileMsg_Count(msg), 3u);
    EXPECT_EQ(kProfileMsg_Width(msg), 5u);
    EXPECT_TRUE(kProfileMsg_HasSlices(msg));
    for (kSize p = 0; p < 3; ++p)
    {
        kProfileMsg_StampAt(msg, p)->frameIndex = 10 + p;
        kPoint3d16s* points = static_cast<kPoint3d16s*>(kProfileMsg_PointsAt(msg, p));
        for (kSize i = 0; i < 5; ++i)
        {
            points[i] = {(k16s)(p * 100 + i), (k16s)-1, (k16s)i};
            kProfileMsg_IntensitiesAt(msg, p)[i] = (k8u)(p * 10 + i);
            kProfileMsg_SlicesAt(msg, p)[i] = (k16u)(1000 + p * 10 + i);
        }
        EXPECT_EQ(reinterpret_cast<uintptr_t>(points) % alignof(kPoint3d16s), 0u);
        EXPECT_EQ(reinterpret_cast<uintptr_t>(kProfileMsg_SlicesAt(msg, p)) % alignof(k16u), 0u);
    }
    EXPECT_EQ(kProfileMsg_StampAt(msg, 3), kNULL);
    EXPECT_EQ(kProfileMsg_PointsAt(msg, 3), kNULL);

    ASSERT_EQ(kObject_Clone(&copy, msg, alloc), kOK);
    for (kSize p = 0; p < 3; ++p)
    {
        EXPECT_EQ(kProfileMsg_StampAt(copy, p)->frameIndex, 10 + p);
        EXPECT_EQ(static_cast<kPoint3d16s*>(kProfileMsg_PointsAt(copy, p))[4].x,
                  (k16s)(p * 100 + 4));
        EXPECT_EQ(kProfileMsg_IntensitiesAt(copy, p)[2], (k8u)(p * 10 + 2));
        EXPECT_EQ(kProfileMsg_SlicesAt(copy, p)[3], (k16u)(1000 + p * 10 + 3));
    }
    kObject_Destroy(copy);
    kObject_Destroy(msg);

    kProfileMsg plain = kNULL;
    ASSERT_EQ(kProfileMsg_Construct(&plain, kTypeOf(k32f), 2, 0, kFALSE, alloc), kOK);
    EXPECT_EQ(kProfileMsg_PointsAt(plain, 0), kNULL); // zero-width profiles have no points
    EXPECT_NE(kProfileMsg_StampAt(plain, 1), kNULL);
    kObject_Destroy(plain);
    ASSERT_EQ(kProfileMsg_Construct(&plain, kTypeOf(k8u), 1, 3, kFALSE, alloc), kOK);
    EXPECT_EQ(kProfileMsg_SlicesAt(plain, 0), kNULL);
    kObject_Destroy(plain);

    EXPECT_EQ(kProfileMsg_Construct(&plain, kTypeOf(kMsg), 1, 1, kFALSE, alloc),
              kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kProfileMsg_Construct(&plain, kTypeOf(k64f), kSIZE_MAX / 4, 8, kFALSE, alloc),
              kSTATUS_BAD_PARAMETER);
    ktest::ExpectCleanFailures(
        [](kAlloc a, kObject* out)
        { return kProfileMsg_Construct(out, kTypeOf(kPoint3d16s), 4, 8, kTRUE, a); });
}
