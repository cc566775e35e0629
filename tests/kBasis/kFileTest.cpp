// Files, directories and path text.
#include <kTestSupport.h>

#include <string>
#include <vector>

TEST(Path, TakesPathsApartAndJoinsThem)
{
    struct Case
    {
        const char* path;
        const char* directory;
        const char* fileName;
        const char* extension;
        bool absolute;
    } cases[] = {
        {"a/b/c.kdat", "a/b", "c.kdat", "kdat", false},
        {"/data/cal/StereoCal.kdat", "/data/cal", "StereoCal.kdat", "kdat", true},
        {"/c.kdat", "/", "c.kdat", "kdat", true},
        {"c.kdat", "", "c.kdat", "kdat", false},
        {"archive.tar.gz", "", "archive.tar.gz", "gz", false},
        {"dir.d/file", "dir.d", "file", "", false},
        {".profile", "", ".profile", "", false},
        {"a/name.", "a", "name.", "", false},
        {"a/b/", "a/b", "", "", false},
        {"a//b.txt", "a", "b.txt", "txt", false},
        {"/", "/", "", "", true},
        {"", "", "", "", false},
    };
    char text[64];
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.path);
        ASSERT_EQ(kPath_Directory(c.path, text, sizeof(text)), kOK);
        EXPECT_STREQ(text, c.directory);
        ASSERT_EQ(kPath_FileName(c.path, text, sizeof(text)), kOK);
        EXPECT_STREQ(text, c.fileName);
        ASSERT_EQ(kPath_Extension(c.path, text, sizeof(text)), kOK);
        EXPECT_STREQ(text, c.extension);
        EXPECT_EQ(kPath_IsAbsolute(c.path), c.absolute ? kTRUE : kFALSE);
    }

    struct Join
    {
        const char* a;
        const char* b;
        const char* joined;
    } joins[] = {
        {"a", "b.kdat", "a/b.kdat"},
        {"a/", "b.kdat", "a/b.kdat"},
        {"/x/y", "z", "/x/y/z"},
        {"", "b", "b"},
        {"a", "", "a"},
        {"a", "/abs", "/abs"},
    };
    for (const Join& j : joins)
    {
        ASSERT_EQ(kPath_Combine(j.a, j.b, text, sizeof(text)), kOK);
        EXPECT_STREQ(text, j.joined);
    }
    EXPECT_EQ(kPath_Separator(), '/');
    EXPECT_FALSE(kPath_IsAbsolute(kNULL));
}

TEST(Path, ResultsThatDoNotFitAreRefusedNotTruncated)
{
    char text[8] = "keep";
    EXPECT_EQ(kPath_Combine("abc", "defg", text, 8), kSTATUS_BAD_PARAMETER); // needs 9
    EXPECT_STREQ(text, "keep");
    EXPECT_EQ(kPath_Combine("abc", "def", text, 8), kOK); // exactly fits
    EXPECT_STREQ(text, "abc/def");
    EXPECT_EQ(kPath_FileName("dir/abcdefgh", text, 8), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kPath_Directory("abcdefgh/x", text, 8), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kPath_Extension("x.abcdefgh", text, 8), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kPath_Extension("x.y", text, 0), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kPath_FileName(kNULL, text, 8), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kPath_Combine("a", kNULL, text, 8), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kPath_Directory("a/b", kNULL, 8), kSTATUS_BAD_PARAMETER);

    char inPlace[32] = "a/b/c.kdat"; // result over the input
    EXPECT_EQ(kPath_FileName(inPlace, inPlace, sizeof(inPlace)), kOK);
    EXPECT_STREQ(inPlace, "c.kdat");
}

TEST(File, WholeFilesRoundTripAndMissingFilesAreReported)
{
    ktest::TempDir dir;
    ktest::CountingAlloc alloc;
    std::string path = dir.File("blob.kdat");
    std::vector<kByte> bytes(70000);
    for (size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = (kByte)(i * 37 + (i >> 8));

    EXPECT_FALSE(kFile_Exists(path.c_str()));
    ASSERT_EQ(kFile_Save(path.c_str(), bytes.data(), bytes.size()), kOK);
    EXPECT_TRUE(kFile_Exists(path.c_str()));
    EXPECT_EQ(kFile_Size(path.c_str()), bytes.size());

    kByte* data = kNULL;
    kSize size = 0;
    ASSERT_EQ(kFile_Load(path.c_str(), &data, &size, alloc), kOK);
    ASSERT_EQ(size, bytes.size());
    EXPECT_TRUE(kMemEquals(data, bytes.data(), size));
    kAlloc_Free(alloc, data);

    ASSERT_EQ(kFile_Save(path.c_str(), kNULL, 0), kOK); // replaced by an empty file
    data = reinterpret_cast<kByte*>(1);
    ASSERT_EQ(kFile_Load(path.c_str(), &data, &size, alloc), kOK);
    EXPECT_EQ(data, nullptr);
    EXPECT_EQ(size, 0u);

    ASSERT_EQ(kFile_Save(path.c_str(), bytes.data(), 10), kOK);
    kCountingAlloc_SetFailAfter(alloc, 0);
    EXPECT_EQ(kFile_Load(path.c_str(), &data, &size, alloc), kSTATUS_MEMORY);
    EXPECT_EQ(data, nullptr);
    kCountingAlloc_SetFailAfter(alloc, kSIZE_MAX);

    EXPECT_EQ(kFile_Delete(path.c_str()), kOK);
    EXPECT_FALSE(kFile_Exists(path.c_str()));
    EXPECT_EQ(kFile_Delete(path.c_str()), kSTATUS_NOT_FOUND);
    EXPECT_EQ(kFile_Load(path.c_str(), &data, &size, alloc), kSTATUS_NOT_FOUND);
    EXPECT_EQ(kFile_Load(dir.Path().c_str(), &data, &size, alloc),
              kSTATUS_NOT_FOUND); // a directory
    EXPECT_EQ(kFile_Size(path.c_str()), 0u);
    EXPECT_EQ(kFile_Save(dir.File("no/such/dir/f").c_str(), bytes.data(), 1), kSTATUS_STREAM);
    EXPECT_EQ(kFile_Save(kNULL, bytes.data(), 1), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kFile_Save(path.c_str(), kNULL, 1), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kFile_Delete(dir.Path().c_str()), kSTATUS_NOT_FOUND); // not a regular file
}

TEST(File, OpenFileReadsWritesSeeksAndCloses)
{
    ktest::TempDir dir;
    ktest::CountingAlloc alloc;
    std::string path = dir.File("stream.bin");
    kFile file = kNULL;

    EXPECT_EQ(kFile_Construct(&file, path.c_str(), kFILE_MODE_READ, alloc), kSTATUS_NOT_FOUND);
    EXPECT_EQ(file, kNULL);
    EXPECT_EQ(kFile_Construct(&file, path.c_str(), kFILE_MODE_UPDATE, alloc), kSTATUS_NOT_FOUND);
    EXPECT_EQ(kFile_Construct(&file, path.c_str(), 4, alloc), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kFile_Construct(&file, dir.File("none/x").c_str(), kFILE_MODE_WRITE, alloc),
              kSTATUS_STREAM);

    ASSERT_EQ(kFile_Construct(&file, path.c_str(), kFILE_MODE_WRITE, alloc), kOK);
    char buffer[16] = {};
    EXPECT_EQ(kFile_Read(file, buffer, 1), kSTATUS_BAD_STATE); // write only
    ASSERT_EQ(kFile_Write(file, "0123456789", 10), kOK);
    EXPECT_EQ(kFile_Write(file, kNULL, 0), kOK);
    EXPECT_EQ(kFile_Length(file), 10u); // unflushed bytes count
    EXPECT_EQ(kFile_Position(file), 10u);
    ASSERT_EQ(kFile_Seek(file, 14), kOK); // past the end: the gap reads as zeros
    ASSERT_EQ(kFile_Write(file, "E", 1), kOK);
    ASSERT_EQ(kFile_Flush(file), kOK);
    ASSERT_EQ(kFile_Close(file), kOK);
    EXPECT_EQ(kFile_Close(file), kSTATUS_BAD_STATE);
    EXPECT_EQ(kFile_Write(file, "x", 1), kSTATUS_BAD_STATE);
    EXPECT_EQ(kFile_Seek(file, 0), kSTATUS_BAD_STATE);
    EXPECT_EQ(kFile_Flush(file), kSTATUS_BAD_STATE);
    EXPECT_EQ(kFile_Length(file), 0u);
    EXPECT_EQ(kObject_Destroy(file), kOK);
    EXPECT_EQ(kFile_Size(path.c_str()), 15u);

    ASSERT_EQ(kFile_Construct(&file, path.c_str(), kFILE_MODE_UPDATE, alloc), kOK);
    ASSERT_EQ(kFile_Read(file, buffer, 4), kOK);
    EXPECT_EQ(std::string(buffer, 4), "0123");
    ASSERT_EQ(kFile_Write(file, "ab", 2), kOK);  // read then write in place
    ASSERT_EQ(kFile_Read(file, buffer, 4), kOK); // and back to reading
    EXPECT_EQ(std::string(buffer, 4), "6789");
    ASSERT_EQ(kFile_Read(file, buffer, 4), kOK);
    EXPECT_EQ(std::string(buffer, 4), std::string("\0\0\0\0", 4));
    EXPECT_EQ(kFile_Read(file, buffer, 4), kSTATUS_INCOMPLETE); // one byte left
    EXPECT_EQ(buffer[0], 'E');
    EXPECT_EQ(kFile_Position(file), 15u);
    ASSERT_EQ(kFile_Seek(file, 0), kOK);
    ASSERT_EQ(kFile_Read(file, buffer, 8), kOK);
    EXPECT_EQ(std::string(buffer, 8), "0123ab67");
    EXPECT_EQ(kFile_Read(file, kNULL, 1), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kObject_Destroy(file), kOK); // closes

    ASSERT_EQ(kFile_Construct(&file, path.c_str(), kFILE_MODE_READ, alloc), kOK);
    EXPECT_EQ(kFile_Write(file, "x", 1), kSTATUS_BAD_STATE); // read only
    EXPECT_EQ(kFile_Length(file), 15u);
    EXPECT_EQ(kObject_Destroy(file), kOK);

    std::string failPath = path;
    EXPECT_EQ(ktest::ExpectCleanFailures(
                  [&](kAlloc a, kObject* o)
                  { return kFile_Construct(o, failPath.c_str(), kFILE_MODE_READ, a); }),
              1u);
}

TEST(Directory, CreatesNestedDirectoriesAndNamesTheTemporaryOne)
{
    ktest::TempDir dir;
    std::string nested = dir.File("a/b/c");
    EXPECT_FALSE(kDirectory_Exists(nested.c_str()));
    ASSERT_EQ(kDirectory_Create(nested.c_str()), kOK);
    EXPECT_TRUE(kDirectory_Exists(nested.c_str()));
    EXPECT_EQ(kDirectory_Create(nested.c_str()), kOK); // already there

    std::string file = dir.File("plain");
    ASSERT_EQ(kFile_Save(file.c_str(), "x", 1), kOK);
    EXPECT_FALSE(kDirectory_Exists(file.c_str()));
    EXPECT_FALSE(kFile_Exists(nested.c_str()));
    EXPECT_EQ(kDirectory_Create(file.c_str()), kSTATUS_STREAM);
    EXPECT_EQ(kDirectory_Create((file + "/below").c_str()), kSTATUS_STREAM);
    EXPECT_EQ(kDirectory_Create(""), kSTATUS_BAD_PARAMETER);
    EXPECT_FALSE(kDirectory_Exists(kNULL));

    char temp[512];
    ASSERT_EQ(kDirectory_Temp(temp, sizeof(temp)), kOK);
    EXPECT_TRUE(kDirectory_Exists(temp));
    EXPECT_EQ(kDirectory_Temp(temp, strlen(temp)), kSTATUS_BAD_PARAMETER); // no room for the null
    EXPECT_EQ(kDirectory_Temp(temp, strlen(temp) + 1), kOK);
    EXPECT_EQ(kDirectory_Temp(kNULL, 10), kSTATUS_BAD_PARAMETER);
}

TEST(Directory, ListsRegularFilesSortedAndFailsCleanly)
{
    ktest::TempDir dir;
    for (const char* name : {"b.kdat", "B.kdat", "a.kdat", ".hidden"})
        ASSERT_EQ(kFile_Save(dir.File(name).c_str(), "x", 1), kOK);
    ASSERT_EQ(kDirectory_Create(dir.File("sub").c_str()), kOK);
    ASSERT_EQ(kFile_Save(dir.File("sub/inner.kdat").c_str(), "x", 1), kOK);

    ktest::CountingAlloc alloc;
    kArrayList files = kNULL;
    ASSERT_EQ(kDirectory_ListFiles(dir.Path().c_str(), &files, alloc), kOK);
    std::vector<std::string> names;
    for (kSize i = 0; i < kArrayList_Count(files); ++i)
    {
        kString name = *static_cast<kString*>(kArrayList_At(files, i));
        EXPECT_EQ(kObject_Type(name), kTypeOf(kString));
        names.push_back(kString_Chars(name));
    }
    EXPECT_EQ(names, (std::vector<std::string>{".hidden", "B.kdat", "a.kdat", "b.kdat"}));
    EXPECT_EQ(kObject_Dispose(files), kOK);

    ASSERT_EQ(kDirectory_ListFiles(dir.File("sub/").c_str(), &files, alloc), kOK);
    EXPECT_EQ(kArrayList_Count(files), 1u);
    kObject_Dispose(files);

    files = reinterpret_cast<kArrayList>(1);
    EXPECT_EQ(kDirectory_ListFiles(dir.File("none").c_str(), &files, alloc), kSTATUS_NOT_FOUND);
    EXPECT_EQ(files, kNULL);
    EXPECT_EQ(kDirectory_ListFiles(dir.File("a.kdat").c_str(), &files, alloc), kSTATUS_NOT_FOUND);
    EXPECT_EQ(kDirectory_ListFiles(kNULL, &files, alloc), kSTATUS_BAD_PARAMETER);

    // Allocation failure at every step leaves no list and nothing allocated.
    for (kSize step = 0;; ++step)
    {
        ktest::CountingAlloc failing;
        kCountingAlloc_SetFailAfter(failing, step);
        kStatus status = kDirectory_ListFiles(dir.Path().c_str(), &files, failing);
        if (kSuccess(status))
        {
            EXPECT_EQ(kArrayList_Count(files), 4u);
            kObject_Dispose(files);
            EXPECT_GT(step, 4u);
            break;
        }
        EXPECT_EQ(status, kSTATUS_MEMORY);
        EXPECT_EQ(files, kNULL);
        EXPECT_EQ(failing.Outstanding(), 0u) << step;
    }
}
