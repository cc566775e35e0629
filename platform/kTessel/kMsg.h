/**
 * @file    kMsg.h
 * @brief   kMsg: the generic pipeline message, a stamp and one payload object.
 *
 * A message owns its payload: destroying the message disposes of the payload and of the
 * objects the payload holds (a list of images goes with its images). Blocks read the payload
 * with kMsg_Data and may change the stamp in place before forwarding a message.
 */
#ifndef K_TESSEL_MSG_H
#define K_TESSEL_MSG_H

#include <kTessel/kStamp.h>

typedef kObject kMsg;
kDeclareClass(kMsg, kObject);

/**
 * Wraps a payload with a stamp.
 *
 * @param msg        Receives the message (the caller owns one reference).
 * @param stamp      Stamp to copy (null: a zeroed stamp).
 * @param data       Payload object; the message owns it from a successful return on. After a
 *                   failure the caller still owns it.
 * @param allocator  Allocator of the message object (null: application allocator).
 * @return kOK; kSTATUS_BAD_PARAMETER when data is not an object; kSTATUS_MEMORY.
 */
kFx(kStatus) kMsg_Construct(kMsg* msg, const kStamp* stamp, kObject data, kAlloc allocator);

/** The message's stamp (borrowed, writable). */
kFx(kStamp*) kMsg_Stamp(kMsg msg);

/** The payload (borrowed). */
kFx(kObject) kMsg_Data(kMsg msg);

#endif
