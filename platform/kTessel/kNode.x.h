/* Private operations shared by the simulated node's classes: the call recorder and the
   constructors the node and its cameras use. */
#ifndef K_TESSEL_NODE_X_H
#define K_TESSEL_NODE_X_H

#include <kTessel/kNode.h>

/*
 * Records "<operation> <formatted arguments>" on node (no arguments when format is "") and
 * returns the fault set for operation, or kOK. A null node records nothing.
 */
kStatus xkNode_Call(kNode node, const kChar* operation, const kChar* format, ...);

kStatus xkCamera_Construct(kCamera* camera, kNode node, kSize index, const kCameraConfig* config,
                           kAlloc allocator);
/* Node of a camera (borrowed). */
kNode xkCamera_Node(kCamera camera);

kStatus xkCameraInfo_Construct(kCameraInfo* info, const kRangeLutCaps* caps, kAlloc allocator);

/* Constructs an extension of type (derived from kCameraExt) for camera. */
kStatus xkCameraExt_Construct(kCameraExt* extension, kType type, kCamera camera, kAlloc allocator);

kStatus xkProjector_Construct(kProjector* projector, kNode node, kSize index, k32u width,
                              kAlloc allocator);

kStatus xkSerialOut_Construct(kSerialOut* serialOut, kNode node, kSize index, kAlloc allocator);

/* Storage that records its calls on node (null: a storage of its own). */
kStatus xkStorage_Construct(kStorage* storage, kNode node, const kChar* directory,
                            kAlloc allocator);

#endif
