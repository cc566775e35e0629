/**
 * @file    kTessel.h
 * @brief   Umbrella header of the sensor-platform library.
 */
#ifndef K_TESSEL_H
#define K_TESSEL_H

#include <kBasis.h>
#include <kTessel/kTsApiDef.h>
#include <kTessel/kHealthStat.h>
#include <kTessel/kPhasePixel.h>
#include <kTessel/kSpot.h>
#include <kTessel/kStamp.h>
#include <kTessel/kMsg.h>
#include <kTessel/kProfileMsg.h>
#include <kTessel/kHealthMsg.h>
#include <kTessel/kPxPipeline.h>
#include <kTessel/kSettings.h>
#include <kTessel/kPlot.h>
#include <kTessel/kAxAction.h>
#include <kTessel/kCameraPhaseDecoder.h>
#include <kTessel/kStorageStream.h>
#include <kTessel/kCudaAlloc.h>
#include <kTessel/kCudaUtils.h>
#include <kTessel/kDataTree.h>

#endif
