/**
 * @file    kL3dCsv.h
 * @brief   Comma-separated text forms of value lists (kArrayList of k32s, k32u, kSize, k64f or
 *          kText32), as kept in the laser family's settings and exported tables.
 *
 * Writing joins the items with single commas, no blanks and no line break: integers in base 10
 * ("-12,0,7"), reals in the shortest form that reads back to the same bits ("0.1,-0,5e-324",
 * "inf", "-inf"; a NaN is written "nan" and reads back as a NaN, its payload not kept), texts
 * as they are, or between double quotes (a quote written twice) when they are empty, contain a
 * comma, a quote or a line break, or begin or end with a blank.
 *
 * Reading takes the fields between commas, each stripped of surrounding blanks (space, tab,
 * CR, LF); a field may be quoted as above. Empty or blank text reads as an empty list. A number
 * field must be a complete base-10 number of the item type: a minus sign only on signed
 * integers and reals, no plus sign, no hexadecimal, no trailing characters, within the type's
 * range (reals: within ±1.8e308; "inf" and "nan" are accepted). An empty number field ("1,,2",
 * "1,2,") is malformed; an empty text field is an empty text. A text field longer than 31
 * characters keeps its first 31 (kText32's truncation rule).
 *
 * The list's item type must be the helper's: kSTATUS_BAD_PARAMETER otherwise. A malformed
 * field returns kSTATUS_BAD_FORMAT and leaves the list empty.
 */
#ifndef K_SOLAN_L3D_CSV_H
#define K_SOLAN_L3D_CSV_H

#include <kSolan/kSolanDef.h>

/** Replaces the content of list (k32s items) with the values of text. */
kFx(kStatus) kL3dCsv_Read32s(kArrayList list, const kChar* text);
/** Replaces the content of text with the values of list (k32s items). */
kFx(kStatus) kL3dCsv_Write32s(kArrayList list, kString text);

kFx(kStatus) kL3dCsv_Read32u(kArrayList list, const kChar* text);
kFx(kStatus) kL3dCsv_Write32u(kArrayList list, kString text);

kFx(kStatus) kL3dCsv_ReadSize(kArrayList list, const kChar* text);
kFx(kStatus) kL3dCsv_WriteSize(kArrayList list, kString text);

kFx(kStatus) kL3dCsv_Read64f(kArrayList list, const kChar* text);
kFx(kStatus) kL3dCsv_Write64f(kArrayList list, kString text);

kFx(kStatus) kL3dCsv_ReadText32(kArrayList list, const kChar* text);
kFx(kStatus) kL3dCsv_WriteText32(kArrayList list, kString text);

#endif
