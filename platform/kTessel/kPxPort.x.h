/* Layout of ports, shared by the block (which owns them) and the pipeline (which routes). */
#ifndef K_TESSEL_PX_PORT_X_H
#define K_TESSEL_PX_PORT_X_H

#include <kTessel/kPxPort.h>

#define xkPX_PORT_NAME_CAPACITY (128)

struct kPxPortClass
{
    kObjectClass base;
    kObject block; // owner (borrowed back-reference)
    kPxPort next;  // next port of the same block, in definition order
    k32u id;
    kBool isInput;
    kBool acceptForeign;
    kSize routeCount; // connections leaving (output) or reaching (input) the port
    kChar name[xkPX_PORT_NAME_CAPACITY];
};

/* Constructs a port of block; name is cut to the capacity. */
kStatus xkPxPort_Construct(kPxPort* port, kObject block, const kChar* name, k32u id, kBool isInput,
                           kAlloc allocator);

#endif
