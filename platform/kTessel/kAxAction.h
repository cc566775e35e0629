/**
 * @file    kAxAction.h
 * @brief   kAxAction: base class of camera actions, one-shot operations that program a sensor
 *          node from a settings document, and the operations that run them.
 *
 * The host knows an action by its type name. It may normalise a settings document at any time
 * without an action object (kAxAction_Validate → VValidate), and invokes an action on a node
 * with a document (kAxAction_Invoke): the platform builds an action object, runs VInitialize,
 * VPrepare and VInvoke, and destroys it. An action keeps nothing between invocations.
 *
 * Platform defaults: VValidate leaves the document as it is and succeeds (for actions that
 * have no settings to normalise); VInitialize and VPrepare succeed; VInvoke fails with
 * kSTATUS_NOT_IMPLEMENTED; the description is "".
 */
#ifndef K_TESSEL_AX_ACTION_H
#define K_TESSEL_AX_ACTION_H

#include <kTessel/kSystem.h>
#include <kBasis/kXml.h>

typedef kObject kAxAction;

/**
 * Virtual operations of actions, after the root's: 8 VInitialize, 9 VDescription,
 * 10 VValidate, 11 VPrepare, 12 VInvoke.
 */
struct kAxActionVTable : kObjectVTable
{
    /** Called right after the platform has built the action object. */
    kStatus (*VInitialize)(kAxAction action);
    /** Constant text shown to users. */
    const kChar* (*VDescription)(void);
    /** Normalises a settings document without an action object (read, validate or reset to
        defaults, write back). */
    kStatus (*VValidate)(kXml settings, kAlloc allocator);
    /** Called before VInvoke, once settings, node and system are known. */
    kStatus (*VPrepare)(kAxAction action);
    /** Loads the settings and applies them to the node. */
    kStatus (*VInvoke)(kAxAction action);
};

kDeclareVirtualClass(kAxAction, kObject);

/** Instance header of every action. Private to the platform: use the operations below. */
struct kAxActionClass
{
    kObjectClass base;
    kXml settings;  // borrowed for the invocation
    kNode node;     // borrowed
    kSystem system; // borrowed
};

/* Platform defaults of the action slots. */
kFx(kStatus) xkAxAction_VInitialize(kAxAction action);
kFx(const kChar*) xkAxAction_VDescription(void);
kFx(kStatus) xkAxAction_VValidate(kXml settings, kAlloc allocator);
kFx(kStatus) xkAxAction_VPrepare(kAxAction action);
kFx(kStatus) xkAxAction_VInvoke(kAxAction action);

/** The settings document of the invocation (borrowed). */
kFx(kXml) kAxAction_Settings(kAxAction action);
/** The node the action programs (borrowed). */
kFx(kNode) kAxAction_Node(kAxAction action);
/** The system the node belongs to (borrowed; may be null). */
kFx(kSystem) kAxAction_System(kAxAction action);

/* ----- Running actions --------------------------------------------------------------------- */

/** Description of an action type (its VDescription); "" when type is not an action. */
kFx(const kChar*) kAxAction_Description(kType type);

/**
 * Normalises a settings document for an action type (its VValidate).
 *
 * @return kOK; kSTATUS_BAD_PARAMETER when type is not an action type; VValidate's failure.
 */
kFx(kStatus) kAxAction_Validate(kType type, kXml settings, kAlloc allocator);

/**
 * Invokes an action of a type on a node.
 *
 * @param type       A class derived from kAxAction.
 * @param settings   The action's settings document (borrowed for the call).
 * @param node       Node to program (borrowed).
 * @param system     The node's system (borrowed; may be null).
 * @param allocator  Allocator of the action object (null: application allocator).
 * @return kOK; kSTATUS_BAD_PARAMETER when type is not a concrete action type or node is not a
 *         node; kSTATUS_MEMORY; the first failure of VInitialize, VPrepare or VInvoke.
 */
kFx(kStatus)
    kAxAction_Invoke(kType type, kXml settings, kNode node, kSystem system, kAlloc allocator);

#endif
