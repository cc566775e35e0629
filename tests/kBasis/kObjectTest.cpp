// Object model: a small class family registered in a test assembly, exercised through the
// same macros and operations the library uses.
#include <kTestSupport.h>

#include <cstring>

/* kTestShape: abstract base adding one virtual operation; holds an owned kMemory. */
typedef kObject kTestShape;
kDeclareVirtualClass(kTestShape, kObject);
struct kTestShapeVTable : kObjectVTable
{
    k64f (*VArea)(kTestShape shape);
    kStatus (*VScale)(kTestShape shape, k64f factor);
};
struct kTestShapeClass
{
    kObjectClass base;
    kMemory label;
    k32s sides;
};

/* kTestSquare: overrides VArea and VSize, inherits VScale; clones deeply. */
typedef kObject kTestSquare;
kDeclareClass(kTestSquare, kTestShape);
struct kTestSquareClass
{
    kTestShapeClass base;
    k64f side;
};

/* kTestRefuser: refuses cloning by registering VInitClone. */
typedef kObject kTestRefuser;
kDeclareClass(kTestRefuser, kObject);
struct kTestRefuserClass
{
    kObjectClass base;
};

kDefineClass(kTestShape, kObject)
kDefineClass(kTestSquare, kTestShape)
kDefineClass(kTestRefuser, kObject)

static k64f xkTestShape_VArea(kTestShape) { return 0.0; }
static kStatus xkTestShape_VScale(kTestShape, k64f) { return kSTATUS_NOT_IMPLEMENTED; }

static kStatus xkTestShape_Init(kTestShape shape, kType type, k32s sides, kAlloc alloc)
{
    kTestShapeClass* obj = static_cast<kTestShapeClass*>(shape);
    kCheck(kObject_Init(shape, type, alloc));
    obj->sides = sides;
    obj->label = kNULL;
    return kMemory_Construct(&obj->label, alloc);
}

static kStatus xkTestShape_VRelease(kObject shape)
{
    kCheck(kDestroyRef(&kCastRaw(kTestShape, shape)->label));
    return xkObject_VRelease(shape);
}

static kSize xkTestShape_VSize(kObject shape)
{
    return kType_InnerSize(kObject_Type(shape)) + kObject_Size(kCastRaw(kTestShape, shape)->label);
}

static k64f xkTestSquare_VArea(kTestShape shape) { return kCastRaw(kTestSquare, shape)->side * kCastRaw(kTestSquare, shape)->side; }

static kStatus xkTestSquare_Init(kTestSquare square, kType type, k64f side, kAlloc alloc)
{
    kTestSquareClass* obj = static_cast<kTestSquareClass*>(square);
    kStatus status;
    obj->side = side;
    kTest(xkTestShape_Init(square, type, 4, alloc));
    kTest(kMemory_Append(obj->base.label, "square", 7));
    return kOK;
cleanup:
    kVTableOf<kObjectVTable>(square)->VRelease(square);
    return status;
}

static kStatus xkTestSquare_VInitClone(kObject square, kObject source, kAlloc alloc)
{
    kTestSquareClass* src = kCastRaw(kTestSquare, source);
    kStatus status;
    kTest(xkTestSquare_Init(square, kObject_Type(source), src->side, alloc));
    kTest(kMemory_Allocate(kCastRaw(kTestSquare, square)->base.label, 0));
    kTest(kMemory_Append(kCastRaw(kTestSquare, square)->base.label, kMemory_At(src->base.label, 0),
                         kMemory_Length(src->base.label)));
    return kOK;
cleanup:
    return status;
}

kStatus kTestSquare_Construct(kTestSquare* square, k64f side, kAlloc allocator)
{
    kAlloc alloc = kAlloc_Fallback(allocator);
    kTestSquareClass* obj = kNULL;
    kStatus status;
    if (!kSuccess(status = kAlloc_GetObject(alloc, kTypeOf(kTestSquare), &obj))) return status;
    if (!kSuccess(status = xkTestSquare_Init(obj, kTypeOf(kTestSquare), side, alloc)))
    {
        kAlloc_FreeRef(alloc, &obj);
        return status;
    }
    *square = obj;
    return kOK;
}

k64f kTestShape_Area(kTestShape shape) { return kVTableOf<kTestShapeVTable>(shape)->VArea(shape); }
kStatus kTestShape_Scale(kTestShape shape, k64f f) { return kVTableOf<kTestShapeVTable>(shape)->VScale(shape, f); }

static kStatus xkTestRefuser_VInitClone(kObject, kObject, kAlloc) { return kSTATUS_NOT_IMPLEMENTED; }

kStatus xxkTestShape_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddClass(kTestShape, kObject));
    kCheck(xkType_AddFlags(kTypeOf(kTestShape), kTYPE_FLAGS_ABSTRACT));
    kCheck(kAddVMethod(kTestShape, VRelease));
    kCheck(kAddVMethod(kTestShape, VSize));
    kCheck(kAddVMethod(kTestShape, VArea));
    kCheck(kAddVMethod(kTestShape, VScale));
    return kOK;
}

kStatus xxkTestSquare_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddClass(kTestSquare, kTestShape));
    kCheck(kAddVMethod(kTestSquare, VInitClone));
    kCheck(kAddVMethod(kTestSquare, VArea));
    return kOK;
}

kStatus xxkTestRefuser_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddClass(kTestRefuser, kObject));
    return kAddVMethod(kTestRefuser, VInitClone);
}

static kAssembly s_assembly = kNULL;
static int s_staticInits = 0, s_staticReleases = 0;
static kStatus InitStatic() { ++s_staticInits; return kOK; }
static kStatus ReleaseStatic() { ++s_staticReleases; return kOK; }
kStatus xxkTestStatic_Register(kAssembly assembly, const kChar* name)
{
    static kType handle;
    kCheck(xkAssembly_AddValue(assembly, &handle, name, kNULL, "kValue", 4, kVALUE_FLAGS_STRUCT));
    return xkType_AddStatic(handle, 16, InitStatic, ReleaseStatic);
}

/* Derived before base, on purpose: bases resolve at finalisation. */
static kStatus BuildAssembly(kAssembly* assembly)
{
    kVersion version;
    kCheck(kVersion_Parse(&version, "1.2.3.4"));
    kCheck(xkAssembly_ConstructInternal(assembly, &s_assembly, "kTestObjects", version, version));
    kStatus status;
    kTest(xkAssembly_AddDependency(*assembly, kBasisLib_Construct));
    kTest(xkAssembly_AddType(*assembly, xxkTestSquare_Register, "kTestSquare"));
    kTest(xkAssembly_AddType(*assembly, xxkTestShape_Register, "kTestShape"));
    kTest(xkAssembly_AddType(*assembly, xxkTestRefuser_Register, "kTestRefuser"));
    kTest(xkAssembly_AddType(*assembly, xxkTestStatic_Register, "kTestStatic"));
    kTest(xkAssembly_Finalize(*assembly));
    return kOK;
cleanup:
    xkAssembly_VRelease(*assembly);
    *assembly = kNULL;
    return status;
}

class ObjectModel : public ::testing::Test
{
protected:
    void SetUp() override { ASSERT_EQ(BuildAssembly(&m_assembly), kOK); }
    void TearDown() override { EXPECT_EQ(kObject_Destroy(m_assembly), kOK); }
    kAssembly m_assembly = kNULL;
};

TEST_F(ObjectModel, DerivedRegisteredBeforeBaseDispatchesAndFallsBack)
{
    ASSERT_NE(kTypeOf(kTestSquare), kNULL);
    EXPECT_EQ(kType_Base(kTypeOf(kTestSquare)), kTypeOf(kTestShape));
    EXPECT_TRUE(kType_Extends(kTypeOf(kTestSquare), kTypeOf(kObject)));
    EXPECT_FALSE(kType_Extends(kTypeOf(kTestShape), kTypeOf(kTestSquare)));
    EXPECT_EQ(kType_VMethodCount(kTypeOf(kTestSquare)), 10u);
    EXPECT_EQ(kType_Flags(kTypeOf(kTestShape)), (k32u)kTYPE_FLAGS_ABSTRACT);

    ktest::CountingAlloc alloc;
    kTestSquare square = kNULL;
    ASSERT_EQ(kTestSquare_Construct(&square, 3.0, alloc), kOK);
    EXPECT_EQ(kTestShape_Area(square), 9.0);                          // own override
    EXPECT_EQ(kTestShape_Scale(square, 2.0), kSTATUS_NOT_IMPLEMENTED); // base's slot
    EXPECT_EQ(kObject_Size(square), sizeof(kTestSquareClass) + kObject_Size(kCastRaw(kTestSquare, square)->base.label));
    EXPECT_EQ(kType_OverrideCount(kTypeOf(kTestSquare)), 2u);
    EXPECT_STREQ(kType_OverrideNameAt(kTypeOf(kTestSquare), 1), "VArea");
    EXPECT_EQ(kType_OverrideSlotAt(kTypeOf(kTestSquare), 1), 8u);
    EXPECT_EQ(kObject_Destroy(square), kOK);
}

TEST_F(ObjectModel, ReferenceCountingReleasesAtLastReference)
{
    ktest::CountingAlloc alloc;
    kTestSquare square = kNULL;
    ASSERT_EQ(kTestSquare_Construct(&square, 1.0, alloc), kOK);
    EXPECT_EQ(kObject_Share(square), kOK);
    EXPECT_EQ(kObject_RefCount(square), 2);
    EXPECT_EQ(kObject_Destroy(square), kOK);
    EXPECT_GT(alloc.Outstanding(), 0u);
    EXPECT_EQ(kObject_Destroy(square), kOK);
    EXPECT_EQ(alloc.Outstanding(), 0u);
    EXPECT_EQ(kObject_Destroy(kNULL), kOK);
    kObject none = kNULL;
    EXPECT_EQ(kDestroyRef(&none), kOK);
}

TEST_F(ObjectModel, CloneIsDeepThroughVInitClone)
{
    ktest::CountingAlloc alloc;
    kTestSquare square = kNULL, copy = kNULL;
    ASSERT_EQ(kTestSquare_Construct(&square, 2.5, alloc), kOK);
    ASSERT_EQ(kObject_Clone(&copy, square, alloc), kOK);
    EXPECT_NE(copy, square);
    EXPECT_EQ(kObject_Type(copy), kTypeOf(kTestSquare));
    EXPECT_EQ(kTestShape_Area(copy), 6.25);
    kMemory a = kCastRaw(kTestSquare, square)->base.label, b = kCastRaw(kTestSquare, copy)->base.label;
    EXPECT_NE(a, b);
    EXPECT_STREQ((const char*)kMemory_At(b, 0), "square");
    EXPECT_EQ(kObject_Destroy(square), kOK);
    EXPECT_EQ(kObject_Destroy(copy), kOK);
}

TEST_F(ObjectModel, RefusedCloneLeavesNoObject)
{
    ktest::CountingAlloc alloc;
    kTestRefuserClass* obj = kNULL;
    ASSERT_EQ(kAlloc_GetObject(alloc, kTypeOf(kTestRefuser), &obj), kOK);
    ASSERT_EQ(kObject_Init(obj, kTypeOf(kTestRefuser), alloc), kOK);
    kObject copy = reinterpret_cast<kObject>(0x1);
    EXPECT_EQ(kObject_Clone(&copy, obj, alloc), kSTATUS_NOT_IMPLEMENTED);
    EXPECT_EQ(copy, kNULL);
    EXPECT_EQ(alloc.Outstanding(), 1u);  // the source only
    EXPECT_EQ(kObject_Destroy(obj), kOK);
}

TEST_F(ObjectModel, InitFailureAtEveryAllocationLeavesNothing)
{
    kSize steps = ktest::ExpectCleanFailures([](kAlloc alloc, kObject* out) {
        return kTestSquare_Construct(out, 1.0, alloc);
    });
    EXPECT_EQ(steps, 3u);  // instance, label object, label bytes
    ktest::CountingAlloc alloc;
    kTestSquare square = kNULL;
    ASSERT_EQ(kTestSquare_Construct(&square, 4.0, alloc), kOK);
    kSize cloneSteps = ktest::ExpectCleanFailures([&](kAlloc a, kObject* out) { return kObject_Clone(out, square, a); });
    EXPECT_GE(cloneSteps, 3u);
    kObject_Destroy(square);
}

TEST_F(ObjectModel, CastFailureIsReported)
{
    ktest::CastFailCapture capture;
    ktest::CountingAlloc alloc;
    kMemory memory = kNULL;
    ASSERT_EQ(kMemory_Construct(&memory, alloc), kOK);
    EXPECT_EQ(xxkTestSquare_Cast(memory, "here.cpp", 7), nullptr);
    EXPECT_EQ(capture.Count(), 1);
    EXPECT_EQ(capture.LastFile(), "here.cpp");
    EXPECT_EQ(kMemory_Allocate(alloc.get(), 4), kSTATUS_BAD_PARAMETER);  // an allocator is no kMemory
    EXPECT_EQ(capture.Count(), 2);
    kObject_Destroy(memory);
}

TEST(Assembly, StaticStateAndHandlesFollowTheAssemblyLifetime)
{
    s_staticInits = s_staticReleases = 0;
    kAssembly assembly = kNULL;
    ASSERT_EQ(BuildAssembly(&assembly), kOK);
    EXPECT_EQ(s_assembly, assembly);
    EXPECT_EQ(s_staticInits, 1);
    kType found = kNULL;
    ASSERT_EQ(kAssembly_FindType(assembly, "kTestStatic", &found), kOK);
    EXPECT_NE(kType_Static(found), nullptr);
    EXPECT_EQ(kType_FindByName("kTestSquare"), kTypeOf(kTestSquare));
    EXPECT_EQ(kAssembly_DependencyCount(assembly), 1u);
    EXPECT_STREQ(kAssembly_Name(kAssembly_DependencyAt(assembly, 0)), "kBasis");

    EXPECT_EQ(kObject_Destroy(assembly), kOK);
    EXPECT_EQ(s_staticReleases, 1);
    EXPECT_EQ(kTypeOf(kTestSquare), kNULL);
    EXPECT_EQ(kType_FindByName("kTestSquare"), kNULL);
    EXPECT_EQ(s_assembly, kNULL);
    EXPECT_NE(kTypeOf(k8u), kNULL);  // the foundation lives on
}

TEST(Assembly, FailingRegistrationLeavesNothing)
{
    for (kSize n : {1u, 2u, 4u})
    {
        s_staticInits = s_staticReleases = 0;
        xkAssembly_SetRegistrationFault(n, kSTATUS_NO_SOLUTION);
        kAssembly assembly = kNULL;
        EXPECT_EQ(BuildAssembly(&assembly), kSTATUS_NO_SOLUTION);
        EXPECT_EQ(assembly, kNULL);
        EXPECT_EQ(s_assembly, kNULL);
        EXPECT_EQ(kTypeOf(kTestSquare), kNULL);
        EXPECT_EQ(kType_FindByName("kTestShape"), kNULL);
        EXPECT_EQ(s_staticInits, 0);
    }
}

TEST(Assembly, DuplicateNameIsRefused)
{
    kAssembly first = kNULL;
    ASSERT_EQ(BuildAssembly(&first), kOK);
    kAssembly second = kNULL, staticHandle = kNULL;
    ASSERT_EQ(xkAssembly_ConstructInternal(&second, &staticHandle, "kAgain", 0, 0), kOK);
    ASSERT_EQ(xkAssembly_AddType(second, xxkTestRefuser_Register, "kTestRefuser"), kOK);
    EXPECT_EQ(xkAssembly_Finalize(second), kSTATUS_DUPLICATE);
    EXPECT_EQ(xkAssembly_VRelease(second), kOK);
    EXPECT_EQ(kType_FindByName("kTestRefuser"), kTypeOf(kTestRefuser));  // the first is untouched
    EXPECT_EQ(kObject_Destroy(first), kOK);
}

TEST(Version, ParsesDottedTextStrictly)
{
    kVersion v = 0;
    ASSERT_EQ(kVersion_Parse(&v, "10.6.1.30"), kOK);
    EXPECT_EQ(v, kVersion_Create(10, 6, 1, 30));
    char text[32];
    ASSERT_EQ(kVersion_Format(v, text, sizeof(text)), kOK);
    EXPECT_STREQ(text, "10.6.1.30");
    for (const char* bad : {"", "1.2.3", "1.2.3.4.5", "1.2.3.256", "1..2.3", "a.b.c.d", "1.2.3.4 "})
        EXPECT_EQ(kVersion_Parse(&v, bad), kSTATUS_BAD_PARAMETER) << bad;
}

TEST(Values, FoundationTypesDescribeTheirLayout)
{
    EXPECT_EQ(kType_Size(kTypeOf(k8u)), 1u);
    EXPECT_EQ(kType_Size(kTypeOf(k64f)), 8u);
    EXPECT_EQ(kType_Size(kTypeOf(kPoint3d16s)), 6u);
    EXPECT_EQ(kType_Size(kTypeOf(kRect3d64f)), 48u);
    ASSERT_EQ(kType_FieldCount(kTypeOf(kPoint3d64f)), 3u);
    EXPECT_STREQ(kType_FieldAt(kTypeOf(kPoint3d64f), 2)->name, "z");
    EXPECT_EQ(kType_FieldAt(kTypeOf(kPoint3d64f), 2)->offset, 16u);
    EXPECT_EQ(kType_FieldAt(kTypeOf(kPoint3d64f), 2)->type, kTypeOf(k64f));
    EXPECT_EQ(kType_Size(kTypeOf(kMemory)), sizeof(kObject));  // classes are held by handle
    kType bytes = kBytes_GetType(12);
    EXPECT_EQ(kType_Size(bytes), 12u);
    EXPECT_EQ(kBytes_GetType(12), bytes);
    EXPECT_STREQ(kStatus_Name(kSTATUS_BAD_PARAMETER), "kSTATUS_BAD_PARAMETER");
    EXPECT_TRUE(kSuccess(kOK));
    EXPECT_TRUE(kIsError(kSTATUS_FAILED));
}

TEST(Alloc, CountingAllocatorCountsAndFails)
{
    ktest::CountingAlloc alloc;
    void* a = nullptr;
    void* b = nullptr;
    ASSERT_EQ(kAlloc_Get(alloc, 100, &a), kOK);
    ASSERT_EQ(kAlloc_GetZero(alloc, 28, &b), kOK);
    EXPECT_EQ(alloc.Allocated(), 128u);
    EXPECT_EQ(static_cast<k8u*>(b)[27], 0);
    kCountingAlloc_SetFailAfter(alloc, 0);
    void* c = nullptr;
    EXPECT_EQ(kAlloc_Get(alloc, 1, &c), kSTATUS_MEMORY);
    EXPECT_EQ(kCountingAlloc_Refused(alloc), 1u);
    EXPECT_EQ(kAlloc_FreeRef(alloc, &a), kOK);
    EXPECT_EQ(a, nullptr);
    EXPECT_EQ(kAlloc_Free(alloc, b), kOK);
    EXPECT_EQ(kCountingAlloc_Peak(alloc.get()), 128u);
    EXPECT_EQ(kAlloc_Fallback(kNULL), kAlloc_App());
    EXPECT_EQ(kObject_Type(kAlloc_App()), kTypeOf(kAlloc));
}
