/**
 * @file    kCudaUtils.h
 * @brief   GPU availability, CUDA error conversion and host/device copies.
 *
 * The sensor platform is built with or without the CUDA runtime. Without it, or on a machine
 * without a usable device, every operation here still succeeds where a host equivalent exists:
 * the device allocator hands out host memory, copies are plain memory copies and streams
 * synchronise at once. Callers decide between their GPU and host paths with
 * `kCudaDevice_IsAvailable` and never need a second code path for the mere bookkeeping.
 *
 * Error checking after a kernel launch, as the library does it:
 * @code
 *   myKernel<<<grid, block, 0, kCudaStream_Handle(stream)>>>(...);
 *   kCheck(kCudaStatus_Convert(kCudaStatus_Filter(kCudaStatus_Peek())));
 * @endcode
 */
#ifndef K_TESSEL_CUDA_UTILS_H
#define K_TESSEL_CUDA_UTILS_H

#include <kTessel/kTsApiDef.h>
#include <kTessel/kCudaStream.h>

/** True when the platform was built with the CUDA runtime (a device may still be absent). */
kFx(kBool) kCudaRuntime_IsAvailable(void);

/**
 * True only when the platform was built with the CUDA runtime and a CUDA device is present.
 *
 * @param probe  kTRUE asks the runtime again; kFALSE returns the answer of the first probe,
 *               which is cheap enough for per-frame decisions.
 */
kFx(kBool) kCudaDevice_IsAvailable(kBool probe);

/** Last error code of the CUDA runtime, without clearing it (0 = no error; always 0 without a
 *  device, where no GPU work runs). */
kFx(k32s) kCudaStatus_Peek(void);

/**
 * Drops the codes that are not failures to the caller: "not ready" (600) means that queued work
 * is still running. Every other code is returned unchanged.
 */
kFx(k32s) kCudaStatus_Filter(k32s cudaError);

/**
 * Platform status of a CUDA error code: 0 gives kOK; out-of-memory (2) kSTATUS_MEMORY;
 * invalid value (1) and invalid device pointer (17) kSTATUS_BAD_PARAMETER; no device (100) and
 * an insufficient driver (35) kSTATUS_NOT_IMPLEMENTED; anything else kSTATUS_FAILED.
 */
kFx(kStatus) kCudaStatus_Convert(k32s cudaError);

/**
 * Copies size bytes between any two of host, device and managed memory (the runtime works out
 * the direction). Queued on the stream (null: default stream) and finished before returning.
 */
kFx(kStatus) kCudaUtils_Copy(void* destination, const void* source, kSize size, kCudaStream stream);

/**
 * Makes `*device` a device block of size bytes holding a copy of `host`. A block given in
 * `*device` is reused; it must have been made by this function for the same size.
 *
 * @param device  Device block (in/out; null on entry allocates one).
 * @param host    Host bytes to copy (null: the block is only allocated).
 * @param size    Bytes.
 * @return kOK; kSTATUS_MEMORY.
 */
kFx(kStatus) kCudaUtils_PrepareDeviceValue(void** device, const void* host, kSize size);

/** Frees a block made by kCudaUtils_PrepareDeviceValue and clears the pointer (null accepted). */
kFx(kStatus) kCudaUtils_FreeDeviceRef(void** device);

/**
 * Makes `*device` an array (kArray1, kArray2 or kArray3, of value items) of the host array's item
 * type and shape in device memory (kCudaDeviceAlloc_Instance) and copies the host contents into it.
 * An array given in `*device` is re-shaped in place when its shape differs.
 *
 * @param device  Device array (in/out; null on entry constructs one; the caller owns it).
 * @param host    Host array (borrowed).
 * @param stream  Stream of the copy (null: default stream).
 * @return kOK; kSTATUS_BAD_PARAMETER when host is not an array or `*device` is an array of
 *         another class; kSTATUS_MEMORY.
 */
kFx(kStatus) kCudaUtils_PrepareDeviceArray(kObject* device, kObject host, kCudaStream stream);

/**
 * Gives `destination` the item type, shape and contents of `source`, copying across memory
 * kinds as needed; both are arrays of the same class (kArray1, kArray2 or kArray3, of value items).
 */
kFx(kStatus) kCudaUtils_AssignArray(kObject destination, kObject source, kCudaStream stream);

/**
 * Copies a device array's contents back into a host array of the same class, which takes the
 * device array's item type and shape.
 */
kFx(kStatus) kCudaUtils_ExportDeviceArray(kObject host, kObject device, kCudaStream stream);

#endif
