#include <kBasis/kString.h>

#include <cstdio>
#include <cstring>

struct kStringClass
{
    kObjectClass base;
    kChar* chars; // capacity + 1 characters, NUL-terminated
    kSize length;
    kSize capacity; // characters, without the NUL
};

namespace
{
/* Frees a buffer that was replaced, once the arguments that may point into it are used. */
struct RetiredChars
{
    kAlloc alloc;
    kChar* chars = kNULL;
    ~RetiredChars() { kAlloc_Free(alloc, chars); }
};

/* Room for capacity characters. A moved buffer goes to retired rather than being freed, so
   that text taken from the string itself stays readable until it has been copied. */
kStatus Room(kStringClass* obj, kSize capacity, RetiredChars* retired)
{
    if (capacity <= obj->capacity) return kOK;
    kCheckArgs(capacity < kSIZE_MAX / 2);

    kSize grown = kMax_(capacity, 2 * obj->capacity);
    kChar* chars = kNULL;
    kCheck(kAlloc_Get(obj->base.alloc, grown + 1, &chars));
    kMemCopy(chars, obj->chars, obj->length + 1);
    retired->chars = obj->chars;
    obj->chars = chars;
    obj->capacity = grown;
    return kOK;
}

void SetEnd(kStringClass* obj, kSize length)
{
    obj->length = length;
    obj->chars[length] = 0;
}

/* Replaces everything from position at with count characters of text. */
kStatus Write(kStringClass* obj, kSize at, const kChar* text, kSize count)
{
    RetiredChars retired{obj->base.alloc};
    kCheckArgs(count < kSIZE_MAX / 2);
    kCheck(Room(obj, at + count, &retired));
    kMemMove(obj->chars + at, text, count);
    SetEnd(obj, at + count);
    return kOK;
}

/* Replaces everything from position at with formatted text. */
kStatus WriteV(kStringClass* obj, kSize at, const kChar* format, va_list args)
{
    RetiredChars retired{obj->base.alloc};
    va_list measure;
    kCheckArgs(format);

    va_copy(measure, args);
    int count = vsnprintf(kNULL, 0, format, measure);
    va_end(measure);
    kCheckArgs(count >= 0);

    kCheck(Room(obj, at + (kSize)count, &retired));
    vsnprintf(obj->chars + at, (kSize)count + 1, format, args);
    SetEnd(obj, at + (kSize)count);
    return kOK;
}

kStatus Init(kStringClass* obj, const kChar* text, kSize count, kAlloc alloc)
{
    kCheck(kObject_Init(obj, kTypeOf(kString), alloc));
    kCheckArgs(count < kSIZE_MAX / 2);
    kCheck(kAlloc_Get(obj->base.alloc, count + 1, &obj->chars));
    obj->capacity = count;
    kMemCopy(obj->chars, text, count);
    SetEnd(obj, count);
    return kOK;
}

/* A new string of count characters of text. */
kStatus ConstructN(kString* str, const kChar* text, kSize count, kAlloc allocator)
{
    kAlloc alloc = kAlloc_Fallback(allocator);
    kStringClass* obj = kNULL;
    kStatus status;

    kCheck(kAlloc_GetObject(alloc, kTypeOf(kString), &obj));
    if (!kSuccess(status = Init(obj, text, count, alloc)))
    {
        kAlloc_FreeRef(alloc, &obj);
        return status;
    }
    *str = obj;
    return kOK;
}

/* Adds a new string of count characters of text to a list of strings. */
kStatus AddToken(kArrayList list, const kChar* text, kSize count, kAlloc allocator)
{
    kObjectGuard token;
    kCheck(ConstructN(&token, text, count, allocator));
    kCheck(kArrayList_AddT<kObject>(list, token));
    token.release();
    return kOK;
}

bool IsSpace(kChar c)
{
    return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\v' || c == '\f';
}

k32s LowerAscii(kChar c)
{
    k32s u = (unsigned char)c;
    return (u >= 'A' && u <= 'Z') ? u + ('a' - 'A') : u;
}

kStatus xkString_VRelease(kObject str)
{
    kStringClass* obj = kCastRaw(kString, str);
    kCheck(kAlloc_FreeRef(obj->base.alloc, &obj->chars));
    return xkObject_VRelease(str);
}

kStatus xkString_VInitClone(kObject str, kObject source, kAlloc allocator)
{
    kStringClass* obj = kCastRaw(kString, str);
    kStringClass* src = kCastRaw(kString, source);
    return Init(obj, src->chars, src->length, allocator);
}

kSize xkString_VHashCode(kObject str)
{
    /* 64-bit FNV-1a over the characters. */
    kStringClass* obj = kCastRaw(kString, str);
    k64u hash = 14695981039346656037ull;
    for (kSize i = 0; i < obj->length; ++i)
    {
        hash ^= (unsigned char)obj->chars[i];
        hash *= 1099511628211ull;
    }
    return (kSize)hash;
}

kBool xkString_VEquals(kObject str, kObject other)
{
    kStringClass* obj = kCastRaw(kString, str);
    if (!kObject_Is(other, kTypeOf(kString))) return kFALSE;
    kStringClass* that = kCastRaw(kString, other);
    return obj->length == that->length && kMemEquals(obj->chars, that->chars, obj->length);
}

kSize xkString_VSize(kObject str)
{
    return sizeof(kStringClass) + kCastRaw(kString, str)->capacity + 1;
}
} // namespace

kFx(kStatus) xxkString_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddClass(kString, kObject));
    kCheck(kAddVMethod(kString, VRelease));
    kCheck(kAddVMethod(kString, VInitClone));
    kCheck(kAddVMethod(kString, VHashCode));
    kCheck(kAddVMethod(kString, VEquals));
    return kAddVMethod(kString, VSize);
}

kFx(kStatus) kString_Construct(kString* str, const kChar* content, kAlloc allocator)
{
    kCheckArgs(str);
    return ConstructN(str, content ? content : "", kStrLength(content), allocator);
}

kFx(kStatus) kString_Set(kString str, const kChar* content)
{
    kObjR(kString, str);
    return Write(obj, 0, content ? content : "", kStrLength(content));
}

kFx(kStatus) kString_Setv(kString str, const kChar* format, va_list args)
{
    kObjR(kString, str);
    return WriteV(obj, 0, format, args);
}

kFx(kStatus) kString_Setf(kString str, const kChar* format, ...)
{
    va_list args;
    va_start(args, format);
    kStatus status = kString_Setv(str, format, args);
    va_end(args);
    return status;
}

kFx(kStatus) kString_Add(kString str, const kChar* content)
{
    kObjR(kString, str);
    return Write(obj, obj->length, content ? content : "", kStrLength(content));
}

kFx(kStatus) kString_Addv(kString str, const kChar* format, va_list args)
{
    kObjR(kString, str);
    return WriteV(obj, obj->length, format, args);
}

kFx(kStatus) kString_Addf(kString str, const kChar* format, ...)
{
    va_list args;
    va_start(args, format);
    kStatus status = kString_Addv(str, format, args);
    va_end(args);
    return status;
}

kFx(kStatus) kString_AddSubstring(kString str, const kChar* content, kSize start, kSize count)
{
    kObjR(kString, str);
    kSize end;
    kCheckArgs(!__builtin_add_overflow(start, count, &end));
    kCheckArgs(end == 0 || (content && strnlen(content, end) == end));
    return Write(obj, obj->length, end ? content + start : "", count);
}

kFx(kStatus) kString_Assign(kString str, kString source)
{
    kObjR(kString, str);
    kCheckArgs(source);
    kObjN(kString, src, source);
    kCheckArgs(src);
    return Write(obj, 0, src->chars, src->length);
}

kFx(kStatus) kString_Clear(kString str)
{
    kObjR(kString, str);
    SetEnd(obj, 0);
    return kOK;
}

kFx(kStatus) kString_Reserve(kString str, kSize capacity)
{
    kObjR(kString, str);
    RetiredChars retired{obj->base.alloc};
    return Room(obj, capacity, &retired);
}

kFx(kStatus) kString_SetLength(kString str, kSize length)
{
    kObjR(kString, str);
    RetiredChars retired{obj->base.alloc};
    kCheck(Room(obj, length, &retired));
    if (length > obj->length) kMemZero(obj->chars + obj->length, length - obj->length);
    SetEnd(obj, length);
    return kOK;
}

kFx(kStatus) kString_Trim(kString str)
{
    kObjR(kString, str);
    kSize begin = 0, end = obj->length;
    while (begin < end && IsSpace(obj->chars[begin]))
        ++begin;
    while (end > begin && IsSpace(obj->chars[end - 1]))
        --end;
    kMemMove(obj->chars, obj->chars + begin, end - begin);
    SetEnd(obj, end - begin);
    return kOK;
}

kFx(kStatus) kString_SplitEx(kString str, kArrayList* tokens, const kChar* delimiters,
                             kBool keepEmpty, kAlloc allocator)
{
    kObjR(kString, str);
    kObjectGuard list(kNULL, true);
    kCheckArgs(tokens);
    kCheck(kArrayList_Construct(&list, kTypeOf(kString), 0, allocator));

    /* The NUL that ends the delimiter text is no delimiter, nor is a NUL inside the string. */
    kSize start = 0;
    for (kSize i = 0; i <= obj->length; ++i)
    {
        kChar c = obj->chars[i];
        if (i < obj->length && (c == 0 || !delimiters || !strchr(delimiters, c))) continue;
        if (keepEmpty || i > start)
            kCheck(AddToken(list, obj->chars + start, i - start, allocator));
        start = i + 1;
    }
    *tokens = list.release();
    return kOK;
}

kFx(kChar*) kString_Chars(kString str)
{
    kObjN(kString, obj, str);
    return obj ? obj->chars : kNULL;
}

kFx(kSize) kString_Length(kString str)
{
    kObjN(kString, obj, str);
    return obj ? obj->length : 0;
}

kFx(kSize) kString_Capacity(kString str)
{
    kObjN(kString, obj, str);
    return obj ? obj->capacity : 0;
}

kFx(kBool) kString_Equals(kString str, const kChar* content)
{
    kObjN(kString, obj, str);
    if (!obj) return kFALSE;
    kSize length = kStrLength(content);
    return length == obj->length && kMemEquals(obj->chars, content, length);
}

/* ----- C-string helpers ------------------------------------------------------------------- */

kFx(kStatus) kStrCopy(kChar* dest, kSize capacity, const kChar* src)
{
    kCheckArgs(dest && capacity > 0 && src);
    kSize length = strnlen(src, capacity);
    kSize copied = kMin_(length, capacity - 1);
    kMemCopy(dest, src, copied);
    dest[copied] = 0;
    return length < capacity ? kOK : kSTATUS_BAD_PARAMETER;
}

kFx(kStatus) kStrPrintf(kChar* dest, kSize capacity, const kChar* format, ...)
{
    kCheckArgs(dest && capacity > 0 && format);
    va_list args;
    va_start(args, format);
    int length = vsnprintf(dest, capacity, format, args);
    va_end(args);
    if (length < 0) dest[0] = 0;
    return length >= 0 && (kSize)length < capacity ? kOK : kSTATUS_BAD_PARAMETER;
}

kFx(kBool) kStrEquals(const kChar* a, const kChar* b)
{
    if (!a || !b) return a == b;
    return strcmp(a, b) == 0;
}

kFx(k32s) kStrCompareLower(const kChar* a, const kChar* b)
{
    const kChar* x = a ? a : "";
    const kChar* y = b ? b : "";
    for (;; ++x, ++y)
    {
        k32s d = LowerAscii(*x) - LowerAscii(*y);
        if (d != 0 || *x == 0) return d;
    }
}

kFx(kSize) kStrLength(const kChar* text) { return text ? strlen(text) : 0; }

kFx(const kChar*) kStrFindFirst(const kChar* text, const kChar* sub)
{
    return text && sub ? strstr(text, sub) : kNULL;
}

kFx(const kChar*) kStrFindLast(const kChar* text, const kChar* sub)
{
    if (!text || !sub) return kNULL;
    if (!*sub) return text + strlen(text);

    const kChar* last = kNULL;
    for (const kChar* at = strstr(text, sub); at; at = strstr(at + 1, sub))
        last = at;
    return last;
}

kFx(kStatus) kParseCsv(kArrayList* fields, const kChar* text, kAlloc allocator)
{
    kObjectGuard list(kNULL, true);
    kCheckArgs(fields && text);
    kCheck(kArrayList_Construct(&list, kTypeOf(kString), 0, allocator));

    const kChar* p = text;
    for (;;)
    {
        kObjectGuard field;
        if (*p == '"')
        {
            /* Quoted: up to the closing quote; a doubled quote stands for one quote. */
            const kChar* begin = p + 1;
            const kChar* quote = begin;
            while ((quote = strchr(quote, '"')) && quote[1] == '"')
                quote += 2;
            kCheckTrue(quote, kSTATUS_BAD_FORMAT);
            p = quote + 1;
            kCheckTrue(*p == ',' || *p == 0 || *p == '\r' || *p == '\n', kSTATUS_BAD_FORMAT);

            kCheck(ConstructN(&field, begin, (kSize)(quote - begin), allocator));
            kStringClass* obj = kCastRaw(kString, field.get());
            kSize length = 0;
            for (kSize i = 0; i < obj->length; ++i, ++length)
            {
                obj->chars[length] = obj->chars[i];
                if (obj->chars[i] == '"') ++i;
            }
            SetEnd(obj, length);
        }
        else
        {
            kSize length = strcspn(p, ",\r\n");
            kCheck(ConstructN(&field, p, length, allocator));
            p += length;
        }

        kCheck(kArrayList_AddT<kObject>(list, field));
        field.release();
        if (*p != ',') break;
        ++p;
    }
    *fields = list.release();
    return kOK;
}

kDefineClass(kString, kObject)
