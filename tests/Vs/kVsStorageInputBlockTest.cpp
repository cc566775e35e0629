// Storage input block driven through the pipeline: ports and settings, replay of lists, arrays,
// single objects and BMP images in turn, the routing message, files that do not load, and
// repeated start/stop.
#include <kTestSupport.h>

#include <kSolan/kSolan.h>
#include <kSolan/Vs/kVsStorageInputBlock.h>

#include <string>

namespace
{
class StorageInput : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_EQ(kSolan_Construct(&m_assembly), kOK);
        ASSERT_EQ(kPxPipeline_Construct(&m_pipeline, m_alloc), kOK);
        ASSERT_EQ(kPxPipeline_SetDirectory(m_pipeline, m_dir.Path().c_str()), kOK);
    }
    void TearDown() override
    {
        EXPECT_EQ(kObject_Destroy(m_pipeline), kOK);
        EXPECT_EQ(kObject_Destroy(m_assembly), kOK);
    }

    /* Adds the block reading fileName (relative to the pipeline's directory), with a sink. */
    kPxBlock AddBlock(const char* fileName, bool routed = true)
    {
        kXml settings = kNULL;
        kPxBlock block = kNULL;
        EXPECT_EQ(kXml_Construct(&settings, kNULL), kOK);
        EXPECT_EQ(kXml_SetChildText(settings, kNULL, "Settings\\inputFileName", fileName), kOK);
        EXPECT_EQ(kPxPipeline_AddBlock(m_pipeline, "kVsStorageInputBlock", settings, &block), kOK);
        kObject_Destroy(settings);
        if (routed)
        {
            EXPECT_EQ(kPxPipeline_AddSink(m_pipeline, block, kVS_STORAGE_INPUT_BLOCK_OUT, &m_sink),
                      kOK);
        }
        return block;
    }

    /* An image whose width tells it apart. */
    static kImage Image(kSize width)
    {
        kImage image = kNULL;
        EXPECT_EQ(kImage_Construct(&image, kTypeOf(k8u), width, 2, kNULL), kOK);
        *kImage_AtT<k8u>(image, width - 1, 1) = (k8u)(width * 10);
        return image;
    }

    /* A list of three images of widths 1, 2, 3 saved as fileName. */
    void SaveList(const char* fileName, kSize count = 3)
    {
        kArrayList list = kNULL;
        ASSERT_EQ(kArrayList_Construct(&list, kTypeOf(kImage), count, kNULL), kOK);
        for (kSize i = 1; i <= count; ++i)
        {
            kImage image = Image(i);
            ASSERT_EQ(kArrayList_Add(list, &image), kOK);
        }
        ASSERT_EQ(kSave5(list, m_dir.File(fileName).c_str()), kOK);
        kObject_Dispose(list);
    }

    kStatus Trigger(kPxBlock block, k64u frame)
    {
        kArray1 payload = kNULL;
        kMsg msg = kNULL;
        kStamp stamp = {};
        stamp.frameIndex = frame;
        EXPECT_EQ(kArray1_Construct(&payload, kTypeOf(k8u), 1, m_alloc), kOK);
        EXPECT_EQ(kMsg_Construct(&msg, &stamp, payload, m_alloc), kOK);
        kStatus received = kSTATUS_FAILED;
        EXPECT_EQ(kPxPipeline_Inject(m_pipeline, block, kVS_STORAGE_INPUT_BLOCK_IN, msg, &received),
                  kOK);
        return received;
    }

    kSize SentWidth(kSize index) { return kImage_Width(kMsg_Data(kPxSink_At(m_sink, index))); }

    ktest::TempDir m_dir;
    ktest::CountingAlloc m_alloc;
    kAssembly m_assembly = kNULL;
    kPxPipeline m_pipeline = kNULL;
    kPxSink m_sink = kNULL;
};
} // namespace

TEST_F(StorageInput, DescriptionPortsAndSettingsDocument)
{
    kPxBlock block = kNULL;
    ASSERT_EQ(kPxPipeline_AddBlock(m_pipeline, "kVsStorageInputBlock", kNULL, &block), kOK);
    EXPECT_STREQ(kPxBlock_Description(kObject_Type(block)), "Loading file from Storage Block");
    kChar name[64] = "";
    kXml settings = kPxBlock_Settings(block);
    ASSERT_EQ(kXml_ChildText(settings, kXml_Root(settings), "inputFileName", name, sizeof(name)),
              kOK);
    EXPECT_STREQ(name, "InputFile.kdat");
    ASSERT_EQ(kPxBlock_PortCount(block), 2u);
    EXPECT_STREQ(kPxPort_Name(kPxBlock_PortAt(block, 0)), "InData 0");
    EXPECT_EQ(kPxPort_Id(kPxBlock_PortAt(block, 0)), 0u);
    EXPECT_TRUE(kPxPort_IsInput(kPxBlock_PortAt(block, 0)));
    EXPECT_STREQ(kPxPort_Name(kPxBlock_PortAt(block, 1)), "OutData 0");
    EXPECT_EQ(kPxPort_Id(kPxBlock_PortAt(block, 1)), 1u);

    kVsStorageInputBlockInfo info = kNULL;
    ASSERT_EQ(kVsStorageInputBlockInfo_Construct(&info), kOK);
    EXPECT_STREQ(kVsStorageInputBlockInfo_InputFileName(info), "InputFile.kdat");
    EXPECT_EQ(kVsStorageInputBlockInfo_SetInputFileName(info, std::string(300, 'a').c_str()),
              kSTATUS_BAD_PARAMETER);
    ASSERT_EQ(kVsStorageInputBlockInfo_SetInputFileName(info, "Scan.kdat"), kOK);
    kXml xml = kNULL;
    ASSERT_EQ(kXml_Construct(&xml, kNULL), kOK);
    ASSERT_EQ(kVsStorageInputBlockInfo_Store(info, xml), kOK);
    kVsStorageInputBlockInfo loaded = kNULL;
    ASSERT_EQ(kVsStorageInputBlockInfo_Load(&loaded, xml), kOK);
    EXPECT_STREQ(kVsStorageInputBlockInfo_InputFileName(loaded), "Scan.kdat");
    kVsStorageInputBlockInfo_Destroy(loaded);
    kVsStorageInputBlockInfo_Destroy(info);
    kObject_Destroy(xml);
}

TEST_F(StorageInput, ThreeItemsAndFiveTriggersSendZeroOneTwoZeroOne)
{
    SaveList("Scan.kdat");
    kPxBlock block = AddBlock("Scan.kdat");
    ASSERT_EQ(kPxPipeline_Start(m_pipeline), kOK);
    EXPECT_STREQ(kPxBlock_Console(block), "Load with KData_LoadLoaded 3 items\n");
    ASSERT_EQ(kPxBlock_ClearConsole(block), kOK);
    for (k64u frame = 100; frame < 105; ++frame)
        EXPECT_EQ(Trigger(block, frame), kOK);

    ASSERT_EQ(kPxSink_Count(m_sink), 5u);
    const kSize widths[] = {1, 2, 3, 1, 2};
    for (kSize i = 0; i < 5; ++i)
    {
        EXPECT_EQ(SentWidth(i), widths[i]) << i;
        EXPECT_EQ(kMsg_Stamp(kPxSink_At(m_sink, i))->frameIndex, 100 + i); // the trigger's stamp
    }
    EXPECT_NE(kMsg_Data(kPxSink_At(m_sink, 0)), kMsg_Data(kPxSink_At(m_sink, 3))); // clones
    EXPECT_EQ(*kImage_AtT<k8u>(kMsg_Data(kPxSink_At(m_sink, 2)), 2, 1), 30);
    EXPECT_EQ(std::string(kPxBlock_Console(block))
                  .rfind("Sending 0th element out of 3 elements in the list"
                         "Sending done\nSending 1th element out of 3",
                         0),
              0u);

    // The next index can be set; past the end it starts again from the first item.
    ASSERT_EQ(kVsStorageInputBlock_SetOutputCount(block, 2), kOK);
    EXPECT_EQ(Trigger(block, 7), kOK);
    ASSERT_EQ(kVsStorageInputBlock_SetOutputCount(block, 9), kOK);
    EXPECT_EQ(Trigger(block, 8), kOK);
    EXPECT_EQ(SentWidth(5), 3u);
    EXPECT_EQ(SentWidth(6), 1u);

    ASSERT_EQ(kPxPipeline_Stop(m_pipeline), kOK);
    EXPECT_TRUE(std::string(kPxBlock_Console(block)).ends_with("Block Stopped "));
}

TEST_F(StorageInput, ArraysSingleObjectsAndBitmapsAreReplayed)
{
    // A 1-D array of images: its items move into the list.
    kArray1 array = kNULL;
    ASSERT_EQ(kArray1_Construct(&array, kTypeOf(kImage), 2, kNULL), kOK);
    *static_cast<kImage*>(kArray1_At(array, 0)) = Image(4);
    *static_cast<kImage*>(kArray1_At(array, 1)) = Image(5);
    ASSERT_EQ(kSave5(array, m_dir.File("Array.kdat").c_str()), kOK);
    kObject_Dispose(array);
    // A single image: sent again for every trigger.
    kImage single = Image(6);
    ASSERT_EQ(kSave5(single, m_dir.File("Single.kdat").c_str()), kOK);
    ASSERT_EQ(kImage_Export(single, m_dir.File("Single.bmp").c_str()), kOK);
    kObject_Destroy(single);

    kPxBlock fromArray = AddBlock("Array.kdat");
    kPxSink arraySink = m_sink;
    kPxBlock fromSingle = AddBlock("Single.kdat");
    kPxSink singleSink = m_sink;
    kPxBlock fromBitmap = AddBlock(m_dir.File("Single.bmp").c_str()); // an absolute name
    kPxSink bitmapSink = m_sink;
    ASSERT_EQ(kPxPipeline_Start(m_pipeline), kOK);
    EXPECT_STREQ(kPxBlock_Console(fromSingle),
                 "Load with KData_LoadInput data type is kImage \n Loaded 1 items\n");
    EXPECT_STREQ(kPxBlock_Console(fromBitmap),
                 "Use kImage_Import to Load  \"bmp\" type file\nLoaded 1 items\n");

    for (k64u frame = 0; frame < 3; ++frame)
        for (kPxBlock block : {fromArray, fromSingle, fromBitmap})
            EXPECT_EQ(Trigger(block, frame), kOK);
    ASSERT_EQ(kPxSink_Count(arraySink), 3u);
    EXPECT_EQ(kImage_Width(kMsg_Data(kPxSink_At(arraySink, 1))), 5u);
    EXPECT_EQ(kImage_Width(kMsg_Data(kPxSink_At(arraySink, 2))), 4u);
    ASSERT_EQ(kPxSink_Count(singleSink), 3u);
    EXPECT_EQ(kImage_Width(kMsg_Data(kPxSink_At(singleSink, 2))), 6u);
    ASSERT_EQ(kPxSink_Count(bitmapSink), 3u);
    kImage bitmap = kMsg_Data(kPxSink_At(bitmapSink, 0));
    EXPECT_EQ(kImage_Width(bitmap), 6u);
    EXPECT_EQ(*kImage_AtT<k8u>(bitmap, 5, 1), 60);
}

TEST_F(StorageInput, AnUnroutedOutputPrintsAndDropsTheTrigger)
{
    SaveList("Scan.kdat");
    kPxBlock block = AddBlock("Scan.kdat", false);
    ASSERT_EQ(kPxPipeline_Start(m_pipeline), kOK);
    ASSERT_EQ(kPxBlock_ClearConsole(block), kOK);
    EXPECT_EQ(Trigger(block, 1), kOK);
    EXPECT_STREQ(kPxBlock_Console(block), "outputPort is not routed");
}

TEST_F(StorageInput, FilesThatDoNotLoadFailTheStart)
{
    SaveList("Empty.kdat", 0);
    ASSERT_EQ(kFile_Save(m_dir.File("Corrupt.kdat").c_str(), "not a data file", 15), kOK);
    ASSERT_EQ(kFile_Save(m_dir.File("Corrupt.bmp").c_str(), "BM", 2), kOK);
    struct Case
    {
        const char* file;
        kStatus status;
        const char* console;
    } cases[] = {
        {"Missing.kdat", kSTATUS_NOT_FOUND,
         "Load with KData_LoadError: file %s failed to load: -999 kSTATUS_NOT_FOUND\n"
         "Error constructing data loader: -999 kSTATUS_NOT_FOUND\n"},
        {"Empty.kdat", kSTATUS_BAD_STATE,
         "Load with KData_LoadLoaded 0 items\nError: file array size is 0"
         "Error constructing data loader: -1000 kSTATUS_BAD_STATE\n"},
    };
    for (const Case& c : cases)
    {
        kPxPipeline pipeline = kNULL;
        kPxBlock block = kNULL;
        kXml settings = kNULL;
        ASSERT_EQ(kPxPipeline_Construct(&pipeline, m_alloc), kOK);
        ASSERT_EQ(kPxPipeline_SetDirectory(pipeline, m_dir.Path().c_str()), kOK);
        ASSERT_EQ(kXml_Construct(&settings, kNULL), kOK);
        ASSERT_EQ(kXml_SetChildText(settings, kNULL, "Settings\\inputFileName", c.file), kOK);
        ASSERT_EQ(kPxPipeline_AddBlock(pipeline, "kVsStorageInputBlock", settings, &block), kOK);
        EXPECT_EQ(kPxPipeline_Start(pipeline), c.status) << c.file;
        char expected[512];
        snprintf(expected, sizeof(expected), c.console, m_dir.File(c.file).c_str());
        EXPECT_STREQ(kPxBlock_Console(block), expected);
        kObject_Destroy(settings);
        kObject_Destroy(pipeline);
    }

    // Content that is not a data file or not an image: an error status, whatever the loader's.
    for (const char* file : {"Corrupt.kdat", "Corrupt.bmp"})
    {
        kPxPipeline pipeline = kNULL;
        kPxBlock block = kNULL;
        kXml settings = kNULL;
        ASSERT_EQ(kPxPipeline_Construct(&pipeline, m_alloc), kOK);
        ASSERT_EQ(kPxPipeline_SetDirectory(pipeline, m_dir.Path().c_str()), kOK);
        ASSERT_EQ(kXml_Construct(&settings, kNULL), kOK);
        ASSERT_EQ(kXml_SetChildText(settings, kNULL, "Settings\\inputFileName", file), kOK);
        ASSERT_EQ(kPxPipeline_AddBlock(pipeline, "kVsStorageInputBlock", settings, &block), kOK);
        EXPECT_NE(kPxPipeline_Start(pipeline), kOK) << file;
        EXPECT_NE(std::string(kPxBlock_Console(block)).find("Error constructing data loader: "),
                  std::string::npos);
        kObject_Destroy(settings);
        kObject_Destroy(pipeline);
    }
}

TEST_F(StorageInput, TwoStartStopCyclesLeaveNothing)
{
    SaveList("Scan.kdat");
    kPxBlock block = AddBlock("Scan.kdat");
    kSize afterFirstCycle = 0;
    for (int cycle = 0; cycle < 2; ++cycle)
    {
        ASSERT_EQ(kPxPipeline_Start(m_pipeline), kOK);
        for (k64u frame = 0; frame < 4; ++frame)
            EXPECT_EQ(Trigger(block, frame), kOK);
        ASSERT_EQ(kPxPipeline_Stop(m_pipeline), kOK);
        ASSERT_EQ(kPxSink_Clear(m_sink), kOK);
        ASSERT_EQ(kPxBlock_ClearConsole(block), kOK);
        if (cycle == 0) afterFirstCycle = m_alloc.Outstanding();
        EXPECT_EQ(m_alloc.Outstanding(), afterFirstCycle);
    }
}
