/**
 * @file    kCudaAlloc.h
 * @brief   Allocators of GPU memory: device memory and managed (host and device) memory.
 *
 * Two shared instances live as long as the platform. Arrays and images constructed with them
 * are handed to kernels by their data pointers. Without a device both fall back to host memory
 * (and report kALLOC_TRAIT_HOST), so that code which allocates "for the GPU" still runs on the
 * host path; check kCudaDevice_IsAvailable before launching kernels, not the allocator.
 *
 * | Instance                     | With a device              | Without a device |
 * |------------------------------|----------------------------|------------------|
 * | kCudaDeviceAlloc_Instance()  | cudaMalloc, DEVICE         | heap, HOST       |
 * | kCudaManagedAlloc_Instance() | cudaMallocManaged, HOST+DEVICE | heap, HOST   |
 */
#ifndef K_TESSEL_CUDA_ALLOC_H
#define K_TESSEL_CUDA_ALLOC_H

#include <kTessel/kTsApiDef.h>

typedef kAlloc kCudaAlloc;
kDeclareClass(kCudaAlloc, kAlloc);

/** The shared device-memory allocator (borrowed; never destroy it). */
kFx(kAlloc) kCudaDeviceAlloc_Instance(void);

/** The shared managed-memory allocator (borrowed; never destroy it). */
kFx(kAlloc) kCudaManagedAlloc_Instance(void);

#endif
