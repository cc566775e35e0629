/**
 * @file    kHealthStat.h
 * @brief   One health indicator of a sensor node: an id and its 64-bit value.
 *
 * Health messages carry lists of these. Ids name the indicator (for example 2002 the internal
 * and 2027 the external temperature, both in thousandths of a degree Celsius).
 */
#ifndef K_TESSEL_HEALTH_STAT_H
#define K_TESSEL_HEALTH_STAT_H

#include <kTessel/kTsApiDef.h>

/** Health indicator, 16 bytes: id at offset 0, 4 bytes of padding, value at offset 8. */
typedef struct kHealthStat
{
    k32u id;
    k64s value;
} kHealthStat;

kDeclareValue(kHealthStat);

static_assert(sizeof(kHealthStat) == 16 && offsetof(kHealthStat, value) == 8);

#endif
