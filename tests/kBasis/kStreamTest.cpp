// Streams: the memory stream as the reference medium for the stream contract.
#include <kTestSupport.h>

#include <kBasis/kMemoryStream.h>

#include <cstring>
#include <vector>

namespace
{
std::vector<kByte> Contents(kMemoryStream stream)
{
    const kByte* data = kMemoryStream_Data(stream);
    return std::vector<kByte>(data, data + kMemoryStream_Length(stream));
}
} // namespace

TEST(kStream, MemoryStreamWritesReadsAndSeeks)
{
    ktest::CountingAlloc alloc;
    kMemoryStream stream = kNULL;
    ASSERT_EQ(kMemoryStream_Construct(&stream, alloc), kOK);
    EXPECT_EQ(kMemoryStream_Data(stream), nullptr);

    ASSERT_EQ(kStream_Write(stream, "abcdef", 6), kOK);
    ASSERT_EQ(kStream_Seek(stream, 2, kSEEK_ORIGIN_BEGIN), kOK);
    ASSERT_EQ(kStream_Write(stream, "XY", 2), kOK); // overwrite in place
    EXPECT_EQ(Contents(stream), (std::vector<kByte>{'a', 'b', 'X', 'Y', 'e', 'f'}));

    // A write past the end fills the gap with zeros.
    ASSERT_EQ(kStream_Seek(stream, 2, kSEEK_ORIGIN_END), kOK);
    ASSERT_EQ(kStream_Write(stream, "Z", 1), kOK);
    EXPECT_EQ(Contents(stream), (std::vector<kByte>{'a', 'b', 'X', 'Y', 'e', 'f', 0, 0, 'Z'}));

    k64u position = 0, remaining = 0;
    ASSERT_EQ(kStream_Seek(stream, -4, kSEEK_ORIGIN_CURRENT), kOK);
    ASSERT_EQ(kStream_Position(stream, &position), kOK);
    EXPECT_EQ(position, 5u);
    ASSERT_EQ(kStream_Remaining(stream, &remaining), kOK);
    EXPECT_EQ(remaining, 4u);
    ASSERT_EQ(kStream_Position(stream, &position), kOK);
    EXPECT_EQ(position, 5u); // Remaining keeps the position

    kByte buffer[8] = {};
    kSize count = 99;
    EXPECT_EQ(kStream_ReadSome(stream, buffer, 1, 8, &count), kOK);
    EXPECT_EQ(count, 4u);
    EXPECT_EQ(memcmp(buffer, "f\0\0Z", 4), 0);
    EXPECT_EQ(kStream_ReadSome(stream, buffer, 1, 8, &count), kSTATUS_INCOMPLETE);
    EXPECT_EQ(count, 0u);

    ASSERT_EQ(kStream_Seek(stream, 3, kSEEK_ORIGIN_BEGIN), kOK);
    EXPECT_EQ(kStream_Read(stream, buffer, 8), kSTATUS_INCOMPLETE); // 6 bytes were left
    EXPECT_EQ(memcmp(buffer, "Yef\0\0Z", 6), 0);

    EXPECT_EQ(kStream_Seek(stream, -1, kSEEK_ORIGIN_BEGIN), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kStream_Seek(stream, 0, 7), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kStream_ReadSome(stream, buffer, 2, 1, &count), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kStream_Flush(stream), kOK);

    ASSERT_EQ(kMemoryStream_Clear(stream), kOK);
    EXPECT_EQ(kMemoryStream_Length(stream), 0u);
    EXPECT_EQ(kObject_Destroy(stream), kOK);
}

TEST(kStream, ViewReadsCallerBytesAndRefusesWrites)
{
    ktest::CountingAlloc alloc;
    const char text[] = "0123456789";
    kMemoryStream view = kNULL;
    ASSERT_EQ(kMemoryStream_ConstructView(&view, text, 10, alloc), kOK);
    EXPECT_EQ(kMemoryStream_Data(view), (const kByte*)text);
    EXPECT_EQ(kStream_Write(view, "x", 1), kSTATUS_NOT_IMPLEMENTED);

    kChar buffer[4] = {};
    ASSERT_EQ(kStream_Seek(view, 6, kSEEK_ORIGIN_BEGIN), kOK);
    ASSERT_EQ(kStream_Read(view, buffer, 4), kOK);
    EXPECT_EQ(memcmp(buffer, "6789", 4), 0);
    EXPECT_EQ(kMemoryStream_ConstructView(&view, nullptr, 1, alloc), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kObject_Destroy(view), kOK);
}

TEST(kStream, CopyAllCopiesFromThePositionToTheEnd)
{
    ktest::CountingAlloc alloc;
    std::vector<kByte> source(200000);
    for (size_t i = 0; i < source.size(); ++i)
        source[i] = (kByte)(i * 31 + i / 977);

    kMemoryStream from = kNULL, to = kNULL;
    ASSERT_EQ(kMemoryStream_ConstructView(&from, source.data(), source.size(), alloc), kOK);
    ASSERT_EQ(kMemoryStream_Construct(&to, alloc), kOK);
    ASSERT_EQ(kStream_Seek(from, 7, kSEEK_ORIGIN_BEGIN), kOK);
    ASSERT_EQ(kStream_CopyAll(to, from), kOK);
    EXPECT_EQ(Contents(to), std::vector<kByte>(source.begin() + 7, source.end()));

    // A destination that refuses writes stops the copy with its status.
    EXPECT_EQ(kStream_Seek(to, 0, kSEEK_ORIGIN_BEGIN), kOK);
    EXPECT_EQ(kStream_CopyAll(from, to), kSTATUS_NOT_IMPLEMENTED);

    EXPECT_EQ(kObject_Destroy(from), kOK);
    EXPECT_EQ(kObject_Destroy(to), kOK);
}

TEST(kStream, ConstructionFailsCleanlyAndWrongHandlesAreRefused)
{
    ktest::ExpectCleanFailures([](kAlloc alloc, kObject* handle)
                               { return kMemoryStream_Construct(handle, alloc); });
    ktest::ExpectCleanFailures(
        [](kAlloc alloc, kObject* handle)
        {
            kStatus status = kMemoryStream_Construct(handle, alloc);
            if (!kSuccess(status)) return status;
            status = kStream_Write(*handle, "0123456789", 10); // buffer growth fails cleanly
            if (!kSuccess(status)) kDestroyRef(handle);
            return status;
        });

    ktest::CastFailCapture casts;
    ktest::CountingAlloc alloc;
    kMemory memory = kNULL;
    ASSERT_EQ(kMemory_Construct(&memory, alloc), kOK);
    kByte b = 0;
    EXPECT_EQ(kStream_Read(memory, &b, 1), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kStream_Write(memory, &b, 1), kSTATUS_BAD_PARAMETER);
    EXPECT_GE(casts.Count(), 2);
    EXPECT_EQ(kObject_Destroy(memory), kOK);
}
