#include <kBasis/kXml.h>
#include <kBasis/kAssembly.h>
#include <kBasis/kFile.h>
#include <kBasis/kMemoryStream.h>
#include <kBasis/kSerializer.h>

#include <pugixml.hpp>

#include <charconv>
#include <cmath>
#include <cstring>
#include <new>
#include <string>
#include <system_error>

kDefineClass(kXml, kObject)

struct kXmlClass
{
    kObjectClass base;
    pugi::xml_document* doc; // placement-constructed in memory from the object's allocator
};

namespace
{
/* Item handles are pugixml's node records. */
pugi::xml_node Node(kXmlItem item)
{
    return pugi::xml_node(reinterpret_cast<pugi::xml_node_struct*>(item));
}

kXmlItem Item(pugi::xml_node node) { return reinterpret_cast<kXmlItem>(node.internal_object()); }

kXmlClass* Cast(kXml xml) { return xxkXml_Cast(xml, __FILE__, __LINE__); }

/* An element of this document; anything else is a caller error. */
bool IsOwnItem(const kXmlClass* obj, kXmlItem item)
{
    pugi::xml_node node = Node(item);
    return item && node.type() == pugi::node_element && node.root() == *obj->doc;
}

/* The node an operation works on: the item, or the document for a null item. */
kStatus Base(const kXmlClass* obj, kXmlItem item, pugi::xml_node* node)
{
    if (!item)
    {
        *node = *obj->doc;
        return kOK;
    }
    kCheckArgs(IsOwnItem(obj, item));
    *node = Node(item);
    return kOK;
}

bool IsElement(pugi::xml_node node) { return node.type() == pugi::node_element; }

pugi::xml_node FirstElement(pugi::xml_node node)
{
    pugi::xml_node child = node.first_child();
    while (child && !IsElement(child))
        child = child.next_sibling();
    return child;
}

pugi::xml_node NextElement(pugi::xml_node node)
{
    pugi::xml_node next = node.next_sibling();
    while (next && !IsElement(next))
        next = next.next_sibling();
    return next;
}

bool IsNameStart(unsigned char c)
{
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_' || c == ':' || c >= 0x80;
}

bool IsNameChar(unsigned char c)
{
    return IsNameStart(c) || (c >= '0' && c <= '9') || c == '-' || c == '.';
}

bool IsName(const kChar* name, kSize length)
{
    if (length == 0 || !IsNameStart((unsigned char)name[0])) return false;
    for (kSize i = 1; i < length; ++i)
        if (!IsNameChar((unsigned char)name[i])) return false;
    return true;
}

bool IsName(const kChar* name) { return name && IsName(name, strlen(name)); }

bool IsSeparator(kChar c) { return c == '\\' || c == '/'; }

pugi::xml_node FindElement(pugi::xml_node parent, const kChar* name, kSize length)
{
    for (pugi::xml_node child = FirstElement(parent); child; child = NextElement(child))
    {
        const kChar* childName = child.name();
        if (strncmp(childName, name, length) == 0 && childName[length] == '\0') return child;
    }
    return pugi::xml_node();
}

/* Checks every step of a path first, so that a bad path creates nothing. */
bool IsPath(const kChar* path, bool names)
{
    if (!path || path[0] == '\0') return false;
    for (const kChar* step = path;;)
    {
        kSize length = 0;
        while (step[length] != '\0' && !IsSeparator(step[length]))
            ++length;
        if (length == 0 || (names && !IsName(step, length))) return false;
        if (step[length] == '\0') return true;
        step += length + 1;
    }
}

/*
 * Walks path from item (null: the document). With create, missing items are appended; the
 * document takes one root at most.
 */
kStatus Resolve(const kXmlClass* obj, kXmlItem item, const kChar* path, bool create,
                pugi::xml_node* result)
{
    pugi::xml_node node;
    kCheck(Base(obj, item, &node));
    kCheckArgs(IsPath(path, create));

    for (const kChar* step = path;;)
    {
        kSize length = 0;
        while (step[length] != '\0' && !IsSeparator(step[length]))
            ++length;

        pugi::xml_node next = FindElement(node, step, length);
        if (!next)
        {
            if (!create) return kSTATUS_NOT_FOUND;
            if (node.type() == pugi::node_document && FirstElement(node)) return kSTATUS_DUPLICATE;
            next = node.append_child(std::string(step, length).c_str());
            if (!next) return kSTATUS_MEMORY;
        }
        node = next;
        if (step[length] == '\0') break;
        step += length + 1;
    }
    *result = node;
    return kOK;
}

/* ----- Number text ---------------------------------------------------------------------------- */

bool IsXmlSpace(kChar c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

/* Trims XML white space; returns false for an empty remainder. */
bool Trim(const kChar* text, const kChar** begin, const kChar** end)
{
    const kChar* b = text;
    const kChar* e = text + strlen(text);
    while (b < e && IsXmlSpace(*b))
        ++b;
    while (e > b && IsXmlSpace(e[-1]))
        --e;
    *begin = b;
    *end = e;
    return b < e;
}

template <typename T>
kStatus ParseNumber(const kChar* text, T* value)
{
    const kChar *b, *e;
    if (!Trim(text, &b, &e)) return kSTATUS_BAD_FORMAT;
    /* A leading plus is accepted for signed numbers and reals, never twice. */
    if (*b == '+' && (std::is_signed_v<T> || std::is_floating_point_v<T>)&&e - b > 1 &&
        b[1] != '-' && b[1] != '+')
        ++b;

    T parsed{};
    std::from_chars_result r = std::from_chars(b, e, parsed);
    if (r.ec == std::errc::result_out_of_range && r.ptr == e) return kSTATUS_OVERFLOW;
    if (r.ec != std::errc() || r.ptr != e) return kSTATUS_BAD_FORMAT;
    if constexpr (std::is_floating_point_v<T>)
    {
        if (std::isnan(parsed)) parsed = std::numeric_limits<T>::quiet_NaN();
    }
    *value = parsed;
    return kOK;
}

kStatus ParseBool(const kChar* text, kBool* value)
{
    const kChar *b, *e;
    if (!Trim(text, &b, &e)) return kSTATUS_BAD_FORMAT;
    kSize n = (kSize)(e - b);
    if (n == 1 && (*b == '0' || *b == '1'))
        *value = *b == '1';
    else if (n == 4 && strncasecmp(b, "true", 4) == 0)
        *value = kTRUE;
    else if (n == 5 && strncasecmp(b, "false", 5) == 0)
        *value = kFALSE;
    else
        return kSTATUS_BAD_FORMAT;
    return kOK;
}

/* Large enough for any 64-bit integer and the shortest form of any double. */
struct NumberText
{
    kChar chars[40];
};

template <typename T>
NumberText FormatNumber(T value)
{
    NumberText text{};
    if constexpr (std::is_floating_point_v<T>)
    {
        if (std::isnan(value))
        {
            strcpy(text.chars, "nan");
            return text;
        }
    }
    std::to_chars_result r = std::to_chars(text.chars, text.chars + sizeof(text.chars) - 1, value);
    *r.ptr = '\0';
    return text;
}

kStatus CopyText(const kChar* text, kChar* buffer, kSize capacity)
{
    kSize length = strlen(text);
    if (!buffer || length >= capacity)
    {
        if (buffer && capacity > 0) buffer[0] = '\0';
        return kSTATUS_BAD_PARAMETER;
    }
    memcpy(buffer, text, length + 1);
    return kOK;
}

kStatus SetText(pugi::xml_node node, const kChar* text)
{
    kCheckArgs(text);
    return node.text().set(text) ? kOK : kSTATUS_MEMORY;
}

/* Every typed reader is one of these with the parser of its type. */
template <typename T>
using Parser = kStatus (*)(const kChar* text, T* value);

template <typename T>
kStatus ReadChild(kXml xml, kXmlItem item, const kChar* path, T* value, Parser<T> parse)
{
    kXmlClass* obj = Cast(xml);
    pugi::xml_node node;
    kCheckArgs(obj && value);
    kCheck(Resolve(obj, item, path, false, &node));
    return parse(node.child_value(), value);
}

template <typename T>
kStatus ReadItem(kXml xml, kXmlItem item, T* value, Parser<T> parse)
{
    kXmlClass* obj = Cast(xml);
    kCheckArgs(obj && value && IsOwnItem(obj, item));
    return parse(Node(item).child_value(), value);
}

kStatus WriteChild(kXml xml, kXmlItem item, const kChar* path, const kChar* text)
{
    kXmlClass* obj = Cast(xml);
    pugi::xml_node node;
    kCheckArgs(obj && text);
    kCheck(Resolve(obj, item, path, true, &node));
    return SetText(node, text);
}

kStatus WriteItem(kXml xml, kXmlItem item, const kChar* text)
{
    kXmlClass* obj = Cast(xml);
    kCheckArgs(obj && IsOwnItem(obj, item));
    return SetText(Node(item), text);
}

/* ----- Documents, files and streams ----------------------------------------------------------- */

/* pugixml output into a stream; remembers the first failure. */
struct StreamWriter : pugi::xml_writer
{
    explicit StreamWriter(kStream s) : stream(s) {}
    void write(const void* data, size_t size) override
    {
        if (kSuccess(status)) status = kStream_Write(stream, data, size);
    }
    kStream stream;
    kStatus status = kOK;
};

/* pugixml output appended to a string. */
struct StringWriter : pugi::xml_writer
{
    explicit StringWriter(kString s) : text(s) {}
    void write(const void* data, size_t size) override
    {
        if (kSuccess(status)) status = kString_AddSubstring(text, (const kChar*)data, 0, size);
    }
    kString text;
    kStatus status = kOK;
};

kStatus Create(kXmlClass** out, kAlloc allocator)
{
    kAlloc alloc = kAlloc_Fallback(allocator);
    kXmlClass* obj = kNULL;
    kStatus status;

    kCheck(kAlloc_GetObject(alloc, kTypeOf(kXml), &obj));
    kTest(kObject_Init(obj, kTypeOf(kXml), alloc));
    kTest(kAlloc_Get(alloc, sizeof(pugi::xml_document), &obj->doc));
    new (obj->doc) pugi::xml_document();
    *out = obj;
    return kOK;

cleanup:
    kAlloc_Free(alloc, obj);
    return status;
}

kStatus ParseDocument(kXmlClass* obj, const void* data, kSize size)
{
    pugi::xml_parse_result result =
        obj->doc->load_buffer(data, size, pugi::parse_default, pugi::encoding_auto);
    if (result.status == pugi::status_out_of_memory) return kSTATUS_MEMORY;
    if (!result) return kSTATUS_BAD_FORMAT;

    /* One root element, as every document of the platform has. */
    pugi::xml_node root = FirstElement(*obj->doc);
    if (!root || NextElement(root))
    {
        obj->doc->reset();
        return kSTATUS_BAD_FORMAT;
    }
    return kOK;
}

kStatus ConstructParsed(kXml* xml, const void* data, kSize size, kAlloc allocator)
{
    kXmlClass* obj = kNULL;
    kCheckArgs(xml && (data || size == 0));
    *xml = kNULL;
    kCheck(Create(&obj, allocator));
    kStatus status = ParseDocument(obj, data, size);
    if (!kSuccess(status))
    {
        kObject_Destroy(obj);
        return status;
    }
    *xml = obj;
    return kOK;
}
} // namespace

kStatus xkXml_VRelease(kObject xml)
{
    kXmlClass* obj = kCastRaw(kXml, xml);
    if (obj->doc)
    {
        obj->doc->~xml_document();
        kAlloc_FreeRef(obj->base.alloc, &obj->doc);
    }
    return xkObject_VRelease(xml);
}

kStatus xkXml_VInitClone(kObject xml, kObject source, kAlloc allocator)
{
    kXmlClass* obj = kCastRaw(kXml, xml);
    kCheck(kObject_Init(xml, kTypeOf(kXml), allocator));
    kCheck(kAlloc_Get(allocator, sizeof(pugi::xml_document), &obj->doc));
    new (obj->doc) pugi::xml_document();
    obj->doc->reset(*kCastRaw(kXml, source)->doc);
    return kOK;
}

/* A document travels in kdat streams as its text ("" when empty). */
kStatus xkXml_WriteDat(kSerializer serializer, kObject xml)
{
    kString text = kNULL;
    kStatus status;
    kCheck(kString_Construct(&text, kNULL, kObject_Alloc(xml)));
    if (FirstElement(*kCastRaw(kXml, xml)->doc)) kTest(kXml_ToString(xml, text));
    kTest(kSerializer_WriteText(serializer, kString_Chars(text)));
cleanup:
    kObject_Destroy(text);
    return status;
}

kStatus xkXml_ReadDat(kSerializer serializer, kObject xml)
{
    kString text = kNULL;
    kStatus status;
    kCheck(kString_Construct(&text, kNULL, kObject_Alloc(xml)));
    kTest(kSerializer_ReadString(serializer, text));
    if (kString_Length(text) > 0)
        kTest(ParseDocument(kCastRaw(kXml, xml), kString_Chars(text), kString_Length(text)));
cleanup:
    kObject_Destroy(text);
    return status;
}

kStatus xkXml_ConstructFramework(kObject* xml, kAlloc allocator)
{
    return kXml_Construct(xml, allocator);
}

kFx(kStatus) xxkXml_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddClass(kXml, kObject));
    kCheck(kAddVMethod(kXml, VRelease));
    kCheck(kAddVMethod(kXml, VInitClone));
    kCheck(xkSerializer_AddVersion(kTypeOf(kXml), "kdat5", "5.0.0.0", "kXml-0", xkXml_WriteDat,
                                   xkXml_ReadDat));
    kCheck(xkSerializer_AddVersion(kTypeOf(kXml), "kdat6", "5.0.0.0", "kXml-0", xkXml_WriteDat,
                                   xkXml_ReadDat));
    return xkSerializer_AddFrameworkConstructor(kTypeOf(kXml), xkXml_ConstructFramework);
}

kFx(kStatus) kXml_Construct(kXml* xml, kAlloc allocator)
{
    kXmlClass* obj = kNULL;
    kCheckArgs(xml);
    *xml = kNULL;
    kCheck(Create(&obj, allocator));
    *xml = obj;
    return kOK;
}

kFx(kStatus) kXml_Load(kXml* xml, const kChar* fileName, kAlloc allocator)
{
    kAlloc alloc = kAlloc_Fallback(allocator);
    void* data = kNULL;
    kSize size = 0;
    kCheckArgs(xml && fileName);
    *xml = kNULL;
    kCheck(kFile_Load(fileName, &data, &size, alloc));
    kStatus status = ConstructParsed(xml, data, size, alloc);
    kAlloc_Free(alloc, data);
    return status;
}

kFx(kStatus) kXml_LoadBytes(kXml* xml, const void* data, kSize size, kAlloc allocator)
{
    return ConstructParsed(xml, data, size, allocator);
}

kFx(kStatus) kXml_FromText(kXml* xml, const kChar* text, kAlloc allocator)
{
    kCheckArgs(text);
    return ConstructParsed(xml, text, strlen(text), allocator);
}

kFx(kStatus) kXml_Read(kXml* xml, kStream stream, kAlloc allocator)
{
    kMemoryStream bytes = kNULL;
    kStatus status;
    kCheckArgs(xml);
    *xml = kNULL;
    kCheck(kMemoryStream_Construct(&bytes, allocator));
    kTest(kStream_CopyAll(bytes, stream));
    kTest(ConstructParsed(xml, kMemoryStream_Data(bytes), kMemoryStream_Length(bytes), allocator));
cleanup:
    kObject_Destroy(bytes);
    return status;
}

kFx(kStatus) kXml_Write(kXml xml, kStream stream)
{
    kXmlClass* obj = Cast(xml);
    kCheckArgs(obj);
    StreamWriter writer(stream);
    obj->doc->save(writer, "  ", pugi::format_default, pugi::encoding_utf8);
    return writer.status;
}

kFx(kStatus) kXml_Save(kXml xml, const kChar* fileName)
{
    kXmlClass* obj = Cast(xml);
    kMemoryStream bytes = kNULL;
    kStatus status;
    kCheckArgs(obj && fileName);
    kCheck(kMemoryStream_Construct(&bytes, obj->base.alloc));
    kTest(kXml_Write(xml, bytes));
    kTest(kFile_Save(fileName, kMemoryStream_Data(bytes), kMemoryStream_Length(bytes)));
cleanup:
    kObject_Destroy(bytes);
    return status;
}

kFx(kStatus) kXml_ToString(kXml xml, kString text)
{
    kXmlClass* obj = Cast(xml);
    kCheckArgs(obj);
    kCheck(kString_Clear(text));
    StringWriter writer(text);
    obj->doc->save(writer, "  ", pugi::format_default, pugi::encoding_utf8);
    return writer.status;
}

kFx(kStatus) kXml_Assign(kXml xml, kXml source)
{
    kXmlClass* obj = Cast(xml);
    kXmlClass* src = Cast(source);
    kCheckArgs(obj && src);
    if (obj != src) obj->doc->reset(*src->doc);
    return kOK;
}

kFx(kStatus) kXml_Clear(kXml xml)
{
    kXmlClass* obj = Cast(xml);
    kCheckArgs(obj);
    obj->doc->reset();
    return kOK;
}

/* ----- Navigation ----------------------------------------------------------------------------- */

kFx(kXmlItem) kXml_Root(kXml xml)
{
    kXmlClass* obj = Cast(xml);
    return obj ? Item(FirstElement(*obj->doc)) : kNULL;
}

kFx(kStatus) kXml_FindRoot(kXml xml, kXmlItem* root)
{
    kXmlClass* obj = Cast(xml);
    kCheckArgs(obj && root);
    *root = Item(FirstElement(*obj->doc));
    return *root ? kOK : kSTATUS_NOT_FOUND;
}

kFx(kXmlItem) kXml_Child(kXml xml, kXmlItem item, const kChar* path)
{
    kXmlClass* obj = Cast(xml);
    pugi::xml_node node;
    if (!obj || !kSuccess(Resolve(obj, item, path, false, &node))) return kNULL;
    return Item(node);
}

kFx(kBool) kXml_ChildExists(kXml xml, kXmlItem item, const kChar* path)
{
    return kXml_Child(xml, item, path) != kNULL;
}

kFx(kSize) kXml_ChildCount(kXml xml, kXmlItem item)
{
    kXmlClass* obj = Cast(xml);
    pugi::xml_node node;
    kSize count = 0;
    if (!obj || !kSuccess(Base(obj, item, &node))) return 0;
    for (pugi::xml_node child = FirstElement(node); child; child = NextElement(child))
        ++count;
    return count;
}

kFx(kXmlItem) kXml_ChildAt(kXml xml, kXmlItem item, kSize index)
{
    kXmlClass* obj = Cast(xml);
    pugi::xml_node node;
    if (!obj || !kSuccess(Base(obj, item, &node))) return kNULL;
    pugi::xml_node child = FirstElement(node);
    for (kSize i = 0; child && i < index; ++i)
        child = NextElement(child);
    return Item(child);
}

kFx(kXmlItem) kXml_FirstChild(kXml xml, kXmlItem item) { return kXml_ChildAt(xml, item, 0); }

kFx(kXmlItem) kXml_NextSibling(kXml xml, kXmlItem item)
{
    kXmlClass* obj = Cast(xml);
    return (obj && IsOwnItem(obj, item)) ? Item(NextElement(Node(item))) : kNULL;
}

kFx(kXmlItem) kXml_Parent(kXml xml, kXmlItem item)
{
    kXmlClass* obj = Cast(xml);
    if (!obj || !IsOwnItem(obj, item)) return kNULL;
    pugi::xml_node parent = Node(item).parent();
    return IsElement(parent) ? Item(parent) : kNULL;
}

kFx(const kChar*) kXml_ItemName(kXml xml, kXmlItem item)
{
    kXmlClass* obj = Cast(xml);
    return (obj && IsOwnItem(obj, item)) ? Node(item).name() : "";
}

/* ----- Readers -------------------------------------------------------------------------------- */

kFx(kStatus) kXml_Child32s(kXml xml, kXmlItem item, const kChar* path, k32s* value)
{
    return ReadChild(xml, item, path, value, ParseNumber<k32s>);
}

kFx(kStatus) kXml_Child32u(kXml xml, kXmlItem item, const kChar* path, k32u* value)
{
    return ReadChild(xml, item, path, value, ParseNumber<k32u>);
}

kFx(kStatus) kXml_Child64u(kXml xml, kXmlItem item, const kChar* path, k64u* value)
{
    return ReadChild(xml, item, path, value, ParseNumber<k64u>);
}

kFx(kStatus) kXml_Child64f(kXml xml, kXmlItem item, const kChar* path, k64f* value)
{
    return ReadChild(xml, item, path, value, ParseNumber<k64f>);
}

kFx(kStatus) kXml_ChildBool(kXml xml, kXmlItem item, const kChar* path, kBool* value)
{
    return ReadChild(xml, item, path, value, ParseBool);
}

kFx(kStatus) kXml_ChildSize(kXml xml, kXmlItem item, const kChar* path, kSize* value)
{
    return ReadChild(xml, item, path, value, ParseNumber<kSize>);
}

kFx(kStatus)
    kXml_ChildText(kXml xml, kXmlItem item, const kChar* path, kChar* buffer, kSize capacity)
{
    kXmlClass* obj = Cast(xml);
    pugi::xml_node node;
    kCheckArgs(obj);
    kCheck(Resolve(obj, item, path, false, &node));
    return CopyText(node.child_value(), buffer, capacity);
}

kFx(kStatus) kXml_ChildString(kXml xml, kXmlItem item, const kChar* path, kString value)
{
    kXmlClass* obj = Cast(xml);
    pugi::xml_node node;
    kCheckArgs(obj);
    kCheck(Resolve(obj, item, path, false, &node));
    return kString_Set(value, node.child_value());
}

kFx(kStatus) kXml_Item32s(kXml xml, kXmlItem item, k32s* value)
{
    return ReadItem(xml, item, value, ParseNumber<k32s>);
}

kFx(kStatus) kXml_Item32u(kXml xml, kXmlItem item, k32u* value)
{
    return ReadItem(xml, item, value, ParseNumber<k32u>);
}

kFx(kStatus) kXml_Item64u(kXml xml, kXmlItem item, k64u* value)
{
    return ReadItem(xml, item, value, ParseNumber<k64u>);
}

kFx(kStatus) kXml_Item64f(kXml xml, kXmlItem item, k64f* value)
{
    return ReadItem(xml, item, value, ParseNumber<k64f>);
}

kFx(kStatus) kXml_ItemBool(kXml xml, kXmlItem item, kBool* value)
{
    return ReadItem(xml, item, value, ParseBool);
}

kFx(kStatus) kXml_ItemSize(kXml xml, kXmlItem item, kSize* value)
{
    return ReadItem(xml, item, value, ParseNumber<kSize>);
}

kFx(kStatus) kXml_ItemText(kXml xml, kXmlItem item, kChar* buffer, kSize capacity)
{
    kXmlClass* obj = Cast(xml);
    kCheckArgs(obj && IsOwnItem(obj, item));
    return CopyText(Node(item).child_value(), buffer, capacity);
}

kFx(kStatus) kXml_ItemString(kXml xml, kXmlItem item, kString value)
{
    kXmlClass* obj = Cast(xml);
    kCheckArgs(obj && IsOwnItem(obj, item));
    return kString_Set(value, Node(item).child_value());
}

/* ----- Writers -------------------------------------------------------------------------------- */

kFx(kStatus) kXml_AddItem(kXml xml, kXmlItem parent, const kChar* name, kXmlItem* item)
{
    kXmlClass* obj = Cast(xml);
    pugi::xml_node node;
    kCheckArgs(obj && IsName(name));
    kCheck(Base(obj, parent, &node));
    if (!parent && FirstElement(node)) return kSTATUS_DUPLICATE;
    pugi::xml_node child = node.append_child(name);
    if (!child) return kSTATUS_MEMORY;
    if (item) *item = Item(child);
    return kOK;
}

kFx(kStatus) kXml_SetChild32s(kXml xml, kXmlItem item, const kChar* path, k32s value)
{
    return WriteChild(xml, item, path, FormatNumber(value).chars);
}

kFx(kStatus) kXml_SetChild32u(kXml xml, kXmlItem item, const kChar* path, k32u value)
{
    return WriteChild(xml, item, path, FormatNumber(value).chars);
}

kFx(kStatus) kXml_SetChild64u(kXml xml, kXmlItem item, const kChar* path, k64u value)
{
    return WriteChild(xml, item, path, FormatNumber(value).chars);
}

kFx(kStatus) kXml_SetChild64f(kXml xml, kXmlItem item, const kChar* path, k64f value)
{
    return WriteChild(xml, item, path, FormatNumber(value).chars);
}

kFx(kStatus) kXml_SetChildBool(kXml xml, kXmlItem item, const kChar* path, kBool value)
{
    return WriteChild(xml, item, path, value ? "1" : "0");
}

kFx(kStatus) kXml_SetChildSize(kXml xml, kXmlItem item, const kChar* path, kSize value)
{
    return WriteChild(xml, item, path, FormatNumber(value).chars);
}

kFx(kStatus) kXml_SetChildText(kXml xml, kXmlItem item, const kChar* path, const kChar* text)
{
    return WriteChild(xml, item, path, text);
}

kFx(kStatus) kXml_SetItem32s(kXml xml, kXmlItem item, k32s value)
{
    return WriteItem(xml, item, FormatNumber(value).chars);
}

kFx(kStatus) kXml_SetItem32u(kXml xml, kXmlItem item, k32u value)
{
    return WriteItem(xml, item, FormatNumber(value).chars);
}

kFx(kStatus) kXml_SetItem64u(kXml xml, kXmlItem item, k64u value)
{
    return WriteItem(xml, item, FormatNumber(value).chars);
}

kFx(kStatus) kXml_SetItem64f(kXml xml, kXmlItem item, k64f value)
{
    return WriteItem(xml, item, FormatNumber(value).chars);
}

kFx(kStatus) kXml_SetItemBool(kXml xml, kXmlItem item, kBool value)
{
    return WriteItem(xml, item, value ? "1" : "0");
}

kFx(kStatus) kXml_SetItemSize(kXml xml, kXmlItem item, kSize value)
{
    return WriteItem(xml, item, FormatNumber(value).chars);
}

kFx(kStatus) kXml_SetItemText(kXml xml, kXmlItem item, const kChar* text)
{
    return WriteItem(xml, item, text);
}

/* ----- Attributes ----------------------------------------------------------------------------- */

namespace
{
kStatus FindAttr(kXml xml, kXmlItem item, const kChar* name, pugi::xml_attribute* attr)
{
    kXmlClass* obj = Cast(xml);
    kCheckArgs(obj && name && IsOwnItem(obj, item));
    *attr = Node(item).attribute(name);
    return *attr ? kOK : kSTATUS_NOT_FOUND;
}

kStatus SetAttr(kXml xml, kXmlItem item, const kChar* name, const kChar* text)
{
    kXmlClass* obj = Cast(xml);
    kCheckArgs(obj && IsOwnItem(obj, item) && IsName(name) && text);
    pugi::xml_node node = Node(item);
    pugi::xml_attribute attr = node.attribute(name);
    if (!attr && !(attr = node.append_attribute(name))) return kSTATUS_MEMORY;
    return attr.set_value(text) ? kOK : kSTATUS_MEMORY;
}
} // namespace

kFx(kStatus) kXml_Attr32u(kXml xml, kXmlItem item, const kChar* name, k32u* value)
{
    pugi::xml_attribute attr;
    kCheckArgs(value);
    kCheck(FindAttr(xml, item, name, &attr));
    return ParseNumber(attr.value(), value);
}

kFx(kStatus)
    kXml_AttrText(kXml xml, kXmlItem item, const kChar* name, kChar* buffer, kSize capacity)
{
    pugi::xml_attribute attr;
    kCheck(FindAttr(xml, item, name, &attr));
    return CopyText(attr.value(), buffer, capacity);
}

kFx(kStatus) kXml_AttrString(kXml xml, kXmlItem item, const kChar* name, kString value)
{
    pugi::xml_attribute attr;
    kCheck(FindAttr(xml, item, name, &attr));
    return kString_Set(value, attr.value());
}

kFx(kBool) kXml_AttrExists(kXml xml, kXmlItem item, const kChar* name)
{
    pugi::xml_attribute attr;
    return kSuccess(FindAttr(xml, item, name, &attr));
}

kFx(kSize) kXml_AttrCount(kXml xml, kXmlItem item)
{
    kXmlClass* obj = Cast(xml);
    kSize count = 0;
    if (!obj || !IsOwnItem(obj, item)) return 0;
    for (pugi::xml_attribute a = Node(item).first_attribute(); a; a = a.next_attribute())
        ++count;
    return count;
}

kFx(const kChar*) kXml_AttrNameAt(kXml xml, kXmlItem item, kSize index)
{
    kXmlClass* obj = Cast(xml);
    if (!obj || !IsOwnItem(obj, item)) return kNULL;
    pugi::xml_attribute attr = Node(item).first_attribute();
    for (kSize i = 0; attr && i < index; ++i)
        attr = attr.next_attribute();
    return attr ? attr.name() : kNULL;
}

kFx(kStatus) kXml_SetAttr32u(kXml xml, kXmlItem item, const kChar* name, k32u value)
{
    return SetAttr(xml, item, name, FormatNumber(value).chars);
}

kFx(kStatus) kXml_SetAttrText(kXml xml, kXmlItem item, const kChar* name, const kChar* text)
{
    return SetAttr(xml, item, name, text);
}

kFx(kStatus) kXml_DeleteAttr(kXml xml, kXmlItem item, const kChar* name)
{
    pugi::xml_attribute attr;
    kCheck(FindAttr(xml, item, name, &attr));
    Node(item).remove_attribute(attr);
    return kOK;
}

/* ----- Editing -------------------------------------------------------------------------------- */

kFx(kStatus) kXml_ClearItem(kXml xml, kXmlItem item)
{
    kXmlClass* obj = Cast(xml);
    kCheckArgs(obj && IsOwnItem(obj, item));
    pugi::xml_node node = Node(item);
    node.remove_children();
    node.remove_attributes();
    return kOK;
}

kFx(kStatus) kXml_DeleteItem(kXml xml, kXmlItem item)
{
    kXmlClass* obj = Cast(xml);
    kCheckArgs(obj && IsOwnItem(obj, item));
    pugi::xml_node node = Node(item);
    node.parent().remove_child(node);
    return kOK;
}

kFx(kStatus)
    kXml_CopyItem(kXml xml, kXmlItem parent, kXml source, kXmlItem sourceItem, kXmlItem* copy)
{
    kXmlClass* obj = Cast(xml);
    kXmlClass* src = Cast(source);
    pugi::xml_node node;
    kCheckArgs(obj && src && IsOwnItem(src, sourceItem));
    kCheck(Base(obj, parent, &node));
    if (!parent && FirstElement(node)) return kSTATUS_DUPLICATE;

    /* Copying an item into itself would never end. */
    for (pugi::xml_node n = node; n; n = n.parent())
        kCheckArgs(n != Node(sourceItem));

    pugi::xml_node added = node.append_copy(Node(sourceItem));
    if (!added) return kSTATUS_MEMORY;
    if (copy) *copy = Item(added);
    return kOK;
}
