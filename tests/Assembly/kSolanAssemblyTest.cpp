// The library's assembly: one shared build, registration in manifest order, clean failure at any
// registration, teardown at the last reference, and the class-model contract of its types.
#include "kManifest.h"

#include <kSolan/kSolan.h>
#include <kSolan/L3d/kL3dSpotsBlock.h>
#include <kBasis/kType.x.h>

#include <atomic>
#include <cstdlib>
#include <new>

#include <set>
#include <utility>

// Live C++ heap blocks of the whole process (type records, name registry, assembly state all
// come from operator new): a failed build must leave the count where it found it.
static std::atomic<long> s_liveBlocks{0};

void* operator new(std::size_t size)
{
    void* p = std::malloc(size ? size : 1);
    if (!p) throw std::bad_alloc();
    s_liveBlocks.fetch_add(1, std::memory_order_relaxed);
    return p;
}

void operator delete(void* p) noexcept
{
    if (!p) return;
    s_liveBlocks.fetch_sub(1, std::memory_order_relaxed);
    std::free(p);
}

void operator delete(void* p, std::size_t) noexcept { operator delete(p); }

using ktest::BuiltRegisteredRows;
using ktest::Manifest;
using ktest::ManifestKind;
using ktest::ManifestRow;

namespace
{
/* Names of the manifest that resolve right now. */
std::vector<std::string> LiveNames()
{
    std::vector<std::string> live;
    for (const ManifestRow& row : Manifest())
        if (kType_FindByName(row.name)) live.push_back(row.name);
    return live;
}

k32s RefCountOf(kAssemblyConstructFx construct)
{
    kAssembly assembly = kNULL;
    if (!kSuccess(construct(&assembly))) return -1;
    k32s count = kObject_RefCount(assembly) - 1;
    kObject_Destroy(assembly);
    return count;
}

/* Static release operations are observed through probes put in their place in the type
   records; each probe counts its call and runs the operation it replaced. */
constexpr int kMaxProbes = 4;
kStaticReleaseFx s_released[kMaxProbes];
int s_releaseCalls[kMaxProbes];
template <int I>
kStatus Probe()
{
    ++s_releaseCalls[I];
    return s_released[I]();
}
const kStaticReleaseFx s_probes[kMaxProbes] = {Probe<0>, Probe<1>, Probe<2>, Probe<3>};
} // namespace

/* A library class with the plain (object, allocator) constructor; weak so that this suite
   builds before the class does. */
extern "C" __attribute__((weak)) kStatus kSparseMatrix_Construct(kObject* matrix, kAlloc allocator);

TEST(Assembly, ManifestHas217RowsInOrderAndFourUnregistered)
{
    const std::vector<ManifestRow>& rows = Manifest();
    ASSERT_EQ(rows.size(), 221u);
    std::set<std::string> names;
    for (kSize i = 0; i < rows.size(); ++i)
    {
        EXPECT_EQ(rows[i].number, i < 217 ? (int)i + 1 : 0) << rows[i].name;
        EXPECT_TRUE(names.insert(rows[i].name).second) << "duplicate " << rows[i].name;
        EXPECT_TRUE(rows[i].subsystem >= 1 && rows[i].subsystem <= 9) << rows[i].name;
    }
    EXPECT_STREQ(rows[0].name, "kBlob");
    EXPECT_STREQ(rows[216].name, "kS3dStereoModelTempComp");
    EXPECT_EQ(rows[212].kind, ManifestKind::VALUE); // a value whose base is kObject: intended
    EXPECT_STREQ(rows[212].base, "kObject");
}

TEST(Assembly, SecondConstructionSharesTheFirstAndRegistersNothing)
{
    EXPECT_EQ(kSolan_Construct(nullptr), kSTATUS_BAD_PARAMETER);

    kAssembly first = kNULL, second = kNULL;
    ASSERT_EQ(kSolan_Construct(&first), kOK);
    EXPECT_STREQ(kAssembly_Name(first), "kSolan");
    EXPECT_EQ(kAssembly_Version(first), kVersion_Create(10, 6, 1, 30));
    EXPECT_EQ(kAssembly_PlatformVersion(first), kVersion_Create(10, 6, 1, 30));
    ASSERT_EQ(kAssembly_DependencyCount(first), 2u);
    EXPECT_STREQ(kAssembly_Name(kAssembly_DependencyAt(first, 0)), "kBasis");
    EXPECT_STREQ(kAssembly_Name(kAssembly_DependencyAt(first, 1)), "kTessel");
    std::vector<kType> types;
    for (kSize i = 0; i < kAssembly_TypeCount(first); ++i)
        types.push_back(kAssembly_TypeAt(first, i));

    ASSERT_EQ(kSolan_Construct(&second), kOK);
    EXPECT_EQ(second, first);
    EXPECT_EQ(kObject_RefCount(first), 2);
    ASSERT_EQ(kAssembly_TypeCount(first), types.size());
    for (kSize i = 0; i < types.size(); ++i)
        EXPECT_EQ(kAssembly_TypeAt(first, i), types[i]);

    EXPECT_EQ(kObject_Destroy(second), kOK);
    EXPECT_EQ(kType_FindByName("kL3dSpotType"), kTypeOf(kL3dSpotType));
    EXPECT_EQ(kObject_Destroy(first), kOK);
    EXPECT_EQ(LiveNames(), std::vector<std::string>());
    EXPECT_EQ(kTypeOf(kL3dSpotType), kNULL);
}

TEST(Assembly, EveryRegisteredTypeMatchesItsManifestRow)
{
    std::vector<const ManifestRow*> rows = BuiltRegisteredRows();
    kAssembly assembly = kNULL;
    ASSERT_EQ(kSolan_Construct(&assembly), kOK);
    ASSERT_EQ(kAssembly_TypeCount(assembly), rows.size());
    for (kSize i = 0; i < rows.size(); ++i)
    {
        kType type = kAssembly_TypeAt(assembly, i);
        ktest::ExpectTypeMatchesRow(type, *rows[i]);
        EXPECT_EQ(kType_Assembly(type), assembly);
        EXPECT_EQ(kType_FindByName(rows[i]->name), type);
    }
    RecordProperty("RegisteredTypes", (int)rows.size());
    EXPECT_EQ(kObject_Destroy(assembly), kOK);

    // A type that is built (its static handle is exported) is found by the entry: its
    // registration operation has the exported C name that the manifest expands to.
    for (const ManifestRow& row : Manifest())
    {
        if (ktest::FindSymbol(std::string("xx") + row.name + "_type"))
        {
            EXPECT_TRUE(ktest::IsBuilt(row)) << row.name;
        }
    }
}

TEST(Assembly, LastReferenceRunsStaticReleaseAndForgetsEveryName)
{
    kAssembly assembly = kNULL;
    ASSERT_EQ(kSolan_Construct(&assembly), kOK);
    int probes = 0;
    for (kSize i = 0; i < kAssembly_TypeCount(assembly); ++i)
    {
        kType type = kAssembly_TypeAt(assembly, i);
        if (!type->staticRelease) continue;
        ASSERT_LT(probes, kMaxProbes);
        s_released[probes] = type->staticRelease;
        s_releaseCalls[probes] = 0;
        type->staticRelease = s_probes[probes++];
    }
    ASSERT_EQ(kObject_Share(assembly), kOK);
    EXPECT_EQ(kObject_Destroy(assembly), kOK);
    for (int i = 0; i < probes; ++i)
        EXPECT_EQ(s_releaseCalls[i], 0) << "released before the last reference";
    EXPECT_FALSE(LiveNames().empty());

    EXPECT_EQ(kObject_Destroy(assembly), kOK);
    for (int i = 0; i < probes; ++i)
        EXPECT_EQ(s_releaseCalls[i], 1);
    EXPECT_EQ(LiveNames(), std::vector<std::string>());
    EXPECT_EQ(kTypeOf(kL3dSpotsBlockPort), kNULL);
    if (probes == 0) GTEST_SKIP() << "no type with static state is built yet";
}

TEST(Assembly, FailingRegistrationLeavesNoAssemblyAndNothingAllocated)
{
    const kSize count = BuiltRegisteredRows().size();
    ASSERT_GE(count, 1u);
    const k32s basisRefs = RefCountOf(kBasisLib_Construct),
               tesselRefs = RefCountOf(kTesselLib_Construct);

    // Warm-up: first-use allocations of the process (log, registry, item types made on first
    // use by registrations) stay out of the count.
    kAssembly assembly = kNULL;
    ASSERT_EQ(kSolan_Construct(&assembly), kOK);
    ASSERT_EQ(kObject_Destroy(assembly), kOK);
    assembly = kNULL;
    xkAssembly_SetRegistrationFault(1, kSTATUS_FAILED);
    ASSERT_EQ(kSolan_Construct(&assembly), kSTATUS_FAILED);

    const std::pair<kSize, kStatus> faults[] = {
        {1, kSTATUS_NO_SOLUTION}, {(count + 1) / 2, kSTATUS_MEMORY}, {count, kSTATUS_CONFLICT}};
    for (const auto& [n, status] : faults)
    {
        // One faulted build first, so that anything made once on first use stays out of the count.
        xkAssembly_SetRegistrationFault(n, status);
        kSolan_Construct(&assembly);
        const long before = s_liveBlocks.load();
        kStatus result = kOK;
        for (int repeat = 0; repeat < 3; ++repeat)
        {
            xkAssembly_SetRegistrationFault(n, status);
            result = kSolan_Construct(&assembly);
        }
        const long after = s_liveBlocks.load();

        SCOPED_TRACE("registration " + std::to_string(n) + " of " + std::to_string(count));
        EXPECT_EQ(result, status);
        EXPECT_EQ(assembly, kNULL);
        EXPECT_EQ(after, before) << "heap blocks left allocated";
        EXPECT_EQ(LiveNames(), std::vector<std::string>());
        EXPECT_EQ(kTypeOf(kL3dSpotType), kNULL);
        EXPECT_EQ(RefCountOf(kBasisLib_Construct), basisRefs);
        EXPECT_EQ(RefCountOf(kTesselLib_Construct), tesselRefs);
    }

    // A name already taken makes that registration fail; its status comes back unchanged.
    kAssembly other = kNULL, otherHandle = kNULL;
    ASSERT_EQ(xkAssembly_ConstructInternal(&other, &otherHandle, "kOther", 0, 0), kOK);
    ASSERT_EQ(xkAssembly_AddType(other, xxkL3dSpotType_Register, "kL3dSpotType"), kOK);
    ASSERT_EQ(xkAssembly_Finalize(other), kOK);
    {
        ktest::LogCapture log;
        EXPECT_EQ(kSolan_Construct(&assembly), kSTATUS_DUPLICATE);
        EXPECT_TRUE(log.Contains("kL3dSpotType"));
    }
    EXPECT_EQ(assembly, kNULL);
    EXPECT_EQ(kType_FindByName("kL3dSpotsBlockPort"), kNULL);
    EXPECT_EQ(kObject_Destroy(other), kOK);

    // Nothing of the failed builds lingers: the next construction builds afresh.
    ASSERT_EQ(kSolan_Construct(&assembly), kOK);
    EXPECT_EQ(kAssembly_TypeCount(assembly), count);
    EXPECT_EQ(kObject_RefCount(assembly), 1);
    EXPECT_EQ(kObject_Destroy(assembly), kOK);
}

TEST(Assembly, UnregisteredTypesStayUnknownByName)
{
    std::vector<const ManifestRow*> unregistered;
    for (const ManifestRow& row : Manifest())
        if (row.number == 0) unregistered.push_back(&row);
    ASSERT_EQ(unregistered.size(), 4u);

    kAssembly assembly = kNULL;
    ASSERT_EQ(kSolan_Construct(&assembly), kOK);
    for (const ManifestRow* row : unregistered)
    {
        SCOPED_TRACE(row->name);
        ASSERT_TRUE(ktest::IsBuilt(*row)) << "its registration operation exists";
        EXPECT_EQ(kType_FindByName(row->name), kNULL);
        kType found = kNULL;
        EXPECT_EQ(kAssembly_FindType(assembly, row->name, &found), kSTATUS_NOT_FOUND);
        auto* handle =
            static_cast<kType*>(ktest::FindSymbol(std::string("xx") + row->name + "_type"));
        ASSERT_NE(handle, nullptr);
        EXPECT_EQ(*handle, kNULL);
    }
    EXPECT_EQ(kObject_Destroy(assembly), kOK);

    // Their registration operations declare what their rows say, in an assembly of their own.
    kAssembly scratch = kNULL, scratchHandle = kNULL;
    ASSERT_EQ(xkAssembly_ConstructInternal(&scratch, &scratchHandle, "kScratch", 0, 0), kOK);
    ASSERT_EQ(xkAssembly_AddDependency(scratch, kBasisLib_Construct), kOK);
    for (const ManifestRow* row : unregistered)
    {
        auto registration = reinterpret_cast<kTypeRegisterFx>(
            ktest::FindSymbol(std::string("xx") + row->name + "_Register"));
        ASSERT_EQ(xkAssembly_AddType(scratch, registration, row->name), kOK);
    }
    ASSERT_EQ(xkAssembly_Finalize(scratch), kOK);
    for (kSize i = 0; i < unregistered.size(); ++i)
        ktest::ExpectTypeMatchesRow(kAssembly_TypeAt(scratch, i), *unregistered[i]);
    EXPECT_EQ(kObject_Destroy(scratch), kOK);
    for (const ManifestRow* row : unregistered)
        EXPECT_EQ(kType_FindByName(row->name), kNULL);
}

TEST(Assembly, RefusedClonesReturnNotImplementedAndLeaveNoObject)
{
    // The only classes that implement a real deep copy; every other VInitClone refuses.
    const std::set<std::string> deepCopies = {
        "kBlob",       "kPolynomial",      "kPolynomial2",
        "kVsModelDef", "kVsModelDefStore", "kVsXmlConfigParser"};
    kAssembly assembly = kNULL;
    ASSERT_EQ(kSolan_Construct(&assembly), kOK);
    int refusers = 0;
    for (const ManifestRow* row : BuiltRegisteredRows())
    {
        bool initClone = false;
        for (const std::string& slot : row->overrides)
            initClone |= slot == "VInitClone";
        if (row->kind != ManifestKind::CLASS || !initClone || deepCopies.count(row->name)) continue;

        SCOPED_TRACE(row->name);
        ++refusers;
        kType type = kType_FindByName(row->name);
        ktest::CountingAlloc alloc;
        kObject source = kNULL;
        ASSERT_EQ(kAlloc_GetObject(alloc, type, &source), kOK);
        ASSERT_EQ(kObject_Init(source, type, alloc), kOK);
        kObject copy = reinterpret_cast<kObject>(0x1);
        EXPECT_EQ(kObject_Clone(&copy, source, alloc), kSTATUS_NOT_IMPLEMENTED);
        EXPECT_EQ(copy, kNULL);
        EXPECT_EQ(alloc.Outstanding(), 1u); // the source alone
        // The source's fields were never initialised by its class: free it without VRelease.
        EXPECT_EQ(kAlloc_Free(alloc, source), kOK);
    }
    EXPECT_EQ(kObject_Destroy(assembly), kOK);
    RecordProperty("RefusingClasses", refusers);
    if (refusers == 0) GTEST_SKIP() << "no class that refuses cloning is built yet";
}

TEST(Assembly, NullAllocatorMeansTheApplicationAllocator)
{
    if (!kSparseMatrix_Construct) GTEST_SKIP() << "kSparseMatrix is not built yet";
    kAssembly assembly = kNULL;
    ASSERT_EQ(kSolan_Construct(&assembly), kOK);
    kObject matrix = kNULL;
    ASSERT_EQ(kSparseMatrix_Construct(&matrix, kNULL), kOK);
    EXPECT_EQ(kObject_Type(matrix), kType_FindByName("kSparseMatrix"));
    EXPECT_EQ(kObject_Alloc(matrix), kAlloc_App());
    EXPECT_EQ(kObject_Destroy(matrix), kOK);

    ktest::CountingAlloc alloc;
    ASSERT_EQ(kSparseMatrix_Construct(&matrix, alloc), kOK);
    EXPECT_EQ(kObject_Alloc(matrix), alloc.get());
    EXPECT_EQ(kObject_Destroy(matrix), kOK);
    EXPECT_EQ(kObject_Destroy(assembly), kOK);
}
