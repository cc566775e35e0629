// Actions: a small stripe-pattern action defined here, validated without an instance and
// invoked on the simulated node; the platform defaults for actions without a validate.
#include <kTestSupport.h>

#include <kTessel.h>

#include <string>
#include <vector>

/* ----- kTestStripeAction and its settings class --------------------------------------------- */

typedef kObject kTestStripeActionInfo;
kDeclareClass(kTestStripeActionInfo, kObject);
struct kTestStripeActionInfoClass
{
    kObjectClass base;
    k32u viewIndex;
    k32u phaseCount;
    k32u threshold;
    kBool imageInput;
};
kDefineClass(kTestStripeActionInfo, kObject);

static const kSettingKey kStripeKeys[] = {
    {.path = "ViewIndex",
     .type = kSETTING_TYPE_32U,
     kSETTING_FIELD(kTestStripeActionInfoClass, viewIndex)},
    {.path = "Stripe\\PhaseStepCount",
     .type = kSETTING_TYPE_32U,
     kSETTING_FIELD(kTestStripeActionInfoClass, phaseCount),
     .defaultValue = 5,
     .min = 3,
     .max = 16,
     .flags = kSETTING_RANGE},
    {.path = "PhaseThreshold",
     .type = kSETTING_TYPE_32U,
     kSETTING_FIELD(kTestStripeActionInfoClass, threshold),
     .defaultValue = 10},
    {.path = "EnableImageInput",
     .type = kSETTING_TYPE_BOOL,
     kSETTING_FIELD(kTestStripeActionInfoClass, imageInput),
     .defaultValue = 0},
};
static const kSettingsSchema kStripeSchema = {kStripeKeys, kCountOf(kStripeKeys)};

kStatus xxkTestStripeActionInfo_Register(kAssembly assembly, const kChar* name)
{
    return kAddClass(kTestStripeActionInfo, kObject);
}

typedef kAxAction kTestStripeAction;
kDeclareClass(kTestStripeAction, kAxAction);
struct kTestStripeActionClass
{
    kAxActionClass base;
};
kDefineClass(kTestStripeAction, kAxAction);

static const kChar* xkTestStripeAction_VDescription(void) { return "Programs a stripe decoder."; }

static kStatus xkTestStripeAction_VValidate(kXml settings, kAlloc allocator)
{
    return kSettings_NormalizeObject(kTypeOf(kTestStripeActionInfo), &kStripeSchema, settings,
                                     allocator);
}

/* Removes the camera's decoders, adds one and programs it, then verifies and applies. */
static kStatus Apply(kAxAction action, kTestStripeActionInfoClass* info)
{
    kNode node = kAxAction_Node(action);
    kArray1 sine = kNULL;
    kCameraPhaseDecoder decoder = kNULL;
    kStatus status;

    kCheck(kNode_Connect(node));
    kCheck(kNode_Refresh(node));
    kCheckTrue(info->viewIndex < kNode_CameraCount(node), kSTATUS_FAILED);
    kCamera camera = kNode_CameraAt(node, info->viewIndex);
    kCheck(kCamera_Enable(camera, kTRUE));
    for (kSize i = 0; i < kCamera_ExtensionCount(camera);)
    {
        kCameraExt ext = kCamera_ExtensionAt(camera, i);
        if (kObject_Is(ext, kTypeOf(kCameraPhaseDecoder)))
            kCheck(kCamera_DeleteExtension(camera, ext));
        else
            ++i;
    }
    if (info->imageInput) return kCamera_SetPortMode(camera, 2);

    kCheck(kCamera_AddExtension(camera, kTypeOf(kCameraPhaseDecoder), &decoder));
    kCheck(kCameraPhaseDecoder_SetPhaseCount(decoder, info->phaseCount));
    kCheck(kCameraPhaseDecoder_SetPhaseThreshold(decoder, info->threshold));
    kCheck(kArray1_Construct(&sine, kTypeOf(k32s), info->phaseCount, kObject_Alloc(action)));
    kTest(kCameraPhaseDecoder_WriteLut(decoder, 2, sine));
    kTest(kNode_Verify(node));
    kTest(kNode_Apply(node));
cleanup:
    kObject_Destroy(sine);
    return status;
}

static kStatus xkTestStripeAction_VInvoke(kAxAction action)
{
    kObject info = kNULL;
    kCheck(kSettings_LoadObject(&info, kTypeOf(kTestStripeActionInfo), &kStripeSchema,
                                kAxAction_Settings(action), kObject_Alloc(action)));
    kStatus status = Apply(action, kCastRaw(kTestStripeActionInfo, info));
    kObject_Destroy(info);
    return status;
}

kStatus xxkTestStripeAction_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddClass(kTestStripeAction, kAxAction));
    kCheck(kAddVMethod(kTestStripeAction, VDescription));
    kCheck(kAddVMethod(kTestStripeAction, VValidate));
    return kAddVMethod(kTestStripeAction, VInvoke);
}

/* An action without settings: no VValidate of its own; it disconnects the system. */
typedef kAxAction kTestResetAction;
kDeclareClass(kTestResetAction, kAxAction);
struct kTestResetActionClass
{
    kAxActionClass base;
};
kDefineClass(kTestResetAction, kAxAction);

static kStatus xkTestResetAction_VInvoke(kAxAction action)
{
    return kSystem_Disconnect(kAxAction_System(action));
}

kStatus xxkTestResetAction_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddClass(kTestResetAction, kAxAction));
    return kAddVMethod(kTestResetAction, VInvoke);
}

/* ----- Tests -------------------------------------------------------------------------------- */

namespace
{
std::string Text(kXml xml, const char* path)
{
    kChar text[64] = "";
    kXml_ChildText(xml, kXml_Root(xml), path, text, sizeof(text));
    return text;
}
} // namespace

class Action : public ::testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        kAssembly assembly = kNULL;
        ASSERT_EQ(xkAssembly_ConstructInternal(&assembly, &s_assembly, "kTestActions", 0, 0), kOK);
        ASSERT_EQ(xkAssembly_AddDependency(assembly, kTesselLib_Construct), kOK);
        ASSERT_EQ(
            xkAssembly_AddType(assembly, xxkTestStripeActionInfo_Register, "kTestStripeActionInfo"),
            kOK);
        ASSERT_EQ(xkAssembly_AddType(assembly, xxkTestStripeAction_Register, "kTestStripeAction"),
                  kOK);
        ASSERT_EQ(xkAssembly_AddType(assembly, xxkTestResetAction_Register, "kTestResetAction"),
                  kOK);
        ASSERT_EQ(xkAssembly_Finalize(assembly), kOK);
    }
    static void TearDownTestSuite() { kObject_Destroy(s_assembly); }

    void SetUp() override
    {
        ASSERT_EQ(kNode_Construct(&m_node, kNULL, kNULL), kOK);
        ASSERT_EQ(kNode_AddCamera(m_node, kNULL, kNULL), kOK);
        ASSERT_EQ(kNode_AddCamera(m_node, kNULL, kNULL), kOK);
        ASSERT_EQ(kXml_Construct(&m_settings, kNULL), kOK);
    }
    void TearDown() override
    {
        kObject_Destroy(m_settings);
        kObject_Destroy(m_node);
    }

    kStatus Invoke(kAlloc alloc = kNULL)
    {
        return kAxAction_Invoke(kType_FindByName("kTestStripeAction"), m_settings, m_node, kNULL,
                                alloc);
    }

    static kAssembly s_assembly;
    kNode m_node = kNULL;
    kXml m_settings = kNULL;
};
kAssembly Action::s_assembly = kNULL;

TEST_F(Action, ValidateNormalizesAnEmptyDocumentWithoutAnInstance)
{
    kType type = kType_FindByName("kTestStripeAction");
    EXPECT_STREQ(kAxAction_Description(type), "Programs a stripe decoder.");
    EXPECT_STREQ(kAxAction_Description(kTypeOf(kNode)), "");
    ktest::CountingAlloc alloc;
    ASSERT_EQ(kAxAction_Validate(type, m_settings, alloc), kOK);
    EXPECT_EQ(Text(m_settings, "ViewIndex"), "0");
    EXPECT_EQ(Text(m_settings, "Stripe\\PhaseStepCount"), "5");
    EXPECT_EQ(Text(m_settings, "PhaseThreshold"), "10");
    EXPECT_EQ(Text(m_settings, "EnableImageInput"), "0");

    kXml wrong = kNULL;
    ASSERT_EQ(kXml_FromText(&wrong,
                            "<Settings><ViewIndex>1</ViewIndex><Stripe><PhaseStepCount>40</"
                            "PhaseStepCount></Stripe></Settings>",
                            kNULL),
              kOK);
    ASSERT_EQ(kAxAction_Validate(type, wrong, alloc), kOK);
    EXPECT_EQ(Text(wrong, "ViewIndex"), "0"); // an invalid document is replaced as a whole
    EXPECT_EQ(Text(wrong, "Stripe\\PhaseStepCount"), "5");
    kObject_Destroy(wrong);

    EXPECT_EQ(kAxAction_Validate(kTypeOf(kNode), m_settings, alloc), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kAxAction_Validate(type, kNULL, alloc), kSTATUS_BAD_PARAMETER);
}

TEST_F(Action, InvokeProgramsTheNode)
{
    kCamera camera = kNode_CameraAt(m_node, 1);
    ASSERT_EQ(kCamera_AddExtension(camera, kTypeOf(kCameraPhaseDecoder), kNULL), kOK);
    ASSERT_EQ(kCamera_AddExtension(camera, kTypeOf(kCameraPhaseDecoder), kNULL), kOK);
    ASSERT_EQ(kNode_ClearCalls(m_node), kOK);
    ASSERT_EQ(kXml_AddItem(m_settings, kNULL, "Settings", kNULL), kOK);
    ASSERT_EQ(kXml_SetChild32u(m_settings, kXml_Root(m_settings), "ViewIndex", 1), kOK);
    ASSERT_EQ(kXml_SetChild32u(m_settings, kXml_Root(m_settings), "Stripe\\PhaseStepCount", 7),
              kOK);
    ASSERT_EQ(kXml_SetChild32u(m_settings, kXml_Root(m_settings), "PhaseThreshold", 12), kOK);
    ASSERT_EQ(kXml_SetChildBool(m_settings, kXml_Root(m_settings), "EnableImageInput", kFALSE),
              kOK);

    ktest::CountingAlloc alloc;
    ASSERT_EQ(Invoke(alloc), kOK);
    std::vector<std::string> calls, expected = {"kNode_Connect",
                                                "kNode_Refresh",
                                                "kCamera_Enable 1 1",
                                                "kCamera_DeleteExtension 1 0",
                                                "kCamera_DeleteExtension 1 0",
                                                "kCamera_AddExtension 1 kCameraPhaseDecoder",
                                                "kCameraPhaseDecoder_SetPhaseCount 1 7",
                                                "kCameraPhaseDecoder_SetPhaseThreshold 1 12",
                                                "kCameraPhaseDecoder_WriteLut 1 2 7",
                                                "kNode_Verify",
                                                "kNode_Apply"};
    for (kSize i = 0; i < kNode_CallCount(m_node); ++i)
        calls.emplace_back(kNode_CallAt(m_node, i));
    EXPECT_EQ(calls, expected);
    ASSERT_EQ(kCamera_ExtensionCount(camera), 1u);
    EXPECT_NE(kCameraPhaseDecoder_Lut(kCamera_ExtensionAt(camera, 0), 2), kNULL);
    EXPECT_EQ(alloc.Outstanding(), 0u); // the action object and its settings are gone
}

TEST_F(Action, FailuresReachTheCaller)
{
    ASSERT_EQ(kAxAction_Validate(kType_FindByName("kTestStripeAction"), m_settings, kNULL), kOK);
    ASSERT_EQ(kNode_AddError(m_node, "Camera 0: decoder needs output mode 2"), kOK);
    EXPECT_EQ(Invoke(), kSTATUS_CONFLICT);
    EXPECT_EQ(kNode_CountCalls(m_node, "kNode_Apply"), 0u);
    ASSERT_EQ(kNode_ClearErrors(m_node), kOK);

    ASSERT_EQ(kNode_SetFault(m_node, "kNode_Connect", kSTATUS_TIMEOUT), kOK);
    EXPECT_EQ(Invoke(), kSTATUS_TIMEOUT);
    ASSERT_EQ(kNode_SetFault(m_node, "kNode_Connect", kOK), kOK);

    ASSERT_EQ(kXml_SetChild32u(m_settings, kXml_Root(m_settings), "ViewIndex", 2), kOK);
    EXPECT_EQ(Invoke(), kSTATUS_FAILED); // the comparison's result, as actions report it

    kXml empty = kNULL;
    ASSERT_EQ(kXml_Construct(&empty, kNULL), kOK);
    EXPECT_EQ(kAxAction_Invoke(kType_FindByName("kTestStripeAction"), empty, m_node, kNULL, kNULL),
              kSTATUS_NOT_FOUND);
    kObject_Destroy(empty);

    EXPECT_EQ(kAxAction_Invoke(kTypeOf(kAxAction), m_settings, m_node, kNULL, kNULL),
              kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kAxAction_Invoke(kTypeOf(kNode), m_settings, m_node, kNULL, kNULL),
              kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kAxAction_Invoke(kType_FindByName("kTestStripeAction"), m_settings, m_settings, kNULL,
                               kNULL),
              kSTATUS_BAD_PARAMETER);

    ASSERT_EQ(kXml_SetChild32u(m_settings, kXml_Root(m_settings), "ViewIndex", 0), kOK);
    ktest::ExpectCleanFailures(
        [&](kAlloc alloc, kObject* out)
        {
            kStatus status = Invoke(alloc);
            if (kSuccess(status))
                kObject_Share(*out = m_node); // something for the helper to destroy
            return status;
        });
}

TEST_F(Action, ActionsWithoutValidateGetThePlatformDefault)
{
    kType type = kType_FindByName("kTestResetAction");
    ASSERT_EQ(kXml_AddItem(m_settings, kNULL, "Settings", kNULL), kOK);
    ASSERT_EQ(kXml_SetChild32u(m_settings, kXml_Root(m_settings), "Anything", 3), kOK);
    EXPECT_EQ(kAxAction_Validate(type, m_settings, kNULL), kOK);
    EXPECT_EQ(Text(m_settings, "Anything"), "3"); // left as it was
    EXPECT_STREQ(kAxAction_Description(type), "");

    kSystem system = kNULL;
    ASSERT_EQ(kSystem_Construct(&system, kNULL), kOK);
    ASSERT_EQ(kSystem_AddNode(system, m_node), kOK);
    ASSERT_EQ(kNode_Connect(m_node), kOK);
    ASSERT_EQ(kAxAction_Invoke(type, m_settings, m_node, system, kNULL), kOK);
    EXPECT_FALSE(kNode_IsConnected(m_node));
    kObject_Destroy(system);
}
