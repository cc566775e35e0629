/* Pipeline services used by blocks (kPxBlock.cpp). */
#ifndef K_TESSEL_PX_PIPELINE_X_H
#define K_TESSEL_PX_PIPELINE_X_H

#include <kTessel/kPxPipeline.h>

/* Queues message for every connection of output port, or disposes of it when there is none.
   Takes the message on success only. */
kStatus xkPxPipeline_Send(kPxPipeline pipeline, kPxPort port, kObject message);

/* Directory that relative file names of block settings are resolved against. */
const kChar* xkPxPipeline_Directory(kPxPipeline pipeline);

#endif
