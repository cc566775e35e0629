// Plots: named items owned by the plot, the world rectangle, the title, deep copies.
#include <kTestSupport.h>

#include <kTessel.h>

#include <string>

TEST(Plot, OwnsItsItemsAndKeepsTheirOrder)
{
    ktest::CountingAlloc alloc;
    kPlot plot = kNULL, copy = kNULL;
    kImage contrast = kNULL, phase = kNULL;
    ASSERT_EQ(kPlot_Construct(&plot, alloc), kOK);
    k64f x0 = -1, y0 = -1, x1 = -1, y1 = -1;
    ASSERT_EQ(kPlot_World(plot, &x0, &y0, &x1, &y1), kOK);
    EXPECT_EQ(x0, 0.0);
    EXPECT_EQ(y1, 1.0);
    EXPECT_STREQ(kPlot_Title(plot), "");

    ASSERT_EQ(kImage_Construct(&contrast, kTypeOf(k8u), 5, 3, alloc), kOK);
    ASSERT_EQ(kImage_Construct(&phase, kTypeOf(k16s), 5, 3, alloc), kOK);
    *kImage_AtT<k16s>(phase, 4, 2) = -32768;
    ASSERT_EQ(kPlot_Add(plot, "Contrast", contrast), kOK);
    ASSERT_EQ(kPlot_Add(plot, "Phase", phase), kOK);
    EXPECT_EQ(kPlot_Add(plot, kNULL, phase), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kPlot_Add(plot, "None", kNULL), kSTATUS_BAD_PARAMETER);
    ASSERT_EQ(kPlot_SetWorld(plot, 0, 0, 5, -3), kOK); // rows grow downwards
    ASSERT_EQ(kPlot_SetTitle(plot, std::string(70, 'T').c_str()), kOK);
    EXPECT_EQ(std::string(kPlot_Title(plot)), std::string(63, 'T')); // cut, terminated
    ASSERT_EQ(kPlot_SetTitle(plot, "Phase Map Plot"), kOK);

    ASSERT_EQ(kPlot_Count(plot), 2u);
    EXPECT_STREQ(kPlot_NameAt(plot, 1), "Phase");
    EXPECT_EQ(kPlot_ItemAt(plot, 0), contrast);
    EXPECT_EQ(kPlot_ItemAt(plot, 2), kNULL);
    EXPECT_EQ(kPlot_NameAt(plot, 2), kNULL);

    ASSERT_EQ(kObject_Clone(&copy, plot, alloc), kOK);
    ASSERT_EQ(kPlot_World(copy, kNULL, &y0, kNULL, &y1), kOK);
    EXPECT_EQ(y1, -3.0);
    EXPECT_STREQ(kPlot_Title(copy), "Phase Map Plot");
    EXPECT_NE(kPlot_ItemAt(copy, 1), phase);
    EXPECT_EQ(*kImage_AtT<k16s>(kPlot_ItemAt(copy, 1), 4, 2), -32768);
    EXPECT_GT(kObject_Size(copy), kObject_Size(contrast) + kObject_Size(phase));
    kObject_Destroy(copy);
    kObject_Destroy(plot); // the items go with it

    ktest::ExpectCleanFailures([](kAlloc a, kObject* out) { return kPlot_Construct(out, a); });
    ASSERT_EQ(kPlot_Construct(&plot, alloc), kOK);
    ASSERT_EQ(kImage_Construct(&phase, kTypeOf(k16s), 2, 2, alloc), kOK);
    ASSERT_EQ(kPlot_Add(plot, "Phase", phase), kOK);
    ktest::ExpectCleanFailures([&](kAlloc a, kObject* out) { return kObject_Clone(out, plot, a); });
    kObject_Destroy(plot);
}
