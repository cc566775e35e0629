/**
 * @file    kValue.h
 * @brief   Scalar, colour and geometry value types of the foundation library.
 *
 * Each has a registered type (`kTypeOf(kPoint3d64f)`) that tells containers the item size;
 * structured values describe their fields in declaration order.
 */
#ifndef K_BASIS_VALUE_H
#define K_BASIS_VALUE_H

#include <kBasis/kObject.h>

/* Scalars. */
kDeclareValue(k8u);
kDeclareValue(k8s);
kDeclareValue(k16u);
kDeclareValue(k16s);
kDeclareValue(k32u);
kDeclareValue(k32s);
kDeclareValue(k32f);
kDeclareValue(k64u);
kDeclareValue(k64s);
kDeclareValue(k64f);
kDeclareValue(kBool);
kDeclareValue(kByte);
kDeclareValue(kChar);
kDeclareValue(kSize);
kDeclareValue(kSSize);
kDeclareValue(kPointer);
kDeclareValue(kVoid);

/** Colour, 32 bits: blue, green, red, unused byte (memory order). */
typedef struct kRgb
{
    k8u b, g, r, x;
} kRgb;
/** Colour with alpha, 32 bits: blue, green, red, alpha (memory order). */
typedef struct kArgb
{
    k8u b, g, r, a;
} kArgb;
/** Colour, 24 bits: blue, green, red. */
typedef struct kRgb24
{
    k8u b, g, r;
} kRgb24;
/** Packed ARGB colour: alpha in bits 24-31, red 16-23, green 8-15, blue 0-7. */
typedef k32u kColor;

kDeclareValue(kRgb);
kDeclareValue(kArgb);
kDeclareValue(kRgb24);
kDeclareValue(kColor);

#define kDefinePoint2(NAME, T)                                                                    \
    typedef struct NAME                                                                           \
    {                                                                                             \
        T x, y;                                                                                   \
    } NAME
#define kDefinePoint3(NAME, T)                                                                    \
    typedef struct NAME                                                                           \
    {                                                                                             \
        T x, y, z;                                                                                \
    } NAME
#define kDefineRect(NAME, T)                                                                      \
    typedef struct NAME                                                                           \
    {                                                                                             \
        T x, y, width, height;                                                                    \
    } NAME

kDefinePoint2(kPoint16s, k16s);
kDefinePoint2(kPoint32s, k32s);
kDefinePoint2(kPoint32f, k32f);
kDefinePoint2(kPoint64f, k64f);
kDefinePoint3(kPoint3d16s, k16s);
kDefinePoint3(kPoint3d32s, k32s);
kDefinePoint3(kPoint3d32f, k32f);
kDefinePoint3(kPoint3d64f, k64f);
typedef struct kPoint4d16s
{
    k16s x, y, z, w;
} kPoint4d16s;
kDefineRect(kRect16s, k16s);
kDefineRect(kRect32s, k32s);
kDefineRect(kRect32f, k32f);
kDefineRect(kRect64f, k64f);
/** Axis-aligned box: origin x, y, z and extents width, height, depth. */
typedef struct kRect3d64f
{
    k64f x, y, z, width, height, depth;
} kRect3d64f;
/** Rotated rectangle: centre, size and angle (degrees, counter-clockwise). */
typedef struct kRotatedRect32s
{
    k32s xc, yc, width, height, angle;
} kRotatedRect32s;
typedef struct kRotatedRect32f
{
    k32f xc, yc, width, height, angle;
} kRotatedRect32f;

kDeclareValue(kPoint16s);
kDeclareValue(kPoint32s);
kDeclareValue(kPoint32f);
kDeclareValue(kPoint64f);
kDeclareValue(kPoint3d16s);
kDeclareValue(kPoint3d32s);
kDeclareValue(kPoint3d32f);
kDeclareValue(kPoint3d64f);
kDeclareValue(kPoint4d16s);
kDeclareValue(kRect16s);
kDeclareValue(kRect32s);
kDeclareValue(kRect32f);
kDeclareValue(kRect64f);
kDeclareValue(kRect3d64f);
kDeclareValue(kRotatedRect32s);
kDeclareValue(kRotatedRect32f);

/**
 * Fixed text of up to 31 characters, NUL-terminated, in 32 bytes: a value type, so that lists
 * and arrays of names hold their texts inline. Bytes after the terminator are zero when the text
 * is set with kText32_Set.
 */
typedef struct kText32
{
    kChar chars[32];
} kText32;

kDeclareValue(kText32);

/**
 * Sets text from the first length bytes of source (fewer when source ends earlier). Texts of
 * more than 31 bytes are truncated to their first 31: the rule is by byte, so a multi-byte
 * character may be cut. The rest of the 32 bytes is zero-filled.
 *
 * @return kOK; kSTATUS_BAD_PARAMETER for a null argument.
 */
kFx(kStatus) kText32_Set(kText32* text, const kChar* source, kSize length);

/**
 * Type of an opaque item of `size` bytes, copied byte for byte. The same size always gives
 * the same handle. Types are created on first use and live for the whole process.
 */
kFx(kType) kBytes_GetType(kSize size);

#endif
