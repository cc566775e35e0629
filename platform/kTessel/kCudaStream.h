/**
 * @file    kCudaStream.h
 * @brief   CUDA streams: ordered queues of GPU work owned by the objects that launch it.
 *
 * A GPU-capable object keeps one stream handle; a null handle everywhere means the runtime's
 * default stream. On a host build, or without a device, a stream is an empty object whose
 * operations succeed at once, so that set-up code needs no second path.
 */
#ifndef K_TESSEL_CUDA_STREAM_H
#define K_TESSEL_CUDA_STREAM_H

#include <kTessel/kTsApiDef.h>

typedef kObject kCudaStream;
kDeclareClass(kCudaStream, kObject);

/**
 * Constructs a non-blocking stream (no implicit ordering with the default stream).
 *
 * @param stream     Receives the stream (the caller owns one reference).
 * @param allocator  Allocator of the object (null: application allocator).
 * @return kOK; kSTATUS_MEMORY; the converted runtime status when the device refuses a stream.
 */
kFx(kStatus) kCudaStream_Construct(kCudaStream* stream, kAlloc allocator);

/** Waits until all work queued on the stream (null: default stream) has finished. */
kFx(kStatus) kCudaStream_Synchronize(kCudaStream stream);

/**
 * Attaches a managed-memory block to the stream, so that the host may touch it while other
 * streams run; takes effect in stream order.
 *
 * @param stream  Stream (null: default stream, which attaches the block to every stream).
 * @param memory  Start of a block from kCudaManagedAlloc_Instance.
 */
kFx(kStatus) kCudaStream_AttachMemory(kCudaStream stream, void* memory);

/** Runtime handle (cudaStream_t) for kernel launches; null for the default stream or on host. */
kFx(void*) kCudaStream_Handle(kCudaStream stream);

#endif
