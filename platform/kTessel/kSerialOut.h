/**
 * @file    kSerialOut.h
 * @brief   kSerialOut: a serial output of a (simulated) sensor node.
 *
 * Serial outputs belong to their node (kNode_AddSerialOut, kNode_SerialOutAt). Writes may come
 * from any thread; the bytes written are kept in order and can be read back.
 */
#ifndef K_TESSEL_SERIAL_OUT_H
#define K_TESSEL_SERIAL_OUT_H

#include <kTessel/kTsApiDef.h>

typedef kObject kSerialOut;
kDeclareClass(kSerialOut, kObject);

/** Position of the output on its node. */
kFx(kSize) kSerialOut_Index(kSerialOut serialOut);

/** Sends size bytes. "kSerialOut_Write <s> <size>". */
kFx(kStatus) kSerialOut_Write(kSerialOut serialOut, const void* data, kSize size);

/**
 * Copies the bytes sent so far (from the first) into buffer.
 *
 * @param capacity  Bytes buffer can take.
 * @param size      Receives the number of bytes sent so far (may exceed capacity).
 */
kFx(kStatus) kSerialOut_Sent(kSerialOut serialOut, void* buffer, kSize capacity, kSize* size);

#endif
