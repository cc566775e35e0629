/*
 * Item blocks shared by the containers (arrays, lists, images, maps, queues).
 *
 * A container holds items of one registered type. Value items are copied byte for byte;
 * items of a class type are object handles (null allowed): copying a container clones them,
 * disposing of it disposes of them, destroying it leaves them alone.
 *
 * `kItemStore` is the item memory of a container. The memory may come from an allocator other
 * than the container's own (a device or managed allocator for GPU data while the header stays
 * on the host), or be attached external memory that the container does not own. Memory that
 * the host cannot read (device allocators) is never touched here: operations that would have
 * to read or write items refuse with kSTATUS_NOT_IMPLEMENTED.
 */
#ifndef K_BASIS_ITEMS_X_H
#define K_BASIS_ITEMS_X_H

#include <kBasis/kAlloc.h>

/**
 * Copies count items from src to dest (no overlap): value items byte for byte, object items
 * by cloning each with allocator (null handles stay null). On failure the clones already
 * made are disposed of and the dest items are zero-filled.
 */
kStatus xkItems_Clone(kType itemType, void* dest, const void* src, kSize count, kAlloc allocator);

/** Disposes of each object among the items and nulls its handle; value items are left alone. */
kStatus xkItems_Dispose(kType itemType, void* items, kSize count);

/** Memory held by the objects among the items (0 for value items). */
kSize xkItems_ObjectSize(kType itemType, const void* items, kSize count);

/** True for an item type a container accepts: a registered value of non-zero size, or a class. */
kBool xkItems_IsValidType(kType itemType);

/** Item memory of a container. Zero-filled memory is a valid empty store with no type. */
struct kItemStore
{
    kType type;     // item type
    kSize size;     // item size in bytes (kType_Size)
    kAlloc alloc;   // allocator of owned item memory
    void* data;     // first item, or null
    kSize bytes;    // size of the memory block
    kBool attached; // data is external memory, not owned
};

/** Empty store of itemType whose memory will come from alloc; kSTATUS_BAD_PARAMETER for a bad type.
 */
kStatus xkItemStore_Init(kItemStore* store, kType itemType, kAlloc alloc);

/** Frees owned memory; the store is left empty (type and allocator kept). */
kStatus xkItemStore_Release(kItemStore* store);

/**
 * Makes room for count items, keeping the first keep items when the memory moves. New memory
 * is zero-filled beyond the kept items (host memory only). Attached memory is replaced by
 * owned memory when it is too small.
 */
kStatus xkItemStore_Reserve(kItemStore* store, kSize count, kSize keep);

/**
 * Sets the item type and makes room for count items in owned memory (attached memory is let
 * go); contents are unspecified, except that object handles are null. On failure the store is
 * unchanged. Used by the Allocate operations.
 */
kStatus xkItemStore_Reshape(kItemStore* store, kType itemType, kSize count);

/** Releases owned memory and wraps count items of external memory (not owned). */
kStatus xkItemStore_Attach(kItemStore* store, kType itemType, void* items, kSize count);

/**
 * Makes store a copy of count items of source (same item type required), cloning objects with
 * objectAlloc. On failure the store holds no items: its memory is zero-filled.
 */
kStatus xkItemStore_Assign(kItemStore* store, const kItemStore* source, kSize count,
                           kAlloc objectAlloc);

/**
 * Initialises store as a copy of count items of source, with memory from alloc, or from
 * source's own item allocator when it had one apart from its container (sourceOwner).
 */
kStatus xkItemStore_InitClone(kItemStore* store, const kItemStore* source, kSize count,
                              kAlloc sourceOwner, kAlloc alloc);

/** kOK when the host may read and write the items; kSTATUS_NOT_IMPLEMENTED for device memory. */
kStatus xkItemStore_CheckHost(const kItemStore* store);

/** Zero-fills count items (object handles become null; held objects are not released). */
kStatus xkItemStore_Zero(kItemStore* store, kSize count);

/** Copies one item into slot index (bounds checked by the caller). */
kStatus xkItemStore_SetItem(kItemStore* store, kSize index, const void* item);

/** Memory kind of the items: kALLOC_TRAIT_FOREIGN when attached, else the allocator's. */
k32u xkItemStore_Traits(const kItemStore* store);

/** Memory owned through the store: owned block plus the objects among count items. */
kSize xkItemStore_Size(const kItemStore* store, kSize count);

/** Address of item index (no check). */
inline void* xkItemStore_At(const kItemStore* store, kSize index)
{
    return static_cast<kByte*>(store->data) + index * store->size;
}

/** Number of items the memory can hold. */
inline kSize xkItemStore_Capacity(const kItemStore* store)
{
    return store->size ? store->bytes / store->size : 0;
}

/** Product of lengths in *count; false when it overflows kSize or its byte size would. */
bool xkItems_CountOf(const kSize* lengths, kSize dimensions, kSize itemSize, kSize* count);

#endif
