// Rate-limit block driven through the pipeline: description and ports, settings written back at
// setup, the stamp-based pass rule for generic and profile messages, unrouted output, repeated
// start/stop, and the deliberate abort on a message of another class.
#include <kTestSupport.h>

#include <kSolan/kSolan.h>
#include <kSolan/Vs/kVsRateLimitBlock.h>

#include <string>
#include <vector>

namespace
{
class RateLimit : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_EQ(kSolan_Construct(&m_assembly), kOK);
        ASSERT_EQ(kPxPipeline_Construct(&m_pipeline, m_alloc), kOK);
    }
    void TearDown() override
    {
        EXPECT_EQ(kObject_Destroy(m_pipeline), kOK);
        EXPECT_EQ(kObject_Destroy(m_assembly), kOK);
    }

    kPxBlock AddBlock(const char* xml)
    {
        kXml settings = kNULL;
        kPxBlock block = kNULL;
        if (xml)
        {
            EXPECT_EQ(kXml_FromText(&settings, xml, kNULL), kOK);
        }
        EXPECT_EQ(kPxPipeline_AddBlock(m_pipeline, "kVsRateLimitBlock", settings, &block), kOK);
        kObject_Destroy(settings);
        return block;
    }

    static std::string Divisor(kPxBlock block)
    {
        kChar text[32] = "";
        kXml settings = kPxBlock_Settings(block);
        EXPECT_EQ(kXml_ChildText(settings, kXml_Root(settings), "Divisor", text, sizeof(text)),
                  kOK);
        return text;
    }

    kMsg Message(k64u frame)
    {
        kArray1 payload = kNULL;
        kMsg msg = kNULL;
        kStamp stamp = {};
        stamp.frameIndex = frame;
        EXPECT_EQ(kArray1_Construct(&payload, kTypeOf(k8u), 16, m_alloc), kOK);
        EXPECT_EQ(kMsg_Construct(&msg, &stamp, payload, m_alloc), kOK);
        return msg;
    }

    /* count profiles of width 3 with frame indexes first, first + 1, ...; every value tells its
       profile and point apart. */
    kProfileMsg Profiles(kSize count, k64u first, kBool slices)
    {
        kProfileMsg msg = kNULL;
        EXPECT_EQ(kProfileMsg_Construct(&msg, kTypeOf(kPoint3d16s), count, 3, slices, m_alloc),
                  kOK);
        for (kSize p = 0; p < count; ++p)
        {
            kProfileMsg_StampAt(msg, p)->frameIndex = first + p;
            kProfileMsg_StampAt(msg, p)->encoder = -(k64s)(first + p);
            for (kSize i = 0; i < 3; ++i)
            {
                k16s v = (k16s)((first + p) * 10 + i);
                static_cast<kPoint3d16s*>(kProfileMsg_PointsAt(msg, p))[i] = {v, (k16s)-v,
                                                                              (k16s)(v + 1)};
                kProfileMsg_IntensitiesAt(msg, p)[i] = (k8u)v;
                if (slices) kProfileMsg_SlicesAt(msg, p)[i] = (k16u)(v + 500);
            }
        }
        return msg;
    }

    ktest::CountingAlloc m_alloc;
    kAssembly m_assembly = kNULL;
    kPxPipeline m_pipeline = kNULL;
};
} // namespace

TEST_F(RateLimit, DescriptionPortsAndSettingsDocument)
{
    kPxBlock block = AddBlock(kNULL); // an empty document comes back with every default
    EXPECT_STREQ(kPxBlock_Description(kObject_Type(block)),
                 "Limits message rate by only passing 1 in divisor messages");
    EXPECT_EQ(Divisor(block), "1");
    ASSERT_EQ(kPxBlock_PortCount(block), 2u);
    EXPECT_STREQ(kPxPort_Name(kPxBlock_PortAt(block, 0)), "In");
    EXPECT_EQ(kPxPort_Id(kPxBlock_PortAt(block, 0)), 0u);
    EXPECT_TRUE(kPxPort_IsInput(kPxBlock_PortAt(block, 0)));
    EXPECT_STREQ(kPxPort_Name(kPxBlock_PortAt(block, 1)), "Out");
    EXPECT_EQ(kPxPort_Id(kPxBlock_PortAt(block, 1)), 1u);
    EXPECT_FALSE(kPxPort_IsInput(kPxBlock_PortAt(block, 1)));

    EXPECT_EQ(Divisor(AddBlock("<Settings><Divisor>0</Divisor></Settings>")), "1");
    EXPECT_EQ(Divisor(AddBlock("<Settings><Divisor>many</Divisor></Settings>")), "1");
    EXPECT_EQ(Divisor(AddBlock("<Settings><Divisor>4</Divisor></Settings>")), "4");
}

TEST_F(RateLimit, InfoRecord)
{
    kVsRateLimitBlockInfo info = kNULL, loaded = kNULL;
    ASSERT_EQ(kVsRateLimitBlockInfo_Construct(&info), kOK);
    EXPECT_EQ(kVsRateLimitBlockInfo_Divisor(info), 0u); // created zeroed
    EXPECT_EQ(kVsRateLimitBlock_ValidateInfo(info), kSTATUS_BAD_PARAMETER);
    ASSERT_EQ(kVsRateLimitBlockInfo_SetDivisor(info, 7), kOK);
    EXPECT_EQ(kVsRateLimitBlock_ValidateInfo(info), kOK);

    kXml xml = kNULL;
    ASSERT_EQ(kXml_Construct(&xml, kNULL), kOK);
    EXPECT_EQ(kVsRateLimitBlockInfo_Load(&loaded, xml), kSTATUS_NOT_FOUND);
    EXPECT_EQ(loaded, kNULL);
    ASSERT_EQ(kVsRateLimitBlockInfo_Store(info, xml), kOK);
    EXPECT_STREQ(kXml_ItemName(xml, kXml_Root(xml)), "Settings");
    ASSERT_EQ(kVsRateLimitBlockInfo_Load(&loaded, xml), kOK);
    EXPECT_EQ(kVsRateLimitBlockInfo_Divisor(loaded), 7u);
    kVsRateLimitBlockInfo_Destroy(loaded);
    kVsRateLimitBlockInfo_Destroy(info);
    kObject_Destroy(xml);
}

TEST_F(RateLimit, DivisorThreePassesStampsZeroThreeSix)
{
    kPxBlock block = AddBlock("<Settings><Divisor>3</Divisor></Settings>");
    kPxSink sink = kNULL;
    ASSERT_EQ(kPxPipeline_AddSink(m_pipeline, block, kVS_RATE_LIMIT_BLOCK_OUT, &sink), kOK);
    ASSERT_EQ(kPxPipeline_Start(m_pipeline), kOK);
    std::vector<kMsg> sent;
    for (k64u frame = 0; frame <= 8; ++frame)
    {
        kStatus received = kSTATUS_FAILED;
        sent.push_back(Message(frame));
        ASSERT_EQ(
            kPxPipeline_Inject(m_pipeline, block, kVS_RATE_LIMIT_BLOCK_IN, sent.back(), &received),
            kOK);
        EXPECT_EQ(received, kOK);
    }
    ASSERT_EQ(kPxSink_Count(sink), 3u);
    for (kSize i = 0; i < 3; ++i)
    {
        EXPECT_EQ(kMsg_Stamp(kPxSink_At(sink, i))->frameIndex, 3 * i);
        EXPECT_EQ(kPxSink_At(sink, i), sent[3 * i]); // the very message, forwarded
    }
    EXPECT_EQ(kPxBlock_DropCount(block), 0u); // rate limiting reports no drops
    EXPECT_STREQ(kPxBlock_Console(block), "");
}

TEST_F(RateLimit, ProfileMessagesAreRebuiltFromThePassingProfiles)
{
    kPxBlock block = AddBlock("<Settings><Divisor>2</Divisor></Settings>");
    kPxSink sink = kNULL;
    ASSERT_EQ(kPxPipeline_AddSink(m_pipeline, block, kVS_RATE_LIMIT_BLOCK_OUT, &sink), kOK);
    ASSERT_EQ(kPxPipeline_Start(m_pipeline), kOK);

    for (kBool slices : {kTRUE, kFALSE})
    {
        ASSERT_EQ(kPxSink_Clear(sink), kOK);
        ASSERT_EQ(kPxPipeline_Inject(m_pipeline, block, 0, Profiles(5, 10, slices), kNULL),
                  kOK); // 10 … 14
        ASSERT_EQ(kPxSink_Count(sink), 1u);
        kProfileMsg out = kPxSink_At(sink, 0);
        ASSERT_TRUE(kObject_Is(out, kTypeOf(kProfileMsg)));
        EXPECT_EQ(kProfileMsg_PointType(out), kTypeOf(kPoint3d16s));
        EXPECT_EQ(kProfileMsg_Width(out), 3u);
        EXPECT_EQ(kProfileMsg_HasSlices(out), slices);
        ASSERT_EQ(kProfileMsg_Count(out), 3u);
        for (kSize p = 0; p < 3; ++p)
        {
            k64u frame = 10 + 2 * p;
            EXPECT_EQ(kProfileMsg_StampAt(out, p)->frameIndex, frame);
            EXPECT_EQ(kProfileMsg_StampAt(out, p)->encoder, -(k64s)frame); // the whole stamp
            for (kSize i = 0; i < 3; ++i)
            {
                k16s v = (k16s)(frame * 10 + i);
                kPoint3d16s point = static_cast<kPoint3d16s*>(kProfileMsg_PointsAt(out, p))[i];
                EXPECT_EQ(point.x, v);
                EXPECT_EQ(point.y, -v);
                EXPECT_EQ(point.z, v + 1);
                EXPECT_EQ(kProfileMsg_IntensitiesAt(out, p)[i], (k8u)v);
                if (slices)
                {
                    EXPECT_EQ(kProfileMsg_SlicesAt(out, p)[i], (k16u)(v + 500));
                }
            }
        }
    }

    // None passes: an empty profile message still goes out.
    ASSERT_EQ(kPxSink_Clear(sink), kOK);
    ASSERT_EQ(kPxPipeline_Inject(m_pipeline, block, 0, Profiles(1, 7, kTRUE), kNULL), kOK);
    ASSERT_EQ(kPxSink_Count(sink), 1u);
    EXPECT_EQ(kProfileMsg_Count(kPxSink_At(sink, 0)), 0u);
}

TEST_F(RateLimit, AnUnroutedOutputReceivesNothingAndCyclesLeaveNothing)
{
    kPxBlock block = AddBlock("<Settings><Divisor>1</Divisor></Settings>");
    for (int cycle = 0; cycle < 2; ++cycle)
    {
        ASSERT_EQ(kPxPipeline_Start(m_pipeline), kOK);
        for (k64u frame = 0; frame < 4; ++frame)
        {
            kStatus received = kSTATUS_FAILED;
            ASSERT_EQ(kPxPipeline_Inject(m_pipeline, block, 0, Message(frame), &received), kOK);
            EXPECT_EQ(received, kOK);
            ASSERT_EQ(
                kPxPipeline_Inject(m_pipeline, block, 0, Profiles(2, frame, kFALSE), &received),
                kOK);
            EXPECT_EQ(received, kOK);
        }
        ASSERT_EQ(kPxPipeline_Stop(m_pipeline), kOK);
    }
    // m_alloc's destructor fails the test if any message or the block's state outlived this.
}

TEST_F(RateLimit, AMessageOfAnotherClassEndsTheProcess)
{
    kPxBlock block = AddBlock(kNULL);
    ASSERT_EQ(kPxPipeline_Start(m_pipeline), kOK);
    kArray1 notAMessage = kNULL;
    ASSERT_EQ(kArray1_Construct(&notAMessage, kTypeOf(k8u), 4, kNULL), kOK);
    EXPECT_DEATH(kPxPipeline_Inject(m_pipeline, block, 0, notAMessage, kNULL), "");
    kObject_Destroy(notAMessage);
}
