/* Thin wrappers over the CUDA runtime, shared by the stream and allocator sources. On host
   builds they do the host equivalent (heap memory, memcpy) or nothing. */
#ifndef K_TESSEL_CUDA_UTILS_X_H
#define K_TESSEL_CUDA_UTILS_X_H

#include <kTessel/kCudaUtils.h>

/* Kinds of GPU memory an allocator hands out. */
#define xkCUDA_MEMORY_DEVICE (0)
#define xkCUDA_MEMORY_MANAGED (1)

kStatus xkCuda_Malloc(void** memory, kSize size, k32s kind);
kStatus xkCuda_Free(void* memory, k32s kind);
/* kALLOC_TRAIT_* bits of the memory that xkCuda_Malloc gives for kind. */
k32u xkCuda_Traits(k32s kind);

kStatus xkCuda_StreamCreate(void** handle);
kStatus xkCuda_StreamDestroy(void* handle);
kStatus xkCuda_StreamSynchronize(void* handle);
kStatus xkCuda_StreamAttach(void* handle, void* memory);

#endif
