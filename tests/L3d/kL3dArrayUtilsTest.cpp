// Array and image helpers of the laser family, each against a plain-loop reference.
#include <kTestSupport.h>

#include <kSolan/L3d/kL3dArrayUtils.h>

#include <cstring>
#include <vector>

namespace
{
template <typename T>
kArray2 Matrix(kAlloc alloc, kType type, kSize rows, kSize columns, const std::vector<T>& values)
{
    kArray2 a = kNULL;
    EXPECT_EQ(kArray2_Construct(&a, type, rows, columns, alloc), kOK);
    if (rows * columns != 0) memcpy(kArray2_Data(a), values.data(), rows * columns * sizeof(T));
    return a;
}

template <typename T>
std::vector<T> Items1(kArray1 a)
{
    const T* p = (const T*)kArray1_Data(a);
    return std::vector<T>(p, p + kArray1_Length(a));
}

template <typename T>
std::vector<T> Items2(kArray2 a)
{
    const T* p = (const T*)kArray2_Data(a);
    return std::vector<T>(p, p + kArray2_Count(a));
}

// Reference mean of the non-null items of a strided line, k64f null when there are none.
template <typename T>
k64f RefMean(const std::vector<T>& v, kSize first, kSize step, kSize count, T null)
{
    long double sum = 0;
    kSize n = 0;
    for (kSize k = 0; k < count; ++k)
    {
        const T x = v[first + k * step];
        if (x == null) continue;
        sum += x;
        ++n;
    }
    return n ? (k64f)(sum / n) : k64F_NULL;
}
} // namespace

TEST(L3dArrayUtils, GeneratedGridAndStepsComeFromTheirIndices)
{
    ktest::CountingAlloc alloc;
    kArray2 grid = kNULL;
    ASSERT_EQ(kL3dArray2_GenerateGrid(&grid, 3, 5, -1.0, 0.1, 2.0, -0.25, alloc), kOK);
    ASSERT_EQ(kArray2_ItemType(grid), kTypeOf(kPoint64f));
    ASSERT_EQ(kArray2_Length(grid, 0), 3u);
    ASSERT_EQ(kArray2_Length(grid, 1), 5u);
    for (kSize i = 0; i < 3; ++i)
    {
        for (kSize j = 0; j < 5; ++j)
        {
            const kPoint64f p = *(kPoint64f*)kArray2_At(grid, i, j);
            EXPECT_EQ(p.x, -1.0 + (double)j * 0.1);
            EXPECT_EQ(p.y, 2.0 + (double)i * -0.25);
        }
    }
    kObject_Destroy(grid);

    kArray1 steps = kNULL;
    ASSERT_EQ(kL3dArray1_GenerateSteps(&steps, 0.5, 0.1, 1001, alloc), kOK);
    std::vector<k64f> v = Items1<k64f>(steps);
    ASSERT_EQ(v.size(), 1001u);
    for (kSize i = 0; i < v.size(); ++i)
        EXPECT_EQ(v[i], 0.5 + (double)i * 0.1) << i;
    EXPECT_EQ(v[1000], 0.5 + 100.0); // no accumulated drift
    kObject_Destroy(steps);

    ASSERT_EQ(kL3dArray1_GenerateSteps(&steps, 1.0, 1.0, 0, alloc), kOK);
    EXPECT_EQ(kArray1_Length(steps), 0u);
    kObject_Destroy(steps);

    ktest::ExpectCleanFailures([](kAlloc a, kObject* out)
                               { return kL3dArray2_GenerateGrid(out, 2, 2, 0, 1, 0, 1, a); });
    ktest::ExpectCleanFailures([](kAlloc a, kObject* out)
                               { return kL3dArray1_GenerateSteps(out, 0, 1, 4, a); });
}

TEST(L3dArrayUtils, FilterNullKeepsValidItemsInOrder)
{
    ktest::CountingAlloc alloc;
    const std::vector<k32f> reals = {k32F_NULL, 1.5f, -2.0f, k32F_NULL, 0.0f, k32F_NULL};
    kArray1 a = kNULL, out = kNULL;
    ASSERT_EQ(kArray1_Construct(&a, kTypeOf(k32f), reals.size(), alloc), kOK);
    memcpy(kArray1_Data(a), reals.data(), sizeof(k32f) * reals.size());
    ASSERT_EQ(kL3dArray1_FilterNull(&out, a, alloc), kOK);
    EXPECT_EQ(kArray1_ItemType(out), kTypeOf(k32f));
    EXPECT_EQ(Items1<k32f>(out), (std::vector<k32f>{1.5f, -2.0f, 0.0f}));
    kObject_Destroy(out);
    ktest::ExpectCleanFailures([&](kAlloc al, kObject* o)
                               { return kL3dArray1_FilterNull(o, a, al); });
    kObject_Destroy(a);

    // Points are null by their x; a null y alone keeps the point.
    const std::vector<kPoint3d16s> pts = {{k16S_NULL, 1, 2}, {3, k16S_NULL, 4}, {5, 6, 7}};
    ASSERT_EQ(kArray1_Construct(&a, kTypeOf(kPoint3d16s), pts.size(), alloc), kOK);
    memcpy(kArray1_Data(a), pts.data(), sizeof(kPoint3d16s) * pts.size());
    ASSERT_EQ(kL3dArray1_FilterNull(&out, a, alloc), kOK);
    std::vector<kPoint3d16s> kept = Items1<kPoint3d16s>(out);
    ASSERT_EQ(kept.size(), 2u);
    EXPECT_EQ(kept[0].x, 3);
    EXPECT_EQ(kept[1].z, 7);
    kObject_Destroy(out);
    kObject_Destroy(a);

    // All null, every other null-aware type once, and a type without a null code.
    const kType types[] = {kTypeOf(k16s),        kTypeOf(k32s),       kTypeOf(k32u),
                           kTypeOf(k64f),        kTypeOf(kPoint16s),  kTypeOf(kPoint32s),
                           kTypeOf(kPoint32f),   kTypeOf(kPoint64f),  kTypeOf(kPoint3d32s),
                           kTypeOf(kPoint3d32f), kTypeOf(kPoint3d64f)};
    const k64f null64 = k64F_NULL;
    for (kType t : types)
    {
        ASSERT_EQ(kArray1_Construct(&a, t, 2, alloc), kOK);
        // Item 0 null, item 1 zero.
        const kSize size = kArray1_ItemSize(a);
        if (t == kTypeOf(k16s) || t == kTypeOf(kPoint16s))
            *(k16s*)kArray1_Data(a) = k16S_NULL;
        else if (t == kTypeOf(k32s) || t == kTypeOf(kPoint32s) || t == kTypeOf(kPoint3d32s))
            *(k32s*)kArray1_Data(a) = k32S_NULL;
        else if (t == kTypeOf(k32u))
            *(k32u*)kArray1_Data(a) = k32U_NULL;
        else if (t == kTypeOf(kPoint32f) || t == kTypeOf(kPoint3d32f))
            *(k32f*)kArray1_Data(a) = k32F_NULL;
        else
            memcpy(kArray1_Data(a), &null64, sizeof(null64));
        ASSERT_EQ(kL3dArray1_FilterNull(&out, a, alloc), kOK) << kType_Name(t);
        ASSERT_EQ(kArray1_Length(out), 1u) << kType_Name(t);
        std::vector<k8u> zero(size, 0);
        EXPECT_EQ(memcmp(kArray1_Data(out), zero.data(), size), 0);
        kObject_Destroy(out);
        kObject_Destroy(a);
    }
    ASSERT_EQ(kArray1_Construct(&a, kTypeOf(k8u), 3, alloc), kOK);
    EXPECT_EQ(kL3dArray1_FilterNull(&out, a, alloc), kSTATUS_BAD_PARAMETER);
    kObject_Destroy(a);
}

TEST(L3dArrayUtils, ReversalsOfListsArraysAndRows)
{
    ktest::CountingAlloc alloc;
    for (kSize n : {0u, 1u, 2u, 5u})
    {
        kArrayList list = kNULL;
        kArray1 a = kNULL;
        ASSERT_EQ(kArrayList_Construct(&list, kTypeOf(kText32), 0, alloc), kOK);
        ASSERT_EQ(kArray1_Construct(&a, kTypeOf(kPoint3d16s), n, alloc), kOK);
        for (kSize i = 0; i < n; ++i)
        {
            kText32 t;
            kText32_Set(&t, std::to_string(i).c_str(), 10);
            kArrayList_Add(list, &t);
            ((kPoint3d16s*)kArray1_Data(a))[i] = {(k16s)i, (k16s)(10 * i), (k16s)-i};
        }
        ASSERT_EQ(kL3dArrayList_Reverse(list), kOK);
        ASSERT_EQ(kL3dArray1_Reverse(a), kOK);
        for (kSize i = 0; i < n; ++i)
        {
            EXPECT_STREQ(((kText32*)kArrayList_At(list, i))->chars,
                         std::to_string(n - 1 - i).c_str());
            const kPoint3d16s p = ((kPoint3d16s*)kArray1_Data(a))[i];
            EXPECT_EQ(p.x, (k16s)(n - 1 - i));
            EXPECT_EQ(p.y, (k16s)(10 * (n - 1 - i)));
        }
        kObject_Destroy(list);
        kObject_Destroy(a);
    }

    std::vector<k16u> m(7 * 3);
    for (kSize i = 0; i < m.size(); ++i)
        m[i] = (k16u)(i * 31);
    kArray2 a = Matrix(alloc, kTypeOf(k16u), 7, 3, m);
    ASSERT_EQ(kL3dArray2_ReverseRows(a), kOK);
    for (kSize i = 0; i < 7; ++i)
        for (kSize j = 0; j < 3; ++j)
            EXPECT_EQ(*(k16u*)kArray2_At(a, i, j), m[(6 - i) * 3 + j]);
    kObject_Destroy(a);
}

TEST(L3dArrayUtils, AveragesSkipNulls)
{
    ktest::CountingAlloc alloc;
    const kSize rows = 5, columns = 4;
    std::vector<k32s> v(rows * columns);
    for (kSize k = 0; k < v.size(); ++k)
        v[k] = (k32s)(k * 7919 % 101) - 50;
    v[1] = v[5] = k32S_NULL;
    for (kSize i = 0; i < rows; ++i)
        v[i * columns + 3] = k32S_NULL;                                       // column 3 all null
    v[2 * columns + 0] = v[2 * columns + 1] = v[2 * columns + 2] = k32S_NULL; // row 2 all null
    kArray2 a = Matrix(alloc, kTypeOf(k32s), rows, columns, v);

    kArray1 out = kNULL;
    ASSERT_EQ(kL3dArray2_AverageColumns(&out, a, alloc), kOK);
    ASSERT_EQ(kArray1_ItemType(out), kTypeOf(k64f));
    ASSERT_EQ(kArray1_Length(out), columns);
    for (kSize j = 0; j < columns; ++j)
        EXPECT_DOUBLE_EQ(Items1<k64f>(out)[j], RefMean<k32s>(v, j, columns, rows, k32S_NULL));
    EXPECT_EQ(Items1<k64f>(out)[3], k64F_NULL);
    kObject_Destroy(out);

    ASSERT_EQ(kL3dArray2_AverageRows(&out, a, alloc), kOK);
    ASSERT_EQ(kArray1_Length(out), rows);
    for (kSize i = 0; i < rows; ++i)
        EXPECT_DOUBLE_EQ(Items1<k64f>(out)[i],
                         RefMean<k32s>(v, i * columns, 1, columns, k32S_NULL));
    EXPECT_EQ(Items1<k64f>(out)[2], k64F_NULL);
    kObject_Destroy(out);
    ktest::ExpectCleanFailures([&](kAlloc al, kObject* o)
                               { return kL3dArray2_AverageRows(o, a, al); });
    kObject_Destroy(a);

    // Types without nulls average every item; 255 is data in 8 bits.
    kArray2 b = Matrix<k8u>(alloc, kTypeOf(k8u), 2, 2, {255, 0, 1, 2});
    ASSERT_EQ(kL3dArray2_AverageColumns(&out, b, alloc), kOK);
    EXPECT_EQ(Items1<k64f>(out), (std::vector<k64f>{128.0, 1.0}));
    kObject_Destroy(out);
    kObject_Destroy(b);

    b = Matrix<k64f>(alloc, kTypeOf(kPoint64f), 1, 1, {1.0, 2.0});
    EXPECT_EQ(kL3dArray2_AverageRows(&out, b, alloc), kSTATUS_BAD_PARAMETER);
    kObject_Destroy(b);
}

TEST(L3dArrayUtils, SubtractingAveragesCentresEachLine)
{
    ktest::CountingAlloc alloc;
    const kSize rows = 3, columns = 5;
    std::vector<k64f> v(rows * columns);
    for (kSize k = 0; k < v.size(); ++k)
        v[k] = 0.37 * (double)(k * k % 17) - 1.0;
    v[3] = k64F_NULL;
    for (kSize j = 0; j < columns; ++j)
        v[1 * columns + j] = k64F_NULL; // a row of nulls stays as it is

    kArray2 a = Matrix(alloc, kTypeOf(k64f), rows, columns, v);
    ASSERT_EQ(kL3dArray2_SubRowAverage(a), kOK);
    for (kSize i = 0; i < rows; ++i)
    {
        const k64f mean = RefMean<k64f>(v, i * columns, 1, columns, k64F_NULL);
        for (kSize j = 0; j < columns; ++j)
        {
            const k64f x = v[i * columns + j];
            const k64f got = *(k64f*)kArray2_At(a, i, j);
            if (x == k64F_NULL)
                EXPECT_EQ(got, k64F_NULL);
            else
                EXPECT_NEAR(got, x - mean, 1e-12);
        }
    }
    kObject_Destroy(a);

    std::vector<k32f> f(rows * columns);
    for (kSize k = 0; k < f.size(); ++k)
        f[k] = (k32f)k * 1.5f;
    f[4] = k32F_NULL;
    a = Matrix(alloc, kTypeOf(k32f), rows, columns, f);
    ASSERT_EQ(kL3dArray2_SubColumnAverage(a), kOK);
    for (kSize j = 0; j < columns; ++j)
    {
        const k64f mean = RefMean<k32f>(f, j, columns, rows, k32F_NULL);
        for (kSize i = 0; i < rows; ++i)
        {
            const k32f x = f[i * columns + j];
            const k32f got = *(k32f*)kArray2_At(a, i, j);
            EXPECT_EQ(got, x == k32F_NULL ? k32F_NULL : (k32f)((k64f)x - mean));
        }
    }
    kObject_Destroy(a);

    a = Matrix<k32s>(alloc, kTypeOf(k32s), 1, 2, {1, 2});
    EXPECT_EQ(kL3dArray2_SubRowAverage(a), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kL3dArray2_SubColumnAverage(a), kSTATUS_BAD_PARAMETER);
    kObject_Destroy(a);
}

TEST(L3dArrayUtils, TransposeAndColumnSlices)
{
    ktest::CountingAlloc alloc;
    for (auto shape : {std::pair<kSize, kSize>{1, 1}, {2, 2}, {3, 7}, {7, 3}, {0, 4}})
    {
        const kSize rows = shape.first, columns = shape.second;
        std::vector<kPoint3d64f> v(rows * columns);
        for (kSize k = 0; k < v.size(); ++k)
            v[k] = {(k64f)k, -(k64f)k, 0.5 * (k64f)k};
        kArray2 a = Matrix(alloc, kTypeOf(kPoint3d64f), rows, columns, v);
        kArray2 t = kNULL;
        ASSERT_EQ(kL3dArray2_Transpose(&t, a, alloc), kOK);
        ASSERT_EQ(kArray2_ItemType(t), kTypeOf(kPoint3d64f));
        ASSERT_EQ(kArray2_Length(t, 0), columns);
        ASSERT_EQ(kArray2_Length(t, 1), rows);
        for (kSize i = 0; i < rows; ++i)
            for (kSize j = 0; j < columns; ++j)
                EXPECT_EQ(memcmp(kArray2_At(t, j, i), &v[i * columns + j], sizeof(kPoint3d64f)), 0);
        kObject_Destroy(t);

        for (kSize j = 0; j < columns; ++j)
        {
            kArray1 c = kNULL;
            ASSERT_EQ(kL3dArray2_SliceColumn(&c, a, j, alloc), kOK);
            ASSERT_EQ(kArray1_Length(c), rows);
            for (kSize i = 0; i < rows; ++i)
                EXPECT_EQ(((kPoint3d64f*)kArray1_Data(c))[i].x, v[i * columns + j].x);
            kObject_Destroy(c);
        }
        kArray1 c = kNULL;
        EXPECT_EQ(kL3dArray2_SliceColumn(&c, a, columns, alloc), kSTATUS_BAD_PARAMETER);
        kObject_Destroy(a);
    }

    kArray2 a = Matrix<k8u>(alloc, kTypeOf(k8u), 2, 3, {1, 2, 3, 4, 5, 6});
    ktest::ExpectCleanFailures([&](kAlloc al, kObject* o)
                               { return kL3dArray2_Transpose(o, a, al); });
    ktest::ExpectCleanFailures([&](kAlloc al, kObject* o)
                               { return kL3dArray2_SliceColumn(o, a, 2, al); });
    kObject_Destroy(a);

    kArray2 objects = kNULL;
    ASSERT_EQ(kArray2_Construct(&objects, kTypeOf(kString), 1, 1, alloc), kOK);
    kArray2 t = kNULL;
    kArray1 c = kNULL;
    EXPECT_EQ(kL3dArray2_Transpose(&t, objects, alloc), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kL3dArray2_SliceColumn(&c, objects, 0, alloc), kSTATUS_BAD_PARAMETER);
    kObject_Destroy(objects);
}

TEST(L3dArrayUtils, PackDropsRowPadding)
{
    ktest::CountingAlloc alloc;
    kImage padded = kNULL;
    ASSERT_EQ(kImage_ConstructEx(&padded, kTypeOf(k16u), 5, 3, 64, alloc), kOK);
    ASSERT_GT(kImage_Stride(padded), 10u);
    ASSERT_EQ(kImage_SetPixelFormat(padded, kPIXEL_FORMAT_16BPP_GREYSCALE), kOK);
    for (kSize y = 0; y < 3; ++y)
        for (kSize x = 0; x < 5; ++x)
            *(k16u*)kImage_At(padded, x, y) = (k16u)(1000 * y + x);

    kImage packed = kNULL;
    ASSERT_EQ(kL3dImage_Pack(&packed, padded, alloc), kOK);
    EXPECT_EQ(kImage_Stride(packed), 10u);
    EXPECT_EQ(kImage_PixelType(packed), kTypeOf(k16u));
    EXPECT_EQ(kImage_PixelFormat(packed), kPIXEL_FORMAT_16BPP_GREYSCALE);
    const k16u* p = (const k16u*)kImage_Data(packed);
    for (kSize k = 0; k < 15; ++k)
        EXPECT_EQ(p[k], (k16u)(1000 * (k / 5) + k % 5));
    kObject_Destroy(packed);
    ktest::ExpectCleanFailures([&](kAlloc al, kObject* o)
                               { return kL3dImage_Pack(o, padded, al); });
    kObject_Destroy(padded);
}

TEST(L3dArrayUtils, FillInsideAndOutsideARegion)
{
    ktest::CountingAlloc alloc;
    const kSize w = 7, h = 5;
    const kRect32s regions[] = {{2, 1, 3, 2}, {-3, -2, 5, 4}, {5, 3, 100, 100},
                                {0, 0, 0, 3}, {8, 0, 2, 2},   {1, 1, -2, 3}};
    for (const kRect32s& r : regions)
    {
        for (bool inner : {true, false})
        {
            kImage image = kNULL;
            ASSERT_EQ(kImage_ConstructEx(&image, kTypeOf(kRgb), w, h, 32, alloc), kOK);
            const kRgb fill = {1, 2, 3, 4};
            ASSERT_EQ(inner ? kL3dImage_FillInner(image, &r, &fill)
                            : kL3dImage_FillOuter(image, &r, &fill),
                      kOK);
            for (kSize y = 0; y < h; ++y)
            {
                for (kSize x = 0; x < w; ++x)
                {
                    const bool inside = (k64s)x >= r.x && (k64s)x < (k64s)r.x + r.width &&
                                        (k64s)y >= r.y && (k64s)y < (k64s)r.y + r.height;
                    const kRgb px = *(kRgb*)kImage_At(image, x, y);
                    EXPECT_EQ(px.g == 2, inside == inner)
                        << r.x << "," << r.y << " " << r.width << "x" << r.height << " at " << x
                        << "," << y << (inner ? " inner" : " outer");
                }
            }
            kObject_Destroy(image);
        }
    }
    kImage image = kNULL;
    ASSERT_EQ(kImage_Construct(&image, kTypeOf(k8u), 2, 2, alloc), kOK);
    const k8u one = 1;
    EXPECT_EQ(kL3dImage_FillInner(image, kNULL, &one), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kL3dImage_FillOuter(image, &regions[0], kNULL), kSTATUS_BAD_PARAMETER);
    kObject_Destroy(image);
}
