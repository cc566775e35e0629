/**
 * @file    kVsRateLimitBlock.h
 * @brief   kVsRateLimitBlock: passes one message in every divisor messages.
 *
 * Which messages pass is decided by the stamp, not by counting arrivals: a message passes when
 * its stamp's frame index is a multiple of the divisor, so that several rate limiters with the
 * same divisor keep the same frames. A profile message is tested profile by profile and rebuilt
 * from the profiles that pass (possibly none).
 *
 * Ports: input "In" (id 0), output "Out" (id 1). Settings: kVsRateLimitBlockInfo ("Divisor");
 * a missing or zero divisor is written back as 1 at setup.
 *
 * The block takes kMsg and kProfileMsg only; any other message ends the process, deliberately:
 * such a message means the pipeline was wired wrongly.
 */
#ifndef K_VS_RATE_LIMIT_BLOCK_H
#define K_VS_RATE_LIMIT_BLOCK_H

#include <kSolan/Vs/kVsRateLimitBlockInfo.h>

typedef kPxBlock kVsRateLimitBlock;
kDeclareClass(kVsRateLimitBlock, kPxBlock);

/** Port ids. */
#define kVS_RATE_LIMIT_BLOCK_IN (0)
#define kVS_RATE_LIMIT_BLOCK_OUT (1)

/** kOK for an info whose divisor is non-zero; kSTATUS_BAD_PARAMETER otherwise. */
kFx(kStatus) kVsRateLimitBlock_ValidateInfo(kVsRateLimitBlockInfo info);

#endif
