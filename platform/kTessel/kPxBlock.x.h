/* Block services used by the pipeline that creates and runs blocks. */
#ifndef K_TESSEL_PX_BLOCK_X_H
#define K_TESSEL_PX_BLOCK_X_H

#include <kTessel/kPxBlock.h>

/*
 * Initialises a freshly allocated (zero-filled) block of type: header, a copy of settings
 * (null: an empty document) with a root item, an empty console. On failure the block's
 * release chain has run and only the instance memory remains for the caller to free.
 */
kStatus xkPxBlock_Init(kPxBlock block, kType type, kObject pipeline, kXml settings,
                       kAlloc messageAlloc, kAlloc allocator);

/* Table of block's type. */
inline const kPxBlockVTable* xkPxBlock_VTable(kPxBlock block)
{
    return kVTableOf<kPxBlockVTable>(block);
}

#endif
