// Sparse matrices: triplet import, column building, transpose and products against dense loops.
#include <kTestSupport.h>

#include <kSolan/kSolan.h>
#include <kSolan/Common/kSparseMatrix.h>

#include <functional>
#include <random>
#include <utility>
#include <vector>

namespace
{
using Dense = std::vector<std::vector<double>>;

class SparseMatrix : public ::testing::Test
{
protected:
    static void SetUpTestSuite() { ASSERT_EQ(kSolan_Construct(&s_assembly), kOK); }
    static void TearDownTestSuite() { kDestroyRef(&s_assembly); }

    /* A triplet list owned by the fixture. */
    kArrayList Triplets(const std::vector<kSparseMatrixTriplet>& items)
    {
        kArrayList list = kNULL;
        EXPECT_EQ(kArrayList_Construct(&list, kTypeOf(kSparseMatrixTriplet), 0, kNULL), kOK);
        for (const kSparseMatrixTriplet& t : items)
            EXPECT_EQ(kArrayList_AddT(list, t), kOK);
        m_owned.push_back(list);
        return list;
    }
    kSparseMatrix Matrix()
    {
        kSparseMatrix m = kNULL;
        EXPECT_EQ(kSparseMatrix_Construct(&m, m_alloc), kOK);
        m_owned.push_back(m);
        return m;
    }
    kArray2 Array(kSize rows, kSize columns)
    {
        kArray2 a = kNULL;
        EXPECT_EQ(kArray2_Construct(&a, kTypeOf(k64f), rows, columns, kNULL), kOK);
        m_owned.push_back(a);
        return a;
    }
    void TearDown() override
    {
        for (kObject o : m_owned)
            kObject_Destroy(o);
    }

    static std::vector<std::pair<k32u, double>> ColumnOf(kSparseMatrix m, kSize column)
    {
        std::vector<std::pair<k32u, double>> out;
        const kSparseMatrixEntry* e = kSparseMatrix_ColumnEntries(m, column);
        for (kSize i = 0; i < kSparseMatrix_ColumnLength(m, column); ++i)
            out.emplace_back(e[i].row, e[i].value);
        return out;
    }
    static Dense ToDense(kSparseMatrix m)
    {
        Dense d(kSparseMatrix_Rows(m), std::vector<double>(kSparseMatrix_Columns(m), 0.0));
        for (kSize c = 0; c < kSparseMatrix_Columns(m); ++c)
            for (auto [row, value] : ColumnOf(m, c))
                d[row][c] += value;
        return d;
    }

    static kAssembly s_assembly;
    ktest::CountingAlloc m_alloc;
    std::vector<kObject> m_owned;
};
kAssembly SparseMatrix::s_assembly = kNULL;

/* Random sparse triplets (about density of the cells, duplicates possible). */
std::vector<kSparseMatrixTriplet> RandomTriplets(std::mt19937_64& rng, k32u rows, k32u columns,
                                                 kSize count)
{
    std::uniform_real_distribution<double> u(-1.0, 1.0);
    std::vector<kSparseMatrixTriplet> t(count);
    for (auto& item : t)
        item = {(k32u)(rng() % rows), (k32u)(rng() % columns), u(rng)};
    return t;
}
} // namespace

TEST_F(SparseMatrix, RegisteredWithItsFields)
{
    kType triplet = kTypeOf(kSparseMatrixTriplet);
    ASSERT_NE(triplet, kNULL);
    ASSERT_EQ(kType_FieldCount(triplet), 3u);
    EXPECT_STREQ(kType_FieldAt(triplet, 0)->name, "row");
    EXPECT_EQ(kType_FieldAt(triplet, 1)->type, kTypeOf(k32u));
    EXPECT_STREQ(kType_FieldAt(triplet, 2)->name, "value");
    EXPECT_EQ(kType_FieldAt(triplet, 2)->offset, offsetof(kSparseMatrixTriplet, value));
    kType entry = kTypeOf(kSparseMatrixEntry);
    ASSERT_EQ(kType_FieldCount(entry), 2u);
    EXPECT_STREQ(kType_FieldAt(entry, 1)->name, "value");
    EXPECT_EQ(kType_FieldAt(entry, 1)->type, kTypeOf(k64f));
    EXPECT_EQ(kType_Size(entry), sizeof(kSparseMatrixEntry));

    ASSERT_EQ(kType_OverrideCount(kTypeOf(kSparseMatrix)), 2u);
    EXPECT_STREQ(kType_OverrideNameAt(kTypeOf(kSparseMatrix), 0), "VRelease");
    EXPECT_STREQ(kType_OverrideNameAt(kTypeOf(kSparseMatrix), 1), "VInitClone");
}

TEST_F(SparseMatrix, ConstructionFailsCleanlyAndCloningIsRefused)
{
    kSize steps = ktest::ExpectCleanFailures([](kAlloc alloc, kObject* out)
                                             { return kSparseMatrix_Construct(out, alloc); });
    EXPECT_EQ(steps, 6u); // instance, two column arrays with their items, entry list

    kSparseMatrix m = Matrix();
    EXPECT_EQ(kSparseMatrix_Rows(m), 0u);
    EXPECT_EQ(kSparseMatrix_Columns(m), 0u);
    EXPECT_EQ(kSparseMatrix_NonZeroCount(m), 0u);
    kObject copy = kNULL;
    EXPECT_EQ(kObject_Clone(&copy, m, kNULL), kSTATUS_NOT_IMPLEMENTED);
    EXPECT_EQ(copy, kNULL);
}

TEST_F(SparseMatrix, DuplicateTripletsStaySeparateInInsertionOrder)
{
    kSparseMatrix m = Matrix();
    ASSERT_EQ(kSparseMatrix_Import(m, Triplets({{0, 1, 2.0}, {1, 0, 4.0}, {0, 1, 3.0}}), 2, 2),
              kOK);
    EXPECT_EQ(kSparseMatrix_NonZeroCount(m), 3u);
    EXPECT_EQ(ColumnOf(m, 1), (std::vector<std::pair<k32u, double>>{{0, 2.0}, {0, 3.0}}));
    EXPECT_EQ(ColumnOf(m, 0), (std::vector<std::pair<k32u, double>>{{1, 4.0}}));

    // The dense product counts both: y[0][c] = 5·x[1][c].
    kArray2 x = Array(2, 3), y = Array(2, 3);
    for (kSize c = 0; c < 3; ++c)
    {
        *kArray2_AtT<k64f>(x, 0, c) = 100.0 + c;
        *kArray2_AtT<k64f>(x, 1, c) = 1.5 * (c + 1);
    }
    *kArray2_AtT<k64f>(y, 0, 0) = 99; // overwritten: y starts from zero
    ASSERT_EQ(kSparseMatrix_MultiplySparseDense(m, x, y), kOK);
    for (kSize c = 0; c < 3; ++c)
    {
        EXPECT_EQ(*kArray2_AtT<k64f>(y, 0, c), 5.0 * 1.5 * (c + 1));
        EXPECT_EQ(*kArray2_AtT<k64f>(y, 1, c), 4.0 * (100.0 + c));
    }

    ASSERT_EQ(kSparseMatrix_Resize(m, 4, 5), kOK);
    EXPECT_EQ(kSparseMatrix_NonZeroCount(m), 0u);
    EXPECT_EQ(kSparseMatrix_Rows(m), 4u);
    EXPECT_EQ(kSparseMatrix_ColumnEntries(m, 1), nullptr);
}

TEST_F(SparseMatrix, TransposeMovesEveryEntry)
{
    // 2 × 3: [[1, 0, 2], [3, 4, 0]] given out of order.
    kSparseMatrix m = Matrix(), t = Matrix();
    ASSERT_EQ(kSparseMatrix_Import(m, Triplets({{1, 1, 4}, {0, 2, 2}, {1, 0, 3}, {0, 0, 1}}), 2, 3),
              kOK);
    ASSERT_EQ(kSparseMatrix_Transpose(m, t), kOK);
    EXPECT_EQ(kSparseMatrix_Rows(t), 3u);
    EXPECT_EQ(kSparseMatrix_Columns(t), 2u);
    EXPECT_EQ(ToDense(t), (Dense{{1, 3}, {0, 4}, {2, 0}}));
    // Each column lists its entries by increasing source column.
    EXPECT_EQ(ColumnOf(t, 0), (std::vector<std::pair<k32u, double>>{{0, 1}, {2, 2}}));
    EXPECT_EQ(ColumnOf(t, 1), (std::vector<std::pair<k32u, double>>{{0, 3}, {1, 4}}));

    std::mt19937_64 rng(21);
    kSparseMatrix r = Matrix(), rt = Matrix(), rtt = Matrix();
    ASSERT_EQ(kSparseMatrix_Import(r, Triplets(RandomTriplets(rng, 7, 11, 30)), 7, 11), kOK);
    ASSERT_EQ(kSparseMatrix_Transpose(r, rt), kOK);
    ASSERT_EQ(kSparseMatrix_Transpose(rt, rtt), kOK);
    Dense d = ToDense(r), dt = ToDense(rt);
    for (kSize i = 0; i < 7; ++i)
        for (kSize j = 0; j < 11; ++j)
            EXPECT_EQ(dt[j][i], d[i][j]);
    EXPECT_EQ(ToDense(rtt), d);
    EXPECT_EQ(kSparseMatrix_NonZeroCount(rt), 30u);
}

TEST_F(SparseMatrix, ProductKeepsFirstTouchOrder)
{
    // Column 0 of the product gets row 5 (through b[1][0] and a[5][1]) before row 2.
    kSparseMatrix a = Matrix(), b = Matrix(), p = Matrix();
    ASSERT_EQ(kSparseMatrix_Import(a, Triplets({{5, 1, 2.0}, {2, 3, 7.0}, {5, 3, 1.0}}), 6, 4),
              kOK);
    ASSERT_EQ(kSparseMatrix_Import(b, Triplets({{1, 0, 3.0}, {3, 0, 10.0}}), 4, 1), kOK);
    ASSERT_EQ(kSparseMatrix_MultiplySparseSparse(a, b, p), kOK);
    EXPECT_EQ(ColumnOf(p, 0), (std::vector<std::pair<k32u, double>>{{5, 16.0}, {2, 70.0}}));
    EXPECT_EQ(kSparseMatrix_Rows(p), 6u);
    EXPECT_EQ(kSparseMatrix_Columns(p), 1u);
}

TEST_F(SparseMatrix, ProductsAgreeWithDenseLoops)
{
    std::mt19937_64 rng(22);
    const k32u m = 9, k = 13, n = 6;
    kSparseMatrix a = Matrix(), b = Matrix(), p = Matrix();
    ASSERT_EQ(kSparseMatrix_Import(a, Triplets(RandomTriplets(rng, m, k, 40)), m, k), kOK);
    ASSERT_EQ(kSparseMatrix_Import(b, Triplets(RandomTriplets(rng, k, n, 25)), k, n), kOK);
    ASSERT_EQ(kSparseMatrix_MultiplySparseSparse(a, b, p), kOK);

    Dense da = ToDense(a), db = ToDense(b), dp = ToDense(p);
    for (kSize i = 0; i < m; ++i)
    {
        for (kSize j = 0; j < n; ++j)
        {
            double sum = 0;
            for (kSize l = 0; l < k; ++l)
                sum += da[i][l] * db[l][j];
            EXPECT_NEAR(dp[i][j], sum, 1e-12) << i << "," << j;
        }
    }

    kArray2 x = Array(k, 3), y = Array(m, 3);
    std::uniform_real_distribution<double> u(-2.0, 2.0);
    for (kSize r = 0; r < k; ++r)
        for (kSize c = 0; c < 3; ++c)
            *kArray2_AtT<k64f>(x, r, c) = u(rng);
    ASSERT_EQ(kSparseMatrix_MultiplySparseDense(a, x, y), kOK);
    for (kSize i = 0; i < m; ++i)
    {
        for (kSize c = 0; c < 3; ++c)
        {
            double sum = 0;
            for (kSize l = 0; l < k; ++l)
                sum += da[i][l] * *kArray2_AtT<k64f>(x, l, c);
            EXPECT_NEAR(*kArray2_AtT<k64f>(y, i, c), sum, 1e-12);
        }
    }
}

TEST_F(SparseMatrix, OperationsFailCleanlyAtEveryAllocation)
{
    std::mt19937_64 rng(23);
    kSparseMatrix a = Matrix(), b = Matrix();
    kArrayList triplets = Triplets(RandomTriplets(rng, 8, 8, 30));
    ASSERT_EQ(kSparseMatrix_Import(a, triplets, 8, 8), kOK);
    ASSERT_EQ(kSparseMatrix_Import(b, Triplets(RandomTriplets(rng, 8, 8, 30)), 8, 8), kOK);

    // Each operation writes into a matrix of a counting allocator that fails after 0, 1, 2 ...
    // allocations. Work arrays come from that matrix's allocator: once the matrix is destroyed,
    // the counting allocator finds anything they left behind.
    auto expectClean = [](const char* what, const std::function<kStatus(kSparseMatrix)>& op)
    {
        for (kSize step = 0;; ++step)
        {
            ktest::CountingAlloc alloc;
            kSparseMatrix out = kNULL;
            ASSERT_EQ(kSparseMatrix_Construct(&out, alloc), kOK);
            kCountingAlloc_SetFailAfter(alloc, step);
            kStatus status = op(out);
            kCountingAlloc_SetFailAfter(alloc, kSIZE_MAX);
            EXPECT_EQ(kObject_Destroy(out), kOK);
            if (kSuccess(status)) break;
            EXPECT_EQ(status, kSTATUS_MEMORY) << what << " after " << step;
            ASSERT_LT(step, 100u) << what;
        }
    };
    expectClean("import", [&](kSparseMatrix m) { return kSparseMatrix_Import(m, triplets, 8, 8); });
    expectClean("transpose", [&](kSparseMatrix m) { return kSparseMatrix_Transpose(a, m); });
    expectClean("product",
                [&](kSparseMatrix m) { return kSparseMatrix_MultiplySparseSparse(a, b, m); });
}

TEST_F(SparseMatrix, BuildingColumnByColumn)
{
    kSparseMatrix m = Matrix();
    ASSERT_EQ(kSparseMatrix_Resize(m, 3, 3), kOK);
    ASSERT_EQ(kSparseMatrix_InsertColumnBack(m, 2, 0, 1.0), kOK);
    ASSERT_EQ(kSparseMatrix_InsertColumnBack(m, 0, 0, 2.0), kOK);
    ASSERT_EQ(kSparseMatrix_EndColumn(m, 0), kOK);
    ASSERT_EQ(kSparseMatrix_EndColumn(m, 1), kOK); // an empty column
    ASSERT_EQ(kSparseMatrix_InsertColumnBack(m, 1, 2, 3.0), kOK);
    ASSERT_EQ(kSparseMatrix_EndColumn(m, 2), kOK);
    EXPECT_EQ(ToDense(m), (Dense{{2, 0, 0}, {0, 0, 3}, {1, 0, 0}}));
    EXPECT_EQ(ColumnOf(m, 0), (std::vector<std::pair<k32u, double>>{{2, 1.0}, {0, 2.0}}));

    // Only the column being built may be appended to.
    ktest::AssertCapture asserts;
    EXPECT_EQ(kSparseMatrix_InsertColumnBack(m, 0, 0, 1.0), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(asserts.Count(), 1);
}

TEST_F(SparseMatrix, InsertRoomCheckIsDeliberatelyLoose)
{
    kSparseMatrix m = Matrix();
    ASSERT_EQ(kSparseMatrix_Resize(m, 4, 2), kOK);
    kArray1 counts = kNULL;
    ASSERT_EQ(kArray1_Construct(&counts, kTypeOf(k32u), 2, kNULL), kOK);
    m_owned.push_back(counts);
    *kArray1_AtT<k32u>(counts, 0) = 1;
    *kArray1_AtT<k32u>(counts, 1) = 2;
    ASSERT_EQ(kSparseMatrix_Reserve(m, counts), kOK); // starts 0, 1, 3

    ktest::AssertCapture asserts;
    // Column 0 has room for one, but its count is compared with 0 + 1, so a second entry is
    // let through into column 1's first slot; a third is refused.
    EXPECT_EQ(kSparseMatrix_Insert(m, 0, 0, 1.0), kOK);
    EXPECT_EQ(kSparseMatrix_Insert(m, 1, 0, 2.0), kOK);
    EXPECT_EQ(kSparseMatrix_ColumnLength(m, 0), 2u);
    EXPECT_EQ(asserts.Count(), 0);
    EXPECT_EQ(kSparseMatrix_Insert(m, 2, 0, 3.0), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(asserts.Count(), 1);

    // The last column's bound (1 + 3) reaches past the list: the slot is refused all the same.
    EXPECT_EQ(kSparseMatrix_Insert(m, 0, 1, 4.0), kOK);
    EXPECT_EQ(kSparseMatrix_Insert(m, 0, 1, 5.0), kOK);
    EXPECT_EQ(kSparseMatrix_Insert(m, 0, 1, 6.0), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(asserts.Count(), 2);
    EXPECT_EQ(kSparseMatrix_NonZeroCount(m), 4u);
}

TEST_F(SparseMatrix, BrokenContractsAreAssertedAndRefused)
{
    ktest::AssertCapture asserts;
    kSparseMatrix a = Matrix(), b = Matrix(), p = Matrix();
    ASSERT_EQ(kSparseMatrix_Import(a, Triplets({{0, 0, 1.0}}), 2, 3), kOK);
    ASSERT_EQ(kSparseMatrix_Import(b, Triplets({{0, 0, 1.0}}), 2, 2), kOK);
    int expected = 0;

    EXPECT_EQ(kSparseMatrix_Import(p, Triplets({{2, 0, 1.0}}), 2, 2), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(asserts.Count(), ++expected); // row out of range
    kArrayList wrongType = kNULL;
    ASSERT_EQ(kArrayList_Construct(&wrongType, kTypeOf(k64f), 0, kNULL), kOK);
    m_owned.push_back(wrongType);
    EXPECT_EQ(kSparseMatrix_Import(p, wrongType, 2, 2), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(asserts.Count(), ++expected);

    EXPECT_EQ(kSparseMatrix_MultiplySparseSparse(a, b, p), kSTATUS_BAD_PARAMETER); // 3 ≠ 2
    EXPECT_EQ(asserts.Count(), ++expected);
    EXPECT_EQ(kSparseMatrix_MultiplySparseSparse(b, b, b), kSTATUS_BAD_PARAMETER); // aliased
    EXPECT_EQ(asserts.Count(), ++expected);
    EXPECT_EQ(kSparseMatrix_Transpose(a, a), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(asserts.Count(), ++expected);

    kArray2 x = Array(2, 1), y = Array(2, 1);
    EXPECT_EQ(kSparseMatrix_MultiplySparseDense(a, x, y), kSTATUS_BAD_PARAMETER); // x rows ≠ 3
    EXPECT_EQ(asserts.Count(), ++expected);

    kArray1 counts = kNULL;
    ASSERT_EQ(kArray1_Construct(&counts, kTypeOf(k32u), 2, kNULL), kOK);
    m_owned.push_back(counts);
    EXPECT_EQ(kSparseMatrix_Reserve(b, counts), kSTATUS_BAD_PARAMETER); // entries not empty
    EXPECT_EQ(asserts.Count(), ++expected);
    EXPECT_EQ(kSparseMatrix_Insert(b, 0, 2, 1.0), kSTATUS_BAD_PARAMETER); // column range
    EXPECT_EQ(asserts.Count(), ++expected);
    EXPECT_EQ(kSparseMatrix_EndColumn(b, 2), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(asserts.Count(), ++expected);

    ktest::CastFailCapture casts;
    EXPECT_EQ(kSparseMatrix_Resize(x, 1, 1), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(casts.Count(), 1);
}
