#include <kTessel/kSettings.h>

#include <cstdio>
#include <cstring>

namespace
{
constexpr kSize kPathCapacity = 256;

kSize EntryCount(const kSettingKey& key) { return key.count > 1 ? key.count : 1; }

kSize TypeSize(kSettingType type)
{
    switch (type)
    {
    case kSETTING_TYPE_BOOL:
        return sizeof(kBool);
    case kSETTING_TYPE_32S:
        return sizeof(k32s);
    case kSETTING_TYPE_32U:
        return sizeof(k32u);
    case kSETTING_TYPE_64U:
        return sizeof(k64u);
    case kSETTING_TYPE_64F:
        return sizeof(k64f);
    case kSETTING_TYPE_SIZE:
        return sizeof(kSize);
    default:
        return 0;
    }
}

/* Entry index of key in record; a field whose size does not fit the type is a table error. */
void* Field(const kSettingKey& key, const void* record, kSize index)
{
    kAssert(key.type == kSETTING_TYPE_TEXT ? key.size > 0 : key.size == TypeSize(key.type));
    return const_cast<kByte*>(static_cast<const kByte*>(record)) + key.offset + index * key.size;
}

/* Path of entry index: the key's path, or its %d format filled in for indexed keys. */
const kChar* EntryPath(const kSettingKey& key, kSize index, kChar* buffer)
{
    if (EntryCount(key) == 1) return key.path;
    snprintf(buffer, kPathCapacity, key.path, (int)index);
    return buffer;
}

k64f DefaultOf(const kSettingKey& key, kSize index)
{
    return key.defaults ? key.defaults[index] : key.defaultValue;
}

/* Stores a number into a field of the key's type (booleans become 0 or 1). */
void SetNumber(const kSettingKey& key, void* field, k64f value)
{
    switch (key.type)
    {
    case kSETTING_TYPE_BOOL:
        *static_cast<kBool*>(field) = value != 0 ? kTRUE : kFALSE;
        break;
    case kSETTING_TYPE_32S:
        *static_cast<k32s*>(field) = (k32s)value;
        break;
    case kSETTING_TYPE_32U:
        *static_cast<k32u*>(field) = (k32u)value;
        break;
    case kSETTING_TYPE_64U:
        *static_cast<k64u*>(field) = (k64u)value;
        break;
    case kSETTING_TYPE_64F:
        *static_cast<k64f*>(field) = value;
        break;
    case kSETTING_TYPE_SIZE:
        *static_cast<kSize*>(field) = (kSize)value;
        break;
    default:
        break;
    }
}

k64f GetNumber(const kSettingKey& key, const void* field)
{
    switch (key.type)
    {
    case kSETTING_TYPE_BOOL:
        return *static_cast<const kBool*>(field) ? 1.0 : 0.0;
    case kSETTING_TYPE_32S:
        return *static_cast<const k32s*>(field);
    case kSETTING_TYPE_32U:
        return *static_cast<const k32u*>(field);
    case kSETTING_TYPE_64U:
        return (k64f) * static_cast<const k64u*>(field);
    case kSETTING_TYPE_64F:
        return *static_cast<const k64f*>(field);
    case kSETTING_TYPE_SIZE:
        return (k64f) * static_cast<const kSize*>(field);
    default:
        return 0.0;
    }
}

void SetText(const kSettingKey& key, void* field, const kChar* text)
{
    kChar* buffer = static_cast<kChar*>(field);
    buffer[0] = 0;
    if (text) strncat(buffer, text, key.size - 1);
}

kStatus ReadEntry(const kSettingKey& key, void* field, kXml xml, kXmlItem item, const kChar* path)
{
    switch (key.type)
    {
    case kSETTING_TYPE_BOOL:
        return kXml_ChildBool(xml, item, path, static_cast<kBool*>(field));
    case kSETTING_TYPE_32S:
        return kXml_Child32s(xml, item, path, static_cast<k32s*>(field));
    case kSETTING_TYPE_32U:
        return kXml_Child32u(xml, item, path, static_cast<k32u*>(field));
    case kSETTING_TYPE_64U:
        return kXml_Child64u(xml, item, path, static_cast<k64u*>(field));
    case kSETTING_TYPE_64F:
        return kXml_Child64f(xml, item, path, static_cast<k64f*>(field));
    case kSETTING_TYPE_SIZE:
        return kXml_ChildSize(xml, item, path, static_cast<kSize*>(field));
    case kSETTING_TYPE_TEXT:
        return kXml_ChildText(xml, item, path, static_cast<kChar*>(field), key.size);
    default:
        return kSTATUS_BAD_PARAMETER;
    }
}

kStatus WriteEntry(const kSettingKey& key, const void* field, kXml xml, kXmlItem item,
                   const kChar* path)
{
    switch (key.type)
    {
    case kSETTING_TYPE_BOOL:
        return kXml_SetChildBool(xml, item, path, *static_cast<const kBool*>(field));
    case kSETTING_TYPE_32S:
        return kXml_SetChild32s(xml, item, path, *static_cast<const k32s*>(field));
    case kSETTING_TYPE_32U:
        return kXml_SetChild32u(xml, item, path, *static_cast<const k32u*>(field));
    case kSETTING_TYPE_64U:
        return kXml_SetChild64u(xml, item, path, *static_cast<const k64u*>(field));
    case kSETTING_TYPE_64F:
        return kXml_SetChild64f(xml, item, path, *static_cast<const k64f*>(field));
    case kSETTING_TYPE_SIZE:
        return kXml_SetChildSize(xml, item, path, *static_cast<const kSize*>(field));
    case kSETTING_TYPE_TEXT:
        return kXml_SetChildText(xml, item, path, static_cast<const kChar*>(field));
    default:
        return kSTATUS_BAD_PARAMETER;
    }
}

/* Root item of xml, added as "Settings" when the document is empty. */
kStatus RootOf(kXml xml, kXmlItem* root)
{
    *root = kXml_Root(xml);
    return *root ? kOK : kXml_AddItem(xml, kNULL, kSETTINGS_ROOT_NAME, root);
}

/* Runs the type's release chain on a half-built instance and frees its memory. */
void Discard(kObject* info)
{
    kAlloc alloc = kObject_Alloc(*info);
    kVTableOf<kObjectVTable>(*info)->VRelease(*info);
    kAlloc_FreeRef(alloc, info);
}
} // namespace

kFx(kStatus) kSettings_Clear(const kSettingsSchema* schema, void* record)
{
    kCheckArgs(schema && record);
    for (kSize k = 0; k < schema->keyCount; ++k)
    {
        const kSettingKey& key = schema->keys[k];
        for (kSize i = 0; i < EntryCount(key); ++i)
        {
            if (key.type == kSETTING_TYPE_TEXT)
                SetText(key, Field(key, record, i), key.defaultText);
            else
                SetNumber(key, Field(key, record, i), DefaultOf(key, i));
        }
    }
    return schema->onClear ? schema->onClear(record) : kOK;
}

kFx(kStatus) kSettings_Read(const kSettingsSchema* schema, void* record, kXml xml, kXmlItem item)
{
    kChar buffer[kPathCapacity];
    kCheckArgs(schema && record);
    for (kSize k = 0; k < schema->keyCount; ++k)
    {
        const kSettingKey& key = schema->keys[k];
        for (kSize i = 0; i < EntryCount(key); ++i)
        {
            const kChar* path = EntryPath(key, i, buffer);
            void* field = Field(key, record, i);

            if ((key.flags & kSETTING_OPTIONAL) && !kXml_ChildExists(xml, item, path)) continue;
            kStatus status = ReadEntry(key, field, xml, item, path);
            if (kSuccess(status)) continue;
            if (!(key.flags & kSETTING_LENIENT)) return status;
            if (key.type == kSETTING_TYPE_TEXT)
                SetText(key, field, "");
            else
                SetNumber(key, field, 0.0);
        }
    }
    return schema->onRead ? schema->onRead(record, xml, item) : kOK;
}

kFx(kStatus)
    kSettings_Write(const kSettingsSchema* schema, const void* record, kXml xml, kXmlItem item)
{
    kChar buffer[kPathCapacity];
    kCheckArgs(schema && record);
    if (schema->clearItemOnWrite) kCheck(kXml_ClearItem(xml, item));
    for (kSize k = 0; k < schema->keyCount; ++k)
    {
        const kSettingKey& key = schema->keys[k];
        for (kSize i = 0; i < EntryCount(key); ++i)
            kCheck(WriteEntry(key, Field(key, record, i), xml, item, EntryPath(key, i, buffer)));
    }
    return schema->onWrite ? schema->onWrite(record, xml, item) : kOK;
}

kFx(kStatus) kSettings_Validate(const kSettingsSchema* schema, void* record)
{
    kCheckArgs(schema && record);
    for (kSize k = 0; k < schema->keyCount; ++k)
    {
        const kSettingKey& key = schema->keys[k];
        if (!(key.flags & kSETTING_RANGE) || key.type == kSETTING_TYPE_TEXT) continue;
        for (kSize i = 0; i < EntryCount(key); ++i)
        {
            void* field = Field(key, record, i);
            k64f value = GetNumber(key, field);
            if (value >= key.min && value <= key.max) continue;
            if (!(key.flags & kSETTING_CLAMP)) return kSTATUS_BAD_PARAMETER;
            /* NaN fails both comparisons and is clamped to the lower bound. */
            SetNumber(key, field, value > key.max ? key.max : key.min);
        }
    }
    return schema->onValidate ? schema->onValidate(record) : kOK;
}

kFx(kStatus) kSettings_Load(const kSettingsSchema* schema, void* record, kXml xml)
{
    kXmlItem root = kNULL;
    kCheck(kSettings_Clear(schema, record));
    kCheck(kXml_FindRoot(xml, &root));
    return kSettings_Read(schema, record, xml, root);
}

kFx(kStatus) kSettings_Store(const kSettingsSchema* schema, const void* record, kXml xml)
{
    kXmlItem root = kNULL;
    kCheck(kXml_Clear(xml));
    kCheck(kXml_AddItem(xml, kNULL, kSETTINGS_ROOT_NAME, &root));
    return kSettings_Write(schema, record, xml, root);
}

kFx(kStatus) kSettings_Normalize(const kSettingsSchema* schema, void* record, kXml xml)
{
    kXmlItem root = kNULL;
    kCheck(RootOf(xml, &root));
    kCheck(kSettings_Clear(schema, record));
    if (!kSuccess(kSettings_Read(schema, record, xml, root)) ||
        !kSuccess(kSettings_Validate(schema, record)))
        kCheck(kSettings_Clear(schema, record));
    return kSettings_Write(schema, record, xml, root);
}

kFx(kStatus)
    kSettings_Construct(kObject* info, kType type, const kSettingsSchema* schema, kAlloc allocator)
{
    kAlloc alloc = kAlloc_Fallback(allocator);
    kObject obj = kNULL;
    kStatus status;

    kCheckArgs(info && schema);
    *info = kNULL;
    kCheck(kAlloc_GetObject(alloc, type, &obj));
    if (!kSuccess(status = kObject_Init(obj, type, alloc)))
    {
        kAlloc_FreeRef(alloc, &obj);
        return status;
    }
    if ((schema->onInit && !kSuccess(status = schema->onInit(obj, alloc))) ||
        !kSuccess(status = kSettings_Clear(schema, obj)))
    {
        Discard(&obj);
        return status;
    }
    *info = obj;
    return kOK;
}

kFx(kStatus) kSettings_LoadObject(kObject* info, kType type, const kSettingsSchema* schema,
                                  kXml xml, kAlloc allocator)
{
    kObject obj = kNULL;
    kStatus status;

    kCheck(kSettings_Construct(&obj, type, schema, allocator));
    if (!kSuccess(status = kSettings_Load(schema, obj, xml)))
    {
        kObject_Destroy(obj);
        return status;
    }
    *info = obj;
    return kOK;
}

kFx(kStatus)
    kSettings_NormalizeObject(kType type, const kSettingsSchema* schema, kXml xml, kAlloc allocator)
{
    kObject obj = kNULL;
    kCheck(kSettings_Construct(&obj, type, schema, allocator));
    kStatus status = kSettings_Normalize(schema, obj, xml);
    kStatus destroyed = kObject_Destroy(obj);
    return kSuccess(status) ? destroyed : status;
}
