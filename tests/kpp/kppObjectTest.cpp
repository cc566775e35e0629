#include <kSolan/kpp/Common/kppColor.h>
#include <kSolan/kpp/Data/kppArray1.h>
#include <kSolan/kpp/Data/kppArray2.h>
#include <kSolan/kpp/Data/kppArrayList.h>
#include <kSolan/kpp/Data/kppImage.h>

#include <kTestSupport.h>
#include "kppTestAssembly.h"

namespace
{
using kpp::Data::Array1;
using kpp::Data::Array2;
using kpp::Data::ArrayList;

k32s Refs(kObject o) { return kObject_RefCount(o); }

TEST(KppObject, AttachSharesAndReleases)
{
    ktest::CountingAlloc alloc;
    {
        Array1<double> a;
        ASSERT_EQ(a.Init(4, alloc.get()), kOK);
        kObject handle = a.Handle();
        EXPECT_EQ(Refs(handle), 1);

        // Attaching the own handle is a no-op: no release, no new share.
        EXPECT_EQ(a.Attach(handle), kOK);
        EXPECT_EQ(a.Handle(), handle);
        EXPECT_EQ(Refs(handle), 1);

        Array1<double> b(a); // copy shares
        EXPECT_EQ(Refs(handle), 2);
        EXPECT_TRUE(a.IsShared());
        Array1<double> c;
        EXPECT_EQ(c.Attach(a), kOK);
        EXPECT_EQ(Refs(handle), 3);

        void* exported = nullptr;
        EXPECT_EQ(a.Export(exported), kOK);
        EXPECT_EQ(exported, handle);
        EXPECT_EQ(Refs(handle), 4);
        EXPECT_EQ(kObject_Destroy(exported), kOK);

        // Attach(null) drops the current object and leaves the wrapper empty.
        EXPECT_EQ(b.Attach(nullptr), kOK);
        EXPECT_TRUE(b.IsNull());
        EXPECT_EQ(b.Alloc(), nullptr);
        EXPECT_EQ(Refs(handle), 2);
        EXPECT_EQ(c.Destroy(), kOK);
        EXPECT_EQ(Refs(handle), 1);
        EXPECT_EQ(a.Alloc(), alloc.get());
    }
    EXPECT_EQ(alloc.Outstanding(), 0u);
}

TEST(KppObject, ContainersRefuseOtherClassesAndItemTypes)
{
    ktest::CountingAlloc alloc;
    kObjectGuard floats, list;
    ASSERT_EQ(kArray1_Construct(&floats, kTypeOf(k32f), 3, alloc.get()), kOK);
    ASSERT_EQ(kArrayList_Construct(&list, kTypeOf(k64f), 0, alloc.get()), kOK);

    Array1<double> a;
    ASSERT_EQ(a.Init(2, alloc.get()), kOK);
    EXPECT_EQ(a.Attach(floats.get()), kSTATUS_BAD_PARAMETER); // wrong item type
    EXPECT_TRUE(a.IsNull());                                  // old object dropped
    EXPECT_EQ(a.Attach(list.get()), kSTATUS_BAD_PARAMETER);   // wrong class
    EXPECT_EQ(Refs(floats.get()), 1);
    EXPECT_EQ(Refs(list.get()), 1);

    kpp::Object plain;
    EXPECT_EQ(plain.Attach(floats.get()), kOK); // the base wrapper takes any object
    EXPECT_EQ(Refs(floats.get()), 2);

    kpp::Data::Image<unsigned char> image;
    EXPECT_EQ(image.Attach(list.get()), kSTATUS_BAD_PARAMETER);
}

TEST(KppObject, HoldersDoNotOwn)
{
    ktest::CountingAlloc alloc;
    kpp::Object held;
    ASSERT_EQ(held.Init(alloc.get()), kOK);
    ArrayList<kpp::ObjectHolder> holders;
    ASSERT_EQ(holders.Init(alloc.get()), kOK);
    void* share = nullptr;
    ASSERT_EQ(held.Export(share), kOK);
    ASSERT_EQ(holders.Add(kpp::ObjectHolder(share)), kOK);
    EXPECT_EQ(holders.Count(), 1u);
    EXPECT_EQ(holders.Back().handle, held.Handle());
    EXPECT_EQ(Refs(held.Handle()), 2);
    EXPECT_EQ(holders.Dispose(), kOK); // a holder is a plain value: its object stays
    EXPECT_TRUE(holders.IsNull());
    EXPECT_EQ(Refs(held.Handle()), 2);
    EXPECT_EQ(kObject_Destroy(share), kOK);
    EXPECT_EQ(Refs(held.Handle()), 1);
}

TEST(KppObject, Load6AttachesWithTheWrappersChecks)
{
    ktest::CountingAlloc alloc;
    ktest::TempDir dir;
    const std::string path = dir.Path() + "/a.kdat";
    {
        Array2<double> m;
        ASSERT_EQ(m.Init(2, 3, alloc.get()), kOK);
        for (kSize k = 0; k < m.Count(); ++k)
            m[k] = 0.5 * (double)k;
        ASSERT_EQ(m.Save6(path), kOK);

        Array2<double> loaded;
        ASSERT_EQ(loaded.Load6(path, alloc.get()), kOK);
        EXPECT_EQ(Refs(loaded.Handle()), 1);
        EXPECT_EQ(loaded.Length(0), 2u);
        EXPECT_EQ(loaded.At(1, 2), 2.5);
        // A non-empty wrapper refuses and keeps its object.
        kObject before = loaded.Handle();
        EXPECT_EQ(loaded.Load6(path, alloc.get()), kSTATUS_BAD_PARAMETER);
        EXPECT_EQ(loaded.Handle(), before);

        Array2<float> wrongType;
        EXPECT_EQ(wrongType.Load6(path.c_str(), alloc.get()), kSTATUS_BAD_PARAMETER);
        EXPECT_TRUE(wrongType.IsNull());
        Array1<double> wrongClass;
        EXPECT_EQ(wrongClass.Load6(path, alloc.get()), kSTATUS_BAD_PARAMETER);

        Array2<double> missing;
        EXPECT_NE(missing.Load6(dir.Path() + "/none.kdat", alloc.get()), kOK);
        EXPECT_TRUE(missing.IsNull());
    }
    EXPECT_EQ(alloc.Outstanding(), 0u);
}

TEST(KppObject, AllocatorGetObjectAndDisposeRef)
{
    ktest::CountingAlloc alloc;
    {
        kpp::Allocator allocator;
        allocator.Attach(alloc.get());
        ArrayList<kpp::S3d::PointGridAlgs::GridId>* list = nullptr;
        ASSERT_EQ(allocator.GetObject(list), kOK);
        ASSERT_NE(list, nullptr);
        EXPECT_TRUE(list->IsNull());
        ASSERT_EQ(list->Init(allocator), kOK);
        ASSERT_EQ(list->Add({3, 4}), kOK);
        EXPECT_EQ(list->At(0).col, 4);
        EXPECT_EQ(kpp::Allocator::DisposeRef(list), kOK);
        EXPECT_EQ(list, nullptr);

        // A wrapper not made by GetObject is refused after an assertion.
        ktest::AssertCapture asserts;
        ArrayList<int> local;
        ArrayList<int>* pointer = &local;
        EXPECT_EQ(kpp::Allocator::DisposeRef(pointer), kSTATUS_FAILED);
        EXPECT_EQ(asserts.Count(), 1);
    }
    EXPECT_EQ(alloc.Outstanding(), 0u);
}

TEST(KppObject, InitFailsCleanly)
{
    ktest::ExpectCleanFailures(
        [](kAlloc alloc, kObject* handle)
        {
            Array2<double> m;
            kStatus status = m.Init(3, 4, alloc);
            if (kSuccess(status)) m.Export(*handle);
            return status;
        });
    ktest::ExpectCleanFailures(
        [](kAlloc alloc, kObject* handle)
        {
            kpp::Object o;
            kStatus status = o.Init(alloc);
            if (kSuccess(status)) o.Export(*handle);
            return status;
        });
}

TEST(KppObject, ZeroNullAndAssign)
{
    ktest::CountingAlloc alloc;
    Array1<short> a;
    ASSERT_EQ(a.Init(3, alloc.get()), kOK);
    ASSERT_EQ(a.Null(), kOK);
    EXPECT_EQ(a.At(2), -32768);
    Array1<short> b;
    ASSERT_EQ(b.Assign(a), kOK);
    EXPECT_NE(b.Handle(), a.Handle());
    EXPECT_EQ(b.Length(), 3u);
    EXPECT_EQ(b.At(1), -32768);
    ASSERT_EQ(a.Zero(), kOK);
    EXPECT_EQ(a.At(0), 0);
    EXPECT_EQ(Array1<kpp::Color>::ItemType(), kTypeOf(kColor));
    EXPECT_EQ(ArrayList<kpp::ObjectHolder>::ItemType(), kTypeOf(kObjectHolder));
    EXPECT_EQ(Array1<int*>::ItemType(), kTypeOf(kPointer));

    kpp::Data::Image<double> image;
    ASSERT_EQ(image.Init(3, 2, alloc.get()), kOK);
    ASSERT_EQ(image.Null(), kOK);
    EXPECT_EQ(image.At(2, 1), k64F_NULL);
}

TEST(KppMath, RoundColorAndRandom)
{
    EXPECT_EQ((kpp::Math::Round<double, unsigned char>(255.6)), 0);
    EXPECT_EQ((kpp::Math::Round<double, unsigned char>(-3.0)), 0);
    EXPECT_EQ((kpp::Math::Round<double, unsigned short>(2.5)), 3);
    EXPECT_EQ((kpp::Math::Round<double, unsigned short>(65536.2)), 0);
    EXPECT_EQ(kpp::Math::Clamp(7, 0, 5), 5);

    const kpp::Color c = kpp::Color::FromArgb(0x12, 0x134, 0x256, 0x378);
    EXPECT_EQ(c.argb, 0x12345678u);
    EXPECT_EQ(c.R(), 0x34);
    EXPECT_EQ(c.G(), 0x56);
    EXPECT_EQ(c.B(), 0x78);

    srand(5);
    for (int i = 0; i < 100; ++i)
    {
        const int r = kpp::Math::Random(10, 4);
        EXPECT_GE(r, 10);
        EXPECT_LE(r, 13);
    }
}
} // namespace
