/**
 * @file    kVsStorageInputBlock.h
 * @brief   kVsStorageInputBlock: replays stored data, one stored object per trigger message.
 *
 * At start the block loads a file into a list of objects: a ".bmp" file is imported as one
 * image; any other file is read with kLoad5, and a list or a 1-D array of objects becomes the
 * item list, while any other object becomes the only item. Each message arriving on the input
 * then sends a clone of the next item, stamped with the arriving message's stamp; after the
 * last item it starts again from the first. The block prints its progress on its console.
 *
 * Ports: input "InData 0" (id 0), output "OutData 0" (id 1). Settings:
 * kVsStorageInputBlockInfo ("inputFileName", resolved with kPxBlock_FilePath).
 */
#ifndef K_VS_STORAGE_INPUT_BLOCK_H
#define K_VS_STORAGE_INPUT_BLOCK_H

#include <kSolan/Vs/kVsStorageInputBlockInfo.h>

typedef kPxBlock kVsStorageInputBlock;
kDeclareClass(kVsStorageInputBlock, kPxBlock);

/** Port ids. */
#define kVS_STORAGE_INPUT_BLOCK_IN (0)
#define kVS_STORAGE_INPUT_BLOCK_OUT (1)

/** Sets the index of the next item to send; an index at or past the item count starts again
 *  from the first item at the next trigger. */
kFx(kStatus) kVsStorageInputBlock_SetOutputCount(kVsStorageInputBlock block, kSize index);

#endif
