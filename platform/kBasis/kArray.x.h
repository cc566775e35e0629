/*
 * Instance layout and operations shared by kArray1, kArray2, kArray3 and kArrayList.
 *
 * Each of those classes derives its instance struct from xkArrayClass without adding members,
 * so that one implementation serves the construction, re-shaping, copying, cloning, disposal
 * and size of all of them. Items are row-major: the last index runs fastest. A list is a
 * one-dimensional array whose length is its count; its capacity is the item memory's.
 */
#ifndef K_BASIS_ARRAY_X_H
#define K_BASIS_ARRAY_X_H

#include <kBasis/kItems.x.h>

#define xkARRAY_MAX_DIMENSIONS (3)

struct xkArrayClass
{
    kObjectClass base;
    kItemStore items;
    kSize dimensions;                     // 1, 2 or 3
    kSize length[xkARRAY_MAX_DIMENSIONS]; // lengths beyond dimensions are 1
    kSize count;                          // product of the lengths
};

/**
 * Allocates and initialises an array of class type with the given lengths (dimensions of
 * them), items zero-filled; item memory from valueAllocator (null: allocator).
 */
kStatus xkArray_Construct(kObject* array, kType type, kSize dimensions, kType itemType,
                          const kSize* lengths, kAlloc allocator, kAlloc valueAllocator);

/** Registers the shared overrides (release, disposal, clone, traits, size) for an array class. */
kStatus xkArray_AddVMethods(kType type);

/** Re-shapes to itemType and lengths; see kArray1_Allocate. */
kStatus xkArray_Allocate(xkArrayClass* obj, kType itemType, const kSize* lengths);

/** Wraps external memory of the given lengths; see kArray1_Attach. */
kStatus xkArray_Attach(xkArrayClass* obj, kType itemType, void* items, const kSize* lengths);

/** Deep copy of shape and items from source (same item type); empty on a late failure. */
kStatus xkArray_Assign(xkArrayClass* obj, const xkArrayClass* source);

/** Zero-fills every item. */
kStatus xkArray_Zero(xkArrayClass* obj);

/** Sets the lengths (count recomputed); the caller has made room for them. */
void xkArray_SetShape(xkArrayClass* obj, const kSize* lengths);

/** Item index of a position, or kSIZE_MAX when out of range (dimensions indices given). */
kSize xkArray_Index(const xkArrayClass* obj, const kSize* indices);

/** Host address of item index (null when out of range or not reachable by the host). */
void* xkArray_HostAt(const xkArrayClass* obj, kSize index);

/** Address of item index in any memory (null when out of range). */
void* xkArray_DataAt(const xkArrayClass* obj, kSize index);

#endif
