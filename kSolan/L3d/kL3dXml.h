/**
 * @file    kL3dXml.h
 * @brief   XML and data-tree forms of the laser family's small value types, and the merge and
 *          boolean helpers used by its settings readers.
 *
 * Each form is one child element per field, in field order, under the given item:
 * a camera window "X", "Y", "Width", "Height", "XSubsampling", "YSubsampling"; a rectangle
 * "X", "Y", "Width", "Height"; a box "X", "Y", "Z", "Width", "Height", "Depth"; a 2D transform
 * "XX", "XY", "XT", "YX", "YY", "YT"; a 3D transform "XX", "XY", "XZ", "XT", "YX", "YY", "YZ",
 * "YT", "ZX", "ZY", "ZZ", "ZT". A read that fails returns the status of the first child that
 * is missing or malformed and leaves the value unchanged.
 */
#ifndef K_SOLAN_L3D_XML_H
#define K_SOLAN_L3D_XML_H

#include <kSolan/L3d/kL3dTransform.h>

/**
 * Camera window: origin, size and subsampling, in sensor pixels. The origin is registered as
 * 32-bit unsigned (as every other field), so a negative origin cannot be stored.
 */
typedef struct kL3dCameraWindow
{
    k32u x, y;
    k32u width, height;
    k32u xSubsampling, ySubsampling;
} kL3dCameraWindow;
kDeclareValue(kL3dCameraWindow);

/** Reads the window's children of item. @return kOK; the failing child's status. */
kFx(kStatus) kL3dCameraWindow_Read(kL3dCameraWindow* window, kXml xml, kXmlItem item);
/** Writes the window's children under item (created or replaced). */
kFx(kStatus) kL3dCameraWindow_Write(const kL3dCameraWindow* window, kXml xml, kXmlItem item);
/** Reads the window's children of a data-tree item. @return kOK; the failing child's status. */
kFx(kStatus)
    kL3dCameraWindow_ReadTree(kL3dCameraWindow* window, kDataTree tree, kDataTreeItem item);
/** Writes the window's children under a data-tree item. */
kFx(kStatus)
    kL3dCameraWindow_WriteTree(const kL3dCameraWindow* window, kDataTree tree, kDataTreeItem item);
/** Field-by-field equality. */
kFx(kBool) kL3dCameraWindow_Equals(const kL3dCameraWindow* a, const kL3dCameraWindow* b);
kFx(kStatus) kL3dCameraWindow_CopyFrom(kL3dCameraWindow* window, const kL3dCameraWindow* source);

kFx(kStatus) kL3dRect32s_Read(kRect32s* rect, kXml xml, kXmlItem item);
kFx(kStatus) kL3dRect32s_Write(const kRect32s* rect, kXml xml, kXmlItem item);
kFx(kStatus) kL3dRect64f_Read(kRect64f* rect, kXml xml, kXmlItem item);
kFx(kStatus) kL3dRect64f_Write(const kRect64f* rect, kXml xml, kXmlItem item);
kFx(kStatus) kL3dRect3d64f_Read(kRect3d64f* rect, kXml xml, kXmlItem item);
kFx(kStatus) kL3dRect3d64f_Write(const kRect3d64f* rect, kXml xml, kXmlItem item);
kFx(kStatus) kL3dTransform2d_Read(kL3dTransform2d* transform, kXml xml, kXmlItem item);
kFx(kStatus) kL3dTransform2d_Write(const kL3dTransform2d* transform, kXml xml, kXmlItem item);
kFx(kStatus) kL3dTransform3d_Read(kL3dTransform3d* transform, kXml xml, kXmlItem item);
kFx(kStatus) kL3dTransform3d_Write(const kL3dTransform3d* transform, kXml xml, kXmlItem item);

/**
 * Merge helpers: read the child at path into value when it exists and keep the current value
 * otherwise (kOK). A child that exists but does not parse returns its status, value unchanged.
 */
kFx(kStatus) kL3dXml_MergeChild32u(kXml xml, kXmlItem item, const kChar* path, k32u* value);
kFx(kStatus) kL3dXml_MergeChild32s(kXml xml, kXmlItem item, const kChar* path, k32s* value);
kFx(kStatus) kL3dXml_MergeChildSize(kXml xml, kXmlItem item, const kChar* path, kSize* value);
kFx(kStatus) kL3dXml_MergeChild64f(kXml xml, kXmlItem item, const kChar* path, k64f* value);
/** Text form: a text longer than capacity - 1 fails with kSTATUS_BAD_PARAMETER, text kept. */
kFx(kStatus)
    kL3dXml_MergeChildText(kXml xml, kXmlItem item, const kChar* path, kChar* text, kSize capacity);
kFx(kStatus) kL3dXml_MergeChildBool(kXml xml, kXmlItem item, const kChar* path, kBool* value);

/**
 * Booleans of the laser family's documents: written as "true" or "false"; read from "true" or
 * "false" in any case, or from an integer (non-zero is true).
 *
 * @return kOK; kSTATUS_NOT_FOUND for a missing child; kSTATUS_BAD_FORMAT for other text.
 */
kFx(kStatus) kL3dXml_ChildBool(kXml xml, kXmlItem item, const kChar* path, kBool* value);
kFx(kStatus) kL3dXml_ItemBool(kXml xml, kXmlItem item, kBool* value);
kFx(kStatus) kL3dXml_SetChildBool(kXml xml, kXmlItem item, const kChar* path, kBool value);
kFx(kStatus) kL3dXml_SetItemBool(kXml xml, kXmlItem item, kBool value);

#endif
