// Value records of the sensor platform: layouts, registration and the packed bit fields,
// checked against words computed by hand from the hardware layouts.
#include <kTestSupport.h>
#include <kTessel.h>

#include <cstring>
#include <vector>

namespace
{
struct FieldRow
{
    const char* name;
    const char* typeName;
    kSize offset;
    kSize size;
};

#define ROW(TYPE, FIELD, FIELD_TYPE)                                                               \
    {                                                                                              \
#FIELD, #FIELD_TYPE, offsetof(TYPE, FIELD), sizeof(((TYPE*)0)->FIELD)                      \
    }

void ExpectRegistered(kType type, const char* name, kSize size, const std::vector<FieldRow>& fields)
{
    SCOPED_TRACE(name);
    ASSERT_NE(type, kNULL);
    EXPECT_EQ(kType_FindByName(name), type);
    EXPECT_STREQ(kAssembly_Name(kType_Assembly(type)), "kTessel");
    EXPECT_EQ(kType_Kind(type), kTYPE_KIND_VALUE);
    EXPECT_EQ(kType_Base(type), kTypeOf(kValue));
    EXPECT_EQ(kType_Flags(type), (k32u)kVALUE_FLAGS_STRUCT);
    EXPECT_EQ(kType_Size(type), size);
    ASSERT_EQ(kType_FieldCount(type), fields.size());
    for (kSize i = 0; i < fields.size(); ++i)
    {
        const kFieldInfo* f = kType_FieldAt(type, i);
        EXPECT_STREQ(f->name, fields[i].name);
        EXPECT_STREQ(f->typeName, fields[i].typeName);
        EXPECT_EQ(f->type, kType_FindByName(fields[i].typeName)) << f->name;
        EXPECT_EQ(f->offset, fields[i].offset) << f->name;
        EXPECT_EQ(f->size, fields[i].size) << f->name;
        EXPECT_EQ(f->size, kType_Size(f->type)) << f->name;
    }
}

template <typename T>
std::vector<k8u> Bytes(const T& value)
{
    std::vector<k8u> bytes(sizeof(T));
    memcpy(bytes.data(), &value, sizeof(T));
    return bytes;
}
} // namespace

TEST(ValueRecords, LayoutsAndRegistrationMatch)
{
    EXPECT_EQ(sizeof(kPhasePixel), 4u);
    EXPECT_EQ(sizeof(kPhasePixel2), 4u);
    EXPECT_EQ(sizeof(kSpot), 12u);
    EXPECT_EQ(sizeof(kFpgaSpot), 8u);
    EXPECT_EQ(sizeof(kFpgaWideSpot), 8u);
    EXPECT_EQ(sizeof(kFpgaSpot2i), 8u);
    EXPECT_EQ(sizeof(kSpot2), 12u);
    EXPECT_EQ(sizeof(kStamp), 88u);
    EXPECT_EQ(sizeof(kHealthStat), 16u);

    ExpectRegistered(kTypeOf(kPhasePixel), "kPhasePixel", 4,
                     {ROW(kPhasePixel, contrast, k8u), ROW(kPhasePixel, intensity, k8u),
                      ROW(kPhasePixel, phase, k16s)});
    EXPECT_EQ(offsetof(kPhasePixel, phase), 2u);
    ExpectRegistered(kTypeOf(kPhasePixel2), "kPhasePixel2", 4, {ROW(kPhasePixel2, word, k32u)});
    ExpectRegistered(kTypeOf(kSpot), "kSpot", 12,
                     {ROW(kSpot, centre, k32u), ROW(kSpot, slice, k16u), ROW(kSpot, sum, k16u),
                      ROW(kSpot, width, k16u), ROW(kSpot, reserved, k16u)});
    EXPECT_EQ(offsetof(kSpot, slice), 4u);
    EXPECT_EQ(offsetof(kSpot, sum), 6u);
    EXPECT_EQ(offsetof(kSpot, width), 8u);
    EXPECT_EQ(offsetof(kSpot, reserved), 10u);
    ExpectRegistered(kTypeOf(kFpgaSpot), "kFpgaSpot", 8,
                     {ROW(kFpgaSpot, centerWidth, k32u), ROW(kFpgaSpot, sliceEntry, k16u),
                      ROW(kFpgaSpot, sumSlice, k16u)});
    EXPECT_EQ(offsetof(kFpgaSpot, sliceEntry), 4u);
    EXPECT_EQ(offsetof(kFpgaSpot, sumSlice), 6u);
    ExpectRegistered(kTypeOf(kFpgaWideSpot), "kFpgaWideSpot", 8,
                     {ROW(kFpgaWideSpot, centerWidth, k32u), ROW(kFpgaWideSpot, sliceEntry, k16u),
                      ROW(kFpgaWideSpot, sumSlice, k16u)});
    ExpectRegistered(kTypeOf(kFpgaSpot2i), "kFpgaSpot2i", 8, {ROW(kFpgaSpot2i, word, k64u)});
    ExpectRegistered(kTypeOf(kSpot2), "kSpot2", 12,
                     {ROW(kSpot2, x, k32u), ROW(kSpot2, y, k32u), ROW(kSpot2, sum, k32u)});
    EXPECT_EQ(offsetof(kSpot2, sum), 8u);
    ExpectRegistered(kTypeOf(kHealthStat), "kHealthStat", 16,
                     {ROW(kHealthStat, id, k32u), ROW(kHealthStat, value, k64s)});
    ExpectRegistered(kTypeOf(kStamp), "kStamp", 88,
                     {ROW(kStamp, status, k8u), ROW(kStamp, digitalInputs, k16u),
                      ROW(kStamp, frameIndex, k64u), ROW(kStamp, time, k64u),
                      ROW(kStamp, encoder, k64s), ROW(kStamp, width, k16u),
                      ROW(kStamp, height, k16u), ROW(kStamp, roiX, k16u), ROW(kStamp, roiY, k16u),
                      ROW(kStamp, roiWidth, k16u), ROW(kStamp, roiHeight, k16u),
                      ROW(kStamp, roiXSubsampling, k8u), ROW(kStamp, roiYSubsampling, k8u),
                      ROW(kStamp, temperature, k16s)});
}

TEST(ValueRecords, StampFieldsSitWhereReadersLookForThem)
{
    kStamp stamp;
    memset(&stamp, 0, sizeof(stamp));
    stamp.status = 3;
    stamp.digitalInputs = 0xBEEF;
    stamp.frameIndex = 0x0102030405060708ull;
    stamp.time = 1000000;
    stamp.encoder = -2;
    stamp.temperature = -1234; // -12.34 degrees
    std::vector<k8u> b = Bytes(stamp);

    EXPECT_EQ(b[0], 3);
    EXPECT_EQ(b[4], 0xEF); // digital inputs: bytes 4 and 5
    EXPECT_EQ(b[5], 0xBE);
    k64u slots[11];
    memcpy(slots, b.data(), sizeof(slots));
    EXPECT_EQ(slots[1], 0x0102030405060708ull); // frame index: second 64-bit field
    EXPECT_EQ(slots[2], 1000000u);              // time: third
    EXPECT_EQ((k64s)slots[3], -2);              // encoder: fourth, signed
    k16s words[44];
    memcpy(words, b.data(), sizeof(words));
    EXPECT_EQ(words[32], -1234); // temperature: the 33rd 16-bit word
    EXPECT_EQ(b[64], 0x2E);
    EXPECT_EQ(b[65], 0xFB);
}

TEST(ValueRecords, PhasePixel2SettersReplaceOneField)
{
    kPhasePixel2 p{0};
    kPhasePixel2_SetPhase(&p, 0x123456);
    EXPECT_EQ(p.word, 0x00123456u);
    kPhasePixel2_SetIntensity(&p, 0xAB);
    EXPECT_EQ(p.word, 0xAB123456u);
    kPhasePixel2_SetPhase(&p, 0xFF654321); // masked to 24 bits; intensity kept
    EXPECT_EQ(p.word, 0xAB654321u);
    kPhasePixel2_SetIntensity(&p, 0x01);
    EXPECT_EQ(p.word, 0x01654321u);
    EXPECT_EQ(kPhasePixel2_Phase(&p), 0x654321u);
    EXPECT_EQ(kPhasePixel2_Intensity(&p), 0x01);

    kPhasePixel2_SetPhase(&p, k24U_NULL); // null pixel: all 24 phase bits set
    EXPECT_EQ(p.word, 0x01FFFFFFu);
    EXPECT_EQ(kPhasePixel2_Phase(&p), 16777215u);
    EXPECT_EQ(Bytes(p), (std::vector<k8u>{0xFF, 0xFF, 0xFF, 0x01})); // intensity in the last byte
}

TEST(ValueRecords, FpgaSpotWordsAreBitExact)
{
    // centre 0x2ABCDE (bits 20-21 = 2), width 0x15, extra 0xA7, slice 0x2ABC (bits 12-13 = 2), sum
    // 0x1234.
    kFpgaSpot s;
    s.centerWidth = kFpgaSpot_SetCenterWidth(0x2ABCDE, 0x15, 0xA7);
    s.sliceEntry = kFpgaSpot_SetSliceEntry(0x2ABC, 0xA7);
    s.sumSlice = kFpgaSpot_SetSumSlice(0x1234, 0x2ABC);
    EXPECT_EQ(s.centerWidth, 0x557ABCDEu); // 2 << 29 | 0x15 << 24 | 7 << 20 | 0xABCDE
    EXPECT_EQ(s.sliceEntry, 0xAABC);       // 0xA << 12 | 0xABC
    EXPECT_EQ(s.sumSlice, 0x5234);         // 2 << 13 | 0x1234
    EXPECT_EQ(kFpgaSpot_Center(&s), 0x2ABCDEu);
    EXPECT_EQ(kFpgaSpot_SpotWidth(&s), 0x15u);
    EXPECT_EQ(kFpgaSpot_EntryValue(&s), 0xA7u);
    EXPECT_EQ(kFpgaSpot_EntryOffset(&s), 0xA7u);
    EXPECT_EQ(kFpgaSpot_ExitOffset(&s), 0xA7u);
    EXPECT_EQ(kFpgaSpot_Slice(&s), 0x2ABCu);
    EXPECT_EQ(kFpgaSpot_Sum(&s), 0x1234u);
    EXPECT_FALSE(kFpgaSpot_IsNull(&s));
    EXPECT_EQ(Bytes(s), (std::vector<k8u>{0xDE, 0xBC, 0x7A, 0x55, 0xBC, 0xAA, 0x34, 0x52}));

    // Writers mask what does not fit: bit 31 of word 0 is never set; the extra's low nibble
    // goes to word 0 and its high nibble to half 4.
    EXPECT_EQ(kFpgaSpot_SetCenterWidth(0xFFFFFFFF, 0xFF, 0xFF), 0x7FFFFFFFu);
    EXPECT_EQ(kFpgaSpot_SetCenterWidth(0, 0, 0xF0), 0u);
    EXPECT_EQ(kFpgaSpot_SetSliceEntry(0xFFFF, 0x0F), 0x0FFF);
    EXPECT_EQ(kFpgaSpot_SetSumSlice(0, 0xFFFF), 0x6000);
}

TEST(ValueRecords, FpgaSpotSumIsDeliberatelyUnmasked)
{
    kFpgaSpot s{0, 0, 0};
    s.sumSlice = kFpgaSpot_SetSumSlice(8192, 0); // spills into slice bit 12
    EXPECT_EQ(s.sumSlice, 0x2000);
    EXPECT_EQ(kFpgaSpot_Sum(&s), 0u);
    EXPECT_EQ(kFpgaSpot_Slice(&s), 0x1000u);
    s.sumSlice = kFpgaSpot_SetSumSlice(0x8000, 0); // spills into the null bit
    EXPECT_TRUE(kFpgaSpot_IsNull(&s));
    EXPECT_EQ(kFpgaSpot_SetSumSlice(0x1FFFF, 0x3000), 0xFFFF); // OR-ed, then 16 bits kept

    kFpgaSpot null;
    kFpgaSpot_SetNull(&null);
    EXPECT_EQ(Bytes(null), (std::vector<k8u>{0, 0, 0, 0, 0, 0, 0, 0x80}));
    EXPECT_TRUE(kFpgaSpot_IsNull(&null));
    EXPECT_EQ(kFpgaSpot_Sum(&null), 0u);
    EXPECT_EQ(kFpgaSpot_Slice(&null), 0u);
}

TEST(ValueRecords, FpgaWideSpotStoresQuarterWidthAndSum)
{
    // True width 37 and sum 5000 are written shifted right by 2 and read back times 4; centre
    // bits 20-21 (word 0 bits 29-30) and slice bits 12-13 must not leak into them.
    kFpgaWideSpot s;
    s.centerWidth = kFpgaSpot_SetCenterWidth(0x300000, 37 >> 2, 0x5C);
    s.sliceEntry = kFpgaSpot_SetSliceEntry(0x3001, 0x5C);
    s.sumSlice = kFpgaSpot_SetSumSlice(5000 >> 2, 0x3001);
    EXPECT_EQ(s.centerWidth, 0x69C00000u);
    EXPECT_EQ(s.sumSlice, 0x64E2);
    EXPECT_EQ(kFpgaWideSpot_Width(&s), 36u);
    EXPECT_EQ(kFpgaWideSpot_Sum(&s), 5000u);
    EXPECT_EQ(kFpgaWideSpot_Centre(&s), 0x300000u);
    EXPECT_EQ(kFpgaWideSpot_Slice(&s), 0x3001u);
    EXPECT_EQ(kFpgaWideSpot_EntryValue(&s), 0x5Cu);
    EXPECT_FALSE(kFpgaWideSpot_IsNull(&s));

    s.centerWidth = 0xFFFFFFFF;
    s.sumSlice = 0xFFFF;
    EXPECT_EQ(kFpgaWideSpot_Width(&s), 0x7Cu); // 31 * 4
    EXPECT_EQ(kFpgaWideSpot_Sum(&s), 0x7FFCu); // 8191 * 4

    kFpgaWideSpot_SetNull(&s);
    EXPECT_EQ(Bytes(s), (std::vector<k8u>{0, 0, 0, 0, 0, 0, 0, 0x80}));
    EXPECT_TRUE(kFpgaWideSpot_IsNull(&s));
}

TEST(ValueRecords, FpgaSpot2iFieldsAreMaskedAndIndependent)
{
    kFpgaSpot2i s;
    kFpgaSpot2i_Zero(&s);
    kFpgaSpot2i_SetCentre(&s, 0x3ABCDE);
    kFpgaSpot2i_SetDetection(&s, 0xABC);
    kFpgaSpot2i_SetIntensity(&s, 0x123);
    kFpgaSpot2i_SetSlice(&s, 0x2DEF);
    EXPECT_EQ(s.word, 0x2DEF123ABC3ABCDEull);
    EXPECT_EQ(kFpgaSpot2i_Centre(&s), 0x3ABCDEu);
    EXPECT_EQ(kFpgaSpot2i_Detection(&s), 0xABCu);
    EXPECT_EQ(kFpgaSpot2i_Intensity(&s), 0x123u);
    EXPECT_EQ(kFpgaSpot2i_Slice(&s), 0x2DEFu);
    EXPECT_EQ(kFpgaSpot2i_Patch(&s), 0u);

    // Oversized values are masked; bits 22-23 and 62 stay clear; neighbours are kept.
    kFpgaSpot2i_Zero(&s);
    kFpgaSpot2i_SetCentre(&s, 0xFFFFFFFF);
    kFpgaSpot2i_SetDetection(&s, 0xFFFFFFFF);
    kFpgaSpot2i_SetIntensity(&s, 0xFFFFFFFF);
    kFpgaSpot2i_SetSlice(&s, 0xFFFFFFFF);
    EXPECT_EQ(s.word, 0x3FFFFFFFFF3FFFFFull);
    kFpgaSpot2i_SetPatch(&s, 1);
    EXPECT_EQ(s.word, 0xBFFFFFFFFF3FFFFFull);
    kFpgaSpot2i_SetDetection(&s, 0);
    EXPECT_EQ(s.word, 0xBFFFFFF0003FFFFFull);
    kFpgaSpot2i_SetPatch(&s, 2); // masked to 0: clears the patch bit
    EXPECT_EQ(kFpgaSpot2i_Patch(&s), 0u);

    kFpgaSpot2i_Zero(&s);
    EXPECT_EQ(s.word, 0u);
    kFpgaSpot2i_SetPatch(&s, 1);
    EXPECT_EQ(s.word, kFPGA_SPOT2I_NULL);
    EXPECT_EQ(Bytes(s), (std::vector<k8u>{0, 0, 0, 0, 0, 0, 0, 0x80}));
    kFpgaSpot2i_SetCentre(&s, 5);
    EXPECT_EQ(s.word, 0x8000000000000005ull);
    EXPECT_EQ(kFpgaSpot2i_Patch(&s), 1u);
}
