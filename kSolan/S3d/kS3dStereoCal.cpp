#include <kSolan/S3d/kS3dStereoCal.h>
#include <kSolan/L3d/kL3dDataFile.h>

#include <cmath>

struct kS3dStereoCalClass
{
    kS3dStereoCalParams parameters;
    k32u id;
    kString timestamp;
    k64f temperature;
    kBool invertX[2];
    kBool invertY[2];
    kBool transpose[2];
    kArray2 projectionX0; // k32s, [ProjectionYCount][ProjectionXCount]
    kArray2 projectionY0;
    kArray2 projectionX1;
    kArray2 projectionY1;
    kArray2 disparityMap; // kPoint32s, [DisparityYCount][DisparityXCount]
    kArray1 disparityToX; // k32f, DisparityCount
    kArray1 disparityToY;
    kArray1 disparityToZ;
    kArray2 phaseMap0; // kPoint32s, [PhaseYCount][PhaseXCount]
    kArray1 phaseToX0; // k32f, PhaseCount0
    kArray1 phaseToY0;
    kArray1 phaseToZ0;
    kArray2 phaseMap1;
    kArray1 phaseToX1; // k32f, PhaseCount1
    kArray1 phaseToY1;
    kArray1 phaseToZ1;
    kAlloc alloc; // allocator of the record and everything it holds; kept across Release
};

namespace
{
/* The sixteen arrays in file order, with the shape each must have. */
struct ArraySlot
{
    const kChar* key;
    kObject kS3dStereoCalClass::*field;
    bool twoD;
    kType (*itemType)();
    k32u kS3dStereoCalParams::*length0; // rows (kArray2) or length (kArray1)
    k32u kS3dStereoCalParams::*length1; // columns (kArray2 only)
};

kType Type32s() { return kTypeOf(k32s); }
kType Type32f() { return kTypeOf(k32f); }
kType TypePoint32s() { return kTypeOf(kPoint32s); }

typedef kS3dStereoCalParams P;
typedef kS3dStereoCalClass C;
const ArraySlot kArrays[] = {
    {"ProjectionX0", &C::projectionX0, true, Type32s, &P::ProjectionYCount, &P::ProjectionXCount},
    {"ProjectionY0", &C::projectionY0, true, Type32s, &P::ProjectionYCount, &P::ProjectionXCount},
    {"ProjectionX1", &C::projectionX1, true, Type32s, &P::ProjectionYCount, &P::ProjectionXCount},
    {"ProjectionY1", &C::projectionY1, true, Type32s, &P::ProjectionYCount, &P::ProjectionXCount},
    {"DisparityMap", &C::disparityMap, true, TypePoint32s, &P::DisparityYCount,
     &P::DisparityXCount},
    {"DisparityToX", &C::disparityToX, false, Type32f, &P::DisparityCount, kNULL},
    {"DisparityToY", &C::disparityToY, false, Type32f, &P::DisparityCount, kNULL},
    {"DisparityToZ", &C::disparityToZ, false, Type32f, &P::DisparityCount, kNULL},
    {"PhaseMap0", &C::phaseMap0, true, TypePoint32s, &P::PhaseYCount, &P::PhaseXCount},
    {"PhaseToX0", &C::phaseToX0, false, Type32f, &P::PhaseCount0, kNULL},
    {"PhaseToY0", &C::phaseToY0, false, Type32f, &P::PhaseCount0, kNULL},
    {"PhaseToZ0", &C::phaseToZ0, false, Type32f, &P::PhaseCount0, kNULL},
    {"PhaseMap1", &C::phaseMap1, true, TypePoint32s, &P::PhaseYCount, &P::PhaseXCount},
    {"PhaseToX1", &C::phaseToX1, false, Type32f, &P::PhaseCount1, kNULL},
    {"PhaseToY1", &C::phaseToY1, false, Type32f, &P::PhaseCount1, kNULL},
    {"PhaseToZ1", &C::phaseToZ1, false, Type32f, &P::PhaseCount1, kNULL},
};

/* Required k32u and k32s attributes in file order (after ProjectionResolution). */
struct ScalarSlot
{
    const kChar* key;
    k32u P::*u;
    k32s P::*s;
};
const ScalarSlot kScalars[] = {
    {"Attributes\\ProjectionXCount", &P::ProjectionXCount, kNULL},
    {"Attributes\\ProjectionXStep", &P::ProjectionXStep, kNULL},
    {"Attributes\\ProjectionYCount", &P::ProjectionYCount, kNULL},
    {"Attributes\\ProjectionYStep", &P::ProjectionYStep, kNULL},
    {"Attributes\\DisparityXBegin", kNULL, &P::DisparityXBegin},
    {"Attributes\\DisparityXStep", &P::DisparityXStep, kNULL},
    {"Attributes\\DisparityXCount", &P::DisparityXCount, kNULL},
    {"Attributes\\DisparityYBegin", kNULL, &P::DisparityYBegin},
    {"Attributes\\DisparityYStep", &P::DisparityYStep, kNULL},
    {"Attributes\\DisparityYCount", &P::DisparityYCount, kNULL},
    {"Attributes\\DisparityDStep", &P::DisparityDStep, kNULL},
    {"Attributes\\DisparityCount", &P::DisparityCount, kNULL},
    {"Attributes\\PhaseXBegin", kNULL, &P::PhaseXBegin},
    {"Attributes\\PhaseXStep", &P::PhaseXStep, kNULL},
    {"Attributes\\PhaseXCount", &P::PhaseXCount, kNULL},
    {"Attributes\\PhaseYBegin", kNULL, &P::PhaseYBegin},
    {"Attributes\\PhaseYStep", &P::PhaseYStep, kNULL},
    {"Attributes\\PhaseYCount", &P::PhaseYCount, kNULL},
    {"Attributes\\PhasePStep", &P::PhasePStep, kNULL},
    {"Attributes\\PhaseCount0", &P::PhaseCount0, kNULL},
    {"Attributes\\PhaseCount1", &P::PhaseCount1, kNULL},
};

const kChar* const kFlagKeys[3][2] = {
    {"ViewInfo\\View0\\InvertX", "ViewInfo\\View1\\InvertX"},
    {"ViewInfo\\View0\\InvertY", "ViewInfo\\View1\\InvertY"},
    {"ViewInfo\\View0\\Transpose", "ViewInfo\\View1\\Transpose"},
};

kBool* FlagsOf(kS3dStereoCalClass* cal, kSize which)
{
    return which == 0 ? cal->invertX : which == 1 ? cal->invertY : cal->transpose;
}

kObject& ArrayOf(kS3dStereoCalClass* cal, const ArraySlot& slot) { return cal->*(slot.field); }

bool IsStep(k32u step) { return (step & (step - 1)) == 0; }

/* A value of 0 or a power of two for every step. */
bool StepsValid(const kS3dStereoCalParams& p)
{
    return IsStep(p.ProjectionXStep) && IsStep(p.ProjectionYStep) && IsStep(p.DisparityXStep) &&
           IsStep(p.DisparityYStep) && IsStep(p.DisparityDStep) && IsStep(p.PhaseXStep) &&
           IsStep(p.PhaseYStep) && IsStep(p.PhasePStep);
}

/*
 * Sparse-column map against its entry count: empty cells (k32S_NULL begin) have no entries,
 * no cell has a negative count, and the cells' counts add up to exactly the entries.
 */
kStatus CheckSparseMap(kArray2 map, k32u entryCount)
{
    const kPoint32s* cells = kArray2_DataT<kPoint32s>(map);
    const kSize count = kArray2_Count(map);
    k64s total = 0;
    for (kSize i = 0; i < count; ++i)
    {
        if (cells[i].y < 0) return kSTATUS_BAD_FORMAT;
        if (cells[i].x == k32S_NULL && cells[i].y != 0) return kSTATUS_BAD_FORMAT;
        if (cells[i].x != k32S_NULL) total += cells[i].y;
    }
    return total == (k64s)entryCount ? kOK : kSTATUS_INCOMPLETE;
}

kStatus CheckArray(kObject array, const ArraySlot& slot, const kS3dStereoCalParams& p)
{
    if (slot.twoD)
    {
        if (!kObject_Is(array, kTypeOf(kArray2))) return kSTATUS_BAD_FORMAT;
        if (kArray2_ItemType(array) != slot.itemType()) return kSTATUS_BAD_FORMAT;
        if (kArray2_Length(array, 0) != p.*(slot.length0) ||
            kArray2_Length(array, 1) != p.*(slot.length1))
            return kSTATUS_INCOMPLETE;
        return kOK;
    }
    if (!kObject_Is(array, kTypeOf(kArray1))) return kSTATUS_BAD_FORMAT;
    if (kArray1_ItemType(array) != slot.itemType()) return kSTATUS_BAD_FORMAT;
    return kArray1_Length(array) == p.*(slot.length0) ? kOK : kSTATUS_INCOMPLETE;
}

kStatus ReadOptional32u(kDataTree tree, kDataTreeItem item, const kChar* key, k32u* value,
                        k32u fallback)
{
    kStatus status = kDataTree_Child32u(tree, item, key, value);
    if (status == kSTATUS_NOT_FOUND)
    {
        *value = fallback;
        return kOK;
    }
    return status;
}

kStatus ReadTimestamp(kS3dStereoCalClass* cal, kDataTree tree, kDataTreeItem item)
{
    const kChar* key = "Attributes\\Timestamp";
    kObject data = kNULL;
    kStatus status = kDataTree_ChildData(tree, item, key, &data);
    if (kSuccess(status))
    {
        if (!kObject_Is(data, kTypeOf(kString))) return kSTATUS_BAD_FORMAT;
        return kString_Set(cal->timestamp, kString_Chars(data));
    }
    if (status != kSTATUS_BAD_FORMAT) return status;
    return kDataTree_ChildString(tree, item, key, cal->timestamp);
}

kStatus ReadRecord(kS3dStereoCalClass* cal, kDataTree tree, kDataTreeItem item)
{
    kS3dStereoCalParams& p = cal->parameters;
    k32u version = 0;
    kCheck(kDataTree_Child32u(tree, item, "Attributes\\Version", &version));
    kCheck(kDataTree_Child32u(tree, item, "Attributes\\Id", &cal->id));
    kCheck(kString_Construct(&cal->timestamp, "", cal->alloc));
    kCheck(ReadTimestamp(cal, tree, item));

    kStatus status = kDataTree_Child64f(tree, item, "Attributes\\Temperature", &cal->temperature);
    if (status == kSTATUS_NOT_FOUND)
        cal->temperature = 0;
    else
        kCheck(status);

    kCheck(kDataTree_Child64f(tree, item, "Attributes\\ProjectionResolution",
                              &p.ProjectionResolution));
    for (const ScalarSlot& slot : kScalars)
    {
        if (slot.u)
            kCheck(kDataTree_Child32u(tree, item, slot.key, &(p.*(slot.u))));
        else
            kCheck(kDataTree_Child32s(tree, item, slot.key, &(p.*(slot.s))));
    }
    kCheck(ReadOptional32u(tree, item, "Attributes\\PhasePeriod", &p.PhasePeriod, k32U_NULL));
    kCheck(ReadOptional32u(tree, item, "Attributes\\PhaseRepetitions", &p.PhaseRepetitions,
                           k32U_NULL));

    for (kSize view = 0; view < 2; ++view)
    {
        for (kSize which = 0; which < 3; ++which)
        {
            kBool* flag = &FlagsOf(cal, which)[view];
            status = kDataTree_ChildBool(tree, item, kFlagKeys[which][view], flag);
            if (status == kSTATUS_NOT_FOUND)
                *flag = kFALSE;
            else
                kCheck(status);
        }
    }

    for (const ArraySlot& slot : kArrays)
    {
        kObject data = kNULL;
        kCheck(kDataTree_ChildData(tree, item, slot.key, &data));
        kCheck(CheckArray(data, slot, p));
        kCheck(kObject_Clone(&ArrayOf(cal, slot), data, cal->alloc));
    }

    if (!StepsValid(p)) return kSTATUS_BAD_FORMAT;
    kCheck(CheckSparseMap(cal->disparityMap, p.DisparityCount));
    kCheck(CheckSparseMap(cal->phaseMap0, p.PhaseCount0));
    return CheckSparseMap(cal->phaseMap1, p.PhaseCount1);
}

kStatus WriteRecord(kS3dStereoCalClass* cal, kDataTree tree, kDataTreeItem item)
{
    const kS3dStereoCalParams& p = cal->parameters;
    kCheck(kDataTree_SetChild32u(tree, item, "Attributes\\Version", kS3D_STEREO_CAL_VERSION));
    kCheck(kDataTree_SetChild32u(tree, item, "Attributes\\Id", cal->id));
    kCheck(kDataTree_SetChildData(tree, item, "Attributes\\Timestamp", cal->timestamp));
    kCheck(kDataTree_SetChild64f(tree, item, "Attributes\\Temperature", cal->temperature));
    kCheck(kDataTree_SetChild64f(tree, item, "Attributes\\ProjectionResolution",
                                 p.ProjectionResolution));
    for (const ScalarSlot& slot : kScalars)
    {
        if (slot.u)
            kCheck(kDataTree_SetChild32u(tree, item, slot.key, p.*(slot.u)));
        else
            kCheck(kDataTree_SetChild32s(tree, item, slot.key, p.*(slot.s)));
    }
    kCheck(kDataTree_SetChild32u(tree, item, "Attributes\\PhasePeriod", p.PhasePeriod));
    kCheck(kDataTree_SetChild32u(tree, item, "Attributes\\PhaseRepetitions", p.PhaseRepetitions));
    for (kSize view = 0; view < 2; ++view)
        for (kSize which = 0; which < 3; ++which)
            kCheck(kDataTree_SetChildBool(tree, item, kFlagKeys[which][view],
                                          FlagsOf(cal, which)[view]));
    for (const ArraySlot& slot : kArrays)
        kCheck(kDataTree_SetChildData(tree, item, slot.key, ArrayOf(cal, slot)));
    return kOK;
}

/* A tree holding the record under a new root "StereoCal"; the caller owns it. */
kStatus BuildTree(kS3dStereoCalClass* cal, kDataTree* tree)
{
    kObjectGuard guard;
    kDataTreeItem root = kNULL;
    kCheck(kDataTree_Construct(&guard, cal->alloc));
    kCheck(kDataTree_Add(guard.get(), kNULL, kS3D_STEREO_CAL_ROOT, &root));
    kCheck(WriteRecord(cal, guard.get(), root));
    *tree = guard.release();
    return kOK;
}

/* Creates a record and reads it from a loaded object, which must be a data tree. */
kStatus FromLoaded(kS3dStereoCal* cal, kObject loaded, kAlloc allocator)
{
    if (!kObject_Is(loaded, kTypeOf(kDataTree))) return kSTATUS_BAD_FORMAT;
    kS3dStereoCal record = kNULL;
    kCheck(kS3dStereoCal_CreateEx(&record, allocator));
    kStatus status = kS3dStereoCal_Read(record, loaded, kNULL);
    if (!kSuccess(status))
    {
        kS3dStereoCal_Destroy(record);
        return status;
    }
    *cal = record;
    return kOK;
}
} // namespace

kFx(kStatus) kS3dStereoCal_Create(kS3dStereoCal* cal) { return kS3dStereoCal_CreateEx(cal, kNULL); }

kFx(kStatus) kS3dStereoCal_CreateEx(kS3dStereoCal* cal, kAlloc allocator)
{
    kCheckArgs(cal);
    kAlloc alloc = kAlloc_Fallback(allocator);
    kS3dStereoCalClass* record = kNULL;
    kCheck(kAlloc_GetZero(alloc, sizeof(kS3dStereoCalClass), &record));
    record->alloc = alloc;
    *cal = record;
    return kOK;
}

kFx(kStatus) kS3dStereoCal_Init(kS3dStereoCal cal, const kS3dStereoCalParams* params)
{
    kCheckArgs(cal && params);
    kCheck(kS3dStereoCal_Release(cal));
    cal->parameters = *params;
    kStatus status;
    kTest(kString_Construct(&cal->timestamp, "", cal->alloc));
    for (const ArraySlot& slot : kArrays)
    {
        kObject& array = ArrayOf(cal, slot);
        if (slot.twoD)
            kTest(kArray2_Construct(&array, slot.itemType(), params->*(slot.length0),
                                    params->*(slot.length1), cal->alloc));
        else
            kTest(kArray1_Construct(&array, slot.itemType(), params->*(slot.length0), cal->alloc));
    }
    return kOK;
cleanup:
    kS3dStereoCal_Release(cal);
    return status;
}

kFx(kStatus) kS3dStereoCal_Construct(kS3dStereoCal* cal, const kS3dStereoCalParams* params)
{
    return kS3dStereoCal_ConstructEx(cal, params, kNULL);
}

kFx(kStatus) kS3dStereoCal_ConstructEx(kS3dStereoCal* cal, const kS3dStereoCalParams* params,
                                       kAlloc allocator)
{
    kCheckArgs(cal && params);
    kS3dStereoCal record = kNULL;
    kCheck(kS3dStereoCal_CreateEx(&record, allocator));
    kStatus status = kS3dStereoCal_Init(record, params);
    if (!kSuccess(status))
    {
        kS3dStereoCal_Destroy(record);
        return status;
    }
    *cal = record;
    return kOK;
}

kFx(kStatus) kS3dStereoCal_Release(kS3dStereoCal cal)
{
    if (!cal) return kOK;
    kCheck(kDestroyRef(&cal->timestamp));
    for (const ArraySlot& slot : kArrays)
        kCheck(kDestroyRef(&ArrayOf(cal, slot)));
    kAlloc alloc = cal->alloc;
    kCheck(kMemZero(cal, sizeof(kS3dStereoCalClass)));
    cal->alloc = alloc;
    return kOK;
}

kFx(kStatus) kS3dStereoCal_Destroy(kS3dStereoCal cal)
{
    if (!cal) return kOK;
    kCheck(kS3dStereoCal_Release(cal));
    return kAlloc_Free(cal->alloc, cal);
}

kFx(kStatus) kS3dStereoCal_Load(kS3dStereoCal* cal, const kChar* fileName)
{
    return kS3dStereoCal_LoadEx(cal, fileName, kNULL);
}

kFx(kStatus) kS3dStereoCal_LoadEx(kS3dStereoCal* cal, const kChar* fileName, kAlloc allocator)
{
    kCheckArgs(cal && fileName);
    kObject loaded = kNULL;
    kCheck(kLoad5(&loaded, fileName, allocator));
    kStatus status = FromLoaded(cal, loaded, allocator);
    kObject_Dispose(loaded);
    return status;
}

kFx(kStatus) kS3dStereoCal_LoadFromNode(kS3dStereoCal* cal, kStorage node, const kChar* fileName)
{
    return kS3dStereoCal_LoadFromNodeEx(cal, node, fileName, kNULL);
}

kFx(kStatus) kS3dStereoCal_LoadFromNodeEx(kS3dStereoCal* cal, kStorage node, const kChar* fileName,
                                          kAlloc allocator)
{
    kCheckArgs(cal && fileName);
    kObject loaded = kNULL;
    kCheck(kL3dData_Load(&loaded, node, fileName, allocator));
    kStatus status = FromLoaded(cal, loaded, allocator);
    kObject_Dispose(loaded);
    return status;
}

kFx(kStatus) kS3dStereoCal_Store(kS3dStereoCal cal, const kChar* fileName)
{
    kCheckArgs(cal && cal->disparityMap && fileName);
    kObjectGuard tree;
    kCheck(BuildTree(cal, &tree));
    return kSave5(tree.get(), fileName);
}

kFx(kStatus) kS3dStereoCal_StoreToNode(kS3dStereoCal cal, kStorage node, const kChar* fileName)
{
    kCheckArgs(cal && cal->disparityMap && fileName);
    kObjectGuard tree;
    kCheck(BuildTree(cal, &tree));
    return kL3dData_Save(tree.get(), node, fileName);
}

kFx(kStatus) kS3dStereoCal_Read(kS3dStereoCal cal, kDataTree tree, kDataTreeItem item)
{
    kCheckArgs(cal);
    kCheck(kS3dStereoCal_Release(cal));
    const kDataTreeItem node = item ? item : kDataTree_Root(tree);
    if (!node) return kSTATUS_NOT_FOUND;
    kStatus status = ReadRecord(cal, tree, node);
    if (!kSuccess(status)) kS3dStereoCal_Release(cal);
    return status;
}

kFx(kStatus) kS3dStereoCal_Write(kS3dStereoCal cal, kDataTree tree, kDataTreeItem item)
{
    kCheckArgs(cal && cal->disparityMap);
    kDataTreeItem node = item ? item : kDataTree_Root(tree);
    kCheckArgs(node);
    return WriteRecord(cal, tree, node);
}

kFx(const kS3dStereoCalParams*) kS3dStereoCal_Parameters(kS3dStereoCal cal)
{
    return cal ? &cal->parameters : kNULL;
}

kFx(k32u) kS3dStereoCal_PhasePeriod(kS3dStereoCal cal) { return cal->parameters.PhasePeriod; }

kFx(k32u) kS3dStereoCal_PhaseRepetitions(kS3dStereoCal cal)
{
    return cal->parameters.PhaseRepetitions;
}

kFx(kStatus) kS3dStereoCal_SetId(kS3dStereoCal cal, k32u id)
{
    kCheckArgs(cal);
    cal->id = id;
    return kOK;
}

kFx(k32u) kS3dStereoCal_Id(kS3dStereoCal cal) { return cal->id; }

kFx(kStatus) kS3dStereoCal_SetTimestamp(kS3dStereoCal cal, const kChar* timestamp)
{
    kCheckArgs(cal && cal->timestamp && timestamp);
    return kString_Set(cal->timestamp, timestamp);
}

kFx(const kChar*) kS3dStereoCal_Timestamp(kS3dStereoCal cal)
{
    return cal->timestamp ? kString_Chars(cal->timestamp) : "";
}

kFx(kStatus) kS3dStereoCal_SetTemperature(kS3dStereoCal cal, k64f temperature)
{
    kCheckArgs(cal);
    cal->temperature = temperature;
    return kOK;
}

kFx(k64f) kS3dStereoCal_Temperature(kS3dStereoCal cal) { return cal->temperature; }

namespace
{
kStatus SetFlag(kS3dStereoCal cal, kSize which, kSize view, kBool value)
{
    kCheckArgs(cal && view < 2);
    FlagsOf(cal, which)[view] = value ? kTRUE : kFALSE;
    return kOK;
}

kBool Flag(kS3dStereoCal cal, kSize which, kSize view)
{
    return (cal && view < 2) ? FlagsOf(cal, which)[view] : kFALSE;
}
} // namespace

kFx(kStatus) kS3dStereoCal_SetInvertXAt(kS3dStereoCal cal, kSize view, kBool invert)
{
    return SetFlag(cal, 0, view, invert);
}
kFx(kBool) kS3dStereoCal_InvertXAt(kS3dStereoCal cal, kSize view) { return Flag(cal, 0, view); }
kFx(kStatus) kS3dStereoCal_SetInvertYAt(kS3dStereoCal cal, kSize view, kBool invert)
{
    return SetFlag(cal, 1, view, invert);
}
kFx(kBool) kS3dStereoCal_InvertYAt(kS3dStereoCal cal, kSize view) { return Flag(cal, 1, view); }
kFx(kStatus) kS3dStereoCal_SetTransposeAt(kS3dStereoCal cal, kSize view, kBool transpose)
{
    return SetFlag(cal, 2, view, transpose);
}
kFx(kBool) kS3dStereoCal_TransposeAt(kS3dStereoCal cal, kSize view) { return Flag(cal, 2, view); }
kFx(kStatus) kS3dStereoCal_SetInvertX0(kS3dStereoCal cal, kBool invert)
{
    return SetFlag(cal, 0, 0, invert);
}
kFx(kBool) kS3dStereoCal_InvertX0(kS3dStereoCal cal) { return Flag(cal, 0, 0); }
kFx(kStatus) kS3dStereoCal_SetInvertY0(kS3dStereoCal cal, kBool invert)
{
    return SetFlag(cal, 1, 0, invert);
}
kFx(kBool) kS3dStereoCal_InvertY0(kS3dStereoCal cal) { return Flag(cal, 1, 0); }
kFx(kStatus) kS3dStereoCal_SetInvertX1(kS3dStereoCal cal, kBool invert)
{
    return SetFlag(cal, 0, 1, invert);
}
kFx(kBool) kS3dStereoCal_InvertX1(kS3dStereoCal cal) { return Flag(cal, 0, 1); }
kFx(kStatus) kS3dStereoCal_SetInvertY1(kS3dStereoCal cal, kBool invert)
{
    return SetFlag(cal, 1, 1, invert);
}
kFx(kBool) kS3dStereoCal_InvertY1(kS3dStereoCal cal) { return Flag(cal, 1, 1); }

kFx(kArray2) kS3dStereoCal_ProjectionX0(kS3dStereoCal cal) { return cal->projectionX0; }
kFx(kArray2) kS3dStereoCal_ProjectionY0(kS3dStereoCal cal) { return cal->projectionY0; }
kFx(kArray2) kS3dStereoCal_ProjectionX1(kS3dStereoCal cal) { return cal->projectionX1; }
kFx(kArray2) kS3dStereoCal_ProjectionY1(kS3dStereoCal cal) { return cal->projectionY1; }
kFx(kArray2) kS3dStereoCal_DisparityMap(kS3dStereoCal cal) { return cal->disparityMap; }
kFx(kArray1) kS3dStereoCal_DisparityToX(kS3dStereoCal cal) { return cal->disparityToX; }
kFx(kArray1) kS3dStereoCal_DisparityToY(kS3dStereoCal cal) { return cal->disparityToY; }
kFx(kArray1) kS3dStereoCal_DisparityToZ(kS3dStereoCal cal) { return cal->disparityToZ; }
kFx(kArray2) kS3dStereoCal_PhaseMap0(kS3dStereoCal cal) { return cal->phaseMap0; }
kFx(kArray1) kS3dStereoCal_PhaseToX0(kS3dStereoCal cal) { return cal->phaseToX0; }
kFx(kArray1) kS3dStereoCal_PhaseToY0(kS3dStereoCal cal) { return cal->phaseToY0; }
kFx(kArray1) kS3dStereoCal_PhaseToZ0(kS3dStereoCal cal) { return cal->phaseToZ0; }
kFx(kArray2) kS3dStereoCal_PhaseMap1(kS3dStereoCal cal) { return cal->phaseMap1; }
kFx(kArray1) kS3dStereoCal_PhaseToX1(kS3dStereoCal cal) { return cal->phaseToX1; }
kFx(kArray1) kS3dStereoCal_PhaseToY1(kS3dStereoCal cal) { return cal->phaseToY1; }
kFx(kArray1) kS3dStereoCal_PhaseToZ1(kS3dStereoCal cal) { return cal->phaseToZ1; }

kFx(kBool) kS3dStereoCal_PhaseCalExists(kS3dStereoCal cal)
{
    const kS3dStereoCalParams& p = cal->parameters;
    return (k64u)p.PhaseXCount * p.PhaseYCount * p.PhaseCount0 > 1;
}

kFx(kStatus) kS3dStereoCal_LeftViewIndex(kS3dStereoCal cal, k32u* index)
{
    kCheckArgs(cal && index && cal->disparityMap && cal->disparityToZ);
    const kPoint32s* cells = kArray2_DataT<kPoint32s>(cal->disparityMap);
    const kSize cellCount = kArray2_Count(cal->disparityMap);
    const k32f* z = kArray1_DataT<k32f>(cal->disparityToZ);
    const kSize length = kArray1_Length(cal->disparityToZ);
    kSize offset = 0;
    bool found = false;
    k64f first = 0, last = 0;

    for (kSize i = 0; i < cellCount; ++i)
    {
        if (cells[i].x == k32S_NULL || cells[i].y <= 0) continue;
        const kSize n = (kSize)cells[i].y;
        if (offset + n - 1 >= length) return kSTATUS_FAILED;
        const k64f zFirst = z[offset], zLast = z[offset + n - 1];
        if (!found || std::abs(zLast - zFirst) > std::abs(last - first))
        {
            first = zFirst;
            last = zLast;
            found = true;
        }
        offset += n;
    }
    *index = (found && first > last) ? 1 : 0;
    return kOK;
}
