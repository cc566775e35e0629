/**
 * @file    kVsStorageInputBlockInfo.h
 * @brief   Settings of the storage input block: the file to replay, key "inputFileName"
 *          (default "InputFile.kdat").
 *
 * A plain heap record (not a registered class).
 */
#ifndef K_VS_STORAGE_INPUT_BLOCK_INFO_H
#define K_VS_STORAGE_INPUT_BLOCK_INFO_H

#include <kSolan/kSolanDef.h>

typedef struct kVsStorageInputBlockInfoStruct* kVsStorageInputBlockInfo;

/** Longest file name, terminator included. */
#define kVS_STORAGE_INPUT_FILE_NAME_CAPACITY (256)

/** Constructs a record holding the default file name. */
kFx(kStatus) kVsStorageInputBlockInfo_Construct(kVsStorageInputBlockInfo* info);
/** Frees the record (null accepted). */
kFx(kStatus) kVsStorageInputBlockInfo_Destroy(kVsStorageInputBlockInfo info);

/**
 * Constructs a record and reads it from the settings' root item; nothing is left behind on
 * failure.
 *
 * @return kOK; kSTATUS_NOT_FOUND when the document is empty or "inputFileName" is missing;
 *         kSTATUS_BAD_PARAMETER for a name of 256 characters or more.
 */
kFx(kStatus) kVsStorageInputBlockInfo_Load(kVsStorageInputBlockInfo* info, kXml settings);
/** Replaces the document's content by a root item "Settings" holding the record. */
kFx(kStatus) kVsStorageInputBlockInfo_Store(kVsStorageInputBlockInfo info, kXml settings);
/** Reads "inputFileName" under element. */
kFx(kStatus)
    kVsStorageInputBlockInfo_Read(kVsStorageInputBlockInfo info, kXml settings, kXmlItem element);
/** Writes "inputFileName" under element. */
kFx(kStatus)
    kVsStorageInputBlockInfo_Write(kVsStorageInputBlockInfo info, kXml settings, kXmlItem element);
/** The file to replay (borrowed). */
kFx(const kChar*) kVsStorageInputBlockInfo_InputFileName(kVsStorageInputBlockInfo info);
/** @return kOK; kSTATUS_BAD_PARAMETER for a name of 256 characters or more. */
kFx(kStatus)
    kVsStorageInputBlockInfo_SetInputFileName(kVsStorageInputBlockInfo info, const kChar* fileName);

/** Applies the record to a settings document: read it, fall back to the default name when it
 *  does not read, write it back. */
kFx(kStatus) kVsStorageInputBlockInfo_Normalize(kXml settings);

#endif
