/**
 * @file    kL3dValueList.h
 * @brief   Lists of integer values (a kArrayList of 32-bit items) and their text form: the
 *          values in base 10 joined by single commas, "3,1,2".
 *
 * The lists hold k32s or k32u items; values are handled as 32-bit signed integers.
 * Operations on a list of another item size fail with kSTATUS_BAD_PARAMETER.
 */
#ifndef K_SOLAN_L3D_VALUE_LIST_H
#define K_SOLAN_L3D_VALUE_LIST_H

#include <kSolan/kSolanDef.h>

/**
 * Replaces the list's content with the integers of the item's text. Integers are read one
 * after the other; commas and blanks between them are skipped ("3, 1,,2" gives 3, 1, 2).
 *
 * @return kOK; kSTATUS_BAD_FORMAT for any other character or a value outside 32 bits (the
 *         list is then left empty).
 */
kFx(kStatus) kL3dValueList_Read(kArrayList list, kXml xml, kXmlItem item);

/** Sets the item's text to the values printed with "%d" and joined by single commas. */
kFx(kStatus) kL3dValueList_Write(kArrayList list, kXml xml, kXmlItem item);

/** Appends the values of other. */
kFx(kStatus) kL3dValueList_Append(kArrayList list, kArrayList other);

/** Removes repeated values, keeping the first of each. */
kFx(kStatus) kL3dValueList_FilterUnique(kArrayList list);

/** Sorts ascending. */
kFx(kStatus) kL3dValueList_Sort(kArrayList list);

/** Reverses the order of the values. */
kFx(kStatus) kL3dValueList_Reverse(kArrayList list);

/** Index of the first value equal to value, or -1. */
kFx(k32s) kL3dValueList_Find(kArrayList list, k32s value);

/** Replaces result's content with a followed by b, repeated values removed (first kept). */
kFx(kStatus) kL3dValueList_Union(kArrayList a, kArrayList b, kArrayList result);

/** Replaces result's content with the values of a found in b, once each, in a's order. */
kFx(kStatus) kL3dValueList_Intersection(kArrayList a, kArrayList b, kArrayList result);

#endif
