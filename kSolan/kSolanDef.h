/**
 * @file    kSolanDef.h
 * @brief   Common definitions included by every header of the library.
 */
#ifndef K_SOLAN_DEF_H
#define K_SOLAN_DEF_H

#include <kBasis.h>
#include <kTessel.h>

#endif
