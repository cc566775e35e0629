/**
 * @file    kPxPort.h
 * @brief   kPxPort: a named, numbered input or output of a pipeline block.
 *
 * Ports are made by the block's setup (kPxBlock_DefineInput / kPxBlock_DefineOutput) and
 * belong to the block. At run time a block tells its ports apart by id, which is unique
 * within the block; names are for people wiring the pipeline.
 */
#ifndef K_TESSEL_PX_PORT_H
#define K_TESSEL_PX_PORT_H

#include <kTessel/kTsApiDef.h>

typedef kObject kPxPort;
kDeclareClass(kPxPort, kObject);

/** Id given when the port was defined. */
kFx(k32u) kPxPort_Id(kPxPort port);

/** Name given when the port was defined (borrowed). */
kFx(const kChar*) kPxPort_Name(kPxPort port);

/** kTRUE for an input, kFALSE for an output. */
kFx(kBool) kPxPort_IsInput(kPxPort port);

/** kTRUE when at least one connection leaves this output (or reaches this input). */
kFx(kBool) kPxPort_IsRouted(kPxPort port);

/** The block that owns the port (borrowed). */
kFx(kObject) kPxPort_Block(kPxPort port);

/**
 * Lets an input take messages whose payload lives in memory the host cannot read (device
 * memory). Otherwise the pipeline copies such a payload to host memory, with the receiving
 * block's message allocator, before delivery.
 *
 * @return kOK; kSTATUS_BAD_PARAMETER for an output.
 */
kFx(kStatus) kPxPort_AcceptForeignData(kPxPort port, kBool accept);

/** kTRUE when the input takes foreign payloads as they are. */
kFx(kBool) kPxPort_AcceptsForeignData(kPxPort port);

#endif
