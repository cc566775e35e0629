/**
 * @file    kHealthMsg.h
 * @brief   kHealthMsg: a health report of a sensor node, one content object.
 *
 * A node reports its health indicators periodically; the content is normally a kArrayList of
 * kHealthStat records (ids and 64-bit values), but readers must accept any object and ignore
 * what they do not understand. The message owns its content: destroying the message disposes
 * of the content and of the objects it holds.
 */
#ifndef K_TESSEL_HEALTH_MSG_H
#define K_TESSEL_HEALTH_MSG_H

#include <kTessel/kHealthStat.h>

typedef kObject kHealthMsg;
kDeclareClass(kHealthMsg, kObject);

/**
 * Wraps a content object.
 *
 * @param msg        Receives the message (the caller owns one reference).
 * @param content    Content object; the message owns it from a successful return on. After a
 *                   failure the caller still owns it.
 * @param allocator  Allocator of the message object (null: application allocator).
 * @return kOK; kSTATUS_BAD_PARAMETER when content is not an object; kSTATUS_MEMORY.
 */
kFx(kStatus) kHealthMsg_Construct(kHealthMsg* msg, kObject content, kAlloc allocator);

/** The content (borrowed): normally a kArrayList of kHealthStat. */
kFx(kObject) kHealthMsg_Content(kHealthMsg msg);

#endif
