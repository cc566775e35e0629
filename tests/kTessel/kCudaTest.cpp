// GPU helpers: availability, error conversion, and the host fallback of streams, allocators,
// copies and device arrays (on a machine with a device the same calls go through the GPU and
// the results must be the same).
#include <kTestSupport.h>

#include <kTessel.h>

#include <vector>

TEST(Cuda, AvailabilityIsConsistent)
{
    kBool device = kCudaDevice_IsAvailable(kTRUE);
    EXPECT_EQ(kCudaDevice_IsAvailable(kFALSE), device); // the cached answer of that probe
    if (!kCudaRuntime_IsAvailable())
    {
        EXPECT_FALSE(device);
    }

    k32u traits = kAlloc_Traits(kCudaDeviceAlloc_Instance());
    EXPECT_EQ(traits, device ? (k32u)kALLOC_TRAIT_DEVICE : (k32u)kALLOC_TRAIT_HOST);
    EXPECT_TRUE(kAlloc_Traits(kCudaManagedAlloc_Instance()) & kALLOC_TRAIT_HOST);
    EXPECT_EQ(kObject_Type(kCudaDeviceAlloc_Instance()), kTypeOf(kCudaAlloc));
    EXPECT_EQ(kCudaStatus_Peek(), 0);
}

TEST(Cuda, StatusConversion)
{
    EXPECT_EQ(kCudaStatus_Convert(0), kOK);
    EXPECT_EQ(kCudaStatus_Convert(1), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kCudaStatus_Convert(2), kSTATUS_MEMORY);
    EXPECT_EQ(kCudaStatus_Convert(17), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kCudaStatus_Convert(35), kSTATUS_NOT_IMPLEMENTED);
    EXPECT_EQ(kCudaStatus_Convert(100), kSTATUS_NOT_IMPLEMENTED);
    EXPECT_EQ(kCudaStatus_Convert(700), kSTATUS_FAILED);
    EXPECT_EQ(kCudaStatus_Filter(600), 0);
    EXPECT_EQ(kCudaStatus_Filter(2), 2);
    EXPECT_EQ(kCudaStatus_Convert(kCudaStatus_Filter(kCudaStatus_Peek())), kOK);
}

TEST(Cuda, StreamsAndCopies)
{
    ktest::CountingAlloc alloc;
    kCudaStream stream = kNULL;
    ASSERT_EQ(kCudaStream_Construct(&stream, alloc), kOK);
    EXPECT_EQ(kCudaStream_Synchronize(stream), kOK);
    EXPECT_EQ(kCudaStream_Synchronize(kNULL), kOK); // the default stream
    if (!kCudaDevice_IsAvailable(kFALSE))
    {
        EXPECT_EQ(kCudaStream_Handle(stream), kNULL);
    }

    void* managed = kNULL;
    ASSERT_EQ(kAlloc_Get(kCudaManagedAlloc_Instance(), 64, &managed), kOK);
    EXPECT_EQ(kCudaStream_AttachMemory(stream, managed), kOK);
    EXPECT_EQ(kCudaStream_AttachMemory(stream, kNULL), kSTATUS_BAD_PARAMETER);
    kAlloc_Free(kCudaManagedAlloc_Instance(), managed);

    const k32s host[4] = {1, -2, 3, -4};
    k32s back[4] = {};
    void* device = kNULL;
    ASSERT_EQ(kCudaUtils_PrepareDeviceValue(&device, host, sizeof(host)), kOK);
    ASSERT_EQ(kCudaUtils_Copy(back, device, sizeof(back), stream), kOK);
    EXPECT_EQ(back[3], -4);
    void* same = device;
    ASSERT_EQ(kCudaUtils_PrepareDeviceValue(&device, host, sizeof(host)), kOK);
    EXPECT_EQ(device, same); // reused
    EXPECT_EQ(kCudaUtils_FreeDeviceRef(&device), kOK);
    EXPECT_EQ(device, kNULL);
    EXPECT_EQ(kCudaUtils_FreeDeviceRef(&device), kOK);
    EXPECT_EQ(kCudaUtils_Copy(kNULL, host, 4, kNULL), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kCudaUtils_Copy(kNULL, kNULL, 0, kNULL), kOK);
    kObject_Destroy(stream);
    ktest::ExpectCleanFailures([](kAlloc a, kObject* out)
                               { return kCudaStream_Construct(out, a); });
}

TEST(Cuda, DeviceArraysRoundTrip)
{
    ktest::CountingAlloc alloc;
    kArray2 host = kNULL, back = kNULL;
    kObject device = kNULL;
    ASSERT_EQ(kArray2_Construct(&host, kTypeOf(k16s), 3, 5, alloc), kOK);
    for (kSize i = 0; i < 15; ++i)
        kArray2_DataT<k16s>(host)[i] = (k16s)(i * 100 - 700);
    ASSERT_EQ(kCudaUtils_PrepareDeviceArray(&device, host, kNULL), kOK);
    EXPECT_EQ(kArray2_Length(device, 1), 5u);

    ASSERT_EQ(kArray2_Construct(&back, kTypeOf(k8u), 1, 1, alloc), kOK);
    ASSERT_EQ(kCudaUtils_ExportDeviceArray(back, device, kNULL), kOK); // takes type and shape
    EXPECT_EQ(kArray2_ItemType(back), kTypeOf(k16s));
    EXPECT_EQ(kArray2_Length(back, 0), 3u);
    EXPECT_EQ(*kArray2_AtT<k16s>(back, 2, 4), 700);

    // A second prepare re-shapes the existing device array in place.
    ASSERT_EQ(kArray2_Allocate(host, kTypeOf(k16s), 2, 2), kOK);
    kObject previous = device;
    ASSERT_EQ(kCudaUtils_PrepareDeviceArray(&device, host, kNULL), kOK);
    EXPECT_EQ(device, previous);
    EXPECT_EQ(kArray2_Count(device), 4u);

    kArray1 line = kNULL, objects = kNULL;
    kArray3 cube = kNULL;
    kObject deviceLine = kNULL, deviceCube = kNULL;
    ASSERT_EQ(kArray1_Construct(&line, kTypeOf(k64f), 7, alloc), kOK);
    ASSERT_EQ(kArray3_Construct(&cube, kTypeOf(k8u), 2, 3, 4, alloc), kOK);
    ASSERT_EQ(kCudaUtils_PrepareDeviceArray(&deviceLine, line, kNULL), kOK);
    ASSERT_EQ(kCudaUtils_PrepareDeviceArray(&deviceCube, cube, kNULL), kOK);
    EXPECT_EQ(kArray3_Length(deviceCube, 2), 4u);
    EXPECT_EQ(kCudaUtils_AssignArray(deviceLine, cube, kNULL),
              kSTATUS_BAD_PARAMETER); // classes differ
    ASSERT_EQ(kArray1_Construct(&objects, kTypeOf(kArray1), 2, alloc), kOK);
    kObject none = kNULL;
    EXPECT_EQ(kCudaUtils_PrepareDeviceArray(&none, objects, kNULL), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kCudaUtils_PrepareDeviceArray(&none, alloc.get(), kNULL), kSTATUS_BAD_PARAMETER);

    for (kObject o : {(kObject)host, (kObject)back, device, (kObject)line, (kObject)cube,
                      deviceLine, deviceCube, (kObject)objects})
        kObject_Destroy(o);

    ASSERT_EQ(kArray1_Construct(&line, kTypeOf(k32u), 16, kNULL), kOK);
    ktest::ExpectCleanFailures(
        [&](kAlloc a, kObject* out)
        {
            kArray1 source = kNULL;
            kStatus status = kArray1_Construct(&source, kTypeOf(k32u), 16, a);
            if (kSuccess(status)) status = kCudaUtils_PrepareDeviceArray(out, source, kNULL);
            kObject_Destroy(source);
            return status;
        });
    kObject_Destroy(line);
}
