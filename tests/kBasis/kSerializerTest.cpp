// kdat serialisation: exact bytes, round trips of every container and item type, registered
// versions, streams, and damaged files.
#include <kTestSupport.h>
#include <kDatTestFiles.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <string>
#include <vector>

using ktest::Bytes;

namespace
{
/** Writes object as one frame of format 5 or 6 into memory, as kSave5 / kSave6 would. */
Bytes Serialize(kObject object, k32u format, bool compress, kStatus* status = nullptr)
{
    kMemoryStream stream = kNULL;
    kSerializer serializer = kNULL;
    EXPECT_EQ(kMemoryStream_Construct(&stream, kNULL), kOK);
    if (format == 5)
    {
        EXPECT_EQ(kDat5Serializer_Construct(&serializer, stream, kNULL), kOK);
        EXPECT_EQ(kDat5Serializer_EnableCompression(serializer, compress), kOK);
    }
    else
    {
        EXPECT_EQ(kDat6Serializer_Construct(&serializer, stream, kNULL), kOK);
        EXPECT_EQ(kDat6Serializer_EnableCompression(serializer, compress), kOK);
    }
    kStatus s = kSerializer_WriteObject(serializer, object);
    if (status)
        *status = s;
    else
        EXPECT_EQ(s, kOK);
    const kByte* data = kMemoryStream_Data(stream);
    Bytes bytes(data, data + kMemoryStream_Length(stream));
    kObject_Destroy(serializer);
    kObject_Destroy(stream);
    return bytes;
}

/** Reads the one object of bytes with a serializer of format 5 or 6. */
kStatus Deserialize(const Bytes& bytes, k32u format, kObject* object, kAlloc alloc = kNULL)
{
    kMemoryStream stream = kNULL;
    kSerializer serializer = kNULL;
    *object = kNULL;
    EXPECT_EQ(kMemoryStream_ConstructView(&stream, bytes.data(), bytes.size(), alloc), kOK);
    EXPECT_EQ(format == 5 ? kDat5Serializer_Construct(&serializer, stream, alloc)
                          : kDat6Serializer_Construct(&serializer, stream, alloc),
              kOK);
    kStatus status = kSerializer_ReadObject(serializer, object, alloc);
    kObject_Destroy(serializer);
    kObject_Destroy(stream);
    return status;
}

/** Loads bytes through a file with kLoad5 / kLoad6. */
kStatus LoadFile(const ktest::TempDir& dir, const Bytes& bytes, k32u format, kObject* object,
                 kAlloc alloc = kNULL)
{
    const std::string path = dir.File("input.kdat");
    ktest::WriteBytes(path, bytes);
    return format == 5 ? kLoad5(object, path.c_str(), alloc) : kLoad6(object, path.c_str(), alloc);
}

void Randomize(void* data, size_t size, std::mt19937& random)
{
    kByte* p = static_cast<kByte*>(data);
    for (size_t i = 0; i < size; ++i)
        p[i] = (kByte)random();
}

/** Every value type that arrays, lists and images carry. */
std::vector<kType> ItemTypes()
{
    return {kTypeOf(k8u),
            kTypeOf(k8s),
            kTypeOf(k16u),
            kTypeOf(k16s),
            kTypeOf(k32u),
            kTypeOf(k32s),
            kTypeOf(k32f),
            kTypeOf(k64u),
            kTypeOf(k64s),
            kTypeOf(k64f),
            kTypeOf(kBool),
            kTypeOf(kByte),
            kTypeOf(kChar),
            kTypeOf(kSize),
            kTypeOf(kSSize),
            kTypeOf(kRgb),
            kTypeOf(kArgb),
            kTypeOf(kRgb24),
            kTypeOf(kColor),
            kTypeOf(kPoint16s),
            kTypeOf(kPoint32s),
            kTypeOf(kPoint32f),
            kTypeOf(kPoint64f),
            kTypeOf(kPoint3d16s),
            kTypeOf(kPoint3d32s),
            kTypeOf(kPoint3d32f),
            kTypeOf(kPoint3d64f),
            kTypeOf(kPoint4d16s),
            kTypeOf(kRect16s),
            kTypeOf(kRect32s),
            kTypeOf(kRect32f),
            kTypeOf(kRect64f),
            kTypeOf(kRect3d64f),
            kTypeOf(kRotatedRect32s),
            kTypeOf(kRotatedRect32f),
            kBytes_GetType(12)};
}

/** Deep comparison of the containers this test builds; reports where they differ. */
void ExpectSame(kObject a, kObject b, const std::string& where = "")
{
    ASSERT_EQ(a == kNULL, b == kNULL) << where;
    if (!a) return;
    ASSERT_EQ(kObject_Type(a), kObject_Type(b)) << where;
    kType type = kObject_Type(a);
    auto items = [&](kType itemType, const void* pa, const void* pb, kSize count)
    {
        if (kType_IsClass(itemType))
        {
            for (kSize i = 0; i < count; ++i)
                ExpectSame(((const kObject*)pa)[i], ((const kObject*)pb)[i],
                           where + "[" + std::to_string(i) + "]");
        }
        else if (count)
        {
            EXPECT_EQ(memcmp(pa, pb, count * kType_Size(itemType)), 0) << where;
        }
    };
    if (type == kTypeOf(kArray1))
    {
        ASSERT_EQ(kArray1_ItemType(a), kArray1_ItemType(b)) << where;
        ASSERT_EQ(kArray1_Length(a), kArray1_Length(b)) << where;
        items(kArray1_ItemType(a), kArray1_Data(a), kArray1_Data(b), kArray1_Length(a));
    }
    else if (type == kTypeOf(kArray2))
    {
        ASSERT_EQ(kArray2_ItemType(a), kArray2_ItemType(b)) << where;
        ASSERT_EQ(kArray2_Length(a, 0), kArray2_Length(b, 0)) << where;
        ASSERT_EQ(kArray2_Length(a, 1), kArray2_Length(b, 1)) << where;
        items(kArray2_ItemType(a), kArray2_Data(a), kArray2_Data(b), kArray2_Count(a));
    }
    else if (type == kTypeOf(kArray3))
    {
        ASSERT_EQ(kArray3_ItemType(a), kArray3_ItemType(b)) << where;
        for (kSize d = 0; d < 3; ++d)
            ASSERT_EQ(kArray3_Length(a, d), kArray3_Length(b, d)) << where;
        items(kArray3_ItemType(a), kArray3_Data(a), kArray3_Data(b), kArray3_Count(a));
    }
    else if (type == kTypeOf(kArrayList))
    {
        ASSERT_EQ(kArrayList_ItemType(a), kArrayList_ItemType(b)) << where;
        ASSERT_EQ(kArrayList_Count(a), kArrayList_Count(b)) << where;
        items(kArrayList_ItemType(a), kArrayList_Data(a), kArrayList_Data(b), kArrayList_Count(a));
    }
    else if (type == kTypeOf(kImage))
    {
        ASSERT_EQ(kImage_PixelType(a), kImage_PixelType(b)) << where;
        ASSERT_EQ(kImage_Width(a), kImage_Width(b)) << where;
        ASSERT_EQ(kImage_Height(a), kImage_Height(b)) << where;
        EXPECT_EQ(kImage_PixelFormat(a), kImage_PixelFormat(b)) << where;
        for (kSize y = 0; y < kImage_Height(a); ++y)
            items(kImage_PixelType(a), kImage_RowAt(a, y), kImage_RowAt(b, y), kImage_Width(a));
    }
    else if (type == kTypeOf(kString))
    {
        ASSERT_EQ(kString_Length(a), kString_Length(b)) << where;
        EXPECT_EQ(memcmp(kString_Chars(a), kString_Chars(b), kString_Length(a)), 0) << where;
    }
    else if (type == kTypeOf(kXml))
    {
        kString ta = kNULL, tb = kNULL;
        kString_Construct(&ta, kNULL, kNULL);
        kString_Construct(&tb, kNULL, kNULL);
        EXPECT_EQ(kXml_ToString(a, ta), kOK);
        EXPECT_EQ(kXml_ToString(b, tb), kOK);
        EXPECT_STREQ(kString_Chars(ta), kString_Chars(tb)) << where;
        kObject_Destroy(ta);
        kObject_Destroy(tb);
    }
    else
    {
        ADD_FAILURE() << "no comparison for " << kType_Name(type);
    }
}

/** A list of objects holding every built-in container, nested three levels. */
kArrayList MakeGraph(std::mt19937& random)
{
    kArrayList list = kNULL, inner = kNULL, images = kNULL;
    kArray1 a1 = kNULL;
    kArray2 a2 = kNULL;
    kArray3 a3 = kNULL;
    kImage image = kNULL;
    kString text = kNULL;
    kXml xml = kNULL;
    kObject none = kNULL;
    EXPECT_EQ(kArrayList_Construct(&list, kTypeOf(kObject), 0, kNULL), kOK);
    EXPECT_EQ(kArray1_Construct(&a1, kTypeOf(kPoint3d64f), 5, kNULL), kOK);
    Randomize(kArray1_Data(a1), kArray1_DataSize(a1), random);
    EXPECT_EQ(kArray2_Construct(&a2, kTypeOf(k16s), 3, 4, kNULL), kOK);
    Randomize(kArray2_Data(a2), kArray2_DataSize(a2), random);
    EXPECT_EQ(kArray3_Construct(&a3, kTypeOf(k32f), 2, 3, 2, kNULL), kOK);
    Randomize(kArray3_Data(a3), kArray3_DataSize(a3), random);
    EXPECT_EQ(kImage_ConstructEx(&image, kTypeOf(kRgb), 5, 3, 16, kNULL), kOK); // padded rows
    EXPECT_EQ(kImage_SetPixelFormat(image, kPIXEL_FORMAT_8BPC_BGRX), kOK);
    for (kSize y = 0; y < 3; ++y)
        Randomize(kImage_RowAt(image, y), 5 * sizeof(kRgb), random);
    EXPECT_EQ(kString_Construct(&text, "calibration \"A\"", kNULL), kOK);
    EXPECT_EQ(kXml_FromText(&xml, "<Settings><Gain>0.5</Gain></Settings>", kNULL), kOK);

    EXPECT_EQ(kArrayList_Construct(&images, kTypeOf(kImage), 0, kNULL), kOK);
    EXPECT_EQ(kArrayList_Add(images, &image), kOK);
    EXPECT_EQ(kArrayList_Construct(&inner, kTypeOf(kObject), 0, kNULL), kOK);
    EXPECT_EQ(kArrayList_Add(inner, &images), kOK);
    EXPECT_EQ(kArrayList_Add(inner, &a3), kOK);
    EXPECT_EQ(kArrayList_Add(inner, &none), kOK);

    EXPECT_EQ(kArrayList_Add(list, &a1), kOK);
    EXPECT_EQ(kArrayList_Add(list, &a2), kOK);
    EXPECT_EQ(kArrayList_Add(list, &inner), kOK);
    EXPECT_EQ(kArrayList_Add(list, &text), kOK);
    EXPECT_EQ(kArrayList_Add(list, &xml), kOK);
    return list;
}
} // namespace

TEST(kSerializer, FileBytesAreExactlyAsDocumented)
{
    ktest::TempDir dir;
    kArray1 array = kNULL;
    ASSERT_EQ(kArray1_Construct(&array, kTypeOf(k16u), 3, kNULL), kOK);
    for (k16u i = 0; i < 3; ++i)
        ASSERT_EQ(kArray1_SetItemT<k16u>(array, i, (k16u)(i + 1)), kOK);
    const std::string path = dir.File("a.kdat6");
    ASSERT_EQ(kSave6(array, path.c_str()), kOK);

    ktest::Payload payload;
    payload.U8(1).ObjectType(0, "kArray1", "kArray1-0").ValueType(1, "k16u", 2).U64(3);
    payload.Le(1, 2).Le(2, 2).Le(3, 2);
    EXPECT_EQ(payload.bytes.size(), 61u);
    const Bytes expected = ktest::MakeDatFile(6, payload.bytes);
    EXPECT_EQ(ktest::ReadBytes(path), expected);

    // Version 5 differs in the format number only.
    ASSERT_EQ(kSave5(array, path.c_str()), kOK);
    EXPECT_EQ(ktest::ReadBytes(path), ktest::MakeDatFile(5, payload.bytes));
    kObject_Destroy(array);
}

TEST(kSerializer, PayloadChecksumsMatchTheirDefinition)
{
    std::mt19937 random(7);
    for (kSize length : {0, 1, 7, 8, 9, 31, 32, 33, 100, 1000, 40000, 70001, 200000})
    {
        kArray1 array = kNULL;
        ASSERT_EQ(kArray1_Construct(&array, kTypeOf(k8u), length, kNULL), kOK);
        for (kSize i = 0; i < length; ++i)
            kArray1_AtT<k8u>(array, i)[0] = (k8u)(random() % 7);
        for (bool compress : {false, true})
        {
            const Bytes file = Serialize(array, 6, compress);
            ASSERT_GE(file.size(), 64u);
            const Bytes stored(file.begin() + 64, file.end());
            k64u a = 0, b = 0, sa = 0, sb = 0, storedLength = 0;
            ktest::ReferenceChecksum(stored, &a, &b);
            memcpy(&storedLength, &file[16 + 16], 8);
            memcpy(&sa, &file[16 + 24], 8);
            memcpy(&sb, &file[16 + 32], 8);
            EXPECT_EQ(storedLength, stored.size());
            EXPECT_EQ(sa, a) << length;
            EXPECT_EQ(sb, b) << length;
            k32u crc = 0;
            memcpy(&crc, &file[16 + 44], 4);
            EXPECT_EQ(crc, ktest::ReferenceCrc32(&file[16], 44));
        }
        kObject_Destroy(array);
    }
}

TEST(kSerializer, ArraysOfEveryItemTypeRoundTripInBothVersions)
{
    std::mt19937 random(11);
    ktest::CountingAlloc alloc;
    for (kType type : ItemTypes())
    {
        kArray1 a1 = kNULL;
        kArray2 a2 = kNULL;
        kArray3 a3 = kNULL;
        kArrayList list = kNULL;
        kImage image = kNULL;
        ASSERT_EQ(kArray1_Construct(&a1, type, 37, kNULL), kOK);
        Randomize(kArray1_Data(a1), kArray1_DataSize(a1), random);
        ASSERT_EQ(kArray2_Construct(&a2, type, 3, 5, kNULL), kOK);
        Randomize(kArray2_Data(a2), kArray2_DataSize(a2), random);
        ASSERT_EQ(kArray3_Construct(&a3, type, 2, 3, 4, kNULL), kOK);
        Randomize(kArray3_Data(a3), kArray3_DataSize(a3), random);
        ASSERT_EQ(kArrayList_Construct(&list, type, 20, kNULL), kOK);
        ASSERT_EQ(kArrayList_Resize(list, 7), kOK);
        Randomize(kArrayList_Data(list), kArrayList_DataSize(list), random);
        ASSERT_EQ(kImage_ConstructEx(&image, type, 7, 5, 32, kNULL), kOK);
        for (kSize y = 0; y < 5; ++y)
            Randomize(kImage_RowAt(image, y), 7 * kType_Size(type), random);

        for (kObject object :
             {(kObject)a1, (kObject)a2, (kObject)a3, (kObject)list, (kObject)image})
        {
            for (k32u format : {5u, 6u})
            {
                for (bool compress : {false, true})
                {
                    const std::string where = std::string(kType_Name(type)) + " in " +
                                              kType_Name(kObject_Type(object)) + " v" +
                                              std::to_string(format) + (compress ? "z" : "");
                    const Bytes bytes = Serialize(object, format, compress);
                    kObject back = kNULL;
                    ASSERT_EQ(Deserialize(bytes, format, &back, alloc), kOK) << where;
                    ExpectSame(object, back, where);
                    EXPECT_EQ(Serialize(back, format, compress), bytes) << where; // byte-identical
                    kObject_Destroy(back);
                }
            }
        }
        for (kObject object :
             {(kObject)a1, (kObject)a2, (kObject)a3, (kObject)list, (kObject)image})
            kObject_Destroy(object);
    }
}

TEST(kSerializer, ObjectGraphsFilesAndVersionsRoundTrip)
{
    std::mt19937 random(3);
    ktest::TempDir dir;
    ktest::CountingAlloc alloc;
    kArrayList graph = MakeGraph(random);
    const std::string v5 = dir.File("graph.kdat"), v6 = dir.File("graph.kdat6"),
                      z6 = dir.File("graphz.kdat6");
    ASSERT_EQ(kSave5(graph, v5.c_str()), kOK);
    ASSERT_EQ(kSave6(graph, v6.c_str()), kOK);
    ASSERT_EQ(kSaveCompressed6(graph, z6.c_str()), kOK);
    EXPECT_LT(ktest::ReadBytes(z6).size(), ktest::ReadBytes(v6).size());

    for (const std::string& path : {v5, v6, z6})
    {
        kObject back = kNULL;
        ASSERT_EQ(kLoad6(&back, path.c_str(), alloc), kOK) << path;
        ExpectSame(graph, back, path);
        const std::string again = dir.File("again");
        if (path == z6)
            ASSERT_EQ(kSaveCompressed6(back, again.c_str()), kOK);
        else if (path == v6)
            ASSERT_EQ(kSave6(back, again.c_str()), kOK);
        else
            ASSERT_EQ(kSave5(back, again.c_str()), kOK);
        EXPECT_EQ(ktest::ReadBytes(again), ktest::ReadBytes(path)) << path;
        kObject_Dispose(back);
    }

    kObject back = kNULL;
    ASSERT_EQ(kLoad5(&back, v5.c_str(), alloc), kOK);
    ExpectSame(graph, back);
    kObject_Dispose(back);
    EXPECT_EQ(kLoad5(&back, v6.c_str(), alloc), kSTATUS_BAD_VERSION); // newer than version 5
    EXPECT_EQ(back, nullptr);
    EXPECT_EQ(kLoad6(&back, dir.File("missing.kdat6").c_str(), alloc), kSTATUS_NOT_FOUND);
    EXPECT_EQ(kSave6(graph, dir.File("no/such/dir.kdat6").c_str()), kSTATUS_STREAM);
    kObject_Dispose(graph);
}

TEST(kSerializer, StreamsCarrySeveralFramesAndNeedToSeekForWriting)
{
    std::mt19937 random(5);
    ktest::CountingAlloc alloc;
    kArrayList graph = MakeGraph(random);
    kString text = kNULL;
    ASSERT_EQ(kString_Construct(&text, "second", alloc), kOK);

    kMemoryStream stream = kNULL;
    kSerializer writer = kNULL;
    ASSERT_EQ(kMemoryStream_Construct(&stream, alloc), kOK);
    ASSERT_EQ(kDat6Serializer_Construct(&writer, stream, alloc), kOK);
    EXPECT_EQ(kSerializer_Format(writer), 6u);
    EXPECT_EQ(kSerializer_Stream(writer), stream);
    ASSERT_EQ(kSerializer_WriteObject(writer, graph), kOK);
    ASSERT_EQ(kDat6Serializer_EnableCompression(writer, kTRUE), kOK);
    ASSERT_EQ(kSerializer_WriteObject(writer, text), kOK);
    ASSERT_EQ(kSerializer_WriteObject(writer, kNULL), kOK);
    ASSERT_EQ(kSerializer_Flush(writer), kOK);
    EXPECT_EQ(kObject_Destroy(writer), kOK);

    // Primitives belong inside a writer or reader.
    ASSERT_EQ(kDat6Serializer_Construct(&writer, stream, alloc), kOK);
    EXPECT_EQ(kSerializer_Write32u(writer, 1), kSTATUS_BAD_STATE);
    k32u u = 0;
    EXPECT_EQ(kSerializer_Read32u(writer, &u), kSTATUS_BAD_STATE);
    EXPECT_EQ(kObject_Destroy(writer), kOK);

    kSerializer reader = kNULL;
    ASSERT_EQ(kStream_Seek(stream, 0, kSEEK_ORIGIN_BEGIN), kOK);
    ASSERT_EQ(kDat5Serializer_Construct(&reader, stream, alloc), kOK);
    kObject back = kNULL;
    EXPECT_EQ(kSerializer_ReadObject(reader, &back, alloc), kSTATUS_BAD_VERSION);
    EXPECT_EQ(kObject_Destroy(reader), kOK);

    ASSERT_EQ(kStream_Seek(stream, 0, kSEEK_ORIGIN_BEGIN), kOK);
    ASSERT_EQ(kDat6Serializer_Construct(&reader, stream, alloc), kOK);
    ASSERT_EQ(kSerializer_ReadObject(reader, &back, alloc), kOK);
    EXPECT_EQ(kSerializer_ReadFormat(reader), 6u);
    ExpectSame(graph, back);
    kObject_Dispose(back);
    ASSERT_EQ(kSerializer_ReadObject(reader, &back, alloc), kOK);
    ExpectSame(text, back);
    kObject_Destroy(back);
    ASSERT_EQ(kSerializer_ReadObject(reader, &back, alloc), kOK);
    EXPECT_EQ(back, nullptr);
    EXPECT_EQ(kSerializer_ReadObject(reader, &back, alloc), kSTATUS_INCOMPLETE); // the end
    EXPECT_EQ(kObject_Destroy(reader), kOK);

    EXPECT_EQ(kObject_Destroy(stream), kOK);
    EXPECT_EQ(kObject_Destroy(text), kOK);
    kObject_Dispose(graph);
}

TEST(kSerializer, CyclesAndUnwritableItemsAreRefused)
{
    kArrayList list = kNULL;
    ASSERT_EQ(kArrayList_Construct(&list, kTypeOf(kObject), 0, kNULL), kOK);
    ASSERT_EQ(kArrayList_Add(list, &list), kOK); // contains itself
    kStatus status = kOK;
    Serialize(list, 6, false, &status);
    EXPECT_EQ(status, kSTATUS_BAD_PARAMETER);
    ASSERT_EQ(kArrayList_Clear(list), kOK);

    // 64 nested lists are written and read back; a 65th level is too deep.
    kArrayList outer = list;
    for (int depth = 1; depth < 64; ++depth)
    {
        kArrayList wrapper = kNULL;
        ASSERT_EQ(kArrayList_Construct(&wrapper, kTypeOf(kObject), 0, kNULL), kOK);
        ASSERT_EQ(kArrayList_Add(wrapper, &outer), kOK);
        outer = wrapper;
    }
    const Bytes bytes = Serialize(outer, 6, false);
    kObject back = kNULL;
    ASSERT_EQ(Deserialize(bytes, 6, &back), kOK);
    ExpectSame(outer, back);
    kObject_Dispose(back);
    kArrayList deeper = kNULL;
    ASSERT_EQ(kArrayList_Construct(&deeper, kTypeOf(kObject), 0, kNULL), kOK);
    ASSERT_EQ(kArrayList_Add(deeper, &outer), kOK);
    Serialize(deeper, 6, false, &status);
    EXPECT_EQ(status, kSTATUS_BAD_PARAMETER);
    kObject_Dispose(deeper);

    kArray1 pointers = kNULL;
    ASSERT_EQ(kArray1_Construct(&pointers, kTypeOf(kPointer), 2, kNULL), kOK);
    Serialize(pointers, 6, false, &status);
    EXPECT_EQ(status, kSTATUS_BAD_PARAMETER);
    kObject_Destroy(pointers);

    // Objects of a type without a version cannot be written.
    kMemory memory = kNULL;
    ASSERT_EQ(kMemory_Construct(&memory, kNULL), kOK);
    Serialize(memory, 5, false, &status);
    EXPECT_EQ(status, kSTATUS_NOT_IMPLEMENTED);
    kObject_Destroy(memory);
}

TEST(kSerializer, CraftedContentGivesTheDocumentedStatus)
{
    ktest::TempDir dir;
    ktest::CountingAlloc alloc;
    auto array = [](ktest::Payload& p, const std::string& item, k32u size)
    {
        p.U8(1).ObjectType(0, "kArray1", "kArray1-0").ValueType(1, item, size);
        return &p;
    };
    struct Case
    {
        const char* what;
        ktest::Payload payload;
        kStatus status;
    };
    std::vector<Case> cases;
    {
        ktest::Payload p;
        array(p, "k32u", 4)->U64(2).U32(1).U32(2);
        cases.push_back({"valid", p, kOK});
    }
    {
        ktest::Payload p;
        array(p, "k32u", 4)->U64(3).U32(1).U32(2);
        cases.push_back({"count beyond the payload", p, kSTATUS_INCOMPLETE});
    }
    {
        ktest::Payload p;
        array(p, "k32u", 4)->U64(1).U32(1).U32(2);
        cases.push_back({"payload left over", p, kSTATUS_BAD_FORMAT});
    }
    {
        ktest::Payload p;
        array(p, "k32u", 8)->U64(0);
        cases.push_back({"value of the wrong size", p, kSTATUS_BAD_FORMAT});
    }
    {
        ktest::Payload p;
        array(p, "kNoSuchType", 4)->U64(0);
        cases.push_back({"unknown item type", p, kSTATUS_BAD_VERSION});
    }
    {
        ktest::Payload p;
        p.U8(1).ObjectType(0, "kArray1", "kArray1-9").U32(0);
        cases.push_back({"unknown version", p, kSTATUS_BAD_VERSION});
    }
    {
        ktest::Payload p;
        p.U8(1).ObjectType(0, "kMemory", "kMemory-0");
        cases.push_back({"type without versions", p, kSTATUS_BAD_VERSION});
    }
    {
        ktest::Payload p;
        p.U8(1).U32(1);
        cases.push_back({"type index ahead of the table", p, kSTATUS_BAD_FORMAT});
    }
    {
        ktest::Payload p;
        p.U8(1).U32(0).U8(4).Text("kArray1");
        cases.push_back({"unknown type kind", p, kSTATUS_BAD_FORMAT});
    }
    {
        ktest::Payload p;
        p.U8(2);
        cases.push_back({"unknown record tag", p, kSTATUS_BAD_FORMAT});
    }
    {
        ktest::Payload p;
        p.U8(0);
        cases.push_back({"a null object where a file needs one", p, kSTATUS_BAD_FORMAT});
    }
    {
        ktest::Payload p;
        p.U8(1).ObjectType(0, "kArray1", "kArray1-0").U32(0);
        cases.push_back({"object type used as an item type", p, kSTATUS_BAD_FORMAT});
    }
    {
        ktest::Payload p;
        p.U8(1).ObjectType(0, "kImage", "kImage-0").U32(1).U8(1).Text("kObject").U32(0);
        p.U64(1).U64(1);
        cases.push_back({"image of objects", p, kSTATUS_BAD_FORMAT});
    }
    {
        ktest::Payload p;
        p.U8(1).ObjectType(0, "kArray2", "kArray2-0").ValueType(1, "k64f", 8);
        p.U64(1ull << 40).U64(1ull << 40);
        cases.push_back({"lengths whose product overflows", p, kSTATUS_INCOMPLETE});
    }
    {
        ktest::Payload p;
        p.U8(1).ObjectType(0, "kString", "kString-0").U32(1000).Raw("abc", 3);
        cases.push_back({"text longer than the payload", p, kSTATUS_INCOMPLETE});
    }
    {
        ktest::Payload p;
        p.U8(1).ObjectType(0, "kXml", "kXml-0").Text("<a><b></a>");
        cases.push_back({"malformed document", p, kSTATUS_BAD_FORMAT});
    }
    {
        ktest::Payload p;
        p.U8(1)
            .ObjectType(0, "kArray1", "kArray1-0")
            .ValueType(1, "kBytes5", 5)
            .U64(1)
            .Raw("12345", 5);
        cases.push_back({"opaque items", p, kOK});
    }
    {
        ktest::Payload p;
        p.U8(1).ObjectType(0, "kArray1", "kArray1-0").ValueType(1, "kBytesX", 5).U64(0);
        cases.push_back({"malformed opaque name", p, kSTATUS_BAD_VERSION});
    }
    {
        ktest::Payload p;
        p.U8(1).ObjectType(0, "kArray1", "kArray1-0").U32(1).U8(2).Text(std::string(300, 'k'));
        cases.push_back({"type name too long", p, kSTATUS_BAD_FORMAT});
    }
    for (Case& c : cases)
    {
        for (k32u format : {5u, 6u})
        {
            kObject back = kNULL;
            EXPECT_EQ(
                LoadFile(dir, ktest::MakeDatFile(format, c.payload.bytes), format, &back, alloc),
                c.status)
                << c.what << " v" << format;
            EXPECT_EQ(back == kNULL, c.status != kOK) << c.what;
            kObject_Dispose(back);
        }
    }

    // Headers: magic, reserved fields, formats, flags and lengths.
    const Bytes valid = ktest::MakeDatFile(6, cases[0].payload.bytes);
    auto patched = [&](size_t offset, kByte value)
    {
        Bytes b = valid;
        b[offset] = value;
        return b;
    };
    kObject back = kNULL;
    EXPECT_EQ(LoadFile(dir, patched(0, 'K'), 6, &back, alloc), kSTATUS_BAD_FORMAT);
    EXPECT_EQ(LoadFile(dir, patched(12, 1), 6, &back, alloc), kSTATUS_BAD_FORMAT);
    EXPECT_EQ(LoadFile(dir, patched(8, 7), 6, &back, alloc), kSTATUS_BAD_VERSION);
    EXPECT_EQ(LoadFile(dir, patched(8, 4), 6, &back, alloc), kSTATUS_BAD_VERSION);
    EXPECT_EQ(LoadFile(dir, patched(16, 'X'), 6, &back, alloc), kSTATUS_BAD_FORMAT);
    Bytes longer = valid;
    longer.push_back(0);
    EXPECT_EQ(LoadFile(dir, longer, 6, &back, alloc), kSTATUS_BAD_FORMAT);
    EXPECT_EQ(LoadFile(dir, Bytes(valid.begin(), valid.end() - 1), 6, &back, alloc),
              kSTATUS_INCOMPLETE);
    EXPECT_EQ(LoadFile(dir, Bytes(), 6, &back, alloc), kSTATUS_INCOMPLETE);
}

TEST(kSerializer, DamagedFilesFailCleanly)
{
    std::mt19937 random(17);
    ktest::TempDir dir;
    ktest::CountingAlloc alloc;
    kArrayList graph = MakeGraph(random);
    for (bool compress : {false, true})
    {
        const Bytes file = Serialize(graph, 6, compress);

        // Every truncation.
        for (size_t n = 0; n < file.size(); ++n)
        {
            kObject back = kNULL;
            kStatus status = Deserialize(Bytes(file.begin(), file.begin() + n), 6, &back, alloc);
            EXPECT_TRUE(status == kSTATUS_INCOMPLETE || status == kSTATUS_BAD_FORMAT)
                << n << ": " << status;
            EXPECT_EQ(back, nullptr);
        }

        // Every single-bit error is caught (headers by CRC, payload by checksum or decoding).
        for (size_t i = 0; i < file.size(); ++i)
        {
            for (int bit = 0; bit < 8; ++bit)
            {
                Bytes damaged = file;
                damaged[i] ^= (kByte)(1 << bit);
                kObject back = kNULL;
                kStatus status = Deserialize(damaged, 6, &back, alloc);
                EXPECT_TRUE(ktest::IsContentFailure(status)) << i << "." << bit << ": " << status;
                EXPECT_EQ(back, nullptr);
                kObject_Dispose(back);
            }
        }
    }

    // Random bytes, bare and behind a valid file header.
    for (int trial = 0; trial < 300; ++trial)
    {
        Bytes noise(1 + random() % 400);
        Randomize(noise.data(), noise.size(), random);
        if (trial % 2)
        {
            const kByte header[16] = {'k', 'D', 'A', 'T', 0x0D, 0x0A, 0x1A, 0x0A,
                                      6,   0,   0,   0,   0,    0,    0,    0};
            noise.insert(noise.begin(), header, header + 16);
        }
        kObject back = kNULL;
        EXPECT_TRUE(ktest::IsContentFailure(Deserialize(noise, 6, &back, alloc))) << trial;
        EXPECT_EQ(back, nullptr);
    }
    kObject_Dispose(graph);
}

TEST(kSerializer, ReadingAndWritingFailCleanlyAtEveryAllocation)
{
    std::mt19937 random(23);
    ktest::TempDir dir;
    kArrayList graph = MakeGraph(random);
    const std::string plain = dir.File("g.kdat6"), packed = dir.File("gz.kdat6");
    ASSERT_EQ(kSave6(graph, plain.c_str()), kOK);
    ASSERT_EQ(kSaveCompressed6(graph, packed.c_str()), kOK);

    for (const std::string& path : {plain, packed})
    {
        kSize steps = ktest::ExpectCleanFailures(
            [&](kAlloc alloc, kObject* handle)
            {
                kStatus status = kLoad6(handle, path.c_str(), alloc);
                if (kSuccess(status))
                {
                    // The handle is destroyed by the caller; its items go here.
                    kArrayList_Purge(*handle);
                }
                return status;
            });
        EXPECT_GT(steps, 20u);
    }

    ktest::ExpectCleanFailures(
        [&](kAlloc alloc, kObject* handle)
        {
            kMemoryStream stream = kNULL;
            kSerializer serializer = kNULL;
            kStatus status = kMemoryStream_Construct(&stream, alloc);
            if (kSuccess(status)) status = kDat6Serializer_Construct(&serializer, stream, alloc);
            if (kSuccess(status)) status = kDat6Serializer_EnableCompression(serializer, kTRUE);
            if (kSuccess(status)) status = kSerializer_WriteObject(serializer, graph);
            kObject_Destroy(serializer);
            if (!kSuccess(status)) kDestroyRef(&stream);
            *handle = stream;
            return status;
        });
    kObject_Dispose(graph);
}

/* ----- A type of another assembly with its own versions -----------------------------------------
 */

typedef kObject kTestRecord;
kDeclareClass(kTestRecord, kObject);
struct kTestRecordClass
{
    kObjectClass base;
    k8u u8;
    k8s s8;
    k16u u16;
    k16s s16;
    k32u u32;
    k32s s32;
    k64u u64;
    k64s s64;
    k32f f32;
    k64f f64;
    kBool flag;
    kSize size;
    kChar name[32];
    kString label;
    kType itemType;
    kPoint3d64f points[3];
    kObject child;
    k32s extra; // only in version 1
};
kDefineClass(kTestRecord, kObject)

/* A stream that cannot seek: a pipe over a memory stream. */
typedef kStream kTestPipe;
kDeclareClass(kTestPipe, kStream);
struct kTestPipeClass
{
    kStreamClass base;
    kStream inner;
};
kDefineClass(kTestPipe, kStream)

namespace
{
kAssembly s_testAssembly = kNULL;

kStatus xkTestRecord_VRelease(kObject record)
{
    kTestRecordClass* obj = kCastRaw(kTestRecord, record);
    kObject_Destroy(obj->label);
    kObject_Dispose(obj->child);
    return xkObject_VRelease(record);
}

kStatus ConstructRecord(kObject* record, kAlloc allocator)
{
    kAlloc alloc = kAlloc_Fallback(allocator);
    kTestRecordClass* obj = kNULL;
    kCheck(kAlloc_GetObject(alloc, kTypeOf(kTestRecord), &obj));
    kObject_Init(obj, kTypeOf(kTestRecord), alloc);
    obj->itemType = kTypeOf(k8u);
    kStatus status = kString_Construct(&obj->label, kNULL, alloc);
    if (!kSuccess(status))
    {
        kAlloc_Free(alloc, obj);
        return status;
    }
    *record = obj;
    return kOK;
}

kStatus WriteRecord(kSerializer s, kObject record, bool withExtra)
{
    kTestRecordClass* r = kCastRaw(kTestRecord, record);
    kCheck(kSerializer_Write8u(s, r->u8));
    kCheck(kSerializer_Write8s(s, r->s8));
    kCheck(kSerializer_Write16u(s, r->u16));
    kCheck(kSerializer_Write16s(s, r->s16));
    kCheck(kSerializer_Write32u(s, r->u32));
    kCheck(kSerializer_Write32s(s, r->s32));
    kCheck(kSerializer_Write64u(s, r->u64));
    kCheck(kSerializer_Write64s(s, r->s64));
    kCheck(kSerializer_Write32f(s, r->f32));
    kCheck(kSerializer_Write64f(s, r->f64));
    kCheck(kSerializer_WriteBool(s, r->flag));
    kCheck(kSerializer_WriteSize(s, r->size));
    kCheck(kSerializer_WriteText(s, r->name));
    kCheck(kSerializer_WriteText(s, kString_Chars(r->label)));
    kCheck(kSerializer_WriteType(s, r->itemType));
    kCheck(kSerializer_WriteItems(s, kTypeOf(kPoint3d64f), r->points, 3));
    kCheck(kSerializer_WriteBytes(s, "raw", 3));
    kCheck(kSerializer_WriteObject(s, r->child));
    return withExtra ? kSerializer_Write32s(s, r->extra) : kOK;
}

kStatus ReadRecord(kSerializer s, kObject record, bool withExtra)
{
    kTestRecordClass* r = kCastRaw(kTestRecord, record);
    char raw[3];
    kCheck(kSerializer_Read8u(s, &r->u8));
    kCheck(kSerializer_Read8s(s, &r->s8));
    kCheck(kSerializer_Read16u(s, &r->u16));
    kCheck(kSerializer_Read16s(s, &r->s16));
    kCheck(kSerializer_Read32u(s, &r->u32));
    kCheck(kSerializer_Read32s(s, &r->s32));
    kCheck(kSerializer_Read64u(s, &r->u64));
    kCheck(kSerializer_Read64s(s, &r->s64));
    kCheck(kSerializer_Read32f(s, &r->f32));
    kCheck(kSerializer_Read64f(s, &r->f64));
    kCheck(kSerializer_ReadBool(s, &r->flag));
    kCheck(kSerializer_ReadSize(s, &r->size));
    kCheck(kSerializer_ReadText(s, r->name, sizeof(r->name)));
    kCheck(kSerializer_ReadString(s, r->label));
    kCheck(kSerializer_ReadType(s, &r->itemType));
    kCheck(kSerializer_ReadItems(s, kTypeOf(kPoint3d64f), r->points, 3));
    kCheck(kSerializer_ReadBytes(s, raw, 3));
    if (memcmp(raw, "raw", 3) != 0) return kSTATUS_BAD_FORMAT;
    kCheck(kSerializer_ReadObject(s, &r->child, kObject_Alloc(record)));
    return withExtra ? kSerializer_Read32s(s, &r->extra) : kOK;
}

kStatus WriteRecord0(kSerializer s, kObject record) { return WriteRecord(s, record, false); }
kStatus WriteRecord1(kSerializer s, kObject record) { return WriteRecord(s, record, true); }
kStatus ReadRecord0(kSerializer s, kObject record) { return ReadRecord(s, record, false); }
kStatus ReadRecord1(kSerializer s, kObject record) { return ReadRecord(s, record, true); }

kStatus xkTestPipe_VRelease(kObject pipe)
{
    kObject_Destroy(kCastRaw(kTestPipe, pipe)->inner);
    return xkStream_VRelease(pipe);
}

kStatus xkTestPipe_VRead(kStream pipe, void* buffer, kSize minCount, kSize maxCount, kSize* count)
{
    return kStream_ReadSome(kCastRaw(kTestPipe, pipe)->inner, buffer, minCount, maxCount, count);
}

kStatus xkTestPipe_VWrite(kStream pipe, const void* buffer, kSize count)
{
    return kStream_Write(kCastRaw(kTestPipe, pipe)->inner, buffer, count);
}

kStatus ConstructPipe(kStream* pipe, kStream inner)
{
    kTestPipeClass* obj = kNULL;
    kCheck(kAlloc_GetObject(kNULL, kTypeOf(kTestPipe), &obj));
    kStream_Init(obj, kTypeOf(kTestPipe), kNULL);
    kObject_Share(inner);
    obj->inner = inner;
    *pipe = obj;
    return kOK;
}
} // namespace

kStatus xxkTestRecord_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddClass(kTestRecord, kObject));
    kCheck(kAddVMethod(kTestRecord, VRelease));
    kCheck(xkSerializer_AddVersion(kTypeOf(kTestRecord), "kdat6", "5.0.0.0", "kTestRecord-0",
                                   WriteRecord0, ReadRecord0));
    kCheck(xkSerializer_AddVersion(kTypeOf(kTestRecord), "kdat6", "10.0.0.0", "kTestRecord-1",
                                   WriteRecord1, ReadRecord1));
    return xkSerializer_AddFrameworkConstructor(kTypeOf(kTestRecord), ConstructRecord);
}

kStatus xxkTestPipe_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddClass(kTestPipe, kStream));
    kCheck(kAddVMethod(kTestPipe, VRelease));
    kCheck(kAddVMethod(kTestPipe, VRead));
    return kAddVMethod(kTestPipe, VWrite);
}

class kSerializerTypes : public ::testing::Test
{
protected:
    void SetUp() override
    {
        kVersion version = 0;
        ASSERT_EQ(kVersion_Parse(&version, "1.0.0.0"), kOK);
        ASSERT_EQ(xkAssembly_ConstructInternal(&m_assembly, &s_testAssembly, "kTestSerializer",
                                               version, version),
                  kOK);
        ASSERT_EQ(xkAssembly_AddDependency(m_assembly, kBasisLib_Construct), kOK);
        ASSERT_EQ(xkAssembly_AddType(m_assembly, xxkTestRecord_Register, "kTestRecord"), kOK);
        ASSERT_EQ(xkAssembly_AddType(m_assembly, xxkTestPipe_Register, "kTestPipe"), kOK);
        ASSERT_EQ(xkAssembly_Finalize(m_assembly), kOK);
    }
    void TearDown() override { kObject_Destroy(m_assembly); }

    kTestRecord MakeRecord()
    {
        kObject record = kNULL;
        EXPECT_EQ(ConstructRecord(&record, kNULL), kOK);
        kTestRecordClass* r = kCastRaw(kTestRecord, record);
        r->u8 = 250, r->s8 = -7, r->u16 = 65000, r->s16 = -30000;
        r->u32 = 4000000000u, r->s32 = -2000000000, r->u64 = k64U_MAX - 3, r->s64 = -(1ll << 62);
        r->f32 = -1.25e-30f, r->f64 = 5e-324, r->flag = kTRUE, r->size = 123456789012ull;
        strcpy(r->name, "PrnuCal0");
        kString_Set(r->label, "a label, longer than the name buffer would hold");
        r->itemType = kTypeOf(kPoint3d32f);
        r->points[1] = {1.5, -2.5, 1e300};
        r->extra = 77;
        kString child = kNULL;
        kString_Construct(&child, "child", kNULL);
        r->child = child;
        return record;
    }

    void ExpectSameRecord(kTestRecord a, kTestRecord b, bool withExtra)
    {
        kTestRecordClass* x = kCastRaw(kTestRecord, a);
        kTestRecordClass* y = kCastRaw(kTestRecord, b);
        EXPECT_EQ(x->u8, y->u8);
        EXPECT_EQ(x->s8, y->s8);
        EXPECT_EQ(x->u16, y->u16);
        EXPECT_EQ(x->s16, y->s16);
        EXPECT_EQ(x->u32, y->u32);
        EXPECT_EQ(x->s32, y->s32);
        EXPECT_EQ(x->u64, y->u64);
        EXPECT_EQ(x->s64, y->s64);
        EXPECT_EQ(x->f32, y->f32);
        EXPECT_EQ(x->f64, y->f64);
        EXPECT_EQ(x->flag, y->flag);
        EXPECT_EQ(x->size, y->size);
        EXPECT_STREQ(x->name, y->name);
        EXPECT_STREQ(kString_Chars(x->label), kString_Chars(y->label));
        EXPECT_EQ(x->itemType, y->itemType);
        EXPECT_EQ(memcmp(x->points, y->points, sizeof(x->points)), 0);
        EXPECT_STREQ(kString_Chars(x->child), kString_Chars(y->child));
        EXPECT_EQ(y->extra, withExtra ? x->extra : 0);
    }

    kAssembly m_assembly = kNULL;
};

TEST_F(kSerializerTypes, RegisteredVersionsAreChosenByTheSerializerVersion)
{
    ktest::CountingAlloc alloc;
    kTestRecord record = MakeRecord();
    for (const char* version : {"10.6.1.30", "9.9.9.9"})
    {
        kMemoryStream stream = kNULL;
        kSerializer serializer = kNULL;
        kVersion v = 0;
        ASSERT_EQ(kMemoryStream_Construct(&stream, alloc), kOK);
        ASSERT_EQ(kDat6Serializer_Construct(&serializer, stream, alloc), kOK);
        ASSERT_EQ(kVersion_Parse(&v, version), kOK);
        ASSERT_EQ(kSerializer_SetVersion(serializer, v), kOK);
        EXPECT_EQ(kSerializer_Version(serializer), v);
        ASSERT_EQ(kSerializer_WriteObject(serializer, record), kOK);
        kObject_Destroy(serializer);

        const Bytes bytes(kMemoryStream_Data(stream),
                          kMemoryStream_Data(stream) + kMemoryStream_Length(stream));
        const bool newest = strcmp(version, "10.6.1.30") == 0;
        const std::string name = newest ? "kTestRecord-1" : "kTestRecord-0";
        EXPECT_NE(std::search(bytes.begin(), bytes.end(), name.begin(), name.end()), bytes.end());
        kObject back = kNULL;
        ASSERT_EQ(Deserialize(bytes, 6, &back, alloc), kOK) << version;
        ExpectSameRecord(record, back, newest);
        kObject_Destroy(back);
        kObject_Destroy(stream);
    }

    // No "kdat5" version: version-5 files cannot hold the type.
    kStatus status = kOK;
    Serialize(record, 5, false, &status);
    EXPECT_EQ(status, kSTATUS_NOT_IMPLEMENTED);
    kObject_Destroy(record);
}

TEST_F(kSerializerTypes, StreamsThatCannotSeekAreReadButNotWritten)
{
    kTestRecord record = MakeRecord();
    const Bytes bytes = Serialize(record, 6, true);
    kMemoryStream memory = kNULL;
    kStream pipe = kNULL;
    kSerializer serializer = kNULL;
    ASSERT_EQ(kMemoryStream_ConstructView(&memory, bytes.data(), bytes.size(), kNULL), kOK);
    ASSERT_EQ(ConstructPipe(&pipe, memory), kOK);
    ASSERT_EQ(kDat6Serializer_Construct(&serializer, pipe, kNULL), kOK);
    kObject back = kNULL;
    ASSERT_EQ(kSerializer_ReadObject(serializer, &back, kNULL), kOK);
    ExpectSameRecord(record, back, true);
    EXPECT_EQ(kSerializer_WriteObject(serializer, record), kSTATUS_BAD_STATE);
    kObject_Destroy(back);
    kObject_Destroy(serializer);
    kObject_Destroy(pipe);
    kObject_Destroy(memory);
    kObject_Destroy(record);
}

TEST_F(kSerializerTypes, TextsLongerThanTheReadersBufferAreAFormatError)
{
    ktest::TempDir dir;
    for (size_t length : {31u, 32u})
    {
        ktest::Payload p;
        p.U8(1).ObjectType(0, "kTestRecord", "kTestRecord-0");
        p.U8(1).U8(2).Le(3, 2).Le(4, 2).U32(5).U32(6).U64(7).U64(8).U32(0).U64(0).U8(1).U64(9);
        p.Text(std::string(length, 'n')).Text("label").U32(1).U8(2).Text("k8u").U32(1);
        p.Raw(std::string(72, '\0').data(), 72).Raw("raw", 3).U8(0);
        kObject back = kNULL;
        kStatus status = LoadFile(dir, ktest::MakeDatFile(6, p.bytes), 6, &back);
        EXPECT_EQ(status, length < 32 ? kOK : kSTATUS_BAD_FORMAT) << length; // 32 bytes of name
        if (back)
        {
            EXPECT_EQ(strlen(kCastRaw(kTestRecord, back)->name), length);
        }
        kObject_Destroy(back);
    }
}

TEST_F(kSerializerTypes, TypesThatAreNoLongerRegisteredAreABadVersion)
{
    ktest::TempDir dir;
    kTestRecord record = MakeRecord();
    const std::string path = dir.File("record.kdat6");
    ASSERT_EQ(kSave6(record, path.c_str()), kOK);
    kObject_Destroy(record);

    kObject_Destroy(m_assembly); // the type goes with its assembly
    m_assembly = kNULL;
    kObject back = kNULL;
    EXPECT_EQ(kLoad6(&back, path.c_str(), kNULL), kSTATUS_BAD_VERSION);
    EXPECT_EQ(back, nullptr);
}

TEST(kFileStream, ReadsWritesSeeksAndReportsMissingFiles)
{
    ktest::TempDir dir;
    ktest::CountingAlloc alloc;
    const std::string path = dir.File("stream.bin");
    kFileStream stream = kNULL;
    ASSERT_EQ(kFileStream_Construct(&stream, path.c_str(), kFILE_MODE_WRITE, alloc), kOK);
    EXPECT_NE(kFileStream_File(stream), nullptr);
    ASSERT_EQ(kStream_Write(stream, "0123456789", 10), kOK);
    ASSERT_EQ(kStream_Seek(stream, -4, kSEEK_ORIGIN_END), kOK);
    ASSERT_EQ(kStream_Write(stream, "AB", 2), kOK);
    EXPECT_EQ(kStream_Seek(stream, -1, kSEEK_ORIGIN_BEGIN), kSTATUS_BAD_PARAMETER);
    ASSERT_EQ(kStream_Flush(stream), kOK);
    EXPECT_EQ(kObject_Destroy(stream), kOK);

    ASSERT_EQ(kFileStream_Construct(&stream, path.c_str(), kFILE_MODE_READ, alloc), kOK);
    k64u remaining = 0, position = 0;
    ASSERT_EQ(kStream_Seek(stream, 3, kSEEK_ORIGIN_BEGIN), kOK);
    ASSERT_EQ(kStream_Remaining(stream, &remaining), kOK);
    EXPECT_EQ(remaining, 7u);
    char buffer[16] = {};
    kSize count = 0;
    EXPECT_EQ(kStream_ReadSome(stream, buffer, 2, sizeof(buffer), &count), kOK);
    EXPECT_EQ(count, 7u);
    EXPECT_EQ(std::string(buffer, count), "345AB89");
    ASSERT_EQ(kStream_Position(stream, &position), kOK);
    EXPECT_EQ(position, 10u);
    ASSERT_EQ(kStream_Seek(stream, -2, kSEEK_ORIGIN_CURRENT), kOK);
    EXPECT_EQ(kStream_Read(stream, buffer, 3), kSTATUS_INCOMPLETE);
    EXPECT_EQ(kObject_Destroy(stream), kOK);

    EXPECT_EQ(kFileStream_Construct(&stream, dir.File("none").c_str(), kFILE_MODE_READ, alloc),
              kSTATUS_NOT_FOUND);
    EXPECT_EQ(stream, nullptr);
    ktest::ExpectCleanFailures(
        [&](kAlloc a, kObject* handle)
        { return kFileStream_Construct(handle, path.c_str(), kFILE_MODE_READ, a); });
}
