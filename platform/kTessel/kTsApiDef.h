/**
 * @file    kTsApiDef.h
 * @brief   Common definitions of the sensor-platform library.
 */
#ifndef K_TESSEL_API_DEF_H
#define K_TESSEL_API_DEF_H

#include <kBasis.h>

/** Sensor-platform assembly (shared, built at library load, after the foundation). */
kFx(kStatus) kTesselLib_Construct(kAssembly* assembly);

#endif
