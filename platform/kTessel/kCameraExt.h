/**
 * @file    kCameraExt.h
 * @brief   kCameraExt: base class of camera extensions, processing units that a camera runs on
 *          its own output (kCameraPhaseDecoder).
 *
 * Extensions are made and owned by their camera (kCamera_AddExtension); an extension's
 * operations record their calls on the camera's node like the camera's own.
 */
#ifndef K_TESSEL_CAMERA_EXT_H
#define K_TESSEL_CAMERA_EXT_H

#include <kTessel/kTsApiDef.h>

typedef kObject kCameraExt;
kDeclareClass(kCameraExt, kObject);

/** Instance header of every extension. */
struct kCameraExtClass
{
    kObjectClass base;
    kObject camera; // owner (borrowed back-reference)
};

/** The camera that owns the extension (borrowed). */
kFx(kObject) kCameraExt_Camera(kCameraExt extension);

#endif
