/**
 * @file    kVsRand.h
 * @brief   Uniform random draws from the process-wide generator `rand`.
 *
 * The generator is never seeded here: results follow the process-wide state set by `srand`
 * and interleave with any other user of `rand`. Not safe for concurrent use.
 */
#ifndef K_VS_RAND_H
#define K_VS_RAND_H

#include <kSolan/kSolanDef.h>

/**
 * Uniform draw in [0, 1) from three calls of `rand`: u = rand()·2⁻³¹, then twice
 * u = (u + rand())·2⁻³¹, repeated while u ≥ 1.
 */
kFx(k64f) kVsRand_Uniform(void);

#endif
