/**
 * @file    kSystem.h
 * @brief   kSystem: the set of sensor nodes that the host controls, as actions see it.
 */
#ifndef K_TESSEL_SYSTEM_H
#define K_TESSEL_SYSTEM_H

#include <kTessel/kNode.h>

typedef kObject kSystem;
kDeclareClass(kSystem, kObject);

/** Constructs a system without nodes. @param system Receives it (the caller owns one reference). */
kFx(kStatus) kSystem_Construct(kSystem* system, kAlloc allocator);

/** Adds a node; the system keeps one reference to it. */
kFx(kStatus) kSystem_AddNode(kSystem system, kNode node);
kFx(kSize) kSystem_NodeCount(kSystem system);
/** Node at index (borrowed), or null. */
kFx(kNode) kSystem_NodeAt(kSystem system, kSize index);

/** Disconnects every node (kNode_Disconnect); returns the first failure. */
kFx(kStatus) kSystem_Disconnect(kSystem system);

#endif
