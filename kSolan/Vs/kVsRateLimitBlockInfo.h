/**
 * @file    kVsRateLimitBlockInfo.h
 * @brief   Settings of the rate-limit block: the divisor, key "Divisor".
 *
 * A plain heap record (not a registered class), created zeroed: a divisor of 0 means that the
 * settings were never set; the block's setup replaces it by 1.
 */
#ifndef K_VS_RATE_LIMIT_BLOCK_INFO_H
#define K_VS_RATE_LIMIT_BLOCK_INFO_H

#include <kSolan/kSolanDef.h>

typedef struct kVsRateLimitBlockInfoStruct* kVsRateLimitBlockInfo;

/** Constructs a zeroed record (divisor 0). */
kFx(kStatus) kVsRateLimitBlockInfo_Construct(kVsRateLimitBlockInfo* info);
/** Frees the record (null accepted). */
kFx(kStatus) kVsRateLimitBlockInfo_Destroy(kVsRateLimitBlockInfo info);

/**
 * Constructs a record and reads it from the settings' root item; nothing is left behind on
 * failure.
 *
 * @return kOK; kSTATUS_NOT_FOUND when the document is empty or "Divisor" is missing;
 *         kSTATUS_BAD_FORMAT or kSTATUS_OVERFLOW for a value that is not a k32u.
 */
kFx(kStatus) kVsRateLimitBlockInfo_Load(kVsRateLimitBlockInfo* info, kXml settings);
/** Replaces the document's content by a root item "Settings" holding the record. */
kFx(kStatus) kVsRateLimitBlockInfo_Store(kVsRateLimitBlockInfo info, kXml settings);
/** Reads "Divisor" under element. */
kFx(kStatus)
    kVsRateLimitBlockInfo_Read(kVsRateLimitBlockInfo info, kXml settings, kXmlItem element);
/** Writes "Divisor" under element. */
kFx(kStatus)
    kVsRateLimitBlockInfo_Write(kVsRateLimitBlockInfo info, kXml settings, kXmlItem element);

/** One message in every divisor messages passes (by stamp frame index). */
kFx(k32u) kVsRateLimitBlockInfo_Divisor(kVsRateLimitBlockInfo info);
kFx(kStatus) kVsRateLimitBlockInfo_SetDivisor(kVsRateLimitBlockInfo info, k32u divisor);

#endif
