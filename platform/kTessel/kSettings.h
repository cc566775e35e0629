/**
 * @file    kSettings.h
 * @brief   Settings records described by a table of keys: defaults, XML reading and writing,
 *          range validation, and the normalisation that blocks and actions do at setup.
 *
 * Every block and action keeps its settings in a record (a settings class `<Name>Info`, or a
 * plain heap record) that is read from and written to an XML settings document. Instead of
 * one reader, writer and default per field, a settings class lists its keys once:
 *
 * @code
 *   struct kFooBlockInfoClass
 *   {
 *       kObjectClass base;
 *       kChar calFileName[256];
 *       kBool enableCuda;
 *       k32u windowWidth;
 *       k64f coefficients[3];
 *   };
 *
 *   static const k64f kFooCoefficientDefaults[] = {7.0, 7.0, 14.0};
 *
 *   static const kSettingKey kFooBlockInfo_keys[] = {
 *       {.path = "CalFileName", .type = kSETTING_TYPE_TEXT,
 *        kSETTING_FIELD(kFooBlockInfoClass, calFileName), .defaultText = "StereoCal.kdat"},
 *       {.path = "EnableCuda", .type = kSETTING_TYPE_BOOL,
 *        kSETTING_FIELD(kFooBlockInfoClass, enableCuda)},
 *       {.path = "Window0\\Width", .type = kSETTING_TYPE_32U,
 *        kSETTING_FIELD(kFooBlockInfoClass, windowWidth), .defaultValue = 1024, .min = 1,
 *        .max = 8192, .flags = kSETTING_RANGE},
 *       {.path = "EmbeddedPhase\\Coefficient%d", .type = kSETTING_TYPE_64F,
 *        kSETTING_FIELD(kFooBlockInfoClass, coefficients[0]), .count = 3,
 *        .defaults = kFooCoefficientDefaults, .flags = kSETTING_LENIENT},
 *   };
 *
 *   static const kSettingsSchema kFooBlockInfo_schema = {kFooBlockInfo_keys,
 *                                                        kCountOf(kFooBlockInfo_keys)};
 *
 *   kStatus kFooBlockInfo_Construct(kFooBlockInfo* info, kAlloc allocator)
 *   {
 *       return kSettings_Construct(info, kTypeOf(kFooBlockInfo), &kFooBlockInfo_schema, allocator);
 *   }
 *   kStatus kFooBlockInfo_Read(kFooBlockInfo info, kXml xml, kXmlItem item)
 *   {
 *       return kSettings_Read(&kFooBlockInfo_schema, info, xml, item);
 *   }
 *   // ... Clear, Write, Validate, Load, Store likewise, one line each.
 *
 *   kStatus xkFooBlock_VOnSetup(kPxBlock block)
 *   {
 *       kCheck(kSettings_NormalizeObject(kTypeOf(kFooBlockInfo), &kFooBlockInfo_schema,
 *                                        kPxBlock_Settings(block), kObject_Alloc(block)));
 *       return kPxBlock_DefineInput(block, "InImage", 0, kNULL);
 *   }
 * @endcode
 *
 * Records: a key's offset counts from the start of the record, which for a settings class is
 * the instance itself (header included), so kSETTING_FIELD takes the instance struct. The
 * field's size must be the size of the key's type (text: the buffer's capacity); a mismatch is
 * a programming error reported through kAssert.
 *
 * Settings that a table cannot describe (variable-length lists, items read in document order)
 * are handled by the schema's hooks, which run after the table's keys.
 */
#ifndef K_TESSEL_SETTINGS_H
#define K_TESSEL_SETTINGS_H

#include <kTessel/kTsApiDef.h>
#include <kBasis/kXml.h>

/** XML form and field type of a setting. */
typedef k32s kSettingType;
#define kSETTING_TYPE_BOOL (1) ///< kBool field; "1"/"0" (reads "true"/"false" too).
#define kSETTING_TYPE_32S (2)  ///< k32s field (or any 4-byte enumeration).
#define kSETTING_TYPE_32U (3)  ///< k32u field.
#define kSETTING_TYPE_64U (4)  ///< k64u field.
#define kSETTING_TYPE_64F (5)  ///< k64f field.
#define kSETTING_TYPE_SIZE (6) ///< kSize field.
#define kSETTING_TYPE_TEXT (7) ///< kChar buffer field; size = capacity with the terminator.

/** Key flags. */
/** A missing item keeps the current value; a bad one still fails. */
#define kSETTING_OPTIONAL (0x1)
/** An item that does not read becomes 0 (text "") and the read goes on. */
#define kSETTING_LENIENT (0x2)
/** Validate requires min <= value <= max. */
#define kSETTING_RANGE (0x4)
/** With kSETTING_RANGE: Validate clamps instead of refusing. */
#define kSETTING_CLAMP (0x8)

/** Offset and size of FIELD of record struct RECORD, as designated initialisers. */
#define kSETTING_FIELD(RECORD, FIELD)                                                              \
    .offset = offsetof(RECORD, FIELD), .size = sizeof(((RECORD*)0)->FIELD)

/** One setting. Designated initialisers keep tables short: members left out are zero. */
typedef struct kSettingKey
{
    /** Backslash path under the settings item ("Window0\\X"); with count > 1 a format holding
        one %d, replaced by the entry index from 0. */
    const kChar* path = kNULL;
    kSettingType type = 0;
    /** Byte offset of the field (of entry 0) in the record. */
    kSize offset = 0;
    /** Bytes of one entry: the type's size, or a text buffer's capacity. */
    kSize size = 0;
    /** Entries of an indexed setting, stored contiguously from offset; 0 and 1 mean one. */
    kSize count = 0;
    /** Default of every entry of a number or boolean. */
    k64f defaultValue = 0;
    /** Default of a text setting (null: ""). */
    const kChar* defaultText = kNULL;
    /** Per-entry defaults (count values), used instead of defaultValue when not null. */
    const k64f* defaults = kNULL;
    /** Inclusive range checked by Validate under kSETTING_RANGE. */
    k64f min = 0;
    k64f max = 0;
    k32u flags = 0;
} kSettingKey;

/** A settings record's keys and the hooks for what the keys cannot express (all optional). */
typedef struct kSettingsSchema
{
    const kSettingKey* keys = kNULL;
    kSize keyCount = 0;
    /** Constructs owned objects of a settings class (kSettings_Construct, before Clear). */
    kStatus (*onInit)(void* record, kAlloc allocator) = kNULL;
    /** Resets what the keys do not cover (after the keys). */
    kStatus (*onClear)(void* record) = kNULL;
    /** Reads further settings from the children of item (after the keys). */
    kStatus (*onRead)(void* record, kXml xml, kXmlItem item) = kNULL;
    /** Writes further settings under item (after the keys). */
    kStatus (*onWrite)(const void* record, kXml xml, kXmlItem item) = kNULL;
    /** Further consistency checks (after the ranges). */
    kStatus (*onValidate)(void* record) = kNULL;
    /** kTRUE: Write removes the item's content first, so that unknown children disappear. */
    kBool clearItemOnWrite = kFALSE;
} kSettingsSchema;

/** Name of the root item that Store and Normalize give a document without one. */
#define kSETTINGS_ROOT_NAME "Settings"

/** Sets every key to its default, then runs onClear. */
kFx(kStatus) kSettings_Clear(const kSettingsSchema* schema, void* record);

/**
 * Reads every key from the children of item, then runs onRead. The first failing read fails
 * the whole read (the record then holds the values read so far).
 *
 * @return kOK; kSTATUS_NOT_FOUND for a missing key; kSTATUS_BAD_FORMAT or kSTATUS_OVERFLOW for
 *         a value that is not a number of the key's type; kSTATUS_BAD_PARAMETER for a text
 *         longer than its buffer.
 */
kFx(kStatus) kSettings_Read(const kSettingsSchema* schema, void* record, kXml xml, kXmlItem item);

/** Writes every key under item (creating missing items), then runs onWrite. */
kFx(kStatus)
    kSettings_Write(const kSettingsSchema* schema, const void* record, kXml xml, kXmlItem item);

/**
 * Checks (or clamps) the ranges of the keys, then runs onValidate.
 *
 * @return kOK; kSTATUS_BAD_PARAMETER for the first value out of its range.
 */
kFx(kStatus) kSettings_Validate(const kSettingsSchema* schema, void* record);

/** Resets the record to its defaults (so that optional keys missing from the document keep
 *  them) and reads it from the document's root item. @return As Read; kSTATUS_NOT_FOUND for
 *  an empty document. */
kFx(kStatus) kSettings_Load(const kSettingsSchema* schema, void* record, kXml xml);

/** Replaces the document's content by a root item "Settings" holding the record. */
kFx(kStatus) kSettings_Store(const kSettingsSchema* schema, const void* record, kXml xml);

/**
 * The setup step of every block and action: resets the record to its defaults, reads it from
 * the document's root item and validates it; when either fails, resets the record to its
 * defaults again (dropping what was read); then writes it back
 * under the root item, so that a missing or wrong document becomes a complete one. An empty
 * document first gets a root item "Settings".
 *
 * @return kOK (a document that does not read is not an error); the status of Clear or Write.
 */
kFx(kStatus) kSettings_Normalize(const kSettingsSchema* schema, void* record, kXml xml);

/**
 * Constructs a settings class instance: allocates an instance of type, initialises its
 * header, runs onInit and Clear. On failure everything is released (through the type's
 * VRelease) and *info stays null.
 *
 * @param info  Receives the instance (one reference for the caller).
 * @param type  The settings class (base kObject; its VRelease destroys what onInit made).
 */
kFx(kStatus)
    kSettings_Construct(kObject* info, kType type, const kSettingsSchema* schema, kAlloc allocator);

/** Constructs an instance and loads it from the document's root item; nothing is left behind
 *  on failure. */
kFx(kStatus) kSettings_LoadObject(kObject* info, kType type, const kSettingsSchema* schema,
                                  kXml xml, kAlloc allocator);

/** kSettings_Normalize on a temporary instance of type: the whole of a block's settings step
 *  of setup, or of an action's VValidate. */
kFx(kStatus) kSettings_NormalizeObject(kType type, const kSettingsSchema* schema, kXml xml,
                                       kAlloc allocator);

#endif
