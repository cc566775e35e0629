// Sensor files (identity, XML documents, backup and clearing), acquisition-point names, health
// statistics and stamp windows, on local files and on the simulated node's storage.
#include <kTestSupport.h>

#include <kSolan/L3d/kL3dSensor.h>

#include <cstring>
#include <string>
#include <vector>

namespace
{
std::vector<std::string> Names(kArrayList list)
{
    std::vector<std::string> names;
    for (kSize i = 0; i < kArrayList_Count(list); ++i)
        names.push_back(kString_Chars(*(kString*)kArrayList_At(list, i)));
    return names;
}

struct Files
{
    kStorage storage;
    std::string root; // directory that holds the sensor directories

    void Put(const std::string& name, const std::string& content) const
    {
        const std::string path = root + name;
        if (storage)
            ASSERT_EQ(
                kStorage_UploadFromBuffer(storage, path.c_str(), content.data(), content.size()),
                kOK);
        else
            ASSERT_EQ(kFile_Save(path.c_str(), content.data(), content.size()), kOK);
    }
    bool Exists(const std::string& name) const
    {
        const std::string path = root + name;
        return storage ? kStorage_FileExists(storage, path.c_str()) : kFile_Exists(path.c_str());
    }
    std::string Get(const std::string& name) const
    {
        const std::string path = root + name;
        void* data = kNULL;
        kSize size = 0;
        const kStatus status =
            storage ? kStorage_DownloadToBuffer(storage, path.c_str(), &data, &size, kNULL)
                    : kFile_Load(path.c_str(), &data, &size, kNULL);
        EXPECT_EQ(status, kOK) << path;
        std::string s((const char*)data, size);
        kAlloc_Free(kAlloc_App(), data);
        return s;
    }
    std::string Dir(const std::string& name) const { return root + name; }
};

void ExerciseFiles(const Files& f)
{
    ktest::CountingAlloc alloc;
    const std::string sensor = f.Dir("sensor");

    // Identity round trip.
    kL3dSensorIdentity id = {123456, {}, 2};
    kText32_Set(&id.model, "Line profiler 2x", 100);
    ASSERT_EQ(kL3dSensor_WriteIdentity(&id, f.storage, sensor.c_str()), kOK);
    ASSERT_TRUE(f.Exists("sensor/Id.xml"));
    kL3dSensorIdentity back = {};
    ASSERT_EQ(kL3dSensor_ReadIdentity(&back, f.storage, sensor.c_str()), kOK);
    EXPECT_EQ(back.serialNumber, 123456u);
    EXPECT_STREQ(back.model.chars, "Line profiler 2x");
    EXPECT_EQ(back.cameraCount, 2u);

    // XML round trip under another name.
    kXml xml = kNULL;
    ASSERT_EQ(kXml_FromText(&xml, "<Settings><Exposure>125.5</Exposure></Settings>", alloc), kOK);
    ASSERT_EQ(kL3dSensor_WriteXml(xml, f.storage, sensor.c_str(), "Settings.xml"), kOK);
    kObject_Destroy(xml);
    ASSERT_EQ(kL3dSensor_ReadXml(&xml, f.storage, sensor.c_str(), "Settings.xml", alloc), kOK);
    k64f exposure = 0;
    EXPECT_EQ(kXml_Child64f(xml, kXml_Root(xml), "Exposure", &exposure), kOK);
    EXPECT_EQ(exposure, 125.5);
    kObject_Destroy(xml);
    xml = kNULL;
    EXPECT_EQ(kL3dSensor_ReadXml(&xml, f.storage, sensor.c_str(), "None.xml", alloc),
              kSTATUS_NOT_FOUND);
    EXPECT_EQ(xml, kNULL);
    ktest::ExpectCleanFailures(
        [&](kAlloc a, kObject* out)
        { return kL3dSensor_ReadXml(out, f.storage, sensor.c_str(), "Settings.xml", a); });

    // Backup copies the directory's own files; a nested backup directory is not a sensor file.
    f.Put("sensor/Cal0.kdat", std::string("\0\1\2cal", 6));
    f.Put("sensor/sub/keep.txt", "keep");
    const std::string backup = f.Dir("sensor/backup");
    ASSERT_EQ(kL3dSensor_BackupFiles(f.storage, sensor.c_str(), backup.c_str()), kOK);
    EXPECT_EQ(f.Get("sensor/backup/Cal0.kdat"), std::string("\0\1\2cal", 6));
    EXPECT_EQ(f.Get("sensor/backup/Id.xml"), f.Get("sensor/Id.xml"));
    EXPECT_EQ(f.Get("sensor/backup/Settings.xml"), f.Get("sensor/Settings.xml"));
    EXPECT_FALSE(f.Exists("sensor/backup/keep.txt"));
    EXPECT_FALSE(f.Exists("sensor/backup/sub/keep.txt"));
    EXPECT_EQ(kL3dSensor_BackupFiles(f.storage, sensor.c_str(), sensor.c_str()),
              kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kL3dSensor_BackupFiles(f.storage, sensor.c_str(), (sensor + "/").c_str()),
              kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(f.Get("sensor/Cal0.kdat"), std::string("\0\1\2cal", 6));

    // Clearing deletes the directory's files only; the backup restores them.
    ASSERT_EQ(kL3dSensor_ClearFiles(f.storage, sensor.c_str()), kOK);
    EXPECT_FALSE(f.Exists("sensor/Id.xml"));
    EXPECT_FALSE(f.Exists("sensor/Cal0.kdat"));
    EXPECT_TRUE(f.Exists("sensor/sub/keep.txt"));
    EXPECT_TRUE(f.Exists("sensor/backup/Id.xml"));
    EXPECT_EQ(kL3dSensor_ReadIdentity(&back, f.storage, sensor.c_str()), kSTATUS_NOT_FOUND);
    ASSERT_EQ(kL3dSensor_BackupFiles(f.storage, backup.c_str(), sensor.c_str()), kOK);
    back = {};
    ASSERT_EQ(kL3dSensor_ReadIdentity(&back, f.storage, sensor.c_str()), kOK);
    EXPECT_EQ(back.serialNumber, 123456u);

    // Identity documents that do not read fail with the missing or malformed child's status.
    struct Case
    {
        const char* text;
        kStatus status;
    } cases[] = {
        {"<Id><Model>m</Model><CameraCount>1</CameraCount></Id>", kSTATUS_NOT_FOUND},
        {"<Id><SerialNumber>5</SerialNumber><CameraCount>1</CameraCount></Id>", kSTATUS_NOT_FOUND},
        {"<Id><SerialNumber>5</SerialNumber><Model>m</Model></Id>", kSTATUS_NOT_FOUND},
        {"<Id><SerialNumber>x</SerialNumber><Model>m</Model><CameraCount>1</CameraCount></Id>",
         kSTATUS_BAD_FORMAT},
        {"<Id><SerialNumber>5</SerialNumber><Model>0123456789012345678901234567890123</Model>"
         "<CameraCount>1</CameraCount></Id>",
         kSTATUS_BAD_PARAMETER},
        {"<Identity><SerialNumber>5</SerialNumber></Identity>", kSTATUS_BAD_FORMAT},
    };
    for (const Case& c : cases)
    {
        f.Put("sensor/Id.xml", c.text);
        kL3dSensorIdentity kept = back;
        EXPECT_EQ(kL3dSensor_ReadIdentity(&kept, f.storage, sensor.c_str()), c.status) << c.text;
        EXPECT_EQ(memcmp(&kept, &back, sizeof(kept)), 0) << c.text;
    }
    f.Put("sensor/Id.xml", "<Id><SerialNumber>");
    EXPECT_FALSE(kSuccess(kL3dSensor_ReadIdentity(&back, f.storage, sensor.c_str())));
}
} // namespace

TEST(L3dSensor, FilesOnLocalDirectories)
{
    ktest::TempDir dir;
    kDirectory_Create(dir.File("sensor/sub").c_str());
    ExerciseFiles({kNULL, dir.Path() + "/"});

    kL3dSensorIdentity id = {};
    EXPECT_EQ(kL3dSensor_ClearFiles(kNULL, dir.File("none").c_str()), kSTATUS_NOT_FOUND);
    EXPECT_EQ(kL3dSensor_BackupFiles(kNULL, dir.File("none").c_str(), dir.File("b").c_str()),
              kSTATUS_NOT_FOUND);
    EXPECT_EQ(kL3dSensor_ReadIdentity(&id, kNULL, dir.File("none").c_str()), kSTATUS_NOT_FOUND);
}

TEST(L3dSensor, FilesOnTheNodeStorage)
{
    ktest::CountingAlloc alloc;
    kNode node = kNULL;
    ASSERT_EQ(kNode_Construct(&node, kNULL, alloc), kOK);
    kStorage storage = kNode_Storage(node);
    ExerciseFiles({storage, "user/"});
    EXPECT_TRUE(kNode_HasCall(node, "kStorage_Delete user/sensor/Cal0.kdat"));

    // The storage root is a sensor directory too, with or without separators around names.
    const kL3dSensorIdentity id = {7, {"root"}, 1};
    ASSERT_EQ(kL3dSensor_WriteIdentity(&id, storage, kNULL), kOK);
    EXPECT_TRUE(kStorage_FileExists(storage, "Id.xml"));
    ASSERT_EQ(kL3dSensor_BackupFiles(storage, "", "/saved/"), kOK);
    EXPECT_TRUE(kStorage_FileExists(storage, "saved/Id.xml"));
    EXPECT_FALSE(kStorage_FileExists(storage, "saved/user/sensor/sub/keep.txt"));
    EXPECT_EQ(kL3dSensor_BackupFiles(storage, "saved/", "/saved"), kSTATUS_BAD_PARAMETER);

    // A failing storage operation stops the helper with its status.
    ASSERT_EQ(kNode_SetFault(node, "kStorage_Delete", kSTATUS_STREAM), kOK);
    EXPECT_EQ(kL3dSensor_ClearFiles(storage, "saved"), kSTATUS_STREAM);
    EXPECT_TRUE(kStorage_FileExists(storage, "saved/Id.xml"));
    ASSERT_EQ(kNode_SetFault(node, "kStorage_Delete", kOK), kOK);
    ASSERT_EQ(kL3dSensor_ClearFiles(storage, "saved"), kOK);
    kArrayList names = kNULL;
    ASSERT_EQ(kArrayList_Construct(&names, kTypeOf(kString), 0, alloc), kOK);
    ASSERT_EQ(kStorage_ListFiles(storage, names), kOK);
    for (const std::string& name : Names(names))
        EXPECT_NE(name.rfind("saved/", 0), 0u) << name;
    kObject_Dispose(names);
    kObject_Destroy(node);
}

TEST(L3dSensor, AcquisitionPointNames)
{
    char name[32];
    ASSERT_EQ(kL3dSensor_AcquisitionPoint(name, sizeof(name), 0, 2), kOK);
    EXPECT_STREQ(name, "Camera 0/State 2");
    ASSERT_EQ(kL3dSensor_AcquisitionPoint(name, sizeof(name), 4294967295u, 10), kOK);
    EXPECT_STREQ(name, "Camera 4294967295/State 10");
    EXPECT_EQ(kL3dSensor_AcquisitionPoint(name, 8, 1, 1), kSTATUS_BAD_PARAMETER);

    // The name is a sensor directory of its own on a storage.
    ktest::CountingAlloc alloc;
    kStorage storage = kNULL;
    ASSERT_EQ(kStorage_Construct(&storage, kNULL, alloc), kOK);
    ASSERT_EQ(kL3dSensor_AcquisitionPoint(name, sizeof(name), 1, 3), kOK);
    const kL3dSensorIdentity id = {5, {"point"}, 1};
    ASSERT_EQ(kL3dSensor_WriteIdentity(&id, storage, name), kOK);
    EXPECT_TRUE(kStorage_FileExists(storage, "Camera 1/State 3/Id.xml"));
    kObject_Destroy(storage);
}

TEST(L3dSensor, HealthStatsById)
{
    ktest::CountingAlloc alloc;
    kArrayList stats = kNULL;
    ASSERT_EQ(kArrayList_Construct(&stats, kTypeOf(kHealthStat), 0, alloc), kOK);
    for (kHealthStat s : {kHealthStat{2002, 41500}, kHealthStat{7, -1}, kHealthStat{2002, 1}})
        ASSERT_EQ(kArrayList_Add(stats, &s), kOK);
    kHealthMsg msg = kNULL;
    ASSERT_EQ(kHealthMsg_Construct(&msg, stats, alloc), kOK);
    k64s value = 99;
    ASSERT_EQ(kL3dHealthMsg_GetStatById(msg, 2002, &value), kOK);
    EXPECT_EQ(value, 41500); // the first of repeated ids
    ASSERT_EQ(kL3dHealthMsg_GetStatById(msg, 7, &value), kOK);
    EXPECT_EQ(value, -1);
    EXPECT_EQ(kL3dHealthMsg_GetStatById(msg, 2027, &value), kSTATUS_NOT_FOUND);
    EXPECT_EQ(value, -1);
    kObject_Destroy(msg);

    // Content of another kind has no statistics.
    kArrayList words = kNULL;
    ASSERT_EQ(kArrayList_Construct(&words, kTypeOf(k64s), 0, alloc), kOK);
    ASSERT_EQ(kHealthMsg_Construct(&msg, words, alloc), kOK);
    EXPECT_EQ(kL3dHealthMsg_GetStatById(msg, 0, &value), kSTATUS_NOT_FOUND);
    kObject_Destroy(msg);
    kString text = kNULL;
    ASSERT_EQ(kString_Construct(&text, "2002", alloc), kOK);
    ASSERT_EQ(kHealthMsg_Construct(&msg, text, alloc), kOK);
    EXPECT_EQ(kL3dHealthMsg_GetStatById(msg, 2002, &value), kSTATUS_NOT_FOUND);
    kObject_Destroy(msg);
}

TEST(L3dSensor, StampWindowFollowsTheRegion)
{
    kStamp stamp;
    memset(&stamp, 0xA5, sizeof(stamp));
    const kStamp before = stamp;
    const kL3dCameraWindow region = {16, 8, 1280, 1023, 2, 4};
    ASSERT_EQ(kL3dStamp_UpdateWindow(&stamp, &region), kOK);
    EXPECT_EQ(stamp.roiX, 16);
    EXPECT_EQ(stamp.roiY, 8);
    EXPECT_EQ(stamp.roiWidth, 1280);
    EXPECT_EQ(stamp.roiHeight, 1023);
    EXPECT_EQ(stamp.roiXSubsampling, 2);
    EXPECT_EQ(stamp.roiYSubsampling, 4);
    EXPECT_EQ(stamp.width, 640);
    EXPECT_EQ(stamp.height, 255);
    // Everything but the window and the payload size is kept.
    EXPECT_EQ(stamp.frameIndex, before.frameIndex);
    EXPECT_EQ(stamp.temperature, before.temperature);
    EXPECT_EQ(memcmp(stamp.reserved3, before.reserved3, sizeof(stamp.reserved3)), 0);

    const kStamp good = stamp;
    const kL3dCameraWindow bad[] = {{0, 0, 8, 8, 0, 1},     {0, 0, 8, 8, 1, 0},
                                    {0, 0, 8, 8, 256, 1},   {65536, 0, 8, 8, 1, 1},
                                    {0, 0, 65536, 8, 1, 1}, {0, 0, 8, 70000, 1, 1}};
    for (const kL3dCameraWindow& w : bad)
    {
        EXPECT_EQ(kL3dStamp_UpdateWindow(&stamp, &w), kSTATUS_BAD_PARAMETER);
        EXPECT_EQ(memcmp(&stamp, &good, sizeof(stamp)), 0);
    }
}
