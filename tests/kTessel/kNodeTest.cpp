// The simulated sensor node: recorded calls, faults and verification errors, cameras with
// their extensions and tables, projectors, serial outputs, the system, and storage in memory
// and in a directory with its stream.
#include <kTestSupport.h>

#include <kTessel.h>

#include <string>
#include <vector>

namespace
{
std::vector<std::string> Calls(kNode node)
{
    std::vector<std::string> calls;
    for (kSize i = 0; i < kNode_CallCount(node); ++i)
        calls.emplace_back(kNode_CallAt(node, i));
    return calls;
}

class Node : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_EQ(kNode_Construct(&m_node, kNULL, m_alloc), kOK);
        kCameraConfig config;
        ASSERT_EQ(kCameraConfig_Init(&config), kOK);
        config.pixelLutCapacity = 256;
        config.hasRescaler = kTRUE;
        config.rescalerRatio = 0.5;
        config.rangeLutFormat = 18;
        ASSERT_EQ(kNode_AddCamera(m_node, kNULL, &m_camera0), kOK);
        ASSERT_EQ(kNode_AddCamera(m_node, &config, &m_camera1), kOK);
        ASSERT_EQ(kNode_AddProjector(m_node, 912, &m_projector), kOK);
        ASSERT_EQ(kNode_AddSerialOut(m_node, kNULL), kOK);
    }
    void TearDown() override { EXPECT_EQ(kObject_Destroy(m_node), kOK); }

    ktest::CountingAlloc m_alloc;
    kNode m_node = kNULL;
    kCamera m_camera0 = kNULL, m_camera1 = kNULL;
    kProjector m_projector = kNULL;
};
} // namespace

TEST_F(Node, RecordsCallsAndRequiresAConnection)
{
    EXPECT_EQ(kNode_CameraCount(m_node), 2u);
    EXPECT_EQ(kNode_CameraAt(m_node, 1), m_camera1);
    EXPECT_EQ(kNode_CameraAt(m_node, 2), kNULL);
    EXPECT_EQ(kCamera_Index(m_camera1), 1u);
    EXPECT_EQ(kNode_ProjectorAt(m_node, 0), m_projector);
    EXPECT_EQ(kNode_SerialOutCount(m_node), 1u);

    EXPECT_EQ(kNode_Refresh(m_node), kSTATUS_BAD_STATE);
    EXPECT_EQ(kNode_Apply(m_node), kSTATUS_BAD_STATE);
    ASSERT_EQ(kNode_Connect(m_node), kOK);
    EXPECT_TRUE(kNode_IsConnected(m_node));
    EXPECT_EQ(kNode_Refresh(m_node), kOK);
    EXPECT_EQ(kCamera_Enable(m_camera1, kTRUE), kOK);
    EXPECT_EQ(kCamera_SetControl(m_camera1, 16), kOK);
    EXPECT_EQ(kCamera_SetPortMode(m_camera0, 2), kOK);
    EXPECT_EQ(kCamera_SetOutputMode(m_camera0, 1), kOK);
    EXPECT_EQ(kProjector_SetPatternMode(m_projector, 1), kOK);
    EXPECT_EQ(kNode_VerifyAndApply(m_node), kOK);
    EXPECT_TRUE(kCamera_IsEnabled(m_camera1));
    EXPECT_FALSE(kCamera_IsEnabled(m_camera0));

    std::vector<std::string> expected = {"kNode_Refresh",
                                         "kNode_Apply",
                                         "kNode_Connect",
                                         "kNode_Refresh",
                                         "kCamera_Enable 1 1",
                                         "kCamera_SetControl 1 16",
                                         "kCamera_SetPortMode 0 2",
                                         "kCamera_SetOutputMode 0 1",
                                         "kProjector_SetPatternMode 0 1",
                                         "kNode_Verify",
                                         "kNode_Apply"};
    EXPECT_EQ(Calls(m_node), expected);
    EXPECT_TRUE(kNode_HasCall(m_node, "kCamera_SetControl 1 16"));
    EXPECT_FALSE(kNode_HasCall(m_node, "kCamera_SetControl 1"));
    EXPECT_EQ(kNode_CountCalls(m_node, "kNode_"), 6u);
    EXPECT_EQ(kNode_ClearCalls(m_node), kOK);
    EXPECT_EQ(kNode_CallCount(m_node), 0u);
    EXPECT_EQ(kNode_CallAt(m_node, 0), kNULL);
}

TEST_F(Node, FaultsAndVerificationErrors)
{
    ASSERT_EQ(kNode_Connect(m_node), kOK);
    ASSERT_EQ(kNode_SetFault(m_node, "kNode_Apply", kSTATUS_STREAM), kOK);
    ASSERT_EQ(kNode_SetFault(m_node, "kCamera_Enable", kSTATUS_TIMEOUT), kOK);
    EXPECT_EQ(kNode_Apply(m_node), kSTATUS_STREAM);
    EXPECT_EQ(kCamera_Enable(m_camera0, kTRUE), kSTATUS_TIMEOUT);
    EXPECT_FALSE(kCamera_IsEnabled(m_camera0));               // a faulted call has no effect
    EXPECT_TRUE(kNode_HasCall(m_node, "kCamera_Enable 0 1")); // but is recorded
    ASSERT_EQ(kNode_SetFault(m_node, "kNode_Apply", kOK), kOK);
    EXPECT_EQ(kNode_Apply(m_node), kOK);
    EXPECT_EQ(kCamera_Enable(m_camera0, kTRUE), kSTATUS_TIMEOUT);
    EXPECT_EQ(kNode_SetFault(m_node, std::string(80, 'x').c_str(), kSTATUS_FAILED),
              kSTATUS_BAD_PARAMETER);

    ASSERT_EQ(kNode_AddError(m_node, "Camera 0: exposure too long"), kOK);
    ASSERT_EQ(kNode_AddError(m_node, "Projector 0: no patterns"), kOK);
    EXPECT_EQ(kNode_Verify(m_node), kSTATUS_CONFLICT);
    EXPECT_EQ(kNode_VerifyAndApply(m_node), kSTATUS_CONFLICT);
    EXPECT_EQ(kNode_CountCalls(m_node, "kNode_Apply"),
              2u); // VerifyAndApply stopped before applying
    ASSERT_EQ(kNode_ErrorCount(m_node), 2u);
    EXPECT_STREQ(kNode_ErrorAt(m_node, 1), "Projector 0: no patterns");
    EXPECT_EQ(kNode_ErrorAt(m_node, 2), kNULL);
    ASSERT_EQ(kNode_ClearErrors(m_node), kOK);
    EXPECT_EQ(kNode_Verify(m_node), kOK);
}

TEST_F(Node, ExtensionsAreRenumberedWhenOneIsDeleted)
{
    kCameraExt decoders[3] = {};
    for (kCameraExt& decoder : decoders)
        ASSERT_EQ(kCamera_AddExtension(m_camera0, kTypeOf(kCameraPhaseDecoder), &decoder), kOK);
    EXPECT_EQ(kCamera_AddExtension(m_camera0, kTypeOf(kCameraExt), kNULL), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kCamera_AddExtension(m_camera0, kTypeOf(kMsg), kNULL), kSTATUS_BAD_PARAMETER);
    ASSERT_EQ(kCamera_ExtensionCount(m_camera0), 3u);
    EXPECT_EQ(kCameraExt_Camera(decoders[1]), m_camera0);

    ASSERT_EQ(kCamera_DeleteExtension(m_camera0, decoders[1]), kOK);
    ASSERT_EQ(kCamera_ExtensionCount(m_camera0), 2u);
    EXPECT_EQ(kCamera_ExtensionAt(m_camera0, 1), decoders[2]); // moved down
    EXPECT_TRUE(kNode_HasCall(m_node, "kCamera_DeleteExtension 0 1"));
    EXPECT_EQ(kCamera_DeleteExtension(m_camera1, decoders[0]), kSTATUS_NOT_FOUND);

    // The walk an action does: after a deletion the same index holds the next extension.
    for (kSize i = 0; i < kCamera_ExtensionCount(m_camera0);)
    {
        kCameraExt ext = kCamera_ExtensionAt(m_camera0, i);
        if (kObject_Is(ext, kTypeOf(kCameraPhaseDecoder)))
            ASSERT_EQ(kCamera_DeleteExtension(m_camera0, ext), kOK);
        else
            ++i;
    }
    EXPECT_EQ(kCamera_ExtensionCount(m_camera0), 0u);
    EXPECT_EQ(kNode_CountCalls(m_node, "kCamera_DeleteExtension 0 0"), 2u);
}

TEST_F(Node, PhaseDecoderRecordsSettingsAndKeepsTables)
{
    kCameraPhaseDecoder decoder = kNULL;
    ASSERT_EQ(kCamera_AddExtension(m_camera1, kTypeOf(kCameraPhaseDecoder), &decoder), kOK);
    EXPECT_EQ(kCameraPhaseDecoder_SetPhaseCount(decoder, 5), kOK);
    EXPECT_EQ(kCameraPhaseDecoder_SetPhasePeriod(decoder, 1), kOK);
    EXPECT_EQ(kCameraPhaseDecoder_SetStripeThreshold(decoder, 10), kOK);
    EXPECT_EQ(kCameraPhaseDecoder_SetPhaseThreshold(decoder, 11), kOK);
    EXPECT_EQ(kCameraPhaseDecoder_SetFormat(decoder, 4), kOK);
    EXPECT_EQ(kCameraPhaseDecoder_SetSubframeCount(decoder, 4), kOK);
    EXPECT_EQ(kCameraPhaseDecoder_SetPhasePrediction(decoder, 12), kOK);
    EXPECT_EQ(kCameraPhaseDecoder_SetEpsFrequencyCount(decoder, 3), kOK);
    EXPECT_EQ(kCameraPhaseDecoder_SetEpsF1PhaseCount(decoder, 5), kOK);
    EXPECT_EQ(kCameraPhaseDecoder_SetEpsEmbeddedPeriod(decoder, 2, 686), kOK);
    EXPECT_EQ(kCameraPhaseDecoder_SetEpsEmbeddedPeriod(decoder, 8, 1), kSTATUS_BAD_PARAMETER);
    for (const char* line :
         {"kCameraPhaseDecoder_SetPhaseCount 1 5", "kCameraPhaseDecoder_SetPhasePeriod 1 1",
          "kCameraPhaseDecoder_SetStripeThreshold 1 10",
          "kCameraPhaseDecoder_SetPhaseThreshold 1 11", "kCameraPhaseDecoder_SetFormat 1 4",
          "kCameraPhaseDecoder_SetSubframeCount 1 4", "kCameraPhaseDecoder_SetPhasePrediction 1 12",
          "kCameraPhaseDecoder_SetEpsFrequencyCount 1 3",
          "kCameraPhaseDecoder_SetEpsF1PhaseCount 1 5",
          "kCameraPhaseDecoder_SetEpsEmbeddedPeriod 1 2 686"})
        EXPECT_TRUE(kNode_HasCall(m_node, line)) << line;

    kArray1 sine = kNULL;
    kArray2 shift = kNULL;
    ASSERT_EQ(kArray1_Construct(&sine, kTypeOf(k32s), 5, m_alloc), kOK);
    kArray1_AtT<k32s>(sine, 1)[0] = 15582;
    ASSERT_EQ(kArray2_Construct(&shift, kTypeOf(k32s), 15, 3, m_alloc), kOK);
    ASSERT_EQ(kCameraPhaseDecoder_WriteLut(decoder, 2, sine), kOK);
    ASSERT_EQ(kCameraPhaseDecoder_WriteLut(decoder, 8, shift), kOK);
    EXPECT_EQ(kCameraPhaseDecoder_WriteLut(decoder, 16, sine), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kCameraPhaseDecoder_WriteLut(decoder, 3, decoder), kSTATUS_BAD_PARAMETER);
    EXPECT_TRUE(kNode_HasCall(m_node, "kCameraPhaseDecoder_WriteLut 1 2 5"));
    EXPECT_TRUE(kNode_HasCall(m_node, "kCameraPhaseDecoder_WriteLut 1 8 45"));
    kObject kept = kCameraPhaseDecoder_Lut(decoder, 2);
    ASSERT_NE(kept, kNULL);
    EXPECT_NE(kept, sine); // a copy
    EXPECT_EQ(*kArray1_AtT<k32s>(kept, 1), 15582);
    EXPECT_EQ(kCameraPhaseDecoder_Lut(decoder, 4), kNULL);
    kObject_Destroy(sine);
    kObject_Destroy(shift);
}

TEST_F(Node, CameraTablesAndQueries)
{
    EXPECT_EQ(kCamera_RangeLutFormat(m_camera0), 16u);
    EXPECT_EQ(kCamera_RangeLutFormat(m_camera1), 18u);
    EXPECT_FALSE(kCamera_HasRescaler(m_camera0));
    EXPECT_EQ(kCamera_RescalerRatio(m_camera0), 1.0);
    EXPECT_EQ(kCamera_RescalerRatio(m_camera1), 0.5);
    EXPECT_TRUE(kCamera_Capabilities(m_camera0) & kCAMERA_CAPABILITY_PRNU);
    kRangeLutCaps caps = kCameraInfo_RangeLutCaps(kCamera_ModelInfo(m_camera0));
    EXPECT_EQ(caps.rowCount, 1024u);
    EXPECT_EQ(caps.maxCentroidCount, 4096u);
    EXPECT_EQ(caps.maxValueCount, 32768u);
    EXPECT_EQ(kType_Size(kTypeOf(kRangeLutCaps)), 32u);

    kSize capacity = 0;
    ASSERT_EQ(kCamera_PixelLutCapacityInfo(m_camera0, &capacity), kOK);
    EXPECT_EQ(capacity, 1024u);
    ASSERT_EQ(kCamera_PixelLutCapacityInfo(m_camera1, &capacity), kOK);
    EXPECT_EQ(capacity, 256u);
    std::vector<k8u> lut(256);
    for (kSize i = 0; i < lut.size(); ++i)
        lut[i] = (k8u)(255 - i);
    EXPECT_EQ(kCamera_SetPixelLut(m_camera0, lut.data(), lut.size()), kSTATUS_BAD_PARAMETER);
    ASSERT_EQ(kCamera_SetPixelLut(m_camera1, lut.data(), lut.size()), kOK);
    EXPECT_EQ(*kArray1_AtT<k8u>(kCamera_PixelLut(m_camera1), 3), 252);
    EXPECT_EQ(kCamera_PixelLut(m_camera0), kNULL);

    kArray1 coordinates = kNULL, offsets = kNULL, scales = kNULL;
    ASSERT_EQ(kArray1_Construct(&coordinates, kTypeOf(kPoint16s), 3, m_alloc), kOK);
    ASSERT_EQ(kArray1_Construct(&offsets, kTypeOf(k8u), 3, m_alloc), kOK);
    ASSERT_EQ(kArray1_Construct(&scales, kTypeOf(k16u), 2, m_alloc), kOK);
    EXPECT_EQ(kCamera_WritePrnu(m_camera0, coordinates, offsets, scales), kSTATUS_BAD_PARAMETER);
    ASSERT_EQ(kArray1_Allocate(scales, kTypeOf(k16u), 3), kOK);
    *kArray1_AtT<k16u>(scales, 2) = 510;
    ASSERT_EQ(kCamera_WritePrnu(m_camera0, coordinates, offsets, scales), kOK);
    EXPECT_TRUE(kNode_HasCall(m_node, "kCamera_WritePrnu 0 3"));
    EXPECT_EQ(*kArray1_AtT<k16u>(kCamera_PrnuTable(m_camera0, 2), 2), 510);
    EXPECT_EQ(kCamera_PrnuTable(m_camera0, 3), kNULL);

    kImage fpn = kNULL;
    ASSERT_EQ(kImage_Construct(&fpn, kTypeOf(k16u), 8, 4, m_alloc), kOK);
    EXPECT_EQ(kCamera_WriteFpn(m_camera0, fpn), kSTATUS_BAD_PARAMETER);
    ASSERT_EQ(kImage_Allocate(fpn, kTypeOf(k8u), 8, 4), kOK);
    ASSERT_EQ(kCamera_EnableFpn(m_camera0, kTRUE), kOK);
    ASSERT_EQ(kCamera_WriteFpn(m_camera0, fpn), kOK);
    EXPECT_TRUE(kCamera_IsFpnEnabled(m_camera0));
    EXPECT_TRUE(kNode_HasCall(m_node, "kCamera_WriteFpn 0 8x4"));
    EXPECT_EQ(kImage_Width(kCamera_Fpn(m_camera0)), 8u);

    ASSERT_EQ(kCamera_WriteRangeLut(m_camera1, offsets), kOK);
    EXPECT_EQ(kCamera_RangeLut(m_camera1), offsets);
    EXPECT_EQ(kObject_RefCount(offsets), 2);
    EXPECT_TRUE(kNode_HasCall(m_node, "kCamera_WriteRangeLut 1 kArray1"));
    EXPECT_EQ(kCamera_WriteRangeLut(m_camera1, kNULL), kSTATUS_BAD_PARAMETER);

    for (kObject o : {coordinates, offsets, scales, (kObject)fpn})
        kObject_Destroy(o);
}

TEST_F(Node, ProjectorSerialOutputAndSystem)
{
    EXPECT_EQ(kProjector_Width(m_projector), 912u);
    kArray2 patterns = kNULL;
    ASSERT_EQ(kArray2_Construct(&patterns, kTypeOf(k8u), 12, 900, m_alloc), kOK);
    EXPECT_EQ(kProjector_LoadPatterns(m_projector, patterns), kSTATUS_BAD_PARAMETER);
    ASSERT_EQ(kArray2_Allocate(patterns, kTypeOf(k8u), 12, 912), kOK);
    ASSERT_EQ(kProjector_LoadPatterns(m_projector, patterns), kOK);
    ASSERT_EQ(kProjector_SetFrameCount(m_projector, 12), kOK);
    ASSERT_EQ(kProjector_Enable(m_projector, kTRUE), kOK);
    ASSERT_EQ(kProjector_EnableDynamicFrameRate(m_projector, kTRUE), kOK);
    EXPECT_EQ(kProjector_FrameCount(m_projector), 12u);
    EXPECT_TRUE(kProjector_IsEnabled(m_projector));
    EXPECT_EQ(kArray2_Length(kProjector_Patterns(m_projector), 0), 12u);
    EXPECT_TRUE(kNode_HasCall(m_node, "kProjector_LoadPatterns 0 12x912"));
    EXPECT_TRUE(kNode_HasCall(m_node, "kProjector_EnableDynamicFrameRate 0 1"));
    kObject_Destroy(patterns);

    kSerialOut out = kNode_SerialOutAt(m_node, 0);
    const k8u first[] = {32, 33, 34}, second[] = {35};
    ASSERT_EQ(kSerialOut_Write(out, first, 3), kOK);
    ASSERT_EQ(kSerialOut_Write(out, second, 1), kOK);
    k8u sent[2] = {};
    kSize size = 0;
    ASSERT_EQ(kSerialOut_Sent(out, sent, sizeof(sent), &size), kOK);
    EXPECT_EQ(size, 4u);
    EXPECT_EQ(sent[1], 33);
    EXPECT_TRUE(kNode_HasCall(m_node, "kSerialOut_Write 0 3"));

    k64u t0 = kNode_TimeCounter(m_node), t1 = kNode_TimeCounter(m_node);
    EXPECT_LE(t0, t1);

    kSystem system = kNULL;
    ASSERT_EQ(kSystem_Construct(&system, m_alloc), kOK);
    ASSERT_EQ(kSystem_AddNode(system, m_node), kOK);
    EXPECT_EQ(kSystem_AddNode(system, m_projector), kSTATUS_BAD_PARAMETER);
    ASSERT_EQ(kNode_Connect(m_node), kOK);
    ASSERT_EQ(kSystem_Disconnect(system), kOK);
    EXPECT_FALSE(kNode_IsConnected(m_node));
    EXPECT_EQ(kSystem_NodeAt(system, 0), m_node);
    EXPECT_EQ(kSystem_NodeAt(system, 1), kNULL);
    EXPECT_EQ(kObject_Destroy(system), kOK);
    EXPECT_EQ(kObject_RefCount(m_node), 1);
}

TEST(NodeConstruction, FailsCleanlyAtEveryAllocation)
{
    ktest::ExpectCleanFailures(
        [](kAlloc alloc, kObject* out)
        {
            kNode node = kNULL;
            kStatus status;
            kTest(kNode_Construct(&node, kNULL, alloc));
            kTest(kNode_AddCamera(node, kNULL, kNULL));
            kTest(kNode_AddProjector(node, 64, kNULL));
            kTest(kNode_AddSerialOut(node, kNULL));
            kTest(
                kCamera_AddExtension(kNode_CameraAt(node, 0), kTypeOf(kCameraPhaseDecoder), kNULL));
            *out = node;
            return kOK;
        cleanup:
            kObject_Destroy(node);
            return status;
        });
}

/* ----- Storage ------------------------------------------------------------------------------ */

namespace
{
std::vector<std::string> List(kStorage storage)
{
    std::vector<std::string> names;
    kArrayList list = kNULL;
    EXPECT_EQ(kArrayList_Construct(&list, kTypeOf(kString), 0, kNULL), kOK);
    EXPECT_EQ(kStorage_ListFiles(storage, list), kOK);
    for (kSize i = 0; i < kArrayList_Count(list); ++i)
        names.emplace_back(kString_Chars(*static_cast<kString*>(kArrayList_At(list, i))));
    kObject_Dispose(list);
    return names;
}

void ExerciseStorage(kStorage storage)
{
    const char text[] = "fringe";
    ASSERT_EQ(kStorage_UploadFromBuffer(storage, "/user/data.kdat6", text, 6), kOK);
    ASSERT_EQ(kStorage_UploadFromBuffer(storage, "PRNUCal0.kdat6", "abc", 3), kOK);
    ASSERT_EQ(kStorage_UploadFromBuffer(storage, "Empty.kdat", kNULL, 0), kOK);
    EXPECT_EQ(kStorage_UploadFromBuffer(storage, "", text, 1), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kStorage_UploadFromBuffer(storage, std::string(300, 'n').c_str(), text, 1),
              kSTATUS_BAD_PARAMETER);
    EXPECT_TRUE(kStorage_FileExists(storage, "user/data.kdat6")); // the leading "/" is optional
    EXPECT_FALSE(kStorage_FileExists(storage, "user/other.kdat6"));
    std::vector<std::string> expected = {"Empty.kdat", "PRNUCal0.kdat6", "user/data.kdat6"};
    EXPECT_EQ(List(storage), expected);

    k64u size = 0;
    ASSERT_EQ(kStorage_FileSize(storage, "PRNUCal0.kdat6", &size), kOK);
    EXPECT_EQ(size, 3u);
    EXPECT_EQ(kStorage_FileSize(storage, "Missing", &size), kSTATUS_NOT_FOUND);

    ASSERT_EQ(kStorage_UploadFromBuffer(storage, "PRNUCal0.kdat6", "wxyz", 4), kOK); // replaced
    ktest::CountingAlloc alloc;
    void* data = kNULL;
    kSize length = 0;
    ASSERT_EQ(kStorage_DownloadToBuffer(storage, "PRNUCal0.kdat6", &data, &length, alloc), kOK);
    EXPECT_EQ(std::string(static_cast<char*>(data), length), "wxyz");
    kAlloc_Free(alloc, data);
    EXPECT_EQ(kStorage_DownloadToBuffer(storage, "Missing", &data, &length, alloc),
              kSTATUS_NOT_FOUND);
    ASSERT_EQ(kStorage_DownloadToBuffer(storage, "Empty.kdat", &data, &length, alloc), kOK);
    EXPECT_EQ(length, 0u);

    // Stream: written, uploaded on flush, read back through a second stream.
    kStorageStream writer = kNULL, reader = kNULL;
    ASSERT_EQ(kStorageStream_Construct(&writer, storage, "temp/out.bin", kFILE_MODE_WRITE, alloc),
              kOK);
    ASSERT_EQ(kStream_Write(writer, "0123456789", 10), kOK);
    EXPECT_FALSE(kStorage_FileExists(storage, "temp/out.bin"));
    ASSERT_EQ(kStream_Flush(writer), kOK);
    ASSERT_EQ(kStream_Write(writer, "AB", 2), kOK);
    ASSERT_EQ(kObject_Destroy(writer), kOK); // uploads what was written since the flush
    ASSERT_EQ(kStorageStream_Construct(&reader, storage, "temp/out.bin", kFILE_MODE_READ, alloc),
              kOK);
    char buffer[13] = {};
    EXPECT_EQ(kStream_Read(reader, buffer, 13), kSTATUS_INCOMPLETE);
    EXPECT_STREQ(buffer, "0123456789AB");
    ASSERT_EQ(kStream_Seek(reader, 4, kSEEK_ORIGIN_BEGIN), kOK);
    ASSERT_EQ(kStream_Read(reader, buffer, 2), kOK);
    EXPECT_EQ(std::string(buffer, 2), "45");
    EXPECT_EQ(kStream_Write(reader, "x", 1), kSTATUS_NOT_IMPLEMENTED);

    ASSERT_EQ(kStream_Seek(reader, 0, kSEEK_ORIGIN_BEGIN), kOK);
    ASSERT_EQ(kStorage_UploadFromStream(storage, "copy.bin", reader, 5), kOK);
    ASSERT_EQ(kStorage_FileSize(storage, "copy.bin", &size), kOK);
    EXPECT_EQ(size, 5u);
    EXPECT_EQ(kStorage_UploadFromStream(storage, "short.bin", reader, 100), kSTATUS_INCOMPLETE);
    EXPECT_FALSE(kStorage_FileExists(storage, "short.bin"));
    kObject_Destroy(reader);
    EXPECT_EQ(kStorageStream_Construct(&reader, storage, "Missing", kFILE_MODE_READ, alloc),
              kSTATUS_NOT_FOUND);
    EXPECT_EQ(kStorageStream_Construct(&reader, storage, "x", kFILE_MODE_UPDATE, alloc),
              kSTATUS_BAD_PARAMETER);

    ASSERT_EQ(kStorage_Delete(storage, "copy.bin"), kOK);
    EXPECT_EQ(kStorage_Delete(storage, "copy.bin"), kSTATUS_NOT_FOUND);
    kChar temp[16];
    ASSERT_EQ(kStorage_TempDirectory(storage, temp, sizeof(temp)), kOK);
    EXPECT_STREQ(temp, "temp");
}
} // namespace

TEST(Storage, InMemory)
{
    ktest::CountingAlloc alloc;
    kStorage storage = kNULL;
    ASSERT_EQ(kStorage_Construct(&storage, kNULL, alloc), kOK);
    ExerciseStorage(storage);
    EXPECT_EQ(kObject_Destroy(storage), kOK);
}

TEST(Storage, InADirectory)
{
    ktest::TempDir dir;
    kStorage storage = kNULL;
    ASSERT_EQ(kStorage_Construct(&storage, dir.Path().c_str(), kNULL), kOK);
    ExerciseStorage(storage);
    EXPECT_TRUE(kFile_Exists(dir.File("user/data.kdat6").c_str()));
    ASSERT_EQ(kStorage_DownloadToFile(storage, "user/data.kdat6", dir.File("local.bin").c_str()),
              kOK);
    EXPECT_EQ(kFile_Size(dir.File("local.bin").c_str()), 6u);
    EXPECT_EQ(kObject_Destroy(storage), kOK);

    EXPECT_EQ(kStorage_Construct(&storage, dir.File("none").c_str(), kNULL), kSTATUS_NOT_FOUND);
}

TEST(Storage, NodeStorageRecordsCallsAndFaults)
{
    kNode node = kNULL;
    ASSERT_EQ(kNode_Construct(&node, kNULL, kNULL), kOK);
    kStorage storage = kNode_Storage(node);
    ASSERT_EQ(kStorage_UploadFromBuffer(storage, "LutWriterSettings.xml", "<a/>", 4), kOK);
    EXPECT_TRUE(kNode_HasCall(node, "kStorage_UploadFromBuffer LutWriterSettings.xml"));
    ASSERT_EQ(kNode_SetFault(node, "kStorage_DownloadToBuffer", kSTATUS_STREAM), kOK);
    void* data = kNULL;
    kSize size = 0;
    EXPECT_EQ(kStorage_DownloadToBuffer(storage, "LutWriterSettings.xml", &data, &size, kNULL),
              kSTATUS_STREAM);
    kObject_Destroy(node);

    ktest::ExpectCleanFailures(
        [](kAlloc alloc, kObject* out)
        {
            kStorage s = kNULL;
            kStatus status;
            kTest(kStorage_Construct(&s, kNULL, alloc));
            kTest(kStorage_UploadFromBuffer(s, "a", "1", 1));
            kTest(kStorage_UploadFromBuffer(s, "b", "22", 2));
            kTest(kStorage_Delete(s, "a"));
            *out = s;
            return kOK;
        cleanup:
            kObject_Destroy(s);
            return status;
        });
}
