// Settings described by key tables: defaults, strict and lenient reading, writing, ranges,
// the normalisation every block and action does at setup, and settings-class construction.
#include <kTestSupport.h>

#include <kTessel.h>

#include <string>

namespace
{
struct Record
{
    kBool enable;
    k32s offset;
    k32u count;
    k64u period;
    k64f gain;
    kSize steps;
    kChar fileName[16];
    k64f coefficients[3];
    k32u optional;
    k32u clamped;
    k32u hookValue; // read and written by the hooks under "Extra\Value"
};

const k64f kCoefficientDefaults[] = {7.0, 7.0, 14.0};

const kSettingKey kKeys[] = {
    {.path = "Enable",
     .type = kSETTING_TYPE_BOOL,
     kSETTING_FIELD(Record, enable),
     .defaultValue = 1},
    {.path = "Window0\\X",
     .type = kSETTING_TYPE_32S,
     kSETTING_FIELD(Record, offset),
     .defaultValue = -4,
     .min = -100,
     .max = 100,
     .flags = kSETTING_RANGE},
    {.path = "Count",
     .type = kSETTING_TYPE_32U,
     kSETTING_FIELD(Record, count),
     .defaultValue = 4294967295.0},
    {.path = "Period",
     .type = kSETTING_TYPE_64U,
     kSETTING_FIELD(Record, period),
     .defaultValue = 10000},
    {.path = "Gain", .type = kSETTING_TYPE_64F, kSETTING_FIELD(Record, gain), .defaultValue = 0.1},
    {.path = "Steps", .type = kSETTING_TYPE_SIZE, kSETTING_FIELD(Record, steps), .defaultValue = 7},
    {.path = "CalFileName",
     .type = kSETTING_TYPE_TEXT,
     kSETTING_FIELD(Record, fileName),
     .defaultText = "StereoCal.kdat"},
    {.path = "EmbeddedPhase\\Coefficient%d",
     .type = kSETTING_TYPE_64F,
     kSETTING_FIELD(Record, coefficients[0]),
     .count = 3,
     .defaults = kCoefficientDefaults,
     .flags = kSETTING_LENIENT},
    {.path = "Optional",
     .type = kSETTING_TYPE_32U,
     kSETTING_FIELD(Record, optional),
     .defaultValue = 12,
     .flags = kSETTING_OPTIONAL},
    {.path = "Clamped",
     .type = kSETTING_TYPE_32U,
     kSETTING_FIELD(Record, clamped),
     .defaultValue = 2,
     .min = 1,
     .max = 1000,
     .flags = kSETTING_RANGE | kSETTING_CLAMP | kSETTING_OPTIONAL},
};

kStatus ReadExtra(void* record, kXml xml, kXmlItem item)
{
    return kXml_Child32u(xml, item, "Extra\\Value", &static_cast<Record*>(record)->hookValue);
}
kStatus WriteExtra(const void* record, kXml xml, kXmlItem item)
{
    return kXml_SetChild32u(xml, item, "Extra\\Value",
                            static_cast<const Record*>(record)->hookValue);
}
kStatus ClearExtra(void* record)
{
    static_cast<Record*>(record)->hookValue = 99;
    return kOK;
}
kStatus ValidateExtra(void* record)
{
    return static_cast<Record*>(record)->hookValue == 13 ? kSTATUS_CONFLICT : kOK;
}

const kSettingsSchema kSchema = {.keys = kKeys,
                                 .keyCount = kCountOf(kKeys),
                                 .onClear = ClearExtra,
                                 .onRead = ReadExtra,
                                 .onWrite = WriteExtra,
                                 .onValidate = ValidateExtra};

const char* kFullDocument = R"(<Settings>
  <Enable>false</Enable>
  <Window0><X>-17</X></Window0>
  <Count>3000000000</Count>
  <Period>12345678901</Period>
  <Gain>2.5e-3</Gain>
  <Steps>9</Steps>
  <CalFileName>Cal.kdat</CalFileName>
  <EmbeddedPhase><Coefficient0>1.5</Coefficient0><Coefficient1>2</Coefficient1><Coefficient2>3</Coefficient2></EmbeddedPhase>
  <Clamped>5</Clamped>
  <Extra><Value>4</Value></Extra>
</Settings>)";

class XmlDoc
{
public:
    explicit XmlDoc(const char* text = kNULL)
    {
        if (text)
            EXPECT_EQ(kXml_FromText(&m_xml, text, kNULL), kOK);
        else
            EXPECT_EQ(kXml_Construct(&m_xml, kNULL), kOK);
    }
    ~XmlDoc() { kObject_Destroy(m_xml); }
    operator kXml() const { return m_xml; }
    kXmlItem Root() const { return kXml_Root(m_xml); }
    std::string Text(const char* path) const
    {
        kChar text[64] = "";
        kXml_ChildText(m_xml, Root(), path, text, sizeof(text));
        return text;
    }

private:
    kXml m_xml = kNULL;
};
} // namespace

TEST(Settings, ClearGivesEveryDefault)
{
    Record r;
    memset(&r, 0xAB, sizeof(r));
    ASSERT_EQ(kSettings_Clear(&kSchema, &r), kOK);
    EXPECT_EQ(r.enable, kTRUE);
    EXPECT_EQ(r.offset, -4);
    EXPECT_EQ(r.count, 4294967295u);
    EXPECT_EQ(r.period, 10000u);
    EXPECT_EQ(r.gain, 0.1);
    EXPECT_EQ(r.steps, 7u);
    EXPECT_STREQ(r.fileName, "StereoCal.kdat");
    EXPECT_EQ(r.coefficients[0], 7.0);
    EXPECT_EQ(r.coefficients[2], 14.0);
    EXPECT_EQ(r.optional, 12u);
    EXPECT_EQ(r.hookValue, 99u);
}

TEST(Settings, ReadsEveryTypeAndWritesItBack)
{
    XmlDoc doc(kFullDocument);
    Record r, back;
    memset(&r, 0, sizeof(r)); // padding too, for the comparison below
    memset(&back, 0, sizeof(back));
    ASSERT_EQ(kSettings_Clear(&kSchema, &r), kOK);
    ASSERT_EQ(kSettings_Read(&kSchema, &r, doc, doc.Root()), kOK);
    EXPECT_EQ(r.enable, kFALSE);
    EXPECT_EQ(r.offset, -17);
    EXPECT_EQ(r.count, 3000000000u);
    EXPECT_EQ(r.period, 12345678901u);
    EXPECT_EQ(r.gain, 2.5e-3);
    EXPECT_EQ(r.steps, 9u);
    EXPECT_STREQ(r.fileName, "Cal.kdat");
    EXPECT_EQ(r.coefficients[1], 2.0);
    EXPECT_EQ(r.optional, 12u); // missing and optional: keeps its default
    EXPECT_EQ(r.hookValue, 4u);

    XmlDoc out;
    ASSERT_EQ(kSettings_Store(&kSchema, &r, out), kOK);
    EXPECT_STREQ(kXml_ItemName(out, out.Root()), "Settings");
    EXPECT_EQ(out.Text("Window0\\X"), "-17");
    EXPECT_EQ(out.Text("Enable"), "0");
    EXPECT_EQ(out.Text("EmbeddedPhase\\Coefficient2"), "3");
    EXPECT_EQ(out.Text("Optional"), "12"); // written even though it was not read
    ASSERT_EQ(kSettings_Load(&kSchema, &back, out), kOK);
    EXPECT_EQ(memcmp(&back, &r, sizeof(r)), 0);

    XmlDoc empty;
    EXPECT_EQ(kSettings_Load(&kSchema, &back, empty), kSTATUS_NOT_FOUND);
}

TEST(Settings, TheFirstFailingReadFailsTheRead)
{
    struct Case
    {
        const char* from;
        const char* to;
        kStatus status;
    } cases[] = {
        {"<Steps>9</Steps>", "", kSTATUS_NOT_FOUND},
        {"<Steps>9</Steps>", "<Steps>nine</Steps>", kSTATUS_BAD_FORMAT},
        {"<Count>3000000000</Count>", "<Count>4294967296</Count>", kSTATUS_OVERFLOW},
        {"<CalFileName>Cal.kdat</CalFileName>", "<CalFileName>AVeryLongName.kdat</CalFileName>",
         kSTATUS_BAD_PARAMETER},
        {"<Clamped>5</Clamped>", "<Clamped>-5</Clamped>",
         kSTATUS_BAD_FORMAT},                                       // optional, but present and bad
        {"<Extra><Value>4</Value></Extra>", "", kSTATUS_NOT_FOUND}, // the hook's own key
    };
    for (const Case& c : cases)
    {
        std::string text = kFullDocument;
        text.replace(text.find(c.from), strlen(c.from), c.to);
        XmlDoc doc(text.c_str());
        Record r;
        kSettings_Clear(&kSchema, &r);
        EXPECT_EQ(kSettings_Read(&kSchema, &r, doc, doc.Root()), c.status) << c.to;
    }
}

TEST(Settings, LenientEntriesBecomeZeroWithoutFailing)
{
    std::string text = kFullDocument;
    text.replace(text.find("<Coefficient1>2</Coefficient1>"), 30, "<Coefficient1>x</Coefficient1>");
    text.replace(text.find("<Coefficient2>3</Coefficient2>"), 30, "");
    XmlDoc doc(text.c_str());
    Record r;
    kSettings_Clear(&kSchema, &r);
    ASSERT_EQ(kSettings_Read(&kSchema, &r, doc, doc.Root()), kOK);
    EXPECT_EQ(r.coefficients[0], 1.5);
    EXPECT_EQ(r.coefficients[1], 0.0);
    EXPECT_EQ(r.coefficients[2], 0.0);
}

TEST(Settings, ValidateRefusesOrClampsRanges)
{
    Record r;
    kSettings_Clear(&kSchema, &r);
    EXPECT_EQ(kSettings_Validate(&kSchema, &r), kOK);
    r.offset = 101;
    EXPECT_EQ(kSettings_Validate(&kSchema, &r), kSTATUS_BAD_PARAMETER);
    r.offset = -100;
    r.clamped = 0;
    EXPECT_EQ(kSettings_Validate(&kSchema, &r), kOK);
    EXPECT_EQ(r.clamped, 1u);
    r.clamped = 5000;
    EXPECT_EQ(kSettings_Validate(&kSchema, &r), kOK);
    EXPECT_EQ(r.clamped, 1000u);
    r.hookValue = 13;
    EXPECT_EQ(kSettings_Validate(&kSchema, &r), kSTATUS_CONFLICT);
}

TEST(Settings, NormalizeCompletesOrResetsTheDocument)
{
    Record r;
    XmlDoc empty; // not even a root item
    ASSERT_EQ(kSettings_Normalize(&kSchema, &r, empty), kOK);
    EXPECT_STREQ(kXml_ItemName(empty, empty.Root()), "Settings");
    EXPECT_EQ(empty.Text("CalFileName"), "StereoCal.kdat");
    EXPECT_EQ(empty.Text("Count"), "4294967295");
    EXPECT_EQ(empty.Text("EmbeddedPhase\\Coefficient2"), "14");
    EXPECT_EQ(empty.Text("Extra\\Value"), "99");

    std::string text = kFullDocument;
    text.replace(text.find("<Window0><X>-17</X></Window0>"), 29, "<Window0><X>500</X></Window0>");
    XmlDoc invalid(text.c_str()); // reads, but does not validate: every value goes back to default
    ASSERT_EQ(kSettings_Normalize(&kSchema, &r, invalid), kOK);
    EXPECT_EQ(invalid.Text("Window0\\X"), "-4");
    EXPECT_EQ(invalid.Text("Steps"), "7");

    XmlDoc valid(kFullDocument); // kept, and completed with the optional key
    ASSERT_EQ(kSettings_Normalize(&kSchema, &r, valid), kOK);
    EXPECT_EQ(valid.Text("Steps"), "9");
    EXPECT_EQ(valid.Text("Optional"), "12");
    EXPECT_EQ(valid.Text("Clamped"), "5");
}

TEST(Settings, WriteCanClearTheItemFirst)
{
    kSettingsSchema schema = kSchema;
    schema.clearItemOnWrite = kTRUE;
    XmlDoc doc("<Settings><Stale>1</Stale></Settings>");
    Record r;
    kSettings_Clear(&schema, &r);
    ASSERT_EQ(kSettings_Write(&schema, &r, doc, doc.Root()), kOK);
    EXPECT_FALSE(kXml_ChildExists(doc, doc.Root(), "Stale"));
    XmlDoc kept("<Settings><Stale>1</Stale></Settings>");
    ASSERT_EQ(kSettings_Write(&kSchema, &r, kept, kept.Root()), kOK);
    EXPECT_TRUE(kXml_ChildExists(kept, kept.Root(), "Stale"));
}

/* ----- A settings class with an owned array ------------------------------------------------- */

typedef kObject kTestInfo;
kDeclareClass(kTestInfo, kObject);
struct kTestInfoClass
{
    kObjectClass base;
    k32u viewIndex;
    kArray1 exposures; // owned: made by onInit
};
kDefineClass(kTestInfo, kObject);

static const kSettingKey kInfoKeys[] = {
    {.path = "ViewIndex",
     .type = kSETTING_TYPE_32U,
     kSETTING_FIELD(kTestInfoClass, viewIndex),
     .defaultValue = 0,
     .min = 0,
     .max = 3,
     .flags = kSETTING_RANGE},
};

static kStatus InitInfo(void* record, kAlloc allocator)
{
    return kArray1_Construct(&static_cast<kTestInfoClass*>(record)->exposures, kTypeOf(k32u), 4,
                             allocator);
}

static const kSettingsSchema kInfoSchema = {
    .keys = kInfoKeys, .keyCount = kCountOf(kInfoKeys), .onInit = InitInfo};

static kStatus xkTestInfo_VRelease(kObject info)
{
    kCheck(kDestroyRef(&kCastRaw(kTestInfo, info)->exposures));
    return xkObject_VRelease(info);
}

kStatus xxkTestInfo_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddClass(kTestInfo, kObject));
    return kAddVMethod(kTestInfo, VRelease);
}

class SettingsClass : public ::testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        kAssembly assembly = kNULL;
        ASSERT_EQ(xkAssembly_ConstructInternal(&assembly, &s_assembly, "kTestSettings", 0, 0), kOK);
        ASSERT_EQ(xkAssembly_AddDependency(assembly, kTesselLib_Construct), kOK);
        ASSERT_EQ(xkAssembly_AddType(assembly, xxkTestInfo_Register, "kTestInfo"), kOK);
        ASSERT_EQ(xkAssembly_Finalize(assembly), kOK);
    }
    static void TearDownTestSuite() { kObject_Destroy(s_assembly); }
    static kAssembly s_assembly;
};
kAssembly SettingsClass::s_assembly = kNULL;

TEST_F(SettingsClass, ConstructLoadAndNormalizeLeaveNothingOnFailure)
{
    kSize steps = ktest::ExpectCleanFailures(
        [](kAlloc alloc, kObject* out)
        { return kSettings_Construct(out, kTypeOf(kTestInfo), &kInfoSchema, alloc); });
    EXPECT_EQ(steps, 3u); // instance, array object, array items

    ktest::CountingAlloc alloc;
    XmlDoc bad("<Settings><ViewIndex>x</ViewIndex></Settings>");
    kObject info = kNULL;
    EXPECT_EQ(kSettings_LoadObject(&info, kTypeOf(kTestInfo), &kInfoSchema, bad, alloc),
              kSTATUS_BAD_FORMAT);
    EXPECT_EQ(info, kNULL);

    XmlDoc good("<Settings><ViewIndex>2</ViewIndex></Settings>");
    ASSERT_EQ(kSettings_LoadObject(&info, kTypeOf(kTestInfo), &kInfoSchema, good, alloc), kOK);
    EXPECT_EQ(kCastRaw(kTestInfo, info)->viewIndex, 2u);
    EXPECT_EQ(kArray1_Length(kCastRaw(kTestInfo, info)->exposures), 4u);
    kObject_Destroy(info);

    ASSERT_EQ(kSettings_NormalizeObject(kTypeOf(kTestInfo), &kInfoSchema, bad, alloc), kOK);
    EXPECT_EQ(bad.Text("ViewIndex"), "0");
    EXPECT_EQ(kSettings_Construct(&info, kTypeOf(k32u), &kInfoSchema, alloc),
              kSTATUS_BAD_PARAMETER);
}
