/**
 * @file    kXml.h
 * @brief   kXml: an XML document of named items with text values and attributes, the form of
 *          every settings document.
 *
 * Items (`kXmlItem`) are handles to elements of one document; they stay valid until the item
 * or an ancestor is deleted, the document is cleared, assigned or reloaded, or the document
 * is destroyed. An item handle passed to an operation must belong to the document passed
 * with it (kSTATUS_BAD_PARAMETER otherwise).
 *
 * Paths name descendants relative to an item, one element name per step, separated by
 * backslashes ("Window0\X"; "/" is accepted too). Each step takes the first child of that
 * name. A null item means the document itself, so that the first step names the root item
 * ("Settings\Window0\X").
 *
 * Values are the text of an item (or of an attribute). Writers store numbers in decimal:
 * integers plainly, reals in the shortest form that reads back to the same bits ("0.1",
 * "5e-324", "-0", "1e+308"); infinities as "inf" and "-inf", and NaN as "nan" (which reads back
 * as the default quiet NaN: the sign and payload of a NaN are not kept). Booleans are written
 * "1" and "0"; "true" and "false" in any letter case are read too.
 *
 * Typed readers are strict. The value may be surrounded by XML white space but must otherwise
 * be a complete number of the type ("12", "-3", "+4", "2.5e-3"; no trailing characters, no
 * hexadecimal, no minus sign on unsigned types). They return:
 * - kSTATUS_NOT_FOUND when the item (or attribute) does not exist;
 * - kSTATUS_BAD_FORMAT when the text is not a number of the type;
 * - kSTATUS_OVERFLOW when it is one, but out of the type's range (reals: beyond ±1.8e308,
 *   or so small that they round to zero from a non-zero text).
 * The output is left unchanged on failure. Settings code reads optional settings only after
 * kXml_ChildExists.
 *
 * Names given to writers must be XML names: a letter, "_" or ":" (or any byte of a multi-byte
 * UTF-8 character) first, then letters, digits, "_", ":", "-" or "."; kSTATUS_BAD_PARAMETER
 * otherwise. Text is escaped on output; XML end-of-line handling turns a carriage return in
 * an item's text into a line feed when the document is read back (attribute text keeps it).
 *
 * Documents are written as UTF-8 with a declaration and two-space indentation, each item on
 * its own line. Read documents must have exactly one root element.
 */
#ifndef K_BASIS_XML_H
#define K_BASIS_XML_H

#include <kBasis/kStream.h>
#include <kBasis/kString.h>

typedef kObject kXml;
kDeclareClass(kXml, kObject);

/** Handle of an item (element) of a document. */
typedef struct xkXmlNode* kXmlItem;

/* ----- Construction, files and text ----------------------------------------------------------- */

/**
 * Constructs an empty document (no root item).
 *
 * @param xml        Receives the document (one reference, owned by the caller).
 * @param allocator  Allocator of the object (null: application allocator). The element tree
 *                   itself lives on the process heap.
 * @return kOK; kSTATUS_MEMORY.
 */
kFx(kStatus) kXml_Construct(kXml* xml, kAlloc allocator);

/**
 * Constructs a document from a file.
 *
 * @return kOK; kSTATUS_NOT_FOUND when the file does not exist; kSTATUS_BAD_FORMAT when it is
 *         not a well-formed document with one root element; kSTATUS_STREAM for a read error;
 *         kSTATUS_MEMORY.
 */
kFx(kStatus) kXml_Load(kXml* xml, const kChar* fileName, kAlloc allocator);

/** Constructs a document from size bytes of XML. @return As kXml_Load. */
kFx(kStatus) kXml_LoadBytes(kXml* xml, const void* data, kSize size, kAlloc allocator);

/** Constructs a document from null-terminated XML text. @return As kXml_Load. */
kFx(kStatus) kXml_FromText(kXml* xml, const kChar* text, kAlloc allocator);

/**
 * Constructs a document from everything between the stream's position and its end.
 *
 * @return As kXml_Load; the stream's failure when it cannot be read.
 */
kFx(kStatus) kXml_Read(kXml* xml, kStream stream, kAlloc allocator);

/** Writes the document to a file, replacing it. @return kOK; kSTATUS_STREAM; kSTATUS_MEMORY. */
kFx(kStatus) kXml_Save(kXml xml, const kChar* fileName);

/** Writes the document at the stream's position. @return kOK; the stream's failure. */
kFx(kStatus) kXml_Write(kXml xml, kStream stream);

/** Replaces the contents of text with the document, as kXml_Write writes it. */
kFx(kStatus) kXml_ToString(kXml xml, kString text);

/** Makes xml a deep copy of source (items of xml are invalidated). */
kFx(kStatus) kXml_Assign(kXml xml, kXml source);

/** Removes every item: the document becomes empty (items are invalidated). */
kFx(kStatus) kXml_Clear(kXml xml);

/* ----- Navigation ----------------------------------------------------------------------------- */

/** Root item, or null for an empty document. */
kFx(kXmlItem) kXml_Root(kXml xml);

/** Root item. @return kOK; kSTATUS_NOT_FOUND for an empty document. */
kFx(kStatus) kXml_FindRoot(kXml xml, kXmlItem* root);

/** Descendant of item (null: the document) at path; null when it does not exist. */
kFx(kXmlItem) kXml_Child(kXml xml, kXmlItem item, const kChar* path);

/** True when the descendant at path exists. */
kFx(kBool) kXml_ChildExists(kXml xml, kXmlItem item, const kChar* path);

/** Number of child items of item (null: the document, 0 or 1). */
kFx(kSize) kXml_ChildCount(kXml xml, kXmlItem item);

/** Child item at index (in document order), or null when out of range. */
kFx(kXmlItem) kXml_ChildAt(kXml xml, kXmlItem item, kSize index);

/** First child item, or null. */
kFx(kXmlItem) kXml_FirstChild(kXml xml, kXmlItem item);

/** Next item with the same parent, or null. */
kFx(kXmlItem) kXml_NextSibling(kXml xml, kXmlItem item);

/** Parent item, or null for the root item. */
kFx(kXmlItem) kXml_Parent(kXml xml, kXmlItem item);

/** Element name of item ("" for a null or foreign item). Valid while the item lives. */
kFx(const kChar*) kXml_ItemName(kXml xml, kXmlItem item);

/* ----- Typed readers of the descendant at a path ---------------------------------------------- */

kFx(kStatus) kXml_Child32s(kXml xml, kXmlItem item, const kChar* path, k32s* value);
kFx(kStatus) kXml_Child32u(kXml xml, kXmlItem item, const kChar* path, k32u* value);
kFx(kStatus) kXml_Child64u(kXml xml, kXmlItem item, const kChar* path, k64u* value);
kFx(kStatus) kXml_Child64f(kXml xml, kXmlItem item, const kChar* path, k64f* value);
kFx(kStatus) kXml_ChildBool(kXml xml, kXmlItem item, const kChar* path, kBool* value);
kFx(kStatus) kXml_ChildSize(kXml xml, kXmlItem item, const kChar* path, kSize* value);

/**
 * Copies the text of the descendant at path, with its terminator, into buffer.
 *
 * @return kOK; kSTATUS_NOT_FOUND; kSTATUS_BAD_PARAMETER when text and terminator need more
 *         than capacity characters (nothing is truncated: buffer then holds "").
 */
kFx(kStatus)
    kXml_ChildText(kXml xml, kXmlItem item, const kChar* path, kChar* buffer, kSize capacity);

/** Replaces the contents of value with the text of the descendant at path. */
kFx(kStatus) kXml_ChildString(kXml xml, kXmlItem item, const kChar* path, kString value);

/* ----- Typed readers of an item itself -------------------------------------------------------- */

kFx(kStatus) kXml_Item32s(kXml xml, kXmlItem item, k32s* value);
kFx(kStatus) kXml_Item32u(kXml xml, kXmlItem item, k32u* value);
kFx(kStatus) kXml_Item64u(kXml xml, kXmlItem item, k64u* value);
kFx(kStatus) kXml_Item64f(kXml xml, kXmlItem item, k64f* value);
kFx(kStatus) kXml_ItemBool(kXml xml, kXmlItem item, kBool* value);
kFx(kStatus) kXml_ItemSize(kXml xml, kXmlItem item, kSize* value);
/** As kXml_ChildText, for the item itself. */
kFx(kStatus) kXml_ItemText(kXml xml, kXmlItem item, kChar* buffer, kSize capacity);

/** Replaces the contents of value with the item's text. */
kFx(kStatus) kXml_ItemString(kXml xml, kXmlItem item, kString value);

/* ----- Writers -------------------------------------------------------------------------------- */

/**
 * Appends a new, empty child item.
 *
 * @param parent  Parent item; null adds the root item of an empty document.
 * @param item    Receives the new item (may be null).
 * @return kOK; kSTATUS_BAD_PARAMETER for a bad name; kSTATUS_DUPLICATE when parent is null and
 *         the document already has a root; kSTATUS_MEMORY.
 */
kFx(kStatus) kXml_AddItem(kXml xml, kXmlItem parent, const kChar* name, kXmlItem* item);

/**
 * Setters of the descendant at path: the item and any missing item on the way are created
 * (appended); the item's text is replaced. A null item with a first step that differs from an
 * existing root's name gives kSTATUS_DUPLICATE.
 */
kFx(kStatus) kXml_SetChild32s(kXml xml, kXmlItem item, const kChar* path, k32s value);
kFx(kStatus) kXml_SetChild32u(kXml xml, kXmlItem item, const kChar* path, k32u value);
kFx(kStatus) kXml_SetChild64u(kXml xml, kXmlItem item, const kChar* path, k64u value);
kFx(kStatus) kXml_SetChild64f(kXml xml, kXmlItem item, const kChar* path, k64f value);
kFx(kStatus) kXml_SetChildBool(kXml xml, kXmlItem item, const kChar* path, kBool value);
kFx(kStatus) kXml_SetChildSize(kXml xml, kXmlItem item, const kChar* path, kSize value);
kFx(kStatus) kXml_SetChildText(kXml xml, kXmlItem item, const kChar* path, const kChar* text);

/** Setters of an item's own text. */
kFx(kStatus) kXml_SetItem32s(kXml xml, kXmlItem item, k32s value);
kFx(kStatus) kXml_SetItem32u(kXml xml, kXmlItem item, k32u value);
kFx(kStatus) kXml_SetItem64u(kXml xml, kXmlItem item, k64u value);
kFx(kStatus) kXml_SetItem64f(kXml xml, kXmlItem item, k64f value);
kFx(kStatus) kXml_SetItemBool(kXml xml, kXmlItem item, kBool value);
kFx(kStatus) kXml_SetItemSize(kXml xml, kXmlItem item, kSize value);
kFx(kStatus) kXml_SetItemText(kXml xml, kXmlItem item, const kChar* text);

/* ----- Attributes ----------------------------------------------------------------------------- */

/** Reads an attribute as an unsigned 32-bit number (strict, as the typed readers). */
kFx(kStatus) kXml_Attr32u(kXml xml, kXmlItem item, const kChar* name, k32u* value);
/** Copies an attribute's text into buffer. @return As kXml_ChildText. */
kFx(kStatus)
    kXml_AttrText(kXml xml, kXmlItem item, const kChar* name, kChar* buffer, kSize capacity);
/** Replaces the contents of value with an attribute's text. */
kFx(kStatus) kXml_AttrString(kXml xml, kXmlItem item, const kChar* name, kString value);
kFx(kBool) kXml_AttrExists(kXml xml, kXmlItem item, const kChar* name);
kFx(kSize) kXml_AttrCount(kXml xml, kXmlItem item);
/** Name of the attribute at index, or null when out of range. */
kFx(const kChar*) kXml_AttrNameAt(kXml xml, kXmlItem item, kSize index);
/** Sets (adds or replaces) an attribute. @return kOK; kSTATUS_BAD_PARAMETER for a bad name. */
kFx(kStatus) kXml_SetAttr32u(kXml xml, kXmlItem item, const kChar* name, k32u value);
kFx(kStatus) kXml_SetAttrText(kXml xml, kXmlItem item, const kChar* name, const kChar* text);
/** Removes an attribute. @return kOK; kSTATUS_NOT_FOUND when it does not exist. */
kFx(kStatus) kXml_DeleteAttr(kXml xml, kXmlItem item, const kChar* name);

/* ----- Editing -------------------------------------------------------------------------------- */

/** Removes an item's children, text and attributes; the item keeps its name. */
kFx(kStatus) kXml_ClearItem(kXml xml, kXmlItem item);

/** Removes an item and its descendants (their handles become invalid). */
kFx(kStatus) kXml_DeleteItem(kXml xml, kXmlItem item);

/**
 * Appends a deep copy of sourceItem (of document source, which may be xml itself) to the
 * children of parent.
 *
 * @param parent  Parent item in xml; null makes the copy the root of an empty document.
 * @param copy    Receives the new item (may be null).
 * @return kOK; kSTATUS_DUPLICATE when parent is null and xml has a root; kSTATUS_BAD_PARAMETER
 *         when parent is sourceItem or lies inside it; kSTATUS_MEMORY.
 */
kFx(kStatus)
    kXml_CopyItem(kXml xml, kXmlItem parent, kXml source, kXmlItem sourceItem, kXmlItem* copy);

#endif
