/**
 * @file    kProfileMsg.h
 * @brief   kProfileMsg: a batch of range profiles, each with its own stamp.
 *
 * A profile message holds `count` profiles of `width` points each. Every profile carries a
 * stamp (the frame it comes from), its points (of the message's point type, for example
 * `kPoint3d16s`), one 8-bit intensity per point and, when the message carries slices, one
 * 16-bit slice index per point. All profiles of a message share point type, width and the
 * slice flag. The data is one block from the message's allocator; the accessors return
 * pointers into it.
 */
#ifndef K_TESSEL_PROFILE_MSG_H
#define K_TESSEL_PROFILE_MSG_H

#include <kTessel/kStamp.h>

typedef kObject kProfileMsg;
kDeclareClass(kProfileMsg, kObject);

/**
 * Constructs a message with zero-filled profiles.
 *
 * @param msg        Receives the message (the caller owns one reference).
 * @param pointType  Value type of one point.
 * @param count      Number of profiles (0 allowed).
 * @param width      Points per profile (0 allowed).
 * @param hasSlices  kTRUE when every point also carries a k16u slice index.
 * @param allocator  Allocator of the message and its data (null: application allocator).
 * @return kOK; kSTATUS_BAD_PARAMETER for a pointType that is not a value type or sizes whose
 *         product overflows; kSTATUS_MEMORY.
 */
kFx(kStatus) kProfileMsg_Construct(kProfileMsg* msg, kType pointType, kSize count, kSize width,
                                   kBool hasSlices, kAlloc allocator);

kFx(kType) kProfileMsg_PointType(kProfileMsg msg);
/** Number of profiles. */
kFx(kSize) kProfileMsg_Count(kProfileMsg msg);
/** Points per profile. */
kFx(kSize) kProfileMsg_Width(kProfileMsg msg);
kFx(kBool) kProfileMsg_HasSlices(kProfileMsg msg);

/** Stamp of profile index (writable); null when index >= count. */
kFx(kStamp*) kProfileMsg_StampAt(kProfileMsg msg, kSize index);
/** First point of profile index; null when index >= count or width is 0. */
kFx(void*) kProfileMsg_PointsAt(kProfileMsg msg, kSize index);
/** Intensities of profile index (width values); null as for points. */
kFx(k8u*) kProfileMsg_IntensitiesAt(kProfileMsg msg, kSize index);
/** Slice indices of profile index (width values); null without slices or as for points. */
kFx(k16u*) kProfileMsg_SlicesAt(kProfileMsg msg, kSize index);

#endif
