/**
 * @file    kAlloc.h
 * @brief   Allocators, plain memory helpers, and the counting allocator used by tests.
 *
 * An allocator is an object whose class implements `VGet` and `VFree`. A null allocator
 * argument means the application allocator (`kAlloc_App`, chosen by `kAlloc_Fallback`).
 * Objects remember the allocator that holds them; an allocator must outlive its objects.
 */
#ifndef K_BASIS_ALLOC_H
#define K_BASIS_ALLOC_H

#include <kBasis/kObject.h>

/** Memory kinds (VAllocTraits bits). */
#define kALLOC_TRAIT_HOST (0x1)     ///< Host memory.
#define kALLOC_TRAIT_DEVICE (0x2)   ///< Device (GPU) memory, not readable by the host.
#define kALLOC_TRAIT_FOREIGN (0x4)  ///< Attached memory that the object does not own.

struct kAllocVTable : kObjectVTable
{
    /** Allocates size bytes (size 0 gives a null pointer and succeeds). */
    kStatus (*VGet)(kAlloc alloc, kSize size, void** mem);
    /** Frees memory from VGet; null is accepted. */
    kStatus (*VFree)(kAlloc alloc, void* mem);
    /** Memory kind of the blocks this allocator gives. */
    k32u (*VTraits)(kAlloc alloc);
};

kDeclareVirtualClass(kAlloc, kObject);

struct kAllocClass
{
    kObjectClass base;
};

/** The application allocator (process heap); lives for the whole process. */
kFx(kAlloc) kAlloc_App(void);
/** Returns allocator, or the application allocator when allocator is null. */
kFx(kAlloc) kAlloc_Fallback(kAlloc allocator);
kFx(kStatus) kAlloc_Get(kAlloc allocator, kSize size, void* mem);
kFx(kStatus) kAlloc_GetZero(kAlloc allocator, kSize size, void* mem);
kFx(kStatus) kAlloc_Free(kAlloc allocator, void* mem);
/** Frees *mem (a pointer to any pointer) and clears it. */
kFx(kStatus) kAlloc_FreeRef(kAlloc allocator, void* mem);
/** Allocates a zero-filled instance of class `type` and stores it in *object. */
kFx(kStatus) kAlloc_GetObject(kAlloc allocator, kType type, void* object);
kFx(k32u) kAlloc_Traits(kAlloc allocator);
kFx(kBool) kAlloc_IsForeign(kAlloc allocator);

/* Plain memory from the application allocator. */
kFx(kStatus) kMemAlloc(kSize size, void* mem);
kFx(kStatus) kMemAllocZero(kSize size, void* mem);
kFx(kStatus) kMemFree(void* mem);
kFx(kStatus) kMemFreeRef(void* mem);
kFx(kStatus) kMemSet(void* dest, kByte fill, kSize size);
kFx(kStatus) kMemZero(void* dest, kSize size);
kFx(kStatus) kMemCopy(void* dest, const void* src, kSize size);
kFx(kStatus) kMemMove(void* dest, const void* src, kSize size);
kFx(kBool) kMemEquals(const void* a, const void* b, kSize size);

/**
 * Counting allocator: forwards to an inner allocator and counts what is outstanding. It can
 * also be told to fail every allocation after the first N, so that tests can run a
 * constructor with failure at every step and prove that nothing leaks. Thread-safe.
 */
typedef kAlloc kCountingAlloc;
kDeclareClass(kCountingAlloc, kAlloc);

/** @param inner  Allocator that provides the memory (null: application allocator). */
kFx(kStatus) kCountingAlloc_Construct(kCountingAlloc* alloc, kAlloc inner, kAlloc allocator);
/** Bytes currently allocated and not freed. */
kFx(kSize) kCountingAlloc_Allocated(kCountingAlloc alloc);
/** Blocks currently allocated and not freed. */
kFx(kSize) kCountingAlloc_Outstanding(kCountingAlloc alloc);
/** Successful allocations since construction. */
kFx(kSize) kCountingAlloc_Total(kCountingAlloc alloc);
/** Most bytes outstanding at any time. */
kFx(kSize) kCountingAlloc_Peak(kCountingAlloc alloc);
/**
 * Lets the next `count` allocations succeed and fails every one after them with
 * kSTATUS_MEMORY; kSIZE_MAX (the default) never fails.
 */
kFx(kStatus) kCountingAlloc_SetFailAfter(kCountingAlloc alloc, kSize count);
/** Allocations refused since the last SetFailAfter. */
kFx(kSize) kCountingAlloc_Refused(kCountingAlloc alloc);

/**
 * kMemory: a growable byte block owned by an object.
 */
typedef kObject kMemory;
kDeclareClass(kMemory, kObject);

kFx(kStatus) kMemory_Construct(kMemory* memory, kAlloc allocator);
/** Makes the block length bytes long; contents are kept up to the smaller length. */
kFx(kStatus) kMemory_Allocate(kMemory memory, kSize length);
/** Appends bytes at the end. */
kFx(kStatus) kMemory_Append(kMemory memory, const void* data, kSize length);
kFx(void*) kMemory_At(kMemory memory, kSize offset);
kFx(kSize) kMemory_Length(kMemory memory);
kFx(kSize) kMemory_Capacity(kMemory memory);

#endif
