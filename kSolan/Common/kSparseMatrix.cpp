/* Sparse k64f matrices in compressed-column form. */
#include <kSolan/Common/kSparseMatrix.h>
#include <kSolan/Common/kMatrix.x.h>

kDefineValue(kSparseMatrixTriplet, kValue)
kDefineValue(kSparseMatrixEntry, kValue)
kDefineClass(kSparseMatrix, kObject)

struct kSparseMatrixClass
{
    kObjectClass base;
    kSize rows;
    kSize columns;
    kArray1 columnStart; // k32u, columns + 1: first slot of each column in entries
    kArray1 columnCount; // k32u, columns + 1: slots used so far in each column
    kArrayList entries;  // kSparseMatrixEntry, column after column
};

namespace
{
k32u* Starts(const kSparseMatrixClass* obj)
{
    return static_cast<k32u*>(kArray1_Data(obj->columnStart));
}

k32u* Counts(const kSparseMatrixClass* obj)
{
    return static_cast<k32u*>(kArray1_Data(obj->columnCount));
}

kSparseMatrixEntry* Entries(const kSparseMatrixClass* obj)
{
    return static_cast<kSparseMatrixEntry*>(kArrayList_Data(obj->entries));
}

/* The used entries of one column, in stored order. */
struct Column
{
    const kSparseMatrixEntry* begin;
    const kSparseMatrixEntry* end;
};

Column ColumnOf(const kSparseMatrixClass* obj, kSize column)
{
    const kSparseMatrixEntry* first = Entries(obj) + Starts(obj)[column];
    return {first, first + Counts(obj)[column]};
}

/* A kArray1 of itemType whose items the host can read. */
bool IsHostArray1(kArray1 array, kType itemType)
{
    return array && kObject_Is(array, kTypeOf(kArray1)) && kArray1_ItemType(array) == itemType &&
           (kArray1_Length(array) == 0 || kArray1_At(array, 0) != kNULL);
}

/* Zero-filled work array of count items from the matrix's allocator. */
template <typename T>
kStatus WorkArray(kArray1* array, kType itemType, kSize count, kAlloc alloc, T** data)
{
    kCheck(kArray1_Construct(array, itemType, count, alloc));
    *data = static_cast<T*>(kArray1_Data(*array));
    return kOK;
}
} // namespace

static kStatus xkSparseMatrix_VRelease(kObject matrix)
{
    kSparseMatrixClass* obj = kCastRaw(kSparseMatrix, matrix);
    kCheck(kDestroyRef(&obj->entries));
    kCheck(kDestroyRef(&obj->columnCount));
    kCheck(kDestroyRef(&obj->columnStart));
    return xkObject_VRelease(matrix);
}

/* Sparse matrices are rebuilt, never copied. */
static kStatus xkSparseMatrix_VInitClone(kObject, kObject, kAlloc)
{
    return kSTATUS_NOT_IMPLEMENTED;
}

static kStatus xkSparseMatrix_Init(kSparseMatrix matrix, kType type, kAlloc alloc)
{
    kSparseMatrixClass* obj = kCastRaw(kSparseMatrix, matrix);
    kStatus status;

    kCheck(kObject_Init(matrix, type, alloc));
    obj->rows = 0;
    obj->columns = 0;
    obj->columnStart = kNULL;
    obj->columnCount = kNULL;
    obj->entries = kNULL;

    // 0 columns: the column arrays hold only the end entry.
    kTest(kArray1_Construct(&obj->columnStart, kTypeOf(k32u), 1, alloc));
    kTest(kArray1_Construct(&obj->columnCount, kTypeOf(k32u), 1, alloc));
    kTest(kArrayList_Construct(&obj->entries, kTypeOf(kSparseMatrixEntry), 0, alloc));
    return kOK;

cleanup:
    xkSparseMatrix_VRelease(matrix);
    return status;
}

kStatus xxkSparseMatrix_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddClass(kSparseMatrix, kObject));
    kCheck(kAddVMethod(kSparseMatrix, VRelease));
    kCheck(kAddVMethod(kSparseMatrix, VInitClone));
    return kOK;
}

kStatus xxkSparseMatrixTriplet_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddValue(kSparseMatrixTriplet, kValue));
    kCheck(kAddField(kSparseMatrixTriplet, k32u, row));
    kCheck(kAddField(kSparseMatrixTriplet, k32u, column));
    kCheck(kAddField(kSparseMatrixTriplet, k64f, value));
    return kOK;
}

kStatus xxkSparseMatrixEntry_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddValue(kSparseMatrixEntry, kValue));
    kCheck(kAddField(kSparseMatrixEntry, k32u, row));
    kCheck(kAddField(kSparseMatrixEntry, k64f, value));
    return kOK;
}

kFx(kStatus) kSparseMatrix_Construct(kSparseMatrix* matrix, kAlloc allocator)
{
    kAlloc alloc = kAlloc_Fallback(allocator);
    kSparseMatrixClass* obj = kNULL;
    kStatus status;

    kCheckArgs(matrix);
    if (!kSuccess(status = kAlloc_GetObject(alloc, kTypeOf(kSparseMatrix), &obj))) return status;
    if (!kSuccess(status = xkSparseMatrix_Init(obj, kTypeOf(kSparseMatrix), alloc)))
    {
        kAlloc_FreeRef(alloc, &obj);
        return status;
    }
    *matrix = obj;
    return kOK;
}

kFx(kStatus) kSparseMatrix_Resize(kSparseMatrix matrix, kSize rows, kSize columns)
{
    kObjR(kSparseMatrix, matrix);
    kMatrixAssert(rows <= k32U_MAX && columns < k32U_MAX);

    // An empty 0 × 0 matrix, should anything below fail.
    obj->rows = 0;
    obj->columns = 0;
    kCheck(kArrayList_Clear(obj->entries));
    if (kArray1_Length(obj->columnStart) != columns + 1 ||
        kArray1_Length(obj->columnCount) != columns + 1)
    {
        kCheck(kArray1_Allocate(obj->columnStart, kTypeOf(k32u), columns + 1));
        kCheck(kArray1_Allocate(obj->columnCount, kTypeOf(k32u), columns + 1));
    }
    kCheck(kArray1_Zero(obj->columnStart));
    kCheck(kArray1_Zero(obj->columnCount));
    obj->rows = rows;
    obj->columns = columns;
    return kOK;
}

kFx(kStatus) kSparseMatrix_Reserve(kSparseMatrix matrix, kArray1 counts)
{
    kObjR(kSparseMatrix, matrix);
    kMatrixAssert(kArrayList_Count(obj->entries) == 0);
    kMatrixAssert(IsHostArray1(counts, kTypeOf(k32u)) && kArray1_Length(counts) == obj->columns);

    const k32u* room = static_cast<const k32u*>(kArray1_Data(counts));
    k64u total = 0;
    for (kSize c = 0; c < obj->columns; ++c)
        total += room[c];
    kMatrixAssert(total <= k32U_MAX);

    k32u* start = Starts(obj);
    start[0] = 0;
    for (kSize c = 0; c < obj->columns; ++c)
        start[c + 1] = start[c] + room[c];
    return kArrayList_Resize(obj->entries, (kSize)total);
}

kFx(kStatus)
    kSparseMatrix_Import(kSparseMatrix matrix, kArrayList triplets, kSize rows, kSize columns)
{
    kObjR(kSparseMatrix, matrix);
    kMatrixAssert(triplets && kObject_Is(triplets, kTypeOf(kArrayList)) &&
                  kArrayList_ItemType(triplets) == kTypeOf(kSparseMatrixTriplet));
    const kSparseMatrixTriplet* items =
        static_cast<const kSparseMatrixTriplet*>(kArrayList_Data(triplets));
    const kSize n = kArrayList_Count(triplets);
    for (kSize i = 0; i < n; ++i)
        kMatrixAssert(items[i].row < rows && items[i].column < columns);

    kCheck(kSparseMatrix_Resize(matrix, rows, columns));

    kArray1 counts = kNULL;
    k32u* perColumn = kNULL;
    kStatus status;
    kTest(WorkArray(&counts, kTypeOf(k32u), columns, obj->base.alloc, &perColumn));
    for (kSize i = 0; i < n; ++i)
        ++perColumn[items[i].column];
    kTest(kSparseMatrix_Reserve(matrix, counts));
    for (kSize i = 0; i < n; ++i)
        kTest(kSparseMatrix_Insert(matrix, items[i].row, items[i].column, items[i].value));

cleanup:
    kDestroyRef(&counts);
    return status;
}

kFx(kStatus) kSparseMatrix_Transpose(kSparseMatrix source, kSparseMatrix destination)
{
    kObjN(kSparseMatrix, src, source);
    kObjN(kSparseMatrix, dst, destination);
    kCheckArgs(src && dst);
    kMatrixAssert(source != destination);

    kCheck(kSparseMatrix_Resize(destination, src->columns, src->rows));

    kArray1 counts = kNULL;
    k32u* perRow = kNULL;
    kStatus status;
    kTest(WorkArray(&counts, kTypeOf(k32u), src->rows, dst->base.alloc, &perRow));

    // Every slot of the source's list counts, reserved ones not filled yet included: the
    // destination gets room for them too.
    {
        const kSparseMatrixEntry* all = Entries(src);
        const kSize slots = kArrayList_Count(src->entries);
        for (kSize k = 0; k < slots; ++k)
        {
            if (all[k].row < src->rows) ++perRow[all[k].row];
        }
    }
    kTest(kSparseMatrix_Reserve(destination, counts));

    for (kSize c = 0; c < src->columns; ++c)
    {
        Column column = ColumnOf(src, c);
        for (const kSparseMatrixEntry* e = column.begin; e != column.end; ++e)
            kTest(kSparseMatrix_Insert(destination, c, e->row, e->value));
    }

cleanup:
    kDestroyRef(&counts);
    return status;
}

kFx(kStatus)
    kSparseMatrix_MultiplySparseSparse(kSparseMatrix a, kSparseMatrix b, kSparseMatrix product)
{
    kObjN(kSparseMatrix, ma, a);
    kObjN(kSparseMatrix, mb, b);
    kObjN(kSparseMatrix, mp, product);
    kCheckArgs(ma && mb && mp);
    kMatrixAssert(ma->columns == mb->rows);
    kMatrixAssert(product != a && product != b);

    const kSize m = ma->rows, n = mb->columns;
    kArray1 flagArray = kNULL, accArray = kNULL, touchedArray = kNULL;
    kBool* touchedFlag = kNULL;
    k64f* acc = kNULL;
    k32u* touched = kNULL;
    kStatus status;

    kTest(WorkArray(&flagArray, kTypeOf(kBool), m, mp->base.alloc, &touchedFlag));
    kTest(WorkArray(&accArray, kTypeOf(k64f), m, mp->base.alloc, &acc));
    kTest(WorkArray(&touchedArray, kTypeOf(k32u), m, mp->base.alloc, &touched));
    kTest(kSparseMatrix_Resize(product, m, n));
    kTest(kArrayList_Reserve(mp->entries,
                             kSparseMatrix_NonZeroCount(a) + kSparseMatrix_NonZeroCount(b)));

    for (kSize j = 0; j < n; ++j)
    {
        // Scatter column j of the product into acc; rows keep their first-touch order.
        kSize touchedCount = 0;
        Column bj = ColumnOf(mb, j);
        for (const kSparseMatrixEntry* eb = bj.begin; eb != bj.end; ++eb)
        {
            Column ak = ColumnOf(ma, eb->row);
            for (const kSparseMatrixEntry* ea = ak.begin; ea != ak.end; ++ea)
            {
                const k32u i = ea->row;
                if (!touchedFlag[i])
                {
                    touchedFlag[i] = kTRUE;
                    acc[i] = eb->value * ea->value;
                    touched[touchedCount++] = i;
                }
                else
                {
                    acc[i] += eb->value * ea->value;
                }
            }
        }
        for (kSize t = 0; t < touchedCount; ++t)
        {
            const k32u i = touched[t];
            kTest(kSparseMatrix_InsertColumnBack(product, i, j, acc[i]));
            touchedFlag[i] = kFALSE;
        }
        kTest(kSparseMatrix_EndColumn(product, j));
    }

cleanup:
    kDestroyRef(&touchedArray);
    kDestroyRef(&accArray);
    kDestroyRef(&flagArray);
    return status;
}

kFx(kStatus) kSparseMatrix_MultiplySparseDense(kSparseMatrix a, kArray2 x, kArray2 y)
{
    kObjR(kSparseMatrix, a);
    kMatrixAssert(xkMatrix_Is64f(x) && xkMatrix_Is64f(y) && x != y);
    const kSize columns = kArray2_Length(x, 1);
    kMatrixAssert(kArray2_Length(x, 0) == obj->columns && kArray2_Length(y, 0) == obj->rows &&
                  kArray2_Length(y, 1) == columns);

    const k64f* xd = static_cast<const k64f*>(kArray2_Data(x));
    k64f* yd = static_cast<k64f*>(kArray2_Data(y));
    kCheck(kArray2_Zero(y));
    for (kSize c = 0; c < columns; ++c)
    {
        for (kSize r = 0; r < obj->columns; ++r)
        {
            Column ar = ColumnOf(obj, r);
            for (const kSparseMatrixEntry* e = ar.begin; e != ar.end; ++e)
                yd[e->row * columns + c] += e->value * xd[r * columns + c];
        }
    }
    return kOK;
}

kFx(kSize) kSparseMatrix_NonZeroCount(kSparseMatrix matrix)
{
    kObjN(kSparseMatrix, obj, matrix);
    if (!obj) return 0;
    const k32u* count = Counts(obj);
    kSize total = 0;
    for (kSize c = 0; c < obj->columns; ++c)
        total += count[c];
    return total;
}

kFx(kSize) kSparseMatrix_Rows(kSparseMatrix matrix)
{
    kObjN(kSparseMatrix, obj, matrix);
    return obj ? obj->rows : 0;
}

kFx(kSize) kSparseMatrix_Columns(kSparseMatrix matrix)
{
    kObjN(kSparseMatrix, obj, matrix);
    return obj ? obj->columns : 0;
}

kFx(kSize) kSparseMatrix_ColumnLength(kSparseMatrix matrix, kSize column)
{
    kObjN(kSparseMatrix, obj, matrix);
    return (obj && column < obj->columns) ? Counts(obj)[column] : 0;
}

kFx(const kSparseMatrixEntry*) kSparseMatrix_ColumnEntries(kSparseMatrix matrix, kSize column)
{
    kObjN(kSparseMatrix, obj, matrix);
    if (!obj || column >= obj->columns || Counts(obj)[column] == 0) return kNULL;
    return ColumnOf(obj, column).begin;
}

kFx(kStatus) kSparseMatrix_Insert(kSparseMatrix matrix, kSize row, kSize column, k64f value)
{
    kObjR(kSparseMatrix, matrix);
    kMatrixAssert(row < obj->rows && column < obj->columns);
    k32u* start = Starts(obj);
    k32u* count = Counts(obj);
    // Deliberately the sum of the two starts, not the room between them (see the header).
    kMatrixAssert((kSize)count[column] <= (kSize)start[column] + start[column + 1]);
    const kSize slot = (kSize)start[column] + count[column];
    kMatrixAssert(slot < kArrayList_Count(obj->entries));

    Entries(obj)[slot] = {(k32u)row, value};
    ++count[column];
    return kOK;
}

kFx(kStatus)
    kSparseMatrix_InsertColumnBack(kSparseMatrix matrix, kSize row, kSize column, k64f value)
{
    kObjR(kSparseMatrix, matrix);
    kMatrixAssert(row < obj->rows && column < obj->columns);
    k32u* count = Counts(obj);
    const kSize end = kArrayList_Count(obj->entries);
    kMatrixAssert((kSize)Starts(obj)[column] + count[column] == end && end < k32U_MAX);

    const kSparseMatrixEntry entry = {(k32u)row, value};
    kCheck(kArrayList_Add(obj->entries, &entry));
    ++count[column];
    return kOK;
}

kFx(kStatus) kSparseMatrix_EndColumn(kSparseMatrix matrix, kSize column)
{
    kObjR(kSparseMatrix, matrix);
    kMatrixAssert(column < obj->columns);
    k32u* start = Starts(obj);
    start[column + 1] = start[column] + Counts(obj)[column];
    return kOK;
}
