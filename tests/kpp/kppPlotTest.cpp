// The plot wrapper: shares handed to the plot, the failure path of Add, world and ownership.
#include <kSolan/kpp/Data/kppArray1.h>
#include <kSolan/kpp/Data/kppImage.h>
#include <kSolan/kpp/Data/kppPlot.h>

#include <kTestSupport.h>
#include "kppTestAssembly.h"

namespace
{
using kpp::Data::Plot;

k32s Refs(kObject o) { return kObject_RefCount(o); }

TEST(KppPlot, AddSharesItemsWithThePlot)
{
    ktest::CountingAlloc alloc;
    {
        kpp::Allocator allocator;
        allocator.Attach(alloc.get());
        Plot plot;
        ASSERT_EQ(plot.Init(allocator), kOK);
        kpp::Data::Array1<double> profile;
        ASSERT_EQ(profile.Init(4, alloc.get()), kOK);
        kpp::Data::Image<unsigned char> image;
        ASSERT_EQ(image.Init(3, 2, alloc.get()), kOK);

        ASSERT_EQ(plot.Add("Profile", profile), kOK);
        ASSERT_EQ(plot.Add("Image", image), kOK);
        EXPECT_EQ(Refs(profile.Handle()), 2);
        EXPECT_EQ(Refs(image.Handle()), 2);
        ASSERT_EQ(kPlot_Count(plot.Handle()), 2u);
        EXPECT_STREQ(kPlot_NameAt(plot.Handle(), 1), "Image");
        EXPECT_EQ(kPlot_ItemAt(plot.Handle(), 0), profile.Handle());

        // The plot's share goes with the plot; the wrappers keep theirs.
        EXPECT_EQ(plot.Dispose(), kOK);
        EXPECT_TRUE(plot.IsNull());
        EXPECT_EQ(Refs(profile.Handle()), 1);
        EXPECT_EQ(Refs(image.Handle()), 1);
    }
    EXPECT_EQ(alloc.Outstanding(), 0u);
}

TEST(KppPlot, FailedAddDropsTheExportedShare)
{
    ktest::CountingAlloc plotAlloc, itemAlloc;
    {
        Plot plot;
        ASSERT_EQ(plot.Init(plotAlloc.get()), kOK);
        kpp::Data::Array1<double> item;
        ASSERT_EQ(item.Init(2, itemAlloc.get()), kOK);

        kCountingAlloc_SetFailAfter(plotAlloc.get(), 0); // the plot cannot grow its list
        EXPECT_EQ(plot.Add("Item", item), kSTATUS_MEMORY);
        EXPECT_EQ(Refs(item.Handle()), 1);
        EXPECT_EQ(kPlot_Count(plot.Handle()), 0u);
        kCountingAlloc_SetFailAfter(plotAlloc.get(), kSIZE_MAX);

        EXPECT_EQ(plot.Add(nullptr, item), kSTATUS_BAD_PARAMETER);
        EXPECT_EQ(Refs(item.Handle()), 1);
        kpp::Data::Array1<double> empty;
        EXPECT_EQ(plot.Add("Empty", empty), kSTATUS_BAD_PARAMETER);

        ASSERT_EQ(plot.Add("Item", item), kOK);
        EXPECT_EQ(Refs(item.Handle()), 2);
    }
    EXPECT_EQ(plotAlloc.Outstanding(), 0u);
    EXPECT_EQ(itemAlloc.Outstanding(), 0u);
}

TEST(KppPlot, SetWorldWidensTheFloats)
{
    Plot plot;
    ASSERT_EQ(plot.Init(nullptr), kOK);
    k64f x0, y0, x1, y1;
    ASSERT_EQ(kPlot_World(plot.Handle(), &x0, &y0, &x1, &y1), kOK);
    EXPECT_EQ(x1, 1.0); // a new plot shows the unit square
    ASSERT_EQ(plot.SetWorld(0.1f, 480.5f, -2.25f, 0.0f), kOK);
    ASSERT_EQ(kPlot_World(plot.Handle(), &x0, &y0, &x1, &y1), kOK);
    EXPECT_EQ(x0, (double)0.1f);
    EXPECT_EQ(y0, 480.5);
    EXPECT_EQ(x1, -2.25);
    EXPECT_EQ(y1, 0.0);
}

TEST(KppPlot, OwnershipAndClassChecks)
{
    ktest::CountingAlloc alloc;
    ktest::TempDir dir;
    {
        Plot plot;
        ASSERT_EQ(plot.Init(alloc.get()), kOK);
        kObject handle = plot.Handle();
        {
            Plot copy(plot);
            EXPECT_EQ(Refs(handle), 2);
            Plot attached;
            ASSERT_EQ(attached.Attach(plot), kOK);
            ASSERT_EQ(attached.Attach(handle), kOK); // own handle: no new share
            EXPECT_EQ(Refs(handle), 3);
            void* exported = nullptr;
            ASSERT_EQ(plot.Export(exported), kOK);
            EXPECT_EQ(Refs(handle), 4);
            EXPECT_EQ(kObject_Dispose(exported), kOK);
            EXPECT_EQ(copy.Destroy(), kOK);
            EXPECT_EQ(Refs(handle), 2);
        }
        EXPECT_EQ(Refs(handle), 1);

        // Only a kPlot fits.
        kpp::Data::Array1<double> array;
        ASSERT_EQ(array.Init(2, alloc.get()), kOK);
        Plot other;
        ASSERT_EQ(other.Init(alloc.get()), kOK);
        EXPECT_EQ(other.Attach(array), kSTATUS_BAD_PARAMETER);
        EXPECT_TRUE(other.IsNull());
        EXPECT_EQ(Refs(array.Handle()), 1);
        kpp::Object base(array);
        EXPECT_EQ(other.Attach(base), kSTATUS_BAD_PARAMETER);
        EXPECT_EQ(other.Attach(nullptr), kOK);

        // Plots are not stored; a stored array does not load as a plot.
        EXPECT_NE(plot.Save6(dir.File("plot.kdat")), kOK);
        ASSERT_EQ(array.Save6(dir.File("array.kdat")), kOK);
        EXPECT_EQ(other.Load6(dir.File("array.kdat"), alloc.get()), kSTATUS_BAD_PARAMETER);
        EXPECT_TRUE(other.IsNull());
        EXPECT_EQ(plot.Load6(dir.File("array.kdat"), alloc.get()), kSTATUS_BAD_PARAMETER);
        EXPECT_EQ(plot.Handle(), handle);
    }
    EXPECT_EQ(alloc.Outstanding(), 0u);
}

TEST(KppPlot, InitFailsCleanly)
{
    ktest::ExpectCleanFailures(
        [](kAlloc alloc, kObject* handle)
        {
            Plot plot;
            kStatus status = plot.Init(alloc);
            if (kSuccess(status)) plot.Export(*handle);
            return status;
        });
}
} // namespace
