#include "kManifest.h"

#include <kBasis/kType.x.h>

#include <dlfcn.h>

#include <cstring>
#include <map>
#include <sstream>

namespace ktest
{
namespace
{
ManifestRow Row(int number, const char* name, ManifestKind kind, const char* base, int subsystem,
                const char* overrides, std::vector<ManifestExtra> extras)
{
    ManifestRow row{number, name, kind, base, subsystem, {}, std::move(extras)};
    std::stringstream list(overrides);
    std::string slot;
    while (std::getline(list, slot, ','))
    {
        slot.erase(0, slot.find_first_not_of(' '));
        if (!slot.empty()) row.overrides.push_back(slot);
    }
    return row;
}

std::vector<ManifestRow> Expand()
{
#define kM_OVERRIDES(...) #__VA_ARGS__
#define kM_FLAGS(FLAGS) ManifestExtra{ManifestExtra::Flags, {}, FLAGS},
#define kM_BASE_CHECK(PREFIX) ManifestExtra{ManifestExtra::BaseCheck, {PREFIX}, 0},
#define kM_STATIC(INIT, RELEASE) ManifestExtra{ManifestExtra::Static, {#INIT, #RELEASE}, 0},
#define kM_FIELD(NAME, FIELD_TYPE) ManifestExtra{ManifestExtra::Field, {#NAME, #FIELD_TYPE}, 0},
#define kM_ENUMERATOR(NAME, VALUE) ManifestExtra{ManifestExtra::Enumerator, {#NAME}, VALUE},
#define kM_VERSION(FORMAT, FORMAT_VERSION, VERSION_NAME, WRITER, READER)                           \
    ManifestExtra{                                                                                 \
        ManifestExtra::Version, {FORMAT, FORMAT_VERSION, VERSION_NAME, #WRITER, #READER}, 0},
#define kM_FRAMEWORK_CONSTRUCTOR(CONSTRUCT)                                                        \
    ManifestExtra{ManifestExtra::FrameworkConstructor, {#CONSTRUCT}, 0},
#define kM_TYPE(NUMBER, TYPE, KIND, BASE, SUBSYSTEM, OVERRIDES, ...)                               \
    Row(NUMBER, #TYPE, ManifestKind::KIND, #BASE, SUBSYSTEM, OVERRIDES, {__VA_ARGS__}),
#define kM_UNREGISTERED(TYPE, KIND, BASE, SUBSYSTEM, OVERRIDES, ...)                               \
    Row(0, #TYPE, ManifestKind::KIND, #BASE, SUBSYSTEM, OVERRIDES, {__VA_ARGS__}),
    return {
#include <kSolan/kSolanManifest.inc>
    };
}

/* Slot of each virtual operation that the library overrides: the root's eight, then, for the
   block, action and library bases, their operations after one slot of their own at 8. */
const std::map<std::string, kSize>& Slots()
{
    static const std::map<std::string, kSize> slots = {
        {"VRelease", 0},
        {"VInitClone", 2},
        {"VClone", 3},
        {"VEquals", 6},
        {"VSize", 7},
        {"VDescription", 9},
        {"VOnSetup", 11},
        {"VOnStart", 12},
        {"VOnStop", 14},
        {"VOnPause", 15},
        {"VOnResume", 16},
        {"VOnReceive", 17},
        {"VValidate", 10},
        {"VInvoke", 12},
        {"VApply", 9},
        {"VSetup", 10},
        {"VStore", 9},
        {"VAssign", 10},
        {"VType", 11},
        {"VSetupImpl", 9},
        {"VRunImpl", 10},
        {"VDisparityMarginImpl", 11},
        {"VDisparityRangeGranularityImpl", 12},
    };
    return slots;
}

/* A registered operation must be the exported function of its name, where that is exported. */
void ExpectFunction(kFunction function, const char* name)
{
    EXPECT_NE(function, kNULL) << name;
    void* exported = FindSymbol(name);
    if (exported)
    {
        EXPECT_EQ(reinterpret_cast<void*>(function), exported) << name;
    }
}

std::vector<const ManifestExtra*> ExtrasOf(const ManifestRow& row, ManifestExtra::Tag tag)
{
    std::vector<const ManifestExtra*> out;
    for (const ManifestExtra& e : row.extras)
        if (e.tag == tag) out.push_back(&e);
    return out;
}

void ExpectOverrides(kType type, const ManifestRow& row)
{
    ASSERT_EQ(kType_OverrideCount(type), row.overrides.size());
    kSize previous = 0;
    for (kSize i = 0; i < row.overrides.size(); ++i)
    {
        const std::string& name = row.overrides[i];
        EXPECT_EQ(kType_OverrideNameAt(type, i), name) << "override " << i;
        auto slot = Slots().find(name);
        ASSERT_NE(slot, Slots().end()) << name;
        EXPECT_EQ(kType_OverrideSlotAt(type, i), slot->second) << name;
        EXPECT_LT(kType_OverrideSlotAt(type, i), kType_VMethodCount(type)) << name;
        if (i > 0)
        {
            EXPECT_GT(slot->second, previous) << name << " out of slot order";
        }
        previous = slot->second;
    }
}

void ExpectFields(kType type, const ManifestRow& row)
{
    std::vector<const ManifestExtra*> fields = ExtrasOf(row, ManifestExtra::Field);
    ASSERT_EQ(kType_FieldCount(type), fields.size());
    kSize end = 0;
    for (kSize i = 0; i < fields.size(); ++i)
    {
        const kFieldInfo* f = kType_FieldAt(type, i);
        EXPECT_STREQ(f->name, fields[i]->text[0]);
        EXPECT_STREQ(f->typeName, fields[i]->text[1]) << f->name;
        ASSERT_NE(f->type, kNULL) << f->name;
        EXPECT_EQ(f->type, kType_FindByName(fields[i]->text[1])) << f->name;
        EXPECT_EQ(f->size, kType_Size(f->type)) << f->name;
        EXPECT_EQ(f->count, 1u) << f->name;
        EXPECT_GE(f->offset, end) << f->name << " overlaps the field before it";
        end = f->offset + f->size * f->count;
    }
    EXPECT_LE(end, kType_InnerSize(type));
    if (row.kind == ManifestKind::ENUM)
    {
        EXPECT_EQ(kType_InnerSize(type), sizeof(k32s));
        ASSERT_EQ(fields.size(), 1u);
        EXPECT_EQ(kType_FieldAt(type, 0)->offset, 0u);
    }
}

void ExpectEnumerators(kType type, const ManifestRow& row)
{
    std::vector<const ManifestExtra*> items = ExtrasOf(row, ManifestExtra::Enumerator);
    ASSERT_EQ(kType_EnumeratorCount(type), items.size());
    for (kSize i = 0; i < items.size(); ++i)
    {
        EXPECT_STREQ(kType_EnumeratorAt(type, i)->name, items[i]->text[0]);
        EXPECT_EQ(kType_EnumeratorAt(type, i)->value, items[i]->number) << items[i]->text[0];
    }
}

void ExpectRegistrationExtras(kType type, const ManifestRow& row)
{
    std::vector<const ManifestExtra*> baseChecks = ExtrasOf(row, ManifestExtra::BaseCheck);
    if (baseChecks.empty())
    {
        EXPECT_EQ(kType_BaseCheck(type), nullptr);
    }
    else
    {
        EXPECT_STREQ(kType_BaseCheck(type), baseChecks[0]->text[0]);
    }

    std::vector<const ManifestExtra*> statics = ExtrasOf(row, ManifestExtra::Static);
    if (statics.empty())
    {
        EXPECT_EQ(type->staticInit, nullptr);
        EXPECT_EQ(type->staticRelease, nullptr);
    }
    else
    {
        ExpectFunction(reinterpret_cast<kFunction>(type->staticInit), statics[0]->text[0]);
        ExpectFunction(reinterpret_cast<kFunction>(type->staticRelease), statics[0]->text[1]);
    }

    std::vector<const ManifestExtra*> versions = ExtrasOf(row, ManifestExtra::Version);
    ASSERT_EQ(kType_VersionCount(type), versions.size());
    for (kSize i = 0; i < versions.size(); ++i)
    {
        const kTypeVersionInfo* v = kType_VersionAt(type, i);
        kVersion formatVersion = 0;
        ASSERT_EQ(kVersion_Parse(&formatVersion, versions[i]->text[1]), kOK);
        EXPECT_STREQ(v->format, versions[i]->text[0]);
        EXPECT_EQ(v->formatVersion, formatVersion);
        EXPECT_STREQ(v->versionName, versions[i]->text[2]);
        ExpectFunction(v->writer, versions[i]->text[3]);
        ExpectFunction(v->reader, versions[i]->text[4]);
    }

    std::vector<const ManifestExtra*> constructors =
        ExtrasOf(row, ManifestExtra::FrameworkConstructor);
    if (constructors.empty())
    {
        EXPECT_EQ(kType_FrameworkConstructor(type), kNULL);
    }
    else
    {
        ExpectFunction(kType_FrameworkConstructor(type), constructors[0]->text[0]);
    }
}
} // namespace

const std::vector<ManifestRow>& Manifest()
{
    static const std::vector<ManifestRow> rows = Expand();
    return rows;
}

void* FindSymbol(const std::string& name) { return dlsym(RTLD_DEFAULT, name.c_str()); }

bool IsBuilt(const ManifestRow& row)
{
    return FindSymbol(std::string("xx") + row.name + "_Register") != nullptr;
}

std::vector<const ManifestRow*> BuiltRegisteredRows()
{
    std::vector<const ManifestRow*> rows;
    for (const ManifestRow& row : Manifest())
        if (row.number > 0 && IsBuilt(row)) rows.push_back(&row);
    return rows;
}

void ExpectTypeMatchesRow(kType type, const ManifestRow& row)
{
    SCOPED_TRACE(std::string("manifest row ") + std::to_string(row.number) + " " + row.name);
    ASSERT_NE(type, kNULL);
    EXPECT_STREQ(kType_Name(type), row.name);

    k32u flags = 0;
    switch (row.kind)
    {
    case ManifestKind::CLASS:
        EXPECT_EQ(kType_Kind(type), kTYPE_KIND_CLASS);
        EXPECT_GE(kType_InnerSize(type), sizeof(kObjectClass));
        for (const ManifestExtra* e : ExtrasOf(row, ManifestExtra::Flags))
            flags |= (k32u)e->number;
        break;
    case ManifestKind::VALUE:
        EXPECT_EQ(kType_Kind(type), kTYPE_KIND_VALUE);
        flags = kVALUE_FLAGS_STRUCT;
        break;
    case ManifestKind::ENUM:
        EXPECT_EQ(kType_Kind(type), kTYPE_KIND_ENUM);
        flags = kVALUE_FLAGS_ENUM;
        break;
    }
    EXPECT_EQ(kType_Flags(type), flags);
    EXPECT_STREQ(kType_BaseName(type), row.base);
    EXPECT_NE(kType_Base(type), kNULL);
    EXPECT_EQ(kType_Base(type), kType_FindByName(row.base));

    ExpectOverrides(type, row);
    ExpectFields(type, row);
    ExpectEnumerators(type, row);
    ExpectRegistrationExtras(type, row);
}
} // namespace ktest
