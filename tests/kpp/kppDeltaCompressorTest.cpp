#include <kSolan/kpp/Vs/kppDeltaCompressor.h>

#include <kSimDeltaEncoder.h>
#include <kTestSupport.h>
#include "kppTestAssembly.h"

#include <random>

namespace
{
using kpp::Vs::DeltaCompressor;
using Pair = DeltaCompressor::Pair;

static_assert(sizeof(ksim::DeltaPair) == sizeof(kVsDeltaCompressorPair));

/* Builds platform lists from plain vectors and attaches them, as the platform's unpacking does. */
template <typename T, typename Source>
void AttachList(kpp::Data::ArrayList<T>& wrapper, const std::vector<Source>& items, kAlloc alloc)
{
    static_assert(sizeof(T) == sizeof(Source));
    kObjectGuard list;
    ASSERT_EQ(kArrayList_Construct(&list, kpp::Data::ArrayList<T>::ItemType(), 0, alloc), kOK);
    ASSERT_EQ(
        kArrayList_Import(list, kpp::Data::ArrayList<T>::ItemType(), items.data(), items.size()),
        kOK);
    ASSERT_EQ(wrapper.Attach(list.get()), kOK);
}

struct Stream
{
    std::vector<k32s> deltas;
    std::vector<ksim::DeltaPair> firstFails, secondFails, nulls;
};

class Decoder
{
public:
    explicit Decoder(k32s prediction) { codec.Prediction() = prediction; }

    void Attach(const Stream& s)
    {
        AttachList(encoding.deltas, s.deltas, alloc);
        AttachList(encoding.firstFails, s.firstFails, alloc);
        AttachList(encoding.secondFails, s.secondFails, alloc);
        AttachList(encoding.nulls, s.nulls, alloc);
    }

    template <typename Item, typename Accessor>
    kStatus Run(std::vector<Item>& items)
    {
        return codec.Decode<Item, Accessor>(encoding, items.data(), items.size());
    }

    /* Decodes centres into spots that start as zero words. */
    kStatus Centres(const Stream& s, std::vector<kCompactSpot>& spots)
    {
        Attach(s);
        return Run<kCompactSpot, DeltaCompressor::CompactSpotCenterAccessor>(spots);
    }

    ktest::CountingAlloc alloc;
    DeltaCompressor codec;
    DeltaCompressor::Encoding encoding;
};

std::vector<k32u> Words(const std::vector<kCompactSpot>& spots)
{
    std::vector<k32u> words;
    for (const kCompactSpot& s : spots)
        words.push_back(s.word);
    return words;
}

constexpr k32u kNullCentre = 0x803FFFFFu;

TEST(DeltaCompressor, DefaultsAndMarkers)
{
    DeltaCompressor codec;
    EXPECT_EQ(codec.DeltaBitCount(), 8);
    EXPECT_EQ(codec.FailFirstBitCount(), 12);
    EXPECT_EQ(codec.FailSecondBitCount(), 24);
    EXPECT_EQ(codec.IndexBitCount(), 8);
    EXPECT_EQ(codec.Prediction(), -2147483647 - 1);
    EXPECT_EQ(DeltaCompressor::ValueNull(12, true), 2047);
    EXPECT_EQ(DeltaCompressor::ValueNull(24, false), 16777215);
    EXPECT_EQ(DeltaCompressor::ValueNull(8, false), 255);
    EXPECT_EQ(DeltaCompressor::ValueMax(8, true, false), 254);
    EXPECT_EQ(DeltaCompressor::ValueMax(12, true, true), 2046);
    EXPECT_EQ(DeltaCompressor::ValueMax(32, false, true), 2147483647);

    ktest::CountingAlloc alloc;
    DeltaCompressor initialised;
    ASSERT_EQ(initialised.Init(3, alloc.get()), kOK);
    EXPECT_EQ(initialised.Prediction(), 3);
    EXPECT_FALSE(initialised.IsNull());
}

TEST(DeltaCompressor, PairTypeIsRegistered)
{
    kType type = kTypeOf(kVsDeltaCompressorPair);
    ASSERT_NE(type, nullptr);
    EXPECT_STREQ(kType_Name(type), "kVsDeltaCompressorPair");
    EXPECT_EQ(kType_Size(type), 8u);
    ASSERT_EQ(kType_FieldCount(type), 2u);
    EXPECT_STREQ(kType_FieldAt(type, 0)->name, "index");
    EXPECT_STREQ(kType_FieldAt(type, 1)->name, "value");
    EXPECT_EQ(kType_FieldAt(type, 1)->offset, 4u);
}

TEST(DeltaCompressor, PredictedDeltas)
{
    {
        Decoder d(0);
        std::vector<kCompactSpot> spots(3, kCompactSpot{0});
        ASSERT_EQ(d.Centres({{5, -2, 3}, {}, {}, {}}, spots), kOK);
        EXPECT_EQ(Words(spots), (std::vector<k32u>{5, 3, 6}));
    }
    {
        Decoder d(1); // a constant slope
        std::vector<kCompactSpot> spots(2, kCompactSpot{0});
        ASSERT_EQ(d.Centres({{0, 0}, {}, {}, {}}, spots), kOK);
        EXPECT_EQ(Words(spots), (std::vector<k32u>{1, 2}));
    }
}

TEST(DeltaCompressor, NullRunKeepsThePrediction)
{
    Decoder d(0);
    std::vector<kCompactSpot> spots(6, kCompactSpot{0});
    ASSERT_EQ(d.Centres({{4, 1, 2}, {}, {}, {{2, 3}}}, spots), kOK);
    EXPECT_EQ(Words(spots), (std::vector<k32u>{4, 5, kNullCentre, kNullCentre, kNullCentre, 7}));
}

TEST(DeltaCompressor, FailEvents)
{
    {
        Decoder d(0);
        std::vector<kCompactSpot> spots(3, kCompactSpot{0});
        ASSERT_EQ(d.Centres({{10, 10}, {{1, 300}}, {}, {}}, spots), kOK);
        EXPECT_EQ(Words(spots), (std::vector<k32u>{10, 310, 320}));
    }
    {
        Decoder d(7); // the second-fail value is absolute, whatever the prediction
        std::vector<kCompactSpot> spots(3, kCompactSpot{0});
        ASSERT_EQ(d.Centres({{1, -3}, {}, {{0, 1000}}, {}}, spots), kOK);
        EXPECT_EQ(Words(spots), (std::vector<k32u>{1000, 1008, 1012}));
    }
    {
        // Back-to-back events of one list: an event right after a single-item event has index 0.
        Decoder d(0);
        std::vector<kCompactSpot> spots(4, kCompactSpot{0});
        ASSERT_EQ(d.Centres({{1}, {{1, 100}, {0, -50}}, {{0, 20}, {2, 9}}, {}}, spots), kOK);
        EXPECT_EQ(Words(spots), (std::vector<k32u>{20, 120, 70, 9}));
    }
}

TEST(DeltaCompressor, SkipPairsExtendDistances)
{
    const Pair pairs[] = {{200, 2047}, {100, 7}};
    const Pair* next = nullptr;
    kSize position = 0;
    ASSERT_EQ(DeltaCompressor::NextPair(pairs + 2, 2047, pairs, 0, next, position), kOK);
    EXPECT_EQ(next, pairs + 1);
    EXPECT_EQ(position, 300u);

    // A list that ends in skips has no further event.
    const Pair skips[] = {{5, 2047}, {5, 2047}};
    ASSERT_EQ(DeltaCompressor::NextPair(skips + 2, 2047, skips, 10, next, position), kOK);
    EXPECT_EQ(next, skips + 2);
    EXPECT_EQ(position, kSIZE_MAX);

    // Decoded: the first-fail lands on item 300.
    Decoder d(0);
    std::vector<kCompactSpot> spots(302, kCompactSpot{0});
    Stream s{std::vector<k32s>(301, 1), {{200, 2047}, {100, 7}}, {}, {}};
    ASSERT_EQ(d.Centres(s, spots), kOK);
    EXPECT_EQ(spots[299].word, 300u);
    EXPECT_EQ(spots[300].word, 307u);
    EXPECT_EQ(spots[301].word, 308u);
}

TEST(DeltaCompressor, AccessorsWriteOnlyTheirField)
{
    // Centre: bits 0-21 with bit 31 cleared; null sets bits 0-21 and bit 31.
    kCompactSpot spot{0xFFFFFFFFu};
    DeltaCompressor::CompactSpotCenterAccessor::Set(spot, 0x7ABCDEF);
    EXPECT_EQ(spot.word, 0x7FEBCDEFu);
    spot.word = 0x12345678u & ~0x803FFFFFu;
    DeltaCompressor::CompactSpotCenterAccessor::SetNull(spot);
    EXPECT_EQ(spot.word, (0x12345678u & 0x7FC00000u) | 0x803FFFFFu);

    // Intensity: bits 22-29 with bit 31 cleared; null sets bits 22-29 and bit 31.
    spot.word = 0xFFFFFFFFu;
    DeltaCompressor::CompactSpotIntensityAccessor::Set(spot, 0x1A5);
    EXPECT_EQ(spot.word, 0x403FFFFFu | (0xA5u << 22));
    spot.word = 0x00000123u;
    DeltaCompressor::CompactSpotIntensityAccessor::SetNull(spot);
    EXPECT_EQ(spot.word, 0xBFC00123u);

    // The two streams of one spot combine; either null marks the spot.
    kCompactSpot both{0};
    DeltaCompressor::CompactSpotCenterAccessor::Set(both, 1234);
    DeltaCompressor::CompactSpotIntensityAccessor::Set(both, 77);
    EXPECT_EQ(kCompactSpot_Centre(&both), 1234u);
    EXPECT_EQ(kCompactSpot_Intensity(&both), 77u);
    EXPECT_EQ(kCompactSpot_Patch(&both), 0u);

    // Phase pixels: 24-bit phase (null 0xFFFFFF) and 8-bit intensity (null 255).
    kPhasePixel2 pixel{0xAB000000u};
    DeltaCompressor::Pixel2PhaseAccessor::Set(pixel, 0x7123456);
    EXPECT_EQ(pixel.word, 0xAB123456u);
    DeltaCompressor::Pixel2PhaseAccessor::SetNull(pixel);
    EXPECT_EQ(pixel.word, 0xABFFFFFFu);
    pixel.word = 0x00123456u;
    DeltaCompressor::Pixel2IntensityAccessor::Set(pixel, 0x1C3);
    EXPECT_EQ(pixel.word, 0xC3123456u);
    DeltaCompressor::Pixel2IntensityAccessor::SetNull(pixel);
    EXPECT_EQ(pixel.word, 0xFF123456u);
}

TEST(DeltaCompressor, CompactSpotSetters)
{
    kCompactSpot spot{0};
    kCompactSpot_SetCentre(&spot, 0xFFFFFFFFu);
    EXPECT_EQ(spot.word, 0x003FFFFFu);
    kCompactSpot_SetIntensity(&spot, 0x1FF);
    EXPECT_EQ(spot.word, 0x3FFFFFFFu);
    kCompactSpot_SetPatch(&spot, 3);
    EXPECT_EQ(spot.word, 0xBFFFFFFFu);
    EXPECT_EQ(spot.word, kCOMPACT_SPOT_NULL);
    kCompactSpot_SetPatch(&spot, 0);
    kCompactSpot_SetCentre(&spot, 5);
    EXPECT_EQ(spot.word, 0x3FC00005u);
    EXPECT_EQ(kType_Size(kTypeOf(kCompactSpot)), 4u);
}

TEST(DeltaCompressor, PhaseStreamWrapsIn32Bits)
{
    Decoder d(0);
    std::vector<kPhasePixel2> pixels(3, kPhasePixel2{0x11000000u});
    d.Attach({{-1, -1, 2}, {}, {}, {}});
    ASSERT_EQ((d.Run<kPhasePixel2, DeltaCompressor::Pixel2PhaseAccessor>(pixels)), kOK);
    EXPECT_EQ(pixels[0].word, 0x11FFFFFFu); // -1 kept to 24 bits
    EXPECT_EQ(pixels[1].word, 0x11FFFFFEu);
    EXPECT_EQ(pixels[2].word, 0x11000000u);
}

TEST(DeltaCompressor, BadStreamsAreRefused)
{
    auto refuse = [](k32s prediction, const Stream& s, kSize count)
    {
        Decoder d(prediction);
        // Guard items on both sides catch writes outside the destination.
        std::vector<kCompactSpot> spots(count + 2, kCompactSpot{0x5A5A5A5Au});
        d.Attach(s);
        kStatus status = d.codec.Decode<kCompactSpot, DeltaCompressor::CompactSpotCenterAccessor>(
            d.encoding, spots.data() + 1, count);
        EXPECT_EQ(spots.front().word, 0x5A5A5A5Au);
        EXPECT_EQ(spots.back().word, 0x5A5A5A5Au);
        return status;
    };
    EXPECT_EQ(refuse(-2147483647 - 1, {{1, 2}, {}, {}, {}}, 2), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(refuse(0, {{1}, {}, {}, {}}, 2), kSTATUS_BAD_PARAMETER);          // too few deltas
    EXPECT_EQ(refuse(0, {{1, 1}, {}, {}, {{1, 5}}}, 3), kSTATUS_BAD_PARAMETER); // run past end
    EXPECT_EQ(refuse(0, {{1, 1}, {{5, 9}}, {}, {}}, 2), kSTATUS_BAD_PARAMETER); // event past end
    EXPECT_EQ(refuse(0, {{1, 1}, {}, {{2, 9}}, {}}, 2), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(refuse(0, {{1, 1}, {{-1, 9}}, {}, {}}, 2), kSTATUS_BAD_PARAMETER);   // negative index
    EXPECT_EQ(refuse(0, {{1, 1}, {}, {}, {{0, -1}}}, 2), kSTATUS_BAD_PARAMETER);   // negative run
    EXPECT_EQ(refuse(0, {{1}, {{0, 4}}, {{0, 4}}, {}}, 2), kSTATUS_BAD_PARAMETER); // overlap

    Decoder d(0);
    d.codec.IndexBitCount() = 33;
    std::vector<kCompactSpot> spots(1);
    d.Attach({{1}, {}, {}, {}});
    EXPECT_EQ((d.Run<kCompactSpot, DeltaCompressor::CompactSpotCenterAccessor>(spots)),
              kSTATUS_BAD_PARAMETER);

    // Nothing to decode: an empty destination with empty lists succeeds.
    Decoder empty(0);
    std::vector<kCompactSpot> none;
    EXPECT_EQ(empty.Centres({}, none), kOK);
}

/* Random streams: smooth walks with large jumps, absolute outliers and null runs. */
void RoundTrip(kSize count, k32s prediction, k32s maxIndex, unsigned seed)
{
    std::mt19937 rng(seed);
    std::vector<k32s> values(count);
    std::vector<bool> isNull(count, false);
    k32s v = 1 << 20;
    for (kSize i = 0; i < count; ++i)
    {
        const unsigned kind = rng() % 1000;
        if (kind < 5)
        {
            const kSize run = 1 + rng() % (kind == 0 ? 700 : 20); // some runs exceed 254
            for (kSize j = 0; j < run && i < count; ++j, ++i)
                isNull[i] = true;
            --i;
            continue;
        }
        if (kind < 40)
            v += (k32s)(rng() % 4001) - 2000; // first-fail range
        else if (kind < 50)
            v = (k32s)(rng() % (1u << 22)); // second-fail jump
        else
            v += prediction + (k32s)(rng() % 201) - 100;
        v &= (1 << 22) - 1;
        values[i] = v;
    }
    // A long quiet stretch makes every event list skip far.
    for (kSize i = count / 2; i < count / 2 + count / 10; ++i)
        isNull[i] = false;

    ksim::DeltaEncoderParams params;
    params.prediction = prediction;
    params.maxIndex = maxIndex;
    ksim::DeltaStream stream;
    ASSERT_TRUE(ksim::EncodeDeltas(values, isNull, params, stream));
    if (count >= 100000) // every kind of event is present at scale
    {
        ASSERT_FALSE(stream.firstFails.empty());
        ASSERT_FALSE(stream.secondFails.empty());
        ASSERT_FALSE(stream.nulls.empty());
    }

    Decoder d(prediction);
    std::vector<kCompactSpot> spots(count, kCompactSpot{0});
    ASSERT_EQ(
        d.Centres({stream.deltas, stream.firstFails, stream.secondFails, stream.nulls}, spots),
        kOK);
    for (kSize i = 0; i < count; ++i)
    {
        const k32u expected = isNull[i] ? kNullCentre : (k32u)values[i] & 0x3FFFFF;
        ASSERT_EQ(spots[i].word, expected) << "item " << i;
    }
}

TEST(DeltaCompressor, RandomRoundTripsOfAMillionValues)
{
    RoundTrip(1000000, 3, 255, 1);
    RoundTrip(200000, 0, 3, 2); // tiny index width: skip pairs everywhere
}

TEST(DeltaCompressor, RoundTripsOfShortStreams)
{
    for (unsigned seed = 0; seed < 200; ++seed)
        RoundTrip(1 + seed * 7, (k32s)(seed % 5) - 2, 1 + (k32s)(seed % 20), 100 + seed);
}
} // namespace
