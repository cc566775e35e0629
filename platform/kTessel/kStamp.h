/**
 * @file    kStamp.h
 * @brief   The message stamp: frame identity, time, position and sensor state of one frame.
 *
 * Every pipeline message carries one stamp; blocks copy it whole (88 bytes) from an input
 * message to the messages derived from it. The record is eleven 64-bit slots; some slots are
 * split into narrower fields. All fields are little-endian.
 *
 *     offset size field            meaning
 *        0    1   status           0: full frame; any other value: a partial frame
 *        1    3   (reserved)
 *        4    2   digitalInputs    digital input bits at exposure (bit i = input i)
 *        6    2   (reserved)
 *        8    8   frameIndex       frame counter of the source, unsigned
 *       16    8   time             exposure time, microseconds, unsigned
 *       24    8   encoder          encoder position, signed ticks
 *       32    8   (reserved)
 *       40    2   width            image width of the payload, pixels
 *       42    2   height           image height of the payload, pixels
 *       44    2   roiX             camera window: origin column on the imager
 *       46    2   roiY             camera window: origin row on the imager
 *       48    2   roiWidth         camera window: width before subsampling
 *       50    2   roiHeight        camera window: height before subsampling
 *       52    1   roiXSubsampling  camera window: column step (1 = none)
 *       53    1   roiYSubsampling  camera window: row step (1 = none)
 *       54   10   (reserved)
 *       64    2   temperature      sensor temperature, signed hundredths of a degree Celsius
 *       66   22   (reserved)
 *
 * Reserved bytes are zero in stamps made by the platform and are copied like the rest. The
 * payload size (width, height) changes when a block reshapes an image (a transpose swaps it);
 * the camera window changes when a block crops to a region of the imager.
 */
#ifndef K_TESSEL_STAMP_H
#define K_TESSEL_STAMP_H

#include <kTessel/kTsApiDef.h>

typedef struct kStamp
{
    k8u status;
    k8u reserved0[3];
    k16u digitalInputs;
    k16u reserved1;
    k64u frameIndex;
    k64u time;
    k64s encoder;
    k64u reserved2;
    k16u width;
    k16u height;
    k16u roiX;
    k16u roiY;
    k16u roiWidth;
    k16u roiHeight;
    k8u roiXSubsampling;
    k8u roiYSubsampling;
    k8u reserved3[10];
    k16s temperature;
    k8u reserved4[22];
} kStamp;

kDeclareValue(kStamp);

/** Status of a stamp whose payload is a full frame. */
#define kSTAMP_STATUS_FULL_FRAME (0)

static_assert(sizeof(kStamp) == 88, "kStamp is 88 bytes");
static_assert(offsetof(kStamp, status) == 0);
static_assert(offsetof(kStamp, digitalInputs) == 4);
static_assert(offsetof(kStamp, frameIndex) == 8);
static_assert(offsetof(kStamp, time) == 16);
static_assert(offsetof(kStamp, encoder) == 24);
static_assert(offsetof(kStamp, width) == 40);
static_assert(offsetof(kStamp, height) == 42);
static_assert(offsetof(kStamp, roiX) == 44);
static_assert(offsetof(kStamp, roiY) == 46);
static_assert(offsetof(kStamp, roiWidth) == 48);
static_assert(offsetof(kStamp, roiHeight) == 50);
static_assert(offsetof(kStamp, roiXSubsampling) == 52);
static_assert(offsetof(kStamp, roiYSubsampling) == 53);
static_assert(offsetof(kStamp, temperature) == 64);

#endif
